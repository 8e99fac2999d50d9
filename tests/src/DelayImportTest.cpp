// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The imports in the header of the finished DLL.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "RequireLog4cxx.h"
#include "WindowsApi.h"

namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

class DelayImportTest : public testing::Test {
protected:
    DelayImportTest()
        : base_(reinterpret_cast<const unsigned char*>(::LoadLibraryA("QvUserLib64.dll"))) {}

    template <typename Type>
    const Type* At(unsigned long long aOffset) const {
        return reinterpret_cast<const Type*>(base_ + aOffset);
    }

    template <typename Descriptor>
    const Descriptor* Directory(int aEntry) const {
        const auto* const headers = At<IMAGE_NT_HEADERS>(At<IMAGE_DOS_HEADER>(0)->e_lfanew);
        const IMAGE_DATA_DIRECTORY& entry = headers->OptionalHeader.DataDirectory[aEntry];
        return entry.VirtualAddress != 0 ? At<Descriptor>(entry.VirtualAddress) : nullptr;
    }

    std::vector<std::string> ImportedDlls() const {
        std::vector<std::string> names;
        const auto* import = Directory<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT);
        for (; import->Name != 0; ++import) names.emplace_back(At<char>(import->Name));
        return names;
    }

    const IMAGE_DELAYLOAD_DESCRIPTOR* DelayImport() const {
        return Directory<IMAGE_DELAYLOAD_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT);
    }

    std::vector<std::string> DelayImportedDlls() const {
        std::vector<std::string> names;
        const IMAGE_DELAYLOAD_DESCRIPTOR* import = DelayImport();
        for (; import != nullptr && import->DllNameRVA != 0; ++import) {
            names.emplace_back(At<char>(import->DllNameRVA));
        }
        return names;
    }

    std::vector<unsigned long long> Table(DWORD aOffset) const {
        std::vector<unsigned long long> entries;
        for (auto* entry = At<unsigned long long>(aOffset); *entry != 0; ++entry) {
            entries.push_back(*entry);
        }
        return entries;
    }

private:
    const unsigned char* base_;  // Stays loaded to the end.
};

TEST_F(DelayImportTest, Log4cxxIsImportedOnDemandAndNothingElse) {
    REQUIRE_LOG4CXX();
    EXPECT_THAT(DelayImportedDlls(), ElementsAre("log4cxx.dll"));
}

TEST_F(DelayImportTest, NoDllOfLog4cxxIsImportedOnLoading) {
    EXPECT_THAT(ImportedDlls(), Contains("KERNEL32.dll"));
    EXPECT_THAT(ImportedDlls(), Each(Not(StartsWith("log4cxx"))));
}

TEST_F(DelayImportTest, UnloadTableRestoresEveryAddress) {
    REQUIRE_LOG4CXX();
    const IMAGE_DELAYLOAD_DESCRIPTOR& import = *DelayImport();
    ASSERT_EQ(1u, import.Attributes.AllAttributes);
    ASSERT_NE(0u, import.UnloadInformationTableRVA);

    const std::vector<unsigned long long> addresses = Table(import.ImportAddressTableRVA);
    EXPECT_EQ(addresses, Table(import.UnloadInformationTableRVA));
    EXPECT_THAT(Table(import.ImportNameTableRVA), SizeIs(addresses.size()));
}

}  // namespace
