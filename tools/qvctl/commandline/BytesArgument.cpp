// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/BytesArgument.h"

#include <algorithm>

#include "QvKit/Text.h"
#include "UniqueHandle.h"

#include "output/ErrorReport.h"

namespace Qvctl {
namespace {

using QvBaseLib::KernelHandle;
using QvKit::ErrorKind;

// What the digit stands for; 16 for any other character.
unsigned int ToDigit(char aCharacter) {
    constexpr char kDigits[] = "0123456789abcdef";
    const char lower = aCharacter >= 'A' && aCharacter <= 'F'
                           ? static_cast<char>(aCharacter - 'A' + 'a')
                           : aCharacter;
    return static_cast<unsigned int>(std::find(kDigits, kDigits + 16, lower) - kDigits);
}

// No more than one byte too many, so that a file without an end has one.
Bytes ReadAll(HANDLE aFile, const std::string& aName) {
    constexpr std::size_t kMost = kLargestRequest + 1;
    constexpr std::size_t kChunk = 65536;
    Bytes bytes;
    while (bytes.size() < kMost) {
        const std::size_t size = bytes.size();
        bytes.resize(std::min(size + kChunk, kMost));
        DWORD count = 0;
        const BOOL done = ::ReadFile(aFile, bytes.data() + size,
                                     static_cast<DWORD>(bytes.size() - size), &count, nullptr);
        const DWORD error = ::GetLastError();
        bytes.resize(size + count);
        // The other end of a pipe has been closed.
        if (!done && error != ERROR_BROKEN_PIPE) {
            throw QvKit::SystemError(ErrorKind::SystemFailed, "cannot read " + aName, error);
        }
        if (!done || count == 0) return bytes;
    }
    throw WrongUsage(aName + " has more than " + std::to_string(kLargestRequest) + " bytes");
}

Bytes ReadWholeFile(const std::string& aPath) {
    const std::string name = "'" + aPath + "'";
    const KernelHandle file(::CreateFileW(QvKit::FromUtf8(aPath).c_str(), GENERIC_READ,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                          OPEN_EXISTING, 0, /*hTemplateFile=*/nullptr));
    const DWORD error = ::GetLastError();
    if (!file.IsValid()) {
        throw QvKit::SystemError(ErrorKind::SystemFailed, "cannot open " + name, error);
    }
    return ReadAll(file.Get(), name);
}

}  // namespace

Bytes ParseHex(const std::string& aText) {
    Bytes bytes;
    for (std::size_t index = 0; index < aText.size(); ++index) {
        if (aText[index] == ' ') continue;
        const unsigned int high = ToDigit(aText[index]);
        const unsigned int low = index + 1 < aText.size() ? ToDigit(aText[++index]) : 16;
        if (high > 15 || low > 15) {
            throw WrongUsage("'" + aText + "' is not made of pairs of hexadecimal digits");
        }
        bytes.push_back(static_cast<unsigned char>(high << 4 | low));
    }
    if (bytes.size() <= kLargestRequest) return bytes;
    throw WrongUsage("more than " + std::to_string(kLargestRequest) + " bytes");
}

Bytes ReadBytesArgument(const std::string& aText) {
    if (aText == "-") return ReadAll(::GetStdHandle(STD_INPUT_HANDLE), "standard input");
    if (aText.rfind('@', 0) == 0) return ReadWholeFile(aText.substr(1));
    return ParseHex(aText);
}

}  // namespace Qvctl
