// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Files that are to be profiles, and may be anything: those in the folder, and mutations of them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QvKit/Profile.h"
#include "TestScale.h"
#include "TestSupport.h"
#include "kit/KitTestSupport.h"

namespace QvTests {
namespace {

using QvKit::Profile;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Texts = std::vector<std::string>;

// So many files of the corpus are real profiles.
constexpr std::size_t kReal = 2;

// The corpus. Its real profiles, whose names begin with "real-", come first.
Texts ReadCorpus() {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(QVTEST_CORPUS "/profiles")) {
        paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end(), [](const auto& aLeft, const auto& aRight) {
        const auto isOther = [](const auto& aPath) {
            return aPath.filename().string().rfind("real-", 0) != 0;
        };
        return std::pair(isOther(aLeft), aLeft) < std::pair(isOther(aRight), aRight);
    });
    Texts texts;
    for (const auto& path : paths) texts.push_back(ReadBytes(path.string()));
    return texts;
}

// One file, made from those of the corpus. The same seed and number make the same file.
class Mutation {
public:
    Mutation(const Texts& aCorpus, unsigned long aSeed, unsigned long aNumber)
        : corpus_(aCorpus), random_(aSeed * 1000003UL + aNumber) {}

    std::string Make() {
        // Mostly real ones: of the others nearly nothing is read beyond the mistake they have.
        std::string text = Below(8) == 0 ? Pick(corpus_) : corpus_[Below(kReal)];
        const std::size_t changes = 1 + Below(3);
        for (std::size_t change = 0; change < changes; ++change) ChangeOnce(text);
        return text;
    }

private:
    std::size_t Below(std::size_t aLimit) { return random_() % aLimit; }
    const std::string& Pick(const Texts& aTexts) { return aTexts[Below(aTexts.size())]; }

    void ChangeOnce(std::string& aText) {
        static const Texts kPieces = {"{",
                                      "}",
                                      "[",
                                      "]",
                                      ",",
                                      ":",
                                      "\"",
                                      "\\",
                                      "\\u",
                                      "\\ud800",
                                      "\n",
                                      "\xEF\xBB\xBF",
                                      "\xFF",
                                      "\xED\xA0\x80",
                                      "1e999",
                                      "-",
                                      "0.5",
                                      "9223372036854775808",
                                      "null",
                                      "true",
                                      "\"name\"",
                                      "\"value\"",
                                      "\"version\": 2",
                                      std::string(1, '\0'),
                                      "[[[[[[[[[[[[[[[[[[[[",
                                      "\"type\": \"string\""};
        const std::size_t at = Below(aText.size() + 1);
        const std::size_t size = std::min(aText.size() - at, Below(40));
        switch (Below(7)) {
            case 0:  // Truncated.
                aText.resize(at);
                return;
            case 1:
                aText.erase(at, size);
                return;
            case 2:  // Doubled.
                aText.insert(at, aText.substr(at, size));
                return;
            case 3:
                aText.insert(at, Pick(kPieces));
                return;
            case 4:
                if (at < aText.size()) aText[at] = static_cast<char>(random_());
                return;
            case 5:
                if (at < aText.size()) aText[at] = static_cast<char>(aText[at] ^ (1 << Below(8)));
                return;
            default: {  // The beginning of one and the end of another.
                const std::string& other = Pick(corpus_);
                aText = aText.substr(0, at) + other.substr(Below(other.size() + 1));
            }
        }
    }

    const Texts& corpus_;
    std::mt19937_64 random_;
};

unsigned long theProfiles = 0;

// A file is read, and written and read again as the same; or there is one error with its place.
void Use(const std::string& aText) {
    // The text ends where the heap's block ends, so that the guarded heap notices a byte too many.
    constexpr std::size_t kAlignment = 16;
    const std::size_t padding = (kAlignment - aText.size() % kAlignment) % kAlignment;
    const std::vector<char> block = [&] {
        std::vector<char> bytes(padding + aText.size());
        std::copy(aText.begin(), aText.end(), bytes.begin() + static_cast<std::ptrdiff_t>(padding));
        return bytes;
    }();
    const std::string_view text(block.data() + padding, aText.size());
    std::string json;
    const auto error = ErrorOf([&] { json = Profile::FromJson(text, "x").ToJson(); });
    if (error) {
        EXPECT_EQ(QvKit::ErrorKind::BadFile, error->GetKind());
        EXPECT_THAT(error->what(),
                    AnyOf(StartsWith("'x', line "), StartsWith("'x' is a profile ")));
        EXPECT_THAT(error->what(), Not(HasSubstr("\n")));
        EXPECT_LT(std::string_view(error->what()).size(), 300u);
        return;
    }
    ++theProfiles;
    EXPECT_EQ(json, Profile::FromJson(json, "x").ToJson());
}

TEST(ProfileFuzzTest, FilesOfTheCorpusAreProfilesOrOneError) {
    const Texts corpus = ReadCorpus();
    ASSERT_GT(corpus.size(), kReal);
    for (const std::string& text : corpus) {
        SCOPED_TRACE(text.substr(0, 200));
        Use(text);
    }
    for (std::size_t index = 0; index < kReal; ++index) {
        EXPECT_NO_THROW((void)Profile::FromJson(corpus[index], "x"));
    }
}

TEST(ProfileFuzzTest, MutationsAreProfilesOrOneError) {
    const Texts corpus = ReadCorpus();
    const unsigned long seed = Seed();
    const unsigned long first = Scaled("QVTEST_FUZZ_FIRST", 0);
    const unsigned long count = Scaled("QVTEST_FUZZ_PROFILES", 2000);
    theProfiles = 0;
    for (unsigned long number = first; number < first + count && !HasFailure(); ++number) {
        const std::string text = Mutation(corpus, seed, number).Make();
        SCOPED_TRACE("QVTEST_FUZZ_FIRST=" + std::to_string(number) + ":\n" + text);
        Use(text);
    }
    std::printf("%lu profiles, %lu of them read\n", count, theProfiles);
}

}  // namespace
}  // namespace QvTests
