// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "InterfaceId.h"

#include "QvKit/Guid.h"
#include "QvSample/QvSampleDevice.h"
#include "output/ErrorReport.h"

namespace Qvctl {

const GUID& SampleInterface() { return GUID_DEVINTERFACE_QVSAMPLE; }

GUID ParseInterface(const std::string& aText, const std::string& aOption) {
    const bool braced = !aText.empty() && aText.front() == '{';
    const std::optional<GUID> interfaceClass = QvKit::ParseGuid(braced ? aText : "{" + aText + "}");
    if (interfaceClass) return *interfaceClass;
    throw WrongUsage(aOption + ": '" + aText + "' is no GUID such as " QV_SAMPLE_INTERFACE_TEXT);
}

}  // namespace Qvctl
