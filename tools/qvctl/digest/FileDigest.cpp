// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "digest/FileDigest.h"

#include <algorithm>
#include <vector>

#include "QvKit/Error.h"
#include "QvKit/Text.h"
#include "QvUserLib/MD5.h"
#include "UniqueHandle.h"

namespace Qvctl {
namespace {

using QvBaseLib::KernelHandle;
using QvUserLib::MD5;
using QvUserLib::Progress;

constexpr unsigned int kPieceBytes = 1024 * 1024;
constexpr std::size_t kDigestBytes = 16;

KernelHandle OpenFile(const std::string& aPath) {
    return KernelHandle(::CreateFileW(QvKit::FromUtf8(aPath).c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

std::string Hexadecimal(const unsigned char* aDigest) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t index = 0; index < kDigestBytes; ++index) {
        text += {kDigits[aDigest[index] >> 4], kDigits[aDigest[index] & 0xF]};
    }
    return text;
}

bool IsHexadecimal(char aCharacter) {
    return (aCharacter >= '0' && aCharacter <= '9') || (aCharacter >= 'a' && aCharacter <= 'f') ||
           (aCharacter >= 'A' && aCharacter <= 'F');
}

void BeginProgress(const KernelHandle& aFile, Progress& aProgress) {
    LARGE_INTEGER size = {};
    // Without a size there is no percentage.
    if (!::GetFileSizeEx(aFile.Get(), &size)) size.QuadPart = 0;
    aProgress.Reset();
    aProgress.SetStepTotal(
        static_cast<unsigned int>((size.QuadPart + kPieceBytes - 1) / kPieceBytes));
}

std::string Escape(const std::string& aName) {
    std::string escaped;
    for (const char character : aName) {
        switch (character) {
            case '\\':
                escaped += "\\\\";
                break;
            case '\n':
                escaped += "\\n";
                break;
            case '\r':
                escaped += "\\r";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

// Nothing for an escape that is none.
std::optional<std::string> Unescape(const std::string& aText) {
    std::string name;
    for (std::size_t index = 0; index < aText.size(); ++index) {
        if (aText[index] != '\\') {
            name += aText[index];
            continue;
        }
        if (++index == aText.size()) return std::nullopt;
        switch (aText[index]) {
            case '\\':
                name += '\\';
                break;
            case 'n':
                name += '\n';
                break;
            case 'r':
                name += '\r';
                break;
            default:
                return std::nullopt;
        }
    }
    return name;
}

}  // namespace

FileDigest DigestFile(const std::string& aPath, Progress& aProgress,
                      const std::function<void()>& aOnStep) {
    MD5 digest;
    const QvUserLib::Result begun = digest.Init();
    if (begun.IsFailure()) {
        throw QvKit::Error(QvKit::ErrorKind::SystemFailed, "the system has no MD5 functions",
                           begun.GetCode());
    }

    const KernelHandle file = OpenFile(aPath);
    const DWORD error = ::GetLastError();
    if (!file.IsValid()) return FileDigest{std::string(), error};
    BeginProgress(file, aProgress);
    aProgress.SetStatus(QvKit::ToLibraryText(aPath));

    std::vector<unsigned char> piece(kPieceBytes);
    for (;;) {
        DWORD size = 0;
        if (!::ReadFile(file.Get(), piece.data(), kPieceBytes, &size, nullptr)) {
            return FileDigest{std::string(), ::GetLastError()};
        }
        if (size == 0) break;
        digest.Update(piece.data(), size);
        aProgress.StepIncrement();
        aProgress.SetPercentage();
        aOnStep();
    }
    digest.Final();
    return FileDigest{Hexadecimal(digest.GetDigest()), 0};
}

std::string FormatDigestLine(const DigestLine& aLine) {
    const std::string escaped = Escape(aLine.path);
    return (escaped != aLine.path ? "\\" : "") + aLine.digest + "  " + escaped;
}

std::optional<DigestLine> ParseDigestLine(const std::string& aText) {
    const std::size_t start = !aText.empty() && aText[0] == '\\' ? 1 : 0;
    const std::size_t end = start + 2 * kDigestBytes;
    // A blank, then another one or a star, then at least one character of the name.
    if (aText.size() < end + 3 || aText[end] != ' ') return std::nullopt;
    if (aText[end + 1] != ' ' && aText[end + 1] != '*') return std::nullopt;

    DigestLine line{aText.substr(start, 2 * kDigestBytes), aText.substr(end + 2)};
    if (!std::all_of(line.digest.begin(), line.digest.end(), IsHexadecimal)) return std::nullopt;
    std::transform(line.digest.begin(), line.digest.end(), line.digest.begin(), [](char aDigit) {
        return static_cast<char>(aDigit >= 'A' && aDigit <= 'F' ? aDigit - 'A' + 'a' : aDigit);
    });
    if (start == 0) return line;

    const std::optional<std::string> name = Unescape(line.path);
    if (!name) return std::nullopt;
    line.path = *name;
    return line;
}

}  // namespace Qvctl
