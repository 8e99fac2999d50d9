// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Environment.h"

#include <stdlib.h>

#include <vector>

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

RuntimePath ReadRuntimePath() {
    // Without the variable the value stays empty. Asking for a wide one would make a wide copy.
    if (_wenviron != nullptr) {
        std::wstring value;
        (void)CopyVariable(&_wgetenv_s, L"PATH", &value);
        return value;
    }
    std::string value;
    (void)ReadEnvironment("PATH", &value);
    return value;
}

void SetRuntimePath(const RuntimePath& aValue) {
    // The C library sets the other form, too, if it has it.
    if (const auto* const wide = std::get_if<std::wstring>(&aValue)) {
        ::_wputenv((L"PATH=" + *wide).c_str());
    } else {
        ::_putenv(("PATH=" + std::get<std::string>(aValue)).c_str());
    }
}

}  // namespace QvUserLib
