// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Guid.h"

#include "QvKit/Text.h"
#include "WindowsApi.h"

// After windows.h, which it needs.
#include <objbase.h>

namespace QvKit {

std::string GuidToText(const GUID& aGuid) {
    wchar_t text[39];  // 38 characters and the terminator, always.
    ::StringFromGUID2(aGuid, text, ARRAYSIZE(text));
    return QvUserLib::String(text).ToLower();
}

std::optional<GUID> ParseGuid(std::string_view aText) {
    GUID guid;
    if (::IIDFromString(FromUtf8(aText).c_str(), &guid) != S_OK) return std::nullopt;
    return guid;
}

}  // namespace QvKit
