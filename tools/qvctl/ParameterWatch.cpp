// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ParameterWatch.h"

#include <utility>

#include "Failure.h"
#include "LibraryError.h"
#include "ParameterSelection.h"
#include "Utf8.h"

namespace Qvctl {

using QvUserLib::Parameter;

ParameterWatch::ParameterWatch(QvUserLib::DeviceParameterRepository& aParameters,
                               const std::vector<std::string>& aNames)
    : parameters_(aParameters) {
    const std::vector<Parameter*> watched =
        aNames.empty() ? GetAllParameters(aParameters) : GetNamedParameters(aParameters, aNames);
    for (const Parameter* parameter : watched) {
        known_.push_back(Known{Utf8Of(parameter->GetName()), GetValue(*parameter)});
    }
}

std::vector<ParameterWatch::Change> ParameterWatch::Look() {
    const QvUserLib::Result refreshed = parameters_.Refresh();
    if (refreshed.IsFailure()) {
        throw DriverFailure("cannot read the device's parameters", refreshed);
    }
    std::vector<Change> changes;
    for (Known& known : known_) {
        const Parameter* const parameter = FindParameter(parameters_, known.name);
        if (parameter == nullptr) {
            throw Failure(ExitCode::Failed, known.name + ": the device has it no longer");
        }
        Value value = GetValue(*parameter);
        if (value == known.value) continue;
        changes.push_back(Change{known.name, parameter, known.value, value});
        known.value = std::move(value);
    }
    return changes;
}

}  // namespace Qvctl
