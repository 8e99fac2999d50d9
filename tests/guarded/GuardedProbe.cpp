// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Tests that misuse memory, for GuardedHeapTest to run one at a time.

#include <gtest/gtest.h>

#include <string>

#include "QvBaseLib/Result.h"

namespace {

using QvBaseLib::Result;

/// The same address, but the compiler knows nothing about it.
template <typename Type>
Type* Hidden(Type* aAddress) {
    asm volatile("" : "+r"(aAddress));
    return aAddress;
}

/// A text that the library has allocated.
char* DescriptionOf(const Result& aResult) {
    return Hidden(const_cast<char*>(aResult.GetDescription()));
}

Result DescribedResult() {
    Result result(1);
    result.SetDescription("five5");
    return result;
}

TEST(GuardedProbe, WritesBehindALibraryBlock) {
    const Result result = DescribedResult();
    DescriptionOf(result)[6] = 'x';
}

TEST(GuardedProbe, ReadsBehindALibraryBlock) {
    const Result result = DescribedResult();
    const volatile char read = DescriptionOf(result)[6];
    (void)read;
}

TEST(GuardedProbe, ReadsAFreedLibraryBlock) {
    const char* text = nullptr;
    {
        const Result result = DescribedResult();
        text = DescriptionOf(result);
    }
    const volatile char read = text[0];
    (void)read;
}

TEST(GuardedProbe, WritesFarBehindABlock) {
    const auto numbers = Hidden(new int[10]);
    numbers[12] = 1;
    delete[] numbers;
}

TEST(GuardedProbe, WritesOneByteBehindABlock) {
    char* const text = Hidden(new char[13]);
    text[13] = 'x';
    delete[] text;
}

TEST(GuardedProbe, WritesOneByteBeforeABlock) {
    char* const text = Hidden(new char[13]);
    *Hidden(text - 1) = 'x';
    delete[] text;
}

TEST(GuardedProbe, KeepsABlock) { *Hidden(new int) = 1; }

TEST(GuardedProbe, KeepsALibraryBlock) {
    auto* const storage = Hidden(new Result(DescribedResult()));
    ::operator delete(storage);
}

TEST(GuardedProbe, ReleasesAnArrayAsAnObject) {
    char* const text = Hidden(new char[13]);
    ::operator delete(text);
}

TEST(GuardedProbe, ReleasesAnObjectWithFree) { free(Hidden(new int)); }

TEST(GuardedProbe, ReleasesTwice) {
    int* const number = new int;
    delete Hidden(number);
    delete Hidden(number);
}

TEST(GuardedProbe, ReleasesTheMiddleOfABlock) {
    char* const text = Hidden(new char[13]);
    ::operator delete[](Hidden(text + 4));
    delete[] text;
}

TEST(GuardedProbe, KeepsWhatIsMadeOnce) {
    static const auto* const text = new std::string(100, 'x');
    EXPECT_EQ(100u, text->size());
}

TEST(GuardedProbe, KeepsToItsMemory) {
    const Result result = DescribedResult();
    EXPECT_STREQ("five5", result.GetDescription());
}

}  // namespace
