// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <vector>

#include "QvKit/Profile.h"
#include "SystemFile.h"
#include "WholeFile.h"

namespace QvKit {

void Profile::Save(const std::string& aPath) const {
    const std::string json = ToJson();
    // What is written can be read.
    (void)FromJson(json, aPath);
    WriteWholeFile(aPath, json);
}

Profile Profile::Open(const std::string& aPath) {
    SystemFile file = SystemFile::Open(aPath);
    // One byte more than a profile may have. A pipe has no size, so that is not asked for.
    std::vector<unsigned char> bytes(kMostBytes + 1);
    std::size_t size = 0;
    while (size < bytes.size()) {
        const std::size_t read = file.Read(bytes.data() + size, bytes.size() - size);
        if (read == 0) break;
        size += read;
    }
    return FromJson(std::string_view(reinterpret_cast<const char*>(bytes.data()), size), aPath);
}

}  // namespace QvKit
