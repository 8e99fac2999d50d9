// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The library's conversions in other code pages than the one of this process.

#ifndef QVTESTS_ANSICODEPAGE_H
#define QVTESTS_ANSICODEPAGE_H

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "ImportPatch.h"
#include "WindowsApi.h"

namespace QvTests {

/// Makes the library convert texts as in a process whose ANSI code page is this one, for as long as
/// the object lives.
class AnsiCodePage {
public:
    explicit AnsiCodePage(UINT aPage) {
        page_ = aPage;
        EXPECT_TRUE(toWide_.IsActive() && toAnsi_.IsActive());
    }

private:
    static int WINAPI ToWide(UINT aPage, DWORD aFlags, const char* aText, int aLength,
                             wchar_t* aOut, int aOutSize) {
        EXPECT_EQ(UINT{CP_ACP}, aPage);
        return ::MultiByteToWideChar(page_, aFlags, aText, aLength, aOut, aOutSize);
    }
    static int WINAPI ToAnsi(UINT aPage, DWORD aFlags, const wchar_t* aText, int aLength,
                             char* aOut, int aOutSize, const char* aDefault, BOOL* aIsDefaultUsed) {
        EXPECT_EQ(UINT{CP_ACP}, aPage);
        return ::WideCharToMultiByte(page_, aFlags, aText, aLength, aOut, aOutSize, aDefault,
                                     aIsDefaultUsed);
    }

    inline static UINT page_ = CP_ACP;

    ImportPatch toWide_{"MultiByteToWideChar", &ToWide};
    ImportPatch toAnsi_{"WideCharToMultiByte", &ToAnsi};
};

/// A code page with one text in both forms, whose characters are of every length that the page has.
struct SampleCodePage {
    const char* name;
    UINT number;
    std::string bytes;
    std::wstring units;
    /// The first byte of a character that has more.
    std::string leadByte;
    /// A text that comes back from UTF-16 as another one.
    std::string unstable;
};

// GoogleTest prints the pages with this.
inline void PrintTo(const SampleCodePage& aPage, std::ostream* aOut) { *aOut << aPage.name; }

/// Runs each test in a double-byte code page and in UTF-8.
class CodePageTest : public testing::TestWithParam<SampleCodePage> {
protected:
    void SetUp() override {
        if (!::IsValidCodePage(GetParam().number)) GTEST_SKIP() << "needs the code page";
    }

    const SampleCodePage& page = GetParam();
    const AnsiCodePage ansi{page.number};
};

inline const SampleCodePage kSampleCodePages[] = {
    {"ShiftJis", 932, "\x95\x5C\xB1\x83\x41", L"\u8868\uFF71\u30A2", "\x81", "\x87\x90"},
    {"Utf8", CP_UTF8, "\xC3\xA9\xE8\xA1\xA8\xF0\x9F\x98\x80", L"\u00E9\u8868\U0001F600", "\xE8",
     "\xE9"}};

inline std::string NameOfCodePage(const testing::TestParamInfo<SampleCodePage>& aInfo) {
    return aInfo.param.name;
}

}  // namespace QvTests

#endif
