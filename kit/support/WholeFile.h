// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Files that are never half written.

#ifndef QVKIT_SUPPORT_WHOLEFILE_H
#define QVKIT_SUPPORT_WHOLEFILE_H

#include <string>
#include <string_view>

namespace QvKit {

// Writes a file anew: the bytes go to a file of another name in the same directory, which takes the
// place of an earlier one at once. When that fails, the earlier file is as it was, and no other one
// is left. The path is UTF-8. Throws `Error`, kind `SystemFailed`.
void WriteWholeFile(const std::string& aPath, std::string_view aBytes);

}  // namespace QvKit

#endif
