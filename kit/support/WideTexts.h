// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Names of the system, which are compared without regard to upper and lower case.

#ifndef QVKIT_SUPPORT_WIDETEXTS_H
#define QVKIT_SUPPORT_WIDETEXTS_H

#include <string>

#include "WindowsApi.h"

namespace QvKit {

inline bool IsSameText(const std::wstring& aLeft, const std::wstring& aRight) {
    return ::CompareStringOrdinal(aLeft.c_str(), static_cast<int>(aLeft.size()), aRight.c_str(),
                                  static_cast<int>(aRight.size()),
                                  /*bIgnoreCase=*/TRUE) == CSTR_EQUAL;
}

inline bool StartsWith(const std::wstring& aText, const std::wstring& aBeginning) {
    return IsSameText(aText.substr(0, aBeginning.size()), aBeginning);
}

inline std::wstring ToLower(std::wstring aText) {
    ::CharLowerBuffW(aText.data(), static_cast<DWORD>(aText.size()));
    return aText;
}

}  // namespace QvKit

#endif
