// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "PathList.h"

#include <cstddef>
#include <vector>

#include <windows.h>

namespace QvPathEntry {
namespace {

std::vector<std::wstring> Split(const std::wstring& aList) {
    std::vector<std::wstring> entries;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t end = aList.find(L';', begin);
        entries.push_back(aList.substr(begin, end - begin));
        if (end == std::wstring::npos) return entries;
        begin = end + 1;
    }
}

std::wstring WithoutEnd(std::wstring aDirectory) {
    while (!aDirectory.empty() && aDirectory.back() == L'\\') aDirectory.pop_back();
    return aDirectory;
}

bool IsSame(const std::wstring& aLeft, const std::wstring& aRight) {
    return ::CompareStringOrdinal(WithoutEnd(aLeft).c_str(), -1, WithoutEnd(aRight).c_str(), -1,
                                  /*bIgnoreCase=*/TRUE) == CSTR_EQUAL;
}

}  // namespace

std::wstring WithEntry(const std::wstring& aList, const std::wstring& aDirectory) {
    if (aList.empty()) return aDirectory;
    for (const std::wstring& entry : Split(aList)) {
        if (IsSame(entry, aDirectory)) return aList;
    }
    return aList + (aList.back() == L';' ? L"" : L";") + aDirectory;
}

std::wstring WithoutEntry(const std::wstring& aList, const std::wstring& aDirectory) {
    std::wstring rest;
    bool isFirst = true;
    for (const std::wstring& entry : Split(aList)) {
        if (IsSame(entry, aDirectory)) continue;
        if (!isFirst) rest += L';';
        rest += entry;
        isFirst = false;
    }
    return rest;
}

}  // namespace QvPathEntry
