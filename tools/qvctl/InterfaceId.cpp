// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "InterfaceId.h"

#include <objbase.h>

#include "QvKit/Text.h"
#include "QvSample/QvSampleDevice.h"
#include "QvUserLib/String.h"
#include "output/ErrorReport.h"

namespace Qvctl {

const GUID& SampleInterface() { return GUID_DEVINTERFACE_QVSAMPLE; }

GUID ParseInterface(const std::string& aText, const std::string& aOption) {
    const bool braced = !aText.empty() && aText.front() == '{';
    const std::string text = braced ? aText : "{" + aText + "}";
    GUID interfaceClass;
    if (::IIDFromString(QvKit::FromUtf8(text).c_str(), &interfaceClass) != S_OK) {
        throw WrongUsage(aOption + ": '" + aText +
                         "' is no GUID such as " QV_SAMPLE_INTERFACE_TEXT);
    }
    return interfaceClass;
}

std::string InterfaceText(const GUID& aInterface) {
    wchar_t text[39];  // 38 characters and the terminator, always.
    ::StringFromGUID2(aInterface, text, ARRAYSIZE(text));
    return QvUserLib::String(text).ToLower();
}

}  // namespace Qvctl
