// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Environment.h"

#include "QvKit/Text.h"
#include "WindowsApi.h"

namespace Qvctl {

std::string EnvironmentVariable(const wchar_t* aName) {
    std::wstring value(::GetEnvironmentVariableW(aName, nullptr, 0), L'\0');
    if (value.empty()) return std::string();
    value.resize(::GetEnvironmentVariableW(aName, value.data(), static_cast<DWORD>(value.size())));
    return QvKit::ToUtf8(value);
}

}  // namespace Qvctl
