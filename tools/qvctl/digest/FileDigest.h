// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// MD5 digests of files, and the lists of them that md5sum writes and reads.

#ifndef QVCTL_DIGEST_FILEDIGEST_H
#define QVCTL_DIGEST_FILEDIGEST_H

#include <functional>
#include <optional>
#include <string>

#include "QvUserLib/Progress.h"

namespace Qvctl {

// The digest of a file in 32 hexadecimal digits, or why it could not be read.
struct FileDigest {
    std::string digest;      // Empty when the file could not be read.
    unsigned long code = 0;  // The system's error code then.
};

// Reads the file and counts its MiB as steps; `aOnStep` is called after each. Throws `QvKit::Error`
// when the system cannot compute digests.
FileDigest DigestFile(const std::string& aPath, QvUserLib::Progress& aProgress,
                      const std::function<void()>& aOnStep);

struct DigestLine {
    std::string digest;
    std::string path;
};

// One line, without its end. A name with a line end or a backslash is written with escapes, as
// md5sum does.
std::string FormatDigestLine(const DigestLine& aLine);

// Nothing when the text is no such line. Without the backslash in front, the name has no escapes.
std::optional<DigestLine> ParseDigestLine(const std::string& aText);

}  // namespace Qvctl

#endif
