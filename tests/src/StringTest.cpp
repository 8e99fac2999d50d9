// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/String.h"

#include <stdlib.h>

#include <algorithm>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>

#include "AnsiCodePage.h"
#include "ImportPatch.h"
#include "TestSupport.h"
#include "WindowsApi.h"

namespace QvTests {
namespace {

constexpr unsigned long kNone = 0;
constexpr unsigned long kAscii = 1;
constexpr unsigned long kUnicode = 2;
constexpr unsigned long kBoth = 3;

constexpr std::size_t kMaxConverted = 4095;

// The documented place of a field, behind the pointer to the virtual table.
template <typename Field>
const Field& FieldAt(const String& aText, std::size_t aOffset) {
    return *reinterpret_cast<const Field*>(reinterpret_cast<const char*>(&aText) + aOffset);
}

unsigned long Marks(const String& aText) { return FieldAt<unsigned long>(aText, sizeof(void*)); }

// The whole UTF-16 form, zeros included. The form must be current.
std::wstring UnicodeOf(const String& aText) {
    EXPECT_NE(kNone, Marks(aText) & kUnicode);
    return FieldAt<std::wstring>(aText, 2 * sizeof(void*) + sizeof(std::string));
}

// The whole 8-bit form, zeros included. The form must be current.
std::string AsciiOf(const String& aText) {
    EXPECT_NE(kNone, Marks(aText) & kAscii);
    return FieldAt<std::string>(aText, 2 * sizeof(void*));
}

std::string LongText(std::size_t aLength) {
    std::string text(aLength, '\0');
    for (std::size_t i = 0; i < aLength; ++i) text[i] = static_cast<char>('a' + i % 23);
    return text;
}

std::wstring Widen(const std::string& aText) { return std::wstring(aText.begin(), aText.end()); }

// A UTF-16 text with a zero in it: ab, zero, cd.
std::wstring TextWithZero() { return std::wstring(L"ab\0cd", 5); }

String StringWithZero() {
    String text(L"ab", 3);
    text += String(L"cd");
    return text;
}

// A variable of the C library's environment, for the life of the object.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* aName, const std::string& aValue) : name_(aName) {
        if (_putenv_s(aName, aValue.c_str()) != 0) ADD_FAILURE() << "cannot set " << aName;
    }
    ~EnvironmentVariable() { _putenv_s(name_, ""); }

    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    const char* name_;
};

// Counts its destructions.
class CountedString : public String {
public:
    explicit CountedString(int* aCount = nullptr) : String("counted"), count_(aCount) {}
    ~CountedString() override {
        if (count_ != nullptr) ++*count_;
    }
    void CountIn(int* aCount) { count_ = aCount; }

private:
    int* count_;
};

TEST(StringTest, FieldsStandInTheDocumentedOrder) {
    const String text("abc");
    ASSERT_STREQ(L"abc", text.GetUnicode());

    EXPECT_EQ(2 * sizeof(void*) + sizeof(std::string) + sizeof(std::wstring), sizeof(String));
    EXPECT_EQ(kBoth, Marks(text));
    EXPECT_EQ("abc", AsciiOf(text));
    EXPECT_EQ(L"abc", UnicodeOf(text));
}

TEST(StringTest, ConstructorsStoreOneFormAndMarkOnlyThat) {
    const String ascii("source");
    const String wide(L"source");
    const struct {
        const char* name;
        String text;
        unsigned long marks;
        unsigned long length;
        const char* content;
    } cases[] = {
        {"nothing", String(), kNone, 0, ""},
        {"8-bit text", String("abc"), kAscii, 3, "abc"},
        {"empty 8-bit text", String(""), kAscii, 0, ""},
        {"8-bit text, cut", String("abcdef", 3), kAscii, 3, "abc"},
        {"8-bit text, exact", String("abc", 3), kAscii, 3, "abc"},
        {"8-bit text, padded", String("abc", 5), kAscii, 5, "abc"},
        {"8-bit text, length 0", String("abc", 0), kAscii, 0, ""},
        {"UTF-16 text", String(L"abc"), kUnicode, 3, "abc"},
        {"empty UTF-16 text", String(L""), kUnicode, 0, ""},
        {"UTF-16 text, cut", String(L"abcdef", 3), kUnicode, 3, "abc"},
        {"UTF-16 text, exact", String(L"abc", 3), kUnicode, 3, "abc"},
        {"UTF-16 text, padded", String(L"abc", 5), kUnicode, 5, "abc"},
        {"UTF-16 text, length 0", String(L"abc", 0), kUnicode, 0, ""},
        {"8-bit character", String('x'), kAscii, 1, "x"},
        {"UTF-16 character", String(L'x'), kUnicode, 1, "x"},
        {"8-bit zero character", String('\0'), kAscii, 1, ""},
        {"UTF-16 zero character", String(L'\0'), kUnicode, 1, ""},
        {"copy of 8-bit text", String(ascii), kUnicode, 6, "source"},
        {"copy of UTF-16 text", String(wide), kUnicode, 6, "source"},
        {"rest of 8-bit text", String(ascii, 2), kUnicode, 4, "urce"},
        {"rest of UTF-16 text", String(wide, 2), kUnicode, 4, "urce"},
        {"part of 8-bit text", String(ascii, 2, 3), kUnicode, 3, "urc"},
        {"part of UTF-16 text", String(wide, 2, 3), kUnicode, 3, "urc"},
        {"part, padded", String(wide, 2, 9), kUnicode, 9, "urce"},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.name);
        EXPECT_EQ(entry.marks, Marks(entry.text));
        EXPECT_EQ(entry.length, entry.text.GetLength());
        EXPECT_STREQ(entry.content, entry.text.GetAscii());
    }
}

TEST(StringTest, NullPointersReadAsEmptyText) {
    const char* const noAscii = nullptr;
    const wchar_t* const noUnicode = nullptr;

    EXPECT_EQ("", AsciiOf(String(noAscii)));
    EXPECT_EQ(std::string(3, '\0'), AsciiOf(String(noAscii, 3)));
    EXPECT_EQ(L"", UnicodeOf(String(noUnicode)));
    EXPECT_EQ(std::wstring(3, L'\0'), UnicodeOf(String(noUnicode, 3)));
}

TEST(StringTest, PaddingAndCuttingGiveExactlyTheLength) {
    EXPECT_EQ(std::string("abc\0\0", 5), AsciiOf(String("abc", 5)));
    EXPECT_EQ("abc", AsciiOf(String("abcdef", 3)));
    EXPECT_EQ(std::wstring(L"abc\0\0", 5), UnicodeOf(String(L"abc", 5)));
    EXPECT_EQ(L"abc", UnicodeOf(String(L"abcdef", 3)));
}

TEST(StringTest, ConstructorsWithLengthStopAtTheFirstZero) {
    EXPECT_EQ(std::string("ab\0\0\0", 5), AsciiOf(String("ab\0cd", 5)));
    EXPECT_EQ(std::wstring(L"ab\0\0\0", 5), UnicodeOf(String(L"ab\0cd", 5)));
}

TEST(StringTest, CopyingBuildsTheUnicodeFormInTheSourceToo) {
    const String source("abc");

    const String copy(source);

    EXPECT_EQ(kBoth, Marks(source));
    EXPECT_EQ(kUnicode, Marks(copy));
}

TEST(StringTest, CopiesOfAnEmptyStringHoldAnEmptyUnicodeForm) {
    const String nothing;
    String assigned("abc");
    assigned = nothing;

    EXPECT_EQ(L"", UnicodeOf(String(nothing)));
    EXPECT_EQ(L"", UnicodeOf(String(nothing, 0)));
    EXPECT_EQ(std::wstring(2, L'\0'), UnicodeOf(String(nothing, 0, 2)));
    EXPECT_EQ(L"", UnicodeOf(assigned));
    EXPECT_EQ(kUnicode, Marks(assigned));
    EXPECT_EQ(kNone, Marks(nothing));
}

TEST(StringTest, StartBeyondTheEndGivesAnEmptyText) {
    const String source("abc");
    for (const unsigned int start : {3u, 4u, 1000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(start);
        EXPECT_EQ(L"", UnicodeOf(String(source, start)));
        EXPECT_EQ(std::wstring(2, L'\0'), UnicodeOf(String(source, start, 2)));
    }
}

TEST(StringTest, ConstructorsWithStartStopAtTheFirstZero) {
    const String source = StringWithZero();

    EXPECT_EQ(L"b", UnicodeOf(String(source, 1)));
    EXPECT_EQ(L"", UnicodeOf(String(source, 2)));
    EXPECT_EQ(L"d", UnicodeOf(String(source, 4)));
    EXPECT_EQ(std::wstring(L"ab\0\0\0", 5), UnicodeOf(String(source, 0, 5)));
}

TEST(StringTest, CopyingKeepsEmbeddedZeros) {
    const String source = StringWithZero();

    EXPECT_EQ(TextWithZero(), UnicodeOf(String(source)));
    EXPECT_EQ(5u, String(source).GetLength());
}

TEST(StringTest, AssigningKeepsEmbeddedZeros) {
    String target("earlier");

    target = StringWithZero();

    EXPECT_EQ(TextWithZero(), UnicodeOf(target));
    EXPECT_EQ(5u, target.GetLength());
}

TEST(StringTest, AppendingKeepsEmbeddedZerosOfBothTexts) {
    String target = StringWithZero();

    target += StringWithZero();

    EXPECT_EQ(std::wstring(L"ab\0cdab\0cd", 10), UnicodeOf(target));
}

TEST(StringTest, ConversionEndsAtTheFirstZero) {
    const String ascii("abc", 5);
    const String wide = StringWithZero();

    EXPECT_STREQ(L"abc", ascii.GetUnicode());
    EXPECT_EQ(L"abc", UnicodeOf(ascii));
    EXPECT_STREQ("ab", wide.GetAscii());
    EXPECT_EQ("ab", AsciiOf(wide));
}

TEST(StringTest, LengthIsThatOfTheEightBitFormWhenItIsCurrent) {
    const String ascii("abc", 5);
    const String wide = StringWithZero();
    ASSERT_EQ(5u, wide.GetLength());

    (void)ascii.GetUnicode();
    (void)wide.GetAscii();

    EXPECT_EQ(5u, ascii.GetLength());
    EXPECT_EQ(2u, wide.GetLength());
}

TEST(StringTest, LengthAndEmptinessConvertNothing) {
    const String ascii("abc");
    const String wide(L"abc");
    EXPECT_EQ(3u, ascii.GetLength());
    EXPECT_EQ(3u, wide.GetLength());
    EXPECT_FALSE(ascii.IsEmpty());
    EXPECT_FALSE(wide.IsEmpty());

    EXPECT_EQ(kAscii, Marks(ascii));
    EXPECT_EQ(kUnicode, Marks(wide));
}

TEST(StringTest, OnlyATextWithoutCharactersIsEmpty) {
    EXPECT_TRUE(String().IsEmpty());
    EXPECT_TRUE(String("").IsEmpty());
    EXPECT_TRUE(String(L"").IsEmpty());
    EXPECT_TRUE(String(String()).IsEmpty());
    EXPECT_FALSE(String("", 1).IsEmpty());
    EXPECT_FALSE(String(L"", 1).IsEmpty());
    EXPECT_FALSE(String("a").IsEmpty());
}

TEST(StringTest, EightBitFormOfOnlyAZeroReadsAsNonEmptyAlsoWhenConverted) {
    const String wide(L"", 1);
    ASSERT_STREQ("", wide.GetAscii());

    EXPECT_FALSE(wide.IsEmpty());
    EXPECT_EQ(0u, wide.GetLength());

    const String ascii("", 1);
    ASSERT_STREQ(L"", ascii.GetUnicode());
    EXPECT_FALSE(ascii.IsEmpty());
}

TEST(StringTest, ClearEmptiesBothFormsAndMarksThemCurrent) {
    String texts[] = {String(), String("abc"), String(L"abc")};
    for (String& text : texts) {
        text.Clear();

        EXPECT_EQ(kBoth, Marks(text));
        EXPECT_EQ("", AsciiOf(text));
        EXPECT_EQ(L"", UnicodeOf(text));
        EXPECT_TRUE(text.IsEmpty());
    }
}

TEST(StringTest, FormsAreBuiltOnDemandInAConstObject) {
    const String ascii("abc");
    const String wide(L"abc");

    EXPECT_STREQ(L"abc", ascii.GetUnicode());
    EXPECT_STREQ("abc", wide.GetAscii());

    EXPECT_EQ(kBoth, Marks(ascii));
    EXPECT_EQ(kBoth, Marks(wide));
}

TEST(StringTest, OperatorsGiveTheSameTextsAsTheReaders) {
    const String ascii("abc");
    const String wide(L"abc");

    EXPECT_EQ(ascii.GetAscii(), static_cast<const char*>(ascii));
    EXPECT_STREQ(L"abc", static_cast<const wchar_t*>(ascii));
    EXPECT_EQ(wide.GetUnicode(), static_cast<const wchar_t*>(wide));
    EXPECT_STREQ("abc", static_cast<const char*>(wide));
}

TEST(StringTest, StringWithoutTextReadsAsEmptyInBothForms) {
    const String nothing;

    EXPECT_STREQ("", nothing.GetAscii());
    EXPECT_STREQ(L"", nothing.GetUnicode());
    EXPECT_EQ(0u, nothing.GetLength());
}

TEST(StringTest, ConversionCarriesAtMost4095Characters) {
    for (const std::size_t length : {4094, 4095, 4096, 5000, 40000}) {
        SCOPED_TRACE(length);
        const std::string text = LongText(length);
        const std::wstring wideText = Widen(text);
        const String ascii(text.c_str());
        const String wide(wideText.c_str());

        EXPECT_TRUE(wideText.substr(0, kMaxConverted) == ascii.GetUnicode());
        EXPECT_TRUE(text.substr(0, kMaxConverted) == wide.GetAscii());
        EXPECT_EQ(std::min(length, kMaxConverted), UnicodeOf(ascii).size());
        EXPECT_EQ(std::min(length, kMaxConverted), AsciiOf(wide).size());
    }
}

// The most units that the library asks the system to convert.
int theLongestSource = 0;

int WINAPI NoteToWide(UINT aCodePage, DWORD aFlags, const char* aText, int aLength, wchar_t* aOut,
                      int aOutSize) {
    EXPECT_EQ(0u, aCodePage);
    EXPECT_EQ(0u, aFlags);
    theLongestSource = std::max(theLongestSource, aLength);
    return ::MultiByteToWideChar(aCodePage, aFlags, aText, aLength, aOut, aOutSize);
}

int WINAPI NoteToAnsi(UINT aCodePage, DWORD aFlags, const wchar_t* aText, int aLength, char* aOut,
                      int aOutSize, const char* aDefault, BOOL* aIsDefaultUsed) {
    EXPECT_EQ(0u, aCodePage);
    EXPECT_EQ(0u, aFlags);
    EXPECT_EQ(nullptr, aDefault);
    theLongestSource = std::max(theLongestSource, aLength);
    return ::WideCharToMultiByte(aCodePage, aFlags, aText, aLength, aOut, aOutSize, aDefault,
                                 aIsDefaultUsed);
}

TEST(StringTest, ConversionReadsNothingBehindTheText) {
    const ImportPatch toWide("MultiByteToWideChar", &NoteToWide);
    const ImportPatch toAnsi("WideCharToMultiByte", &NoteToAnsi);
    std::string text = LongText(5000);
    text[0] = '\xE4';  // The library converts pure ASCII without the system.
    theLongestSource = 0;

    (void)String(text.c_str()).GetUnicode();
    (void)String(Widen(text).c_str()).GetAscii();

    EXPECT_LE(5000, theLongestSource);
    EXPECT_GE(5001, theLongestSource);
}

TEST(StringTest, FormThatIsCurrentStaysWholeWhenItIsTooLongToConvert) {
    const std::string text = LongText(5000);
    const String ascii(text.c_str());
    const String wide(Widen(text).c_str());
    (void)ascii.GetUnicode();
    (void)wide.GetAscii();

    EXPECT_TRUE(text == ascii.GetAscii());
    EXPECT_EQ(5000u, ascii.GetLength());
    EXPECT_TRUE(Widen(text) == wide.GetUnicode());
    EXPECT_EQ(5000u, String(wide).GetLength());
}

TEST(StringTest, CopyOfALongEightBitTextLosesWhatConversionDoesNotCarry) {
    const String copy(String(LongText(5000).c_str()), 0);

    EXPECT_EQ(kMaxConverted, copy.GetLength());
}

TEST(StringTest, CharactersOfTheCodePageConvertBothWays) {
    if (::GetACP() != 1252) GTEST_SKIP() << "needs code page 1252";
    const char* const ascii = "\xC4\xE9\xDF\x80\xFF\xB5s";
    const wchar_t* const wide = L"\u00C4\u00E9\u00DF\u20AC\u00FF\u00B5s";

    EXPECT_STREQ(wide, String(ascii).GetUnicode());
    EXPECT_STREQ(ascii, String(wide).GetAscii());
    EXPECT_STREQ(L"\u20AC", String('\x80').GetUnicode());
    EXPECT_STREQ("\x80", String(L'\u20AC').GetAscii());
}

TEST(StringTest, LongNonAsciiTextIsCutAt4095CharactersBothWays) {
    if (::GetACP() != 1252) GTEST_SKIP() << "needs code page 1252";
    const std::string text(5000, '\x80');
    const std::wstring wideText(5000, L'\u20AC');

    EXPECT_TRUE(std::wstring(kMaxConverted, L'\u20AC') == String(text.c_str()).GetUnicode());
    EXPECT_TRUE(std::string(kMaxConverted, '\x80') == String(wideText.c_str()).GetAscii());
}

TEST(StringTest, CharactersOutsideTheCodePageBecomeItsSubstitute) {
    if (::GetACP() != 1252) GTEST_SKIP() << "needs code page 1252";
    const String text(L"a\u4E2Db\u0436");

    EXPECT_STREQ("a?b?", text.GetAscii());
    EXPECT_STREQ(L"a\u4E2Db\u0436", text.GetUnicode());
}

TEST(StringTest, AssignmentTakesOverTheUnicodeFormOnly) {
    const String source("longer text");
    String target("abc");

    String& returned = target = source;

    EXPECT_EQ(&target, &returned);
    EXPECT_EQ(kUnicode, Marks(target));
    EXPECT_EQ(kBoth, Marks(source));
    EXPECT_EQ(11u, target.GetLength());
    EXPECT_STREQ("longer text", target.GetAscii());
    EXPECT_EQ(kBoth, Marks(target));
}

TEST(StringTest, AssignmentToItselfKeepsTheText) {
    for (const char* const text : {"", "abc", "a text too long for the string's own buffer"}) {
        SCOPED_TRACE(text);
        String target(text);
        const String& source = target;

        target = source;

        EXPECT_EQ(kUnicode, Marks(target));
        EXPECT_STREQ(text, target.GetAscii());
    }
}

TEST(StringTest, AppendingLeavesTheUnicodeFormOnly) {
    String target("abc");
    ASSERT_STREQ(L"abc", target.GetUnicode());
    const String source("def");

    String& returned = target += source;

    EXPECT_EQ(&target, &returned);
    EXPECT_EQ(kUnicode, Marks(target));
    EXPECT_EQ(kBoth, Marks(source));
    EXPECT_EQ(6u, target.GetLength());
    EXPECT_STREQ("abcdef", target.GetAscii());
}

TEST(StringTest, AppendingToAStringWithoutTextGivesTheAppendedText) {
    String target;

    target += String("abc");

    EXPECT_EQ(kUnicode, Marks(target));
    EXPECT_EQ(L"abc", UnicodeOf(target));
    EXPECT_STREQ("abc", target.GetAscii());
}

TEST(StringTest, AppendingAStringWithoutTextChangesNoCharacter) {
    String target("abc");

    target += String();

    EXPECT_STREQ("abc", target.GetAscii());
    EXPECT_STREQ(L"abc", target.GetUnicode());
}

TEST(StringTest, AppendingToItselfDoublesTheText) {
    for (const std::string text : {"", "ab", "a text too long for the string's own buffer"}) {
        SCOPED_TRACE(text);
        String target(text.c_str());

        target += target;

        EXPECT_EQ(text + text, target.GetAscii());
    }
}

TEST(StringTest, AppendingGrowsBeyondWhatConversionCarries) {
    String target(L"");
    const String block(Widen(LongText(3000)).c_str());

    target += block;
    target += block;

    EXPECT_EQ(6000u, target.GetLength());
    EXPECT_EQ(kMaxConverted, std::strlen(target.GetAscii()));
}

TEST(StringTest, OrderIsThatOfUnsignedBytes) {
    const struct {
        String smaller;
        String greater;
    } cases[] = {
        {String("a"), String("b")},       {String("B"), String("a")},
        {String("ab"), String("abc")},    {String(""), String("a")},
        {String("\x7F"), String("\x80")}, {String("z"), String("\xE4")},
        {String("\x80"), String("\xFF")}, {String("a\x7Fz"), String("a\x80\x01")},
        {String(L"ab"), String("abc")},   {String(), String("\x01")},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(testing::Message()
                     << entry.smaller.GetAscii() << " < " << entry.greater.GetAscii());
        EXPECT_TRUE(entry.smaller < entry.greater);
        EXPECT_FALSE(entry.greater < entry.smaller);
        EXPECT_FALSE(entry.smaller == entry.greater);
        EXPECT_TRUE(entry.smaller != entry.greater);
    }
}

TEST(StringTest, EqualTextsCompareEqualInEitherForm) {
    const struct {
        String left;
        String right;
    } cases[] = {
        {String("abc"), String("abc")},
        {String("abc"), String(L"abc")},
        {String(L"abc"), String(L"abc")},
        {String(), String("")},
        {String(), String(L"")},
        {String("abc", 5), String("abc")},
        {StringWithZero(), String("ab")},
        {String("ab\x80"), String("ab\x80")},
        {String("abc", 4), String(L"abc\0x", 5)},
        {String('\0'), String()},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.left.GetAscii());
        EXPECT_TRUE(entry.left == entry.right);
        EXPECT_FALSE(entry.left != entry.right);
        EXPECT_FALSE(entry.left < entry.right);
        EXPECT_FALSE(entry.right < entry.left);
    }
}

TEST(StringTest, ComparisonBuildsTheEightBitFormOfBoth) {
    const String left(L"abc");
    const String right(L"abd");

    EXPECT_TRUE(left < right);

    EXPECT_EQ(kBoth, Marks(left));
    EXPECT_EQ(kBoth, Marks(right));
}

TEST(StringTest, UpperAndLowerCaseChangeOnlyAsciiLetters) {
    const String text("aZ 1_z\xE4\xC4\x80\xFF[`{@");

    EXPECT_EQ("AZ 1_Z\xE4\xC4\x80\xFF[`{@", text.ToUpper());
    EXPECT_EQ("az 1_z\xE4\xC4\x80\xFF[`{@", text.ToLower());
}

// A client's locale may have other letters.
TEST(StringTest, UpperAndLowerCaseDoNotFollowTheLocale) {
    if (std::setlocale(LC_CTYPE, ".1252") == nullptr) GTEST_SKIP() << "no such locale";
    const String text("aZ\xE4\xC4");

    EXPECT_EQ("AZ\xE4\xC4", text.ToUpper());
    EXPECT_EQ("az\xE4\xC4", text.ToLower());
    (void)std::setlocale(LC_CTYPE, "C");  // This locale always exists.
}

TEST(StringTest, UpperAndLowerCaseCoverEveryByteOfTheEightBitForm) {
    EXPECT_EQ(std::string("AB\0\0", 4), String("aB", 4).ToUpper());
    EXPECT_EQ(std::string("ab\0\0", 4), String("aB", 4).ToLower());
    EXPECT_EQ("", String().ToUpper());
    EXPECT_EQ("", String().ToLower());
}

TEST(StringTest, TextServicesLeaveTheTextAndMayFillTheEightBitForm) {
    const EnvironmentVariable variable("QV_STRING_TEST_A", "value");
    const String text(L"Gain %QV_STRING_TEST_A%");

    EXPECT_EQ("GAIN %QV_STRING_TEST_A%", text.ToUpper());
    EXPECT_EQ("gain %qv_string_test_a%", text.ToLower());
    EXPECT_EQ("Gain value", text.ExpandEnvironmentVariables());

    EXPECT_EQ(kBoth, Marks(text));
    EXPECT_EQ(L"Gain %QV_STRING_TEST_A%", UnicodeOf(text));
    EXPECT_EQ("Gain %QV_STRING_TEST_A%", AsciiOf(text));
}

TEST(StringTest, ExpansionReplacesTheFirstDelimitedNameOnly) {
    const EnvironmentVariable a("QV_STRING_TEST_A", "alpha");
    const EnvironmentVariable b("QV_STRING_TEST_B", "beta");
    const EnvironmentVariable nested("QV_STRING_TEST_C", "%QV_STRING_TEST_A%");
    const char* const cases[][2] = {
        {"%QV_STRING_TEST_A%", "alpha"},
        {"in %QV_STRING_TEST_A%\\file", "in alpha\\file"},
        {"%QV_STRING_TEST_A%%QV_STRING_TEST_B%", "alpha%QV_STRING_TEST_B%"},
        {"%QV_STRING_TEST_A% 100%", "alpha 100%"},
        {"%QV_STRING_TEST_C%", "%QV_STRING_TEST_A%"},
        {"x%QV_STRING_TEST_MISSING%y", "x%QV_STRING_TEST_MISSING%y"},
        {"%QV_STRING_TEST_MISSING%%QV_STRING_TEST_A%",
         "%QV_STRING_TEST_MISSING%%QV_STRING_TEST_A%"},
        {"%%", "%%"},
        {"%% %QV_STRING_TEST_A%", "%% %QV_STRING_TEST_A%"},
        {"5% of %QV_STRING_TEST_A%", "5% of %QV_STRING_TEST_A%"},
    };
    for (const auto& [text, expanded] : cases) {
        SCOPED_TRACE(text);
        EXPECT_EQ(expanded, String(text).ExpandEnvironmentVariables());
    }
}

TEST(StringTest, ExpansionOfATextWithoutTwoPercentSignsIsEmpty) {
    for (const char* const text : {"", "no name in it", "%", "%QV_STRING_TEST_A", "100%"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ("", String(text).ExpandEnvironmentVariables());
    }
    EXPECT_EQ("", String().ExpandEnvironmentVariables());
}

TEST(StringTest, ExpansionTakesValuesOfAnyLength) {
    const std::string value = LongText(20000);
    const EnvironmentVariable variable("QV_STRING_TEST_A", value);

    EXPECT_TRUE("<" + value + ">" == String("<%QV_STRING_TEST_A%>").ExpandEnvironmentVariables());
}

// Another thread makes the value longer after it is measured and before it is copied.
errno_t GetGrowingVariable(std::size_t* aSize, char* aOut, std::size_t aOutSize,
                           const char* aName) {
    const errno_t error = getenv_s(aSize, aOut, aOutSize, aName);
    if (aOut == nullptr && *aSize < 20) _putenv_s(aName, LongText(100).c_str());
    return error;
}

TEST(StringTest, ExpansionTakesAValueThatGrowsMeanwhile) {
    const EnvironmentVariable variable("QV_STRING_TEST_A", "short");
    const ImportPatch patch("getenv_s", &GetGrowingVariable);
    ASSERT_TRUE(patch.IsActive());

    EXPECT_EQ(LongText(100), String("%QV_STRING_TEST_A%").ExpandEnvironmentVariables());
}

// A parent process can hand down a variable with an empty value.
errno_t GetEmptyVariable(std::size_t* aSize, char* aOut, std::size_t, const char*) {
    *aSize = 1;
    if (aOut != nullptr) aOut[0] = '\0';
    return 0;
}

TEST(StringTest, ExpansionTakesAnEmptyValue) {
    const ImportPatch patch("getenv_s", &GetEmptyVariable);
    ASSERT_TRUE(patch.IsActive());

    EXPECT_EQ("<>", String("<%QV_STRING_TEST_A%>").ExpandEnvironmentVariables());
}

// Another thread removes the variable after it is measured and before it is copied. Windows does
// not call that an error; other C libraries do.
errno_t GetVanishingVariable(std::size_t* aSize, char* aOut, std::size_t aOutSize,
                             const char* aName) {
    if (aOut == nullptr) return getenv_s(aSize, aOut, aOutSize, aName);
    *aSize = 0;
    aOut[0] = '\0';
    return 0;
}

TEST(StringTest, ExpansionLeavesAVariableThatVanishesMeanwhile) {
    const EnvironmentVariable variable("QV_STRING_TEST_A", "value");
    const ImportPatch patch("getenv_s", &GetVanishingVariable);
    ASSERT_TRUE(patch.IsActive());

    EXPECT_EQ("%QV_STRING_TEST_A%", String("%QV_STRING_TEST_A%").ExpandEnvironmentVariables());
}

TEST(StringTest, ArraysHoldIndependentStrings) {
    const std::unique_ptr<String[]> texts(new String[3]);
    texts[0] = String("first");
    texts[2] = texts[0];
    texts[2] += String("!");

    EXPECT_STREQ("first", texts[0].GetAscii());
    EXPECT_STREQ("", texts[1].GetAscii());
    EXPECT_STREQ("first!", texts[2].GetAscii());
}

TEST(StringTest, ArrayDeletionDestroysEveryElement) {
    int destroyed = 0;
    auto* const texts = new CountedString[5];
    for (int i = 0; i < 5; ++i) texts[i].CountIn(&destroyed);

    delete[] texts;

    EXPECT_EQ(5, destroyed);
}

TEST(StringTest, DeletionThroughTheBaseDestroysTheDerivedObject) {
    int destroyed = 0;
    const String* const text = new CountedString(&destroyed);

    delete text;

    EXPECT_EQ(1, destroyed);
}

TEST(StringTest, DestructorIsInTheFirstSlots) {
    int destroyed = 0;
    auto* const text = new CountedString(&destroyed);

    const auto destroyAndFree = reinterpret_cast<void (*)(void*)>(VirtualSlot(text, 1));
    destroyAndFree(text);

    EXPECT_EQ(1, destroyed);
}

TEST(StringTest, TextsOfAnyLengthConvertWholeBothWays) {
    for (std::size_t length = 0; length <= 600; ++length) {
        SCOPED_TRACE(length);
        const std::string ascii(length, 'x');
        const std::wstring wide(length, L'x');

        EXPECT_EQ(wide, String(ascii.c_str()).GetUnicode());
        EXPECT_EQ(ascii, String(wide.c_str()).GetAscii());
    }
}

TEST(StringTest, OneOtherCharacterAnywhereConvertsWithTheRest) {
    for (std::size_t place = 0; place < 300; ++place) {
        SCOPED_TRACE(place);
        std::string ascii(300, 'x');
        std::wstring wide(300, L'x');
        ascii[place] = '\xE4';
        wide[place] = L'\u00E4';

        EXPECT_EQ(wide, String(ascii.c_str()).GetUnicode());
        EXPECT_EQ(ascii, String(wide.c_str()).GetAscii());
    }
}

TEST(StringTest, UpperAndLowerCaseChangeEveryAsciiByte) {
    // The second byte of this character is a letter in a double-byte code page.
    EXPECT_EQ("\x83\x61", String("\x83\x41").ToLower());
    EXPECT_EQ("\x83\x41", String("\x83\x61").ToUpper());
}

// Converts like a system that turns an incomplete last character into one more zero.
int WINAPI EndWithTwoZeros(UINT, DWORD, const char*, int, wchar_t* aOut, int) {
    std::wcscpy(aOut, L"ab");
    aOut[3] = L'\0';
    return 4;
}

TEST(StringTest, ConversionEndsAtTheFirstZeroOfItsResult) {
    const ImportPatch toWide("MultiByteToWideChar", &EndWithTwoZeros);
    const String text("ab\x81");

    EXPECT_STREQ(L"ab", text.GetUnicode());

    EXPECT_EQ(L"ab", UnicodeOf(text));
}

// Other code pages

// A text that is much too long for a conversion. It begins with some characters of one unit.
template <typename Text>
Text TooLong(std::size_t aFirst, const Text& aRepeated) {
    Text text(aFirst, 'x');
    while (text.size() < 4 * kMaxConverted) text += aRepeated;
    return text;
}

std::wstring ToWide(UINT aPage, const std::string& aText) {
    std::wstring wide(aText.size(), L'\0');
    const int size = ::MultiByteToWideChar(aPage, 0, aText.data(), static_cast<int>(aText.size()),
                                           &wide[0], static_cast<int>(wide.size()));
    wide.resize(static_cast<std::size_t>(size));
    return wide;
}

TEST_P(CodePageTest, TextConvertsBothWays) {
    EXPECT_EQ(page.units, String(page.bytes.c_str()).GetUnicode());
    EXPECT_EQ(page.bytes, String(page.units.c_str()).GetAscii());
}

TEST_P(CodePageTest, LengthIsThatOfTheFormThatIsCurrent) {
    const String wide(page.units.c_str());
    EXPECT_EQ(page.units.size(), wide.GetLength());

    EXPECT_EQ(page.bytes, wide.GetAscii());

    EXPECT_EQ(page.bytes.size(), wide.GetLength());
}

TEST_P(CodePageTest, TextsCompareByTheirBytesInEitherForm) {
    const String ascii(page.bytes.c_str());
    const String wide(page.units.c_str());
    const String longer((page.units + L"x").c_str());

    EXPECT_TRUE(ascii == wide);
    EXPECT_FALSE(ascii < wide);
    EXPECT_TRUE(ascii < longer);
    EXPECT_TRUE(String("z") < wide);
}

TEST_P(CodePageTest, LongEightBitFormEndsWithAWholeCharacter) {
    for (std::size_t first = 0; first < page.bytes.size(); ++first) {
        SCOPED_TRACE(first);
        const std::wstring whole = TooLong(first, page.units);

        const std::string bytes = String(whole.c_str()).GetAscii();

        EXPECT_GE(kMaxConverted, bytes.size());
        EXPECT_LE(kMaxConverted - 3, bytes.size());
        const std::wstring kept = ToWide(page.number, bytes);
        EXPECT_TRUE(kept == whole.substr(0, kept.size()));
    }
}

TEST_P(CodePageTest, LongUnicodeFormEndsWithAWholeCharacter) {
    for (std::size_t first = 0; first < page.units.size(); ++first) {
        SCOPED_TRACE(first);
        const std::string whole = TooLong(first, page.bytes);

        const std::wstring units = String(whole.c_str()).GetUnicode();

        EXPECT_TRUE(units == ToWide(page.number, whole).substr(0, units.size()));
        EXPECT_GE(kMaxConverted, units.size());
        EXPECT_LE(kMaxConverted - 1, units.size());
        EXPECT_FALSE(IS_HIGH_SURROGATE(units.back()));
    }
}

TEST_P(CodePageTest, TextThatJustFitsConvertsWhole) {
    std::string bytes;
    std::wstring units;
    while (bytes.size() + page.bytes.size() <= kMaxConverted) {
        bytes += page.bytes;
        units += page.units;
    }
    units.append(kMaxConverted - bytes.size(), L'x');
    bytes.append(kMaxConverted - bytes.size(), 'x');

    EXPECT_TRUE(bytes == String(units.c_str()).GetAscii());
    EXPECT_TRUE(units == String(bytes.c_str()).GetUnicode());
}

TEST_P(CodePageTest, IncompleteCharacterAtTheEndBecomesASubstitute) {
    const String text((page.bytes + page.leadByte).c_str());

    const std::wstring units = text.GetUnicode();

    ASSERT_EQ(page.units.size() + 1, units.size());
    EXPECT_EQ(page.units, units.substr(0, page.units.size()));
    EXPECT_EQ(units, UnicodeOf(text));
}

TEST_P(CodePageTest, IncompleteCharacterBehindALongTextIsCut) {
    const std::string text = std::string(kMaxConverted, 'x') + page.leadByte;

    EXPECT_TRUE(std::wstring(kMaxConverted, L'x') == String(text.c_str()).GetUnicode());
}

INSTANTIATE_TEST_SUITE_P(StringTest, CodePageTest, testing::ValuesIn(kSampleCodePages),
                         NameOfCodePage);

}  // namespace
}  // namespace QvTests
