// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Adds a directory to the machine's PATH, or removes it, for the installer. Run it as
// administrator. Exit codes: 0 done, 1 failed, 2 wrong usage.

#include <cstdio>
#include <string>
#include <vector>

#include "PathList.h"
#include "UniqueHandle.h"
#include "common/CommandLineArguments.h"

namespace QvPathEntry {
namespace {

constexpr wchar_t kVariable[] = L"Path";

// The machine's environment variables.
class EnvironmentKey {
public:
    EnvironmentKey() {
        HKEY key = nullptr;
        error_ = ::RegOpenKeyExW(
            HKEY_LOCAL_MACHINE, L"System\\CurrentControlSet\\Control\\Session Manager\\Environment",
            0, KEY_QUERY_VALUE | KEY_SET_VALUE, &key);
        key_.Reset(key);
    }

    // A list without the value is empty. Its references to other variables stay unexpanded.
    LSTATUS Read(std::wstring* aList, DWORD* aType) const {
        if (error_ != ERROR_SUCCESS) return error_;
        *aType = REG_EXPAND_SZ;
        DWORD bytes = 0;
        LSTATUS error = ::RegQueryValueExW(key_.Get(), kVariable, nullptr, aType, nullptr, &bytes);
        if (error == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
        if (error != ERROR_SUCCESS) return error;
        if (*aType != REG_SZ && *aType != REG_EXPAND_SZ) return ERROR_INVALID_DATA;

        std::vector<wchar_t> text(bytes / sizeof(wchar_t) + 1, L'\0');
        error = ::RegQueryValueExW(key_.Get(), kVariable, nullptr, nullptr,
                                   reinterpret_cast<BYTE*>(text.data()), &bytes);
        *aList = text.data();
        return error;
    }

    LSTATUS Write(const std::wstring& aList, DWORD aType) const {
        const auto bytes = static_cast<DWORD>((aList.size() + 1) * sizeof(wchar_t));
        return ::RegSetValueExW(key_.Get(), kVariable, 0, aType,
                                reinterpret_cast<const BYTE*>(aList.c_str()), bytes);
    }

private:
    QvBaseLib::UniqueRegistryKey key_;
    LSTATUS error_;
};

// So that programs started later see the change.
void TellOthers() {
    constexpr UINT kTimeoutMs = 1000;
    DWORD_PTR unused = 0;
    ::SendMessageTimeoutW(HWND_BROADCAST, WM_SETTINGCHANGE, 0,
                          reinterpret_cast<LPARAM>(L"Environment"), SMTO_ABORTIFHUNG, kTimeoutMs,
                          &unused);
}

LSTATUS Change(bool aAdd, const std::wstring& aDirectory) {
    const EnvironmentKey key;
    std::wstring list;
    DWORD type = 0;
    const LSTATUS error = key.Read(&list, &type);
    if (error != ERROR_SUCCESS) return error;

    const std::wstring changed =
        aAdd ? WithEntry(list, aDirectory) : WithoutEntry(list, aDirectory);
    if (changed == list) return ERROR_SUCCESS;
    const LSTATUS written = key.Write(changed, type);
    if (written == ERROR_SUCCESS) TellOthers();
    return written;
}

int Run(const std::vector<std::wstring>& aArguments) {
    const bool isComplete = aArguments.size() == 2;
    const std::wstring verb = isComplete ? aArguments[0] : L"";
    const std::wstring directory = isComplete ? aArguments[1] : L"";
    if ((verb != L"add" && verb != L"remove") || directory.empty() ||
        directory.find(L';') != std::wstring::npos) {
        (void)std::fputs("Usage: QvPathEntry add|remove DIRECTORY\n", stderr);
        return 2;
    }
    const LSTATUS error = Change(verb == L"add", directory);
    if (error == ERROR_SUCCESS) return 0;
    (void)std::fprintf(stderr, "QvPathEntry: PATH cannot be changed (error %ld)%s\n", error,
                       error == ERROR_ACCESS_DENIED ? ": run it as administrator" : "");
    return 1;
}

}  // namespace
}  // namespace QvPathEntry

int main() { return QvPathEntry::Run(QvTools::GetCommandLineArguments()); }
