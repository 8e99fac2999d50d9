// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "doctor/Versions.h"

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
        const std::wstring path = ModulePath(name);
        libraries.push_back(Library{QvKit::ToUtf8(name), QvKit::ToUtf8(path), FileVersion(path)});
    }
    return libraries;
}

std::string FileVersion(const std::wstring& aPath) {
    DWORD unused = 0;
    const DWORD size = ::GetFileVersionInfoSizeW(aPath.c_str(), &unused);
    if (size == 0) return std::string();
    std::vector<unsigned char> data(size);
    void* block = nullptr;
    UINT length = 0;
    if (!::GetFileVersionInfoW(aPath.c_str(), 0, size, data.data()) ||
        !::VerQueryValueW(data.data(), L"\\", &block, &length) ||
        length < sizeof(VS_FIXEDFILEINFO)) {
        return std::string();
    }

    const auto* const info = static_cast<const VS_FIXEDFILEINFO*>(block);
    std::string version = std::to_string(HIWORD(info->dwFileVersionMS)) + "." +
                          std::to_string(LOWORD(info->dwFileVersionMS)) + "." +
                          std::to_string(HIWORD(info->dwFileVersionLS));
    const WORD fourth = LOWORD(info->dwFileVersionLS);
    if (fourth != 0) version += "." + std::to_string(fourth);
    return version;
}

}  // namespace Qvctl
