// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/MD5.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "ImportPatch.h"
#include "TestSupport.h"
#include "WindowsApi.h"

namespace QvTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kDigestOfNothing[] = "d41d8cd98f00b204e9800998ecf8427e";
constexpr char kDigestOfAbc[] = "900150983cd24fb0d6963f7d28e17f72";

void Update(MD5& aDigest, const std::string& aBytes) {
    aDigest.Update(reinterpret_cast<const unsigned char*>(aBytes.data()),
                   static_cast<unsigned int>(aBytes.size()));
}

std::string HexDigest(const MD5& aDigest) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (int index = 0; index < 16; ++index) {
        const unsigned char byte = aDigest.GetDigest()[index];
        text += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return text;
}

std::string DigestOf(const std::string& aBytes) {
    MD5 digest;
    EXPECT_THAT(digest.Init(), HasCode(Code::Success));
    Update(digest, aBytes);
    digest.Final();
    return HexDigest(digest);
}

// What the library asks of the system about Cryptdll.dll, in order, and what it is refused.
struct Loading {
    std::vector<std::string> calls;
    bool refuseLibrary = false;
    std::string refusedFunction;
};
Loading loading;

HMODULE WINAPI WatchedLoad(const char* aName) {
    loading.calls.push_back(std::string("load ") + aName);
    return loading.refuseLibrary ? nullptr : ::LoadLibraryA(aName);
}

FARPROC WINAPI WatchedResolve(HMODULE aLibrary, const char* aName) {
    loading.calls.push_back(aName);
    return aName == loading.refusedFunction ? nullptr : ::GetProcAddress(aLibrary, aName);
}

BOOL WINAPI WatchedFree(HMODULE aLibrary) {
    loading.calls.emplace_back("free");
    return ::FreeLibrary(aLibrary);
}

// Watches and breaks the loading. No object may be alive when a test begins.
class MD5LoadingTest : public testing::Test {
protected:
    MD5LoadingTest() { loading = Loading(); }
    ~MD5LoadingTest() override { loading = Loading(); }

    static bool IsLoaded() { return ::GetModuleHandleA("Cryptdll.dll") != nullptr; }

private:
    const ImportPatch load_{"LoadLibraryA", &WatchedLoad};
    const ImportPatch resolve_{"GetProcAddress", &WatchedResolve};
    const ImportPatch free_{"FreeLibrary", &WatchedFree};
};

TEST(MD5Test, DigestsTheTestSuiteOfTheStandard) {
    const struct {
        const char* text;
        const char* digest;
    } cases[] = {
        {"", kDigestOfNothing},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", kDigestOfAbc},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.text);
        EXPECT_EQ(one.digest, DigestOf(one.text));
    }
}

TEST(MD5Test, DigestDoesNotDependOnTheSizeOfThePieces) {
    const std::string million(1000000, 'a');
    for (std::size_t size = 1; size <= 130; ++size) {
        MD5 digest;
        ASSERT_THAT(digest.Init(), HasCode(Code::Success));
        for (std::size_t start = 0; start < million.size(); start += size) {
            const std::size_t length = std::min(size, million.size() - start);
            digest.Update(reinterpret_cast<const unsigned char*>(million.data() + start),
                          static_cast<unsigned int>(length));
        }
        digest.Final();

        ASSERT_EQ("7707d6ae4e027c70eea2a935c2296f21", HexDigest(digest)) << "pieces of " << size;
    }
}

TEST(MD5Test, EmptyPiecesChangeNothing) {
    MD5 digest;
    ASSERT_THAT(digest.Init(), HasCode(Code::Success));
    Update(digest, "");
    Update(digest, "abc");
    Update(digest, "");
    digest.Final();

    EXPECT_EQ(kDigestOfAbc, HexDigest(digest));
}

void ExpectDigestsAbc(MD5& aDigest) {
    ASSERT_THAT(aDigest.Init(), IsBareCode(Code::Success));
    Update(aDigest, "abc");
    aDigest.Final();
    EXPECT_EQ(kDigestOfAbc, HexDigest(aDigest));
}

TEST(MD5Test, InitDiscardsWhatWasBegun) {
    MD5 digest;
    ASSERT_THAT(digest.Init(), HasCode(Code::Success));
    Update(digest, "something else");

    ExpectDigestsAbc(digest);
}

TEST(MD5Test, OneObjectDigestsOneInputAfterAnother) {
    MD5 digest;

    ExpectDigestsAbc(digest);
    ExpectDigestsAbc(digest);
}

TEST(MD5Test, ObjectsDigestInTurnsWithoutMeeting) {
    MD5 first;
    MD5 second;
    ASSERT_THAT(first.Init(), HasCode(Code::Success));
    ASSERT_THAT(second.Init(), HasCode(Code::Success));
    Update(first, "message ");
    Update(second, "ab");
    Update(first, "digest");
    Update(second, "c");
    first.Final();
    second.Final();

    EXPECT_EQ("f96b697d7cb7938d525a2f31aaf161d0", HexDigest(first));
    EXPECT_EQ(kDigestOfAbc, HexDigest(second));
}

TEST_F(MD5LoadingTest, FirstObjectLoadsAndLastOneFrees) {
    auto first = std::make_unique<MD5>();
    auto second = std::make_unique<MD5>();
    EXPECT_THAT(loading.calls,
                ElementsAre("load Cryptdll.dll", "MD5Final", "MD5Init", "MD5Update"));

    loading.calls.clear();
    first.reset();
    EXPECT_THAT(loading.calls, IsEmpty());
    EXPECT_EQ(kDigestOfAbc, DigestOf("abc"));

    second.reset();
    EXPECT_THAT(loading.calls, ElementsAre("free"));
    EXPECT_FALSE(IsLoaded());
}

TEST_F(MD5LoadingTest, ObjectsAfterTheLastOneLoadAgain) {
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(kDigestOfAbc, DigestOf("abc"));
        EXPECT_FALSE(IsLoaded());
    }
    EXPECT_EQ(3, std::count(loading.calls.begin(), loading.calls.end(), "load Cryptdll.dll"));
}

TEST_F(MD5LoadingTest, MissingLibraryShowsInInitOnly) {
    loading.refuseLibrary = true;
    {
        MD5 digest;
        EXPECT_THAT(digest.Init(), IsBareCode(Code::Md5Unavailable));
    }
    EXPECT_THAT(loading.calls, ElementsAre("load Cryptdll.dll"));
}

TEST_F(MD5LoadingTest, LibraryThatLacksAFunctionIsFreedAtOnce) {
    for (const char* const function : {"MD5Final", "MD5Init", "MD5Update"}) {
        SCOPED_TRACE(function);
        loading = Loading();
        loading.refusedFunction = function;
        MD5 digest;

        EXPECT_EQ("free", loading.calls.back());
        EXPECT_FALSE(IsLoaded());
        EXPECT_THAT(digest.Init(), IsBareCode(Code::Md5Unavailable));
    }
}

TEST_F(MD5LoadingTest, LoadingIsTriedAgainOnlyAfterAllObjectsHaveGone) {
    loading.refuseLibrary = true;
    auto first = std::make_unique<MD5>();
    loading.refuseLibrary = false;
    auto second = std::make_unique<MD5>();
    first.reset();
    EXPECT_THAT(second->Init(), IsBareCode(Code::Md5Unavailable));
    EXPECT_THAT(loading.calls, ElementsAre("load Cryptdll.dll"));

    second.reset();
    EXPECT_THAT(MD5().Init(), IsBareCode(Code::Success));
}

TEST(MD5Test, ThreadsDigestWhileOthersLoadAndFree) {
    std::atomic<bool> stop(false);
    const auto makeAndDestroy = [&stop] {
        while (!stop) MD5();
    };
    const auto digestMany = [] {
        for (int round = 0; round < 2000; ++round) {
            if (DigestOf("abc") != kDigestOfAbc) return false;
        }
        return true;
    };
    std::vector<std::future<void>> makers;
    std::vector<std::future<bool>> digesters;
    for (int i = 0; i < 2; ++i) makers.push_back(std::async(std::launch::async, makeAndDestroy));
    for (int i = 0; i < 4; ++i) digesters.push_back(std::async(std::launch::async, digestMany));

    for (auto& digester : digesters) EXPECT_TRUE(digester.get());
    stop = true;
    for (auto& maker : makers) maker.get();
}

TEST(MD5Test, DestructorIsInTheFirstSlots) {
    auto* const first = new MD5;

    const auto destroyAndFree = reinterpret_cast<void (*)(void*)>(VirtualSlot(first, 1));
    destroyAndFree(first);

    EXPECT_EQ(nullptr, ::GetModuleHandleA("Cryptdll.dll"));
}

TEST(MD5Test, KeepsTheRecordThatTheSystemFills) {
    MD5 digest;
    ASSERT_THAT(digest.Init(), HasCode(Code::Success));
    Update(digest, "abc");
    const auto* const bitCount =
        reinterpret_cast<const unsigned int*>(reinterpret_cast<const void**>(&digest) + 1);
    EXPECT_EQ(24u, bitCount[0]);
    EXPECT_EQ('a', reinterpret_cast<const char*>(bitCount + 6)[0]);
    digest.Final();

    EXPECT_EQ(reinterpret_cast<const unsigned char*>(bitCount) + 8 + 16 + 64, digest.GetDigest());
    EXPECT_EQ(8u + 8 + 16 + 64 + 16, sizeof(MD5));
}

}  // namespace
}  // namespace QvTests
