// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "TestSupport.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "WindowsApi.h"

namespace QvTests {

namespace {

// Its name is this process's own; an earlier process with the same number may have left one.
std::string MakeTemporaryDirectory() {
    char folder[MAX_PATH] = {};
    ::GetTempPathA(MAX_PATH, folder);
    const std::string begin = folder + ("qvt" + std::to_string(::GetCurrentProcessId())) + "-";
    for (unsigned int number = 0;; ++number) {
        std::string name = begin + std::to_string(number);
        if (::CreateDirectoryA(name.c_str(), nullptr)) return name;
        if (::GetLastError() == ERROR_ALREADY_EXISTS) continue;
        ADD_FAILURE() << "cannot make " << name;
        return name;
    }
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() : path_(MakeTemporaryDirectory()) {}

TemporaryDirectory::~TemporaryDirectory() {
    WIN32_FIND_DATAA entry;
    const HANDLE search = ::FindFirstFileA((path_ + "\\*").c_str(), &entry);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            const std::string file = File(entry.cFileName);
            ::SetFileAttributesA(file.c_str(), FILE_ATTRIBUTE_NORMAL);
            ::DeleteFileA(file.c_str());
        } while (::FindNextFileA(search, &entry));
        ::FindClose(search);
    }
    ::RemoveDirectoryA(path_.c_str());
}

std::string ReadBytes(const std::string& aPath) {
    std::ifstream file(aPath, std::ios::binary);
    if (!file) ADD_FAILURE() << "cannot read " << aPath;
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void WriteBytes(const std::string& aPath, const std::string& aBytes) {
    std::ofstream file(aPath, std::ios::binary);
    file.write(aBytes.data(), static_cast<std::streamsize>(aBytes.size()));
    if (!file.flush()) ADD_FAILURE() << "cannot write " << aPath;
}

bool FileExists(const std::string& aPath) {
    return ::GetFileAttributesA(aPath.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::vector<std::string> ReadLines(const std::string& aPath) {
    std::ifstream file(aPath);
    if (!file) ADD_FAILURE() << "cannot read " << aPath;
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

}  // namespace QvTests
