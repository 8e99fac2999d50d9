// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <chrono>
#include <string>
#include <vector>

#include "Comparison.h"
#include "QvUserLib/String.h"
#include "WindowsApi.h"

namespace QvBench {

namespace {

using QvUserLib::String;

constexpr int kBatch = 128;
constexpr int kBufferSize = 4096;

std::vector<String> NewTexts(const std::string& aText) {
    std::vector<String> texts;
    texts.reserve(kBatch);
    for (int index = 0; index < kBatch; ++index) texts.emplace_back(aText.c_str());
    return texts;
}

// An iteration converts a batch of texts that have not been converted before. Making them is not
// measured; storing the result, with its memory, is.
template <typename Prepare, typename Convert>
void ConvertNew(benchmark::State& aState, const std::string& aText, Prepare aPrepare,
                Convert aConvert) {
    const bool isCounted = CallCounter::IsActive();
    for (auto _ : aState) {
        aPrepare();
        const std::vector<String> texts = NewTexts(aText);
        const auto start = std::chrono::steady_clock::now();
        if (isCounted) CallCounter::Start();
        for (const String& text : texts) aConvert(text);
        if (isCounted) Report(aState, CallCounter::Stop(kBatch));
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        aState.SetIterationTime(elapsed.count());
    }
}

Comparison OfNewText(const std::string& aWhat, const std::string& aText, const char* aAgainst,
                     Body aBare, double aGoal) {
    Comparison row{
        "String to UTF-16, " + aWhat, aAgainst,
        [=](benchmark::State& aState) {
            ConvertNew(
                aState, aText, [] {},
                [](const String& aSource) { benchmark::DoNotOptimize(aSource.GetUnicode()); });
        },
        std::move(aBare), aGoal};
    row.hasManualTime = true;
    row.batch = kBatch;
    // Making the texts takes longer than converting them.
    row.share = 0.25;
    return row;
}

int ConvertBare(const std::string& aText, wchar_t (&aBuffer)[kBufferSize]) {
    return ::MultiByteToWideChar(CP_ACP, 0, aText.c_str(), -1, aBuffer, kBufferSize);
}

// The bare call leaves the result in a buffer.
Body BareConversion(const std::string& aText) {
    return [=](benchmark::State& aState) {
        ConvertNew(
            aState, aText, [] {},
            [&](const String&) {
                wchar_t buffer[kBufferSize];
                benchmark::DoNotOptimize(ConvertBare(aText, buffer));
                benchmark::ClobberMemory();
            });
    };
}

// The bare call with its result kept, as a String keeps it.
Body BareStoredConversion(const std::string& aText) {
    return [=](benchmark::State& aState) {
        std::vector<std::wstring> kept;
        const auto prepare = [&] {
            kept.clear();
            kept.reserve(kBatch);
        };
        ConvertNew(aState, aText, prepare, [&](const String&) {
            wchar_t buffer[kBufferSize];
            const int size = ConvertBare(aText, buffer);
            kept.emplace_back(buffer, static_cast<std::size_t>(size) - 1);
        });
    };
}

// An iteration builds the 8-bit form of a text again, in the memory that it already has: appending
// nothing to a text discards its 8-bit form.

Body OursAgain(const std::string& aText) {
    return [=](benchmark::State& aState) {
        String text(String(aText.c_str()).GetUnicode());
        const String nothing(L"");
        Repeat(aState, [&] {
            text += nothing;
            benchmark::DoNotOptimize(text.GetAscii());
        });
    };
}

Body BareAgain(const std::string& aText) {
    return [=](benchmark::State& aState) {
        const std::wstring text(String(aText.c_str()).GetUnicode());
        Repeat(aState, [&] {
            char buffer[kBufferSize];
            benchmark::DoNotOptimize(::WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, buffer,
                                                           kBufferSize, nullptr, nullptr));
            benchmark::ClobberMemory();
        });
    };
}

void AddRowsOf(Table& aTable, const std::string& aWhat, const std::string& aText, double aGoal) {
    aTable.Add(
        OfNewText(aWhat, aText, "MultiByteToWideChar into a buffer", BareConversion(aText), aGoal));
    aTable.Add(OfNewText(aWhat + ", stored", aText, "MultiByteToWideChar and a std::wstring",
                         BareStoredConversion(aText), 0));
    aTable.Add({"String to 8-bit again, " + aWhat, "WideCharToMultiByte into a buffer",
                OursAgain(aText), BareAgain(aText), aGoal});
}

// A text of this many characters, all ASCII, or if aIsAscii is false all but every eighth.
std::string TextOf(int aLength, bool aIsAscii) {
    std::string text;
    for (int index = 0; index < aLength; ++index) {
        const bool isPlain = aIsAscii || index % 8 != 3;
        text.push_back(isPlain ? static_cast<char>('a' + index % 26) : '\xFC');
    }
    return text;
}

}  // namespace

void AddStringRows(Table& aTable) {
    for (const int length : {8, 32, 256}) {
        const std::string size = std::to_string(length) + " characters";
        AddRowsOf(aTable, "ASCII, " + size, TextOf(length, /*aIsAscii=*/true), 0.5);
        AddRowsOf(aTable, "non-ASCII, " + size, TextOf(length, /*aIsAscii=*/false), 1.1);
    }
}

}  // namespace QvBench
