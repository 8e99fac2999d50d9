// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVBENCH_TEMPORARYFILE_H
#define QVBENCH_TEMPORARYFILE_H

#include <string>

#include "WindowsApi.h"

namespace QvBench {

/// A unique file name in the system's temporary folder. The destructor deletes the file and the
/// backup that an error log makes of it.
class TemporaryFile {
public:
    TemporaryFile() {
        char folder[MAX_PATH] = {};
        char name[MAX_PATH] = {};
        ::GetTempPathA(MAX_PATH, folder);
        ::GetTempFileNameA(folder, "qvb", 0, name);
        path_ = name;
    }
    ~TemporaryFile() {
        ::DeleteFileA(path_.c_str());
        ::DeleteFileA((path_ + ".bak").c_str());
    }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& Path() const { return path_; }

private:
    std::string path_;
};

}  // namespace QvBench

#endif
