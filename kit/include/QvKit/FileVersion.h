// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_FILEVERSION_H
#define QVKIT_FILEVERSION_H

#include <string>

namespace QvKit {

/// What the version resource of a program, a DLL or a driver says, in UTF-8. What it does not say
/// is empty.
struct FileVersion {
    std::string version;  ///< "1.2.3", or "1.2.3.4" where the fourth number is not 0.
    std::string company;  ///< Who made it.
};

/// Nothing is known of a file that has no such resource, or cannot be read. Any thread may call it.
///
/// @param aPath  In UTF-8.
FileVersion ReadFileVersion(const std::string& aPath);

}  // namespace QvKit

#endif
