// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/System.h"

#include <time.h>

#include <cstring>
#include <string>

#include "DateTimeText.h"
#include "WindowsApi.h"

#include <shlobj.h>

namespace QvUserLib {

namespace {

// asctime's text: 24 characters, a line feed and the terminator.
constexpr int kAsctimeSize = 26;
constexpr int kAsctimeLength = 24;

// Whether the text and its terminator fit in aSize bytes.
bool Fits(const std::string& aText, int aSize) {
    return aText.size() < static_cast<std::size_t>(aSize);
}

}  // namespace

int GetNumberOfCPU() {
    SYSTEM_INFO info = {};
    ::GetSystemInfo(&info);
    return static_cast<int>(info.dwNumberOfProcessors);
}

void GetPath(int aFolder, const char* aDirectory, const char* aFile, char* aOut, int aOutSize) {
    if (aOut == nullptr || aOutSize <= 0) return;
    aOut[0] = '\0';

    std::string path;
    char folder[MAX_PATH] = {};
    const HRESULT found =
        ::SHGetFolderPathA(nullptr, aFolder | CSIDL_FLAG_CREATE, nullptr, /*dwFlags=*/0, folder);
    if (FAILED(found)) {
        if (aFile != nullptr) path = aFile;
    } else {
        path = folder;
        if (aDirectory != nullptr) path.append("\\").append(aDirectory);
        const std::string directory = path;
        if (aFile != nullptr) path.append("\\").append(aFile);
        // It may exist already, and a failure shows when the caller opens the file.
        if (aDirectory != nullptr && Fits(path, aOutSize)) {
            ::CreateDirectoryA(directory.c_str(), nullptr);
        }
    }
    if (Fits(path, aOutSize)) std::memcpy(aOut, path.c_str(), path.size() + 1);
}

void GetDateTime(char* aOut, int aOutSize) { WriteDateTime(::_time64(nullptr), aOut, aOutSize); }

void WriteDateTime(long long aTime, char* aOut, int aOutSize) {
    if (aOut == nullptr || aOutSize <= 0) return;
    aOut[0] = '\0';
    if (aOutSize < kAsctimeSize) return;

    const __time64_t time = aTime;
    struct tm local = {};
    if (::_localtime64_s(&local, &time) != 0) return;
    if (::asctime_s(aOut, static_cast<size_t>(aOutSize), &local) != 0) {
        aOut[0] = '\0';
        return;
    }
    aOut[kAsctimeLength] = '\0';
}

}  // namespace QvUserLib
