// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "doctor/Versions.h"

#include "QvKit/FileVersion.h"
#include "QvKit/Text.h"
#include "WindowsApi.h"

namespace Qvctl {
namespace {

// Empty when no such module is loaded, or its path is longer than paths can be.
std::wstring ModulePath(const wchar_t* aName) {
    constexpr DWORD kLongestPath = 32768;
    const HMODULE module = ::GetModuleHandleW(aName);
    if (module == nullptr) return std::wstring();
    std::wstring path(kLongestPath, L'\0');
    const DWORD length = ::GetModuleFileNameW(module, path.data(), kLongestPath);
    path.resize(length < kLongestPath ? length : 0);
    return path;
}

}  // namespace

std::vector<Library> GetLibraries() {
    std::vector<Library> libraries;
    for (const wchar_t* const name : {L"QvUserLib64.dll", L"QvBaseLib64.dll"}) {
        const std::string path = QvKit::ToUtf8(ModulePath(name));
        libraries.push_back(
            Library{QvKit::ToUtf8(name), path, QvKit::ReadFileVersion(path).version});
    }
    return libraries;
}

}  // namespace Qvctl
