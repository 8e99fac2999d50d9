// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Environment.h"

#include <stdlib.h>

#include <vector>

#include "QvUserLib/String.h"
#include "WindowsApi.h"

namespace QvUserLib {

namespace {

// With getenv_s or _wgetenv_s, which copy under the C library's own lock, so that another thread's
// _putenv does no harm.
template <typename Character>
bool CopyVariable(errno_t (*aGet)(size_t*, Character*, size_t, const Character*),
                  const Character* aName, std::basic_string<Character>* aValue) {
    // The value may grow between the two calls: then measure again.
    for (;;) {
        size_t size = 0;
        // Without a buffer some C libraries call the value too long for it: only the size counts.
        (void)aGet(&size, nullptr, 0, aName);
        if (size == 0) return false;
        std::vector<Character> value(size);
        const errno_t error = aGet(&size, value.data(), value.size(), aName);
        if (error == ERANGE) continue;
        if (error != 0 || size == 0) return false;
        *aValue = value.data();
        return true;
    }
}

// A program with a wide main, or one that has asked for wide variables, has a wide copy of the
// environment. Asking for it here would make one.
bool HasWideCopy() { return _wenviron != nullptr; }

}  // namespace

bool ReadEnvironment(const char* aName, std::string* aValue) {
    // The C library takes an empty name for a programming error.
    return aName[0] != '\0' && CopyVariable(&getenv_s, aName, aValue);
}

std::optional<std::wstring> ReadProcessVariable(const wchar_t* aName) {
    // The system's limit, with the zero at the end.
    constexpr DWORD kLongestValue = 32768;
    std::wstring value(kLongestValue, L'\0');
    // An empty value leaves the last error as it was.
    ::SetLastError(ERROR_SUCCESS);
    const DWORD length = ::GetEnvironmentVariableW(aName, value.data(), kLongestValue);
    if (length == 0 && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
    value.resize(length);
    return value;
}

std::wstring ReadRuntimePath() {
    // Without the variable the value stays empty.
    if (HasWideCopy()) {
        std::wstring value;
        (void)CopyVariable(&_wgetenv_s, L"PATH", &value);
        return value;
    }
    std::string value;
    (void)ReadEnvironment("PATH", &value);
    return String(value.c_str()).GetUnicode();
}

void SetRuntimePath(const std::wstring& aValue) {
    const std::wstring text = L"PATH=" + aValue;
    // The C library sets the other form, too, if it has it. The wide form loses no character.
    if (HasWideCopy()) {
        ::_wputenv(text.c_str());
    } else {
        ::_putenv(String(text.c_str()).GetAscii());
    }
}

}  // namespace QvUserLib
