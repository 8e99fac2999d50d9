// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/String.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <type_traits>

#include "Environment.h"
#include "WindowsApi.h"

namespace QvUserLib {

namespace {

// Bits of a String's marks: which of its forms are current.
constexpr unsigned long kAsciiCurrent = 1;
constexpr unsigned long kUnicodeCurrent = 2;

// The longest text that a conversion makes, in units.
constexpr int kMaxConverted = 4095;

// In no code page does one unit of a text come from more units of its other form than this.
constexpr int kMaxSourceUnits = 4;

// The system's conversions. They return 0 when the result does not fit.
int Convert(const char* aText, int aLength, wchar_t* aOut, int aOutSize) {
    return ::MultiByteToWideChar(CP_ACP, 0, aText, aLength, aOut, aOutSize);
}

int Convert(const wchar_t* aText, int aLength, char* aOut, int aOutSize) {
    return ::WideCharToMultiByte(CP_ACP, 0, aText, aLength, aOut, aOutSize, nullptr, nullptr);
}

// What a conversion needs to know about a text.
struct TextKind {
    // Then every ANSI code page converts it unit by unit.
    bool isAscii;
    bool hasZeros;
};

template <typename Unit>
TextKind KindOf(const std::basic_string<Unit>& aText) {
    using Unsigned = std::make_unsigned_t<Unit>;
    // As narrow as the units, so that the compiler handles many of them at a time.
    Unsigned bits = 0;
    Unsigned zeros = 0;
    for (const Unit unit : aText) {
        bits |= static_cast<Unsigned>(unit);
        zeros |= static_cast<Unsigned>(unit == Unit());
    }
    return {bits < 0x80, zeros != 0};
}

// Copies a text that is plain ASCII. It passes through a small buffer, so that the target is not
// cleared before it is filled.
template <typename Target, typename Source>
void CopyAscii(const std::basic_string<Source>& aSource, std::basic_string<Target>& aTarget) {
    constexpr std::size_t kChunk = 256;
    Target buffer[kChunk];
    aTarget.clear();
    aTarget.reserve(aSource.size());
    for (std::size_t done = 0; done < aSource.size(); done += kChunk) {
        const std::size_t count = std::min(kChunk, aSource.size() - done);
        const Source* const source = aSource.data() + done;
        for (std::size_t index = 0; index < count; ++index) {
            buffer[index] = static_cast<Target>(source[index]);
        }
        aTarget.append(buffer, count);
    }
}

// Converts a text whose result is longer than kMaxConverted units: as many whole characters as fit.
std::wstring Shortened(const char* aText, int aLength) {
    std::wstring text(static_cast<std::size_t>(aLength), L'\0');
    const int size = Convert(aText, aLength, &text[0], aLength);
    text.resize(static_cast<std::size_t>(std::min(size, kMaxConverted)));
    if (!text.empty() && IS_HIGH_SURROGATE(text.back())) text.pop_back();
    return text;
}

// The same. Only the system knows how many bytes a character takes, so this searches for the
// longest beginning that fits.
std::string Shortened(const wchar_t* aText, int aLength) {
    char buffer[kMaxConverted];
    int fits = 0;
    int tooLong = std::min(aLength, kMaxConverted) + 1;
    while (tooLong - fits > 1) {
        const int middle = fits + (tooLong - fits) / 2;
        const bool isShort = Convert(aText, middle, buffer, kMaxConverted) > 0;
        (isShort ? fits : tooLong) = middle;
    }
    if (fits > 0 && IS_HIGH_SURROGATE(aText[fits - 1])) --fits;
    const int size = fits > 0 ? Convert(aText, fits, buffer, kMaxConverted) : 0;
    return std::string(buffer, static_cast<std::size_t>(size));
}

// Converts the text up to its first zero, at most kMaxConverted units of the result. Most texts are
// plain ASCII and need no code page.
template <typename Target, typename Source>
void ConvertText(const std::basic_string<Source>& aSource, std::basic_string<Target>& aTarget) {
    const TextKind kind = KindOf(aSource);
    if (kind.isAscii && !kind.hasZeros && aSource.size() <= kMaxConverted) {
        CopyAscii(aSource, aTarget);
        return;
    }
    const std::size_t end = kind.hasZeros ? aSource.find(Source()) : aSource.size();
    // The result of this many source units contains all that is kept.
    constexpr std::size_t kMaxNeeded = std::size_t{kMaxConverted} * kMaxSourceUnits;
    const auto length = static_cast<int>(std::min(end, kMaxNeeded));
    if (length == 0) {
        aTarget.clear();
        return;
    }
    // Leave out the terminator: an incomplete character before it could swallow it.
    Target buffer[kMaxConverted];
    const int size = Convert(aSource.data(), length, buffer, kMaxConverted);
    if (size > 0) {
        aTarget.assign(buffer, std::find(buffer, buffer + size, Target()));
    } else {
        aTarget = Shortened(aSource.data(), length);
    }
}

template <typename Unit>
const Unit* OrEmpty(const Unit* aText) {
    static const Unit kEmpty = Unit();
    return aText != nullptr ? aText : &kEmpty;
}

// The zero-terminated text, cut or padded with zeros. Nothing past aLength is read.
template <typename Unit>
std::basic_string<Unit> Resized(const Unit* aText, unsigned int aLength) {
    const Unit* const text = OrEmpty(aText);
    std::size_t length = 0;
    while (length < aLength && text[length] != Unit()) ++length;
    std::basic_string<Unit> resized(text, length);
    resized.resize(aLength);
    return resized;
}

template <typename Unit>
const Unit* From(const std::basic_string<Unit>& aText, unsigned int aStart) {
    return aText.c_str() + std::min<std::size_t>(aStart, aText.size());
}

// Bytes from 0x80 stay as they are, whatever locale the client has set.
std::string MapAscii(const char* aText, std::size_t aLength, int (*aMap)(int)) {
    std::string mapped(aText, aLength);
    for (char& character : mapped) {
        if (static_cast<signed char>(character) >= 0) {
            character = static_cast<char>(aMap(character));
        }
    }
    return mapped;
}

}  // namespace

String::String() : marks_(0) {}

String::String(const char* aText) : marks_(kAsciiCurrent), ascii_(OrEmpty(aText)) {}

String::String(const char* aText, unsigned int aLength)
    : marks_(kAsciiCurrent), ascii_(Resized(aText, aLength)) {}

String::String(const wchar_t* aText) : marks_(kUnicodeCurrent), unicode_(OrEmpty(aText)) {}

String::String(const wchar_t* aText, unsigned int aLength)
    : marks_(kUnicodeCurrent), unicode_(Resized(aText, aLength)) {}

String::String(char aCharacter) : marks_(kAsciiCurrent), ascii_(1, aCharacter) {}

String::String(wchar_t aCharacter) : marks_(kUnicodeCurrent), unicode_(1, aCharacter) {}

String::String(const String& aOther) : marks_(kUnicodeCurrent) {
    aOther.BuildUnicode();
    unicode_ = aOther.unicode_;
}

String::String(const String& aOther, unsigned int aStart) : marks_(kUnicodeCurrent) {
    aOther.BuildUnicode();
    unicode_ = From(aOther.unicode_, aStart);
}

String::String(const String& aOther, unsigned int aStart, unsigned int aCount)
    : marks_(kUnicodeCurrent) {
    aOther.BuildUnicode();
    unicode_ = Resized(From(aOther.unicode_, aStart), aCount);
}

String::~String() = default;

String& String::operator=(const String& aOther) {
    aOther.BuildUnicode();
    unicode_ = aOther.unicode_;
    marks_ = kUnicodeCurrent;
    return *this;
}

String& String::operator+=(const String& aOther) {
    BuildUnicode();
    aOther.BuildUnicode();
    unicode_ += aOther.unicode_;
    marks_ = kUnicodeCurrent;
    return *this;
}

unsigned long String::GetLength() const {
    if ((marks_ & kAsciiCurrent) != 0) return static_cast<unsigned long>(ascii_.size());
    if ((marks_ & kUnicodeCurrent) != 0) return static_cast<unsigned long>(unicode_.size());
    return 0;
}

bool String::IsEmpty() const {
    if ((marks_ & kAsciiCurrent) != 0 && !ascii_.empty()) return false;
    return (marks_ & kUnicodeCurrent) == 0 || unicode_.empty();
}

void String::Clear() {
    ascii_.clear();
    unicode_.clear();
    marks_ = kAsciiCurrent | kUnicodeCurrent;
}

const char* String::GetAscii() const {
    BuildAscii();
    return ascii_.c_str();
}

String::operator const char*() const { return GetAscii(); }

const wchar_t* String::GetUnicode() const {
    BuildUnicode();
    return unicode_.c_str();
}

String::operator const wchar_t*() const { return GetUnicode(); }

bool String::operator==(const String& aOther) const {
    return std::strcmp(GetAscii(), aOther.GetAscii()) == 0;
}

bool String::operator!=(const String& aOther) const { return !(*this == aOther); }

bool String::operator<(const String& aOther) const {
    return std::strcmp(GetAscii(), aOther.GetAscii()) < 0;
}

std::string String::ToUpper() const {
    BuildAscii();
    return MapAscii(ascii_.data(), ascii_.size(), std::toupper);
}

std::string String::ToLower() const {
    BuildAscii();
    return MapAscii(ascii_.data(), ascii_.size(), std::tolower);
}

std::string String::ExpandEnvironmentVariables() const {
    BuildAscii();
    std::string expanded = ascii_;

    const std::size_t first = expanded.find('%');
    if (first == std::string::npos) return std::string();
    const std::size_t second = expanded.find('%', first + 1);
    if (second == std::string::npos) return std::string();

    std::string value;
    if (ReadEnvironment(expanded.substr(first + 1, second - first - 1).c_str(), &value)) {
        expanded.replace(first, second - first + 1, value);
    }
    return expanded;
}

void String::BuildAscii() const {
    if (marks_ != kUnicodeCurrent) return;
    ConvertText(unicode_, ascii_);
    marks_ |= kAsciiCurrent;
}

void String::BuildUnicode() const {
    if (marks_ != kAsciiCurrent) return;
    ConvertText(ascii_, unicode_);
    marks_ |= kUnicodeCurrent;
}

}  // namespace QvUserLib
