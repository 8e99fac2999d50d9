// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Shows how far the digest of a large file has come.

#ifndef QVCTL_DIGEST_DIGESTPROGRESS_H
#define QVCTL_DIGEST_DIGESTPROGRESS_H

#include <string>

#include "Context.h"
#include "QvUserLib/Progress.h"

namespace Qvctl {

// On a console one line that is written over, and removed at the end. Elsewhere a line for each
// tenth, with --verbose. Short operations show nothing.
class DigestProgress {
public:
    explicit DigestProgress(const Context& aContext) : context_(aContext) {}
    ~DigestProgress() { Clear(); }

    DigestProgress(const DigestProgress&) = delete;
    DigestProgress& operator=(const DigestProgress&) = delete;

    void Show(QvUserLib::Progress& aProgress);

    // Before anything else is written.
    void Clear();

private:
    const Context& context_;
    std::string shown_;
};

}  // namespace Qvctl

#endif
