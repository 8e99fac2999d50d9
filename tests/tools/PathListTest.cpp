// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the installer does to PATH.

#include "PathList.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using QvPathEntry::WithEntry;
using QvPathEntry::WithoutEntry;

TEST(PathListTest, EntryIsAddedAtTheEndBehindOneSeparator) {
    EXPECT_EQ(L"C:\\a;%SystemRoot%;C:\\q\\bin", WithEntry(L"C:\\a;%SystemRoot%", L"C:\\q\\bin"));
    EXPECT_EQ(L"C:\\a;C:\\q\\bin", WithEntry(L"C:\\a;", L"C:\\q\\bin"));
    EXPECT_EQ(L"C:\\q\\bin", WithEntry(L"", L"C:\\q\\bin"));
}

TEST(PathListTest, EntryThatIsThereInAnotherSpellingIsNotAddedAgain) {
    EXPECT_EQ(L"c:\\Q\\BIN\\;C:\\a", WithEntry(L"c:\\Q\\BIN\\;C:\\a", L"C:\\q\\bin"));
}

TEST(PathListTest, EntryThatOnlyBeginsAlikeDoesNotCount) {
    EXPECT_EQ(L"C:\\q\\bin2;C:\\q\\bin", WithEntry(L"C:\\q\\bin2", L"C:\\q\\bin"));
    EXPECT_EQ(L"C:\\q\\bin2", WithoutEntry(L"C:\\q\\bin2", L"C:\\q\\bin"));
}

TEST(PathListTest, RemovalLeavesTheRestAsItIs) {
    EXPECT_EQ(L"C:\\a;;\"C:\\b c\"", WithoutEntry(L"C:\\a;;C:\\Q\\bin;\"C:\\b c\"", L"C:\\q\\bin"));
}

TEST(PathListTest, RemovalOfTheOnlyEntryLeavesNothing) {
    EXPECT_EQ(L"", WithoutEntry(L"C:\\q\\bin\\", L"C:\\q\\bin"));
}

TEST(PathListTest, RemovalUndoesAnAdditionToALongList) {
    std::wstring list;
    for (int index = 0; index < 500; ++index) list += L"C:\\tool" + std::to_wstring(index) + L";";
    list += L"C:\\end";

    EXPECT_EQ(list, WithoutEntry(WithEntry(list, L"C:\\q\\bin"), L"C:\\q\\bin"));
}

}  // namespace
