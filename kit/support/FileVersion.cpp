// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/FileVersion.h"

#include <cwchar>
#include <vector>

#include "QvKit/Text.h"
#include "WindowsApi.h"

// After windows.h, which it needs.
#include <winver.h>

namespace QvKit {
namespace {

struct Part {
    void* data = nullptr;
    UINT size = 0;  // Of a text in characters, otherwise in bytes.
};

// A part of a version resource; empty when it does not have it.
Part FindPart(const std::vector<unsigned char>& aResource, const wchar_t* aName) {
    Part part;
    return ::VerQueryValueW(aResource.data(), aName, &part.data, &part.size) ? part : Part();
}

std::string VersionIn(const std::vector<unsigned char>& aResource) {
    const Part part = FindPart(aResource, L"\\");
    if (part.size < sizeof(VS_FIXEDFILEINFO)) return std::string();
    const auto* const info = static_cast<const VS_FIXEDFILEINFO*>(part.data);
    std::string version = std::to_string(HIWORD(info->dwFileVersionMS)) + "." +
                          std::to_string(LOWORD(info->dwFileVersionMS)) + "." +
                          std::to_string(HIWORD(info->dwFileVersionLS));
    const WORD fourth = LOWORD(info->dwFileVersionLS);
    if (fourth != 0) version += "." + std::to_string(fourth);
    return version;
}

std::string CompanyIn(const std::vector<unsigned char>& aResource) {
    struct Translation {
        WORD language;
        WORD codePage;
    };
    const Part first = FindPart(aResource, L"\\VarFileInfo\\Translation");
    if (first.size < sizeof(Translation)) return std::string();
    const auto* const translation = static_cast<const Translation*>(first.data);
    wchar_t name[64];
    std::swprintf(name, ARRAYSIZE(name), L"\\StringFileInfo\\%04x%04x\\CompanyName",
                  translation->language, translation->codePage);
    const Part company = FindPart(aResource, name);
    const std::wstring text(static_cast<const wchar_t*>(company.data), company.size);
    return ToUtf8(text.substr(0, text.find(L'\0')));
}

}  // namespace

FileVersion ReadFileVersion(const std::string& aPath) {
    const std::wstring path = FromUtf8(aPath);
    DWORD unused = 0;
    const DWORD size = ::GetFileVersionInfoSizeW(path.c_str(), &unused);
    std::vector<unsigned char> resource(size);
    if (size == 0 || !::GetFileVersionInfoW(path.c_str(), 0, size, resource.data()))
        return FileVersion();
    return FileVersion{VersionIn(resource), CompanyIn(resource)};
}

}  // namespace QvKit
