// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "PacketSize.h"

#include <algorithm>

#include "ParameterSelection.h"
#include "ParameterText.h"
#include "QvUserLib/Parameter.h"

namespace Qvctl {
namespace {

using QvUserLib::Parameter;

constexpr long long kDefault = 65536;

// A driver's word is not taken for everything.
constexpr long long kLargest = 16LL * 1024 * 1024;

}  // namespace

std::size_t PacketReadSize(QvUserLib::ParameterRepository& aParameters) {
    Parameter* const size = FindParameter(aParameters, "PacketSize");
    if (size == nullptr || size->GetType() != Parameter::TypeInteger) return kDefault;

    const Parameter* const mode = FindParameter(aParameters, "StreamMode");
    const bool isLoopBack = mode != nullptr && mode->GetType() == Parameter::TypeEnumeration &&
                            ToText(*mode, GetValue(*mode)) == "LoopBack";
    const long long bytes = isLoopBack ? size->GetInt() : size->GetMaxInt();
    return static_cast<std::size_t>(std::clamp(bytes, 1LL, kLargest));
}

}  // namespace Qvctl
