// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Shows how far the digest of a large file has come.

#ifndef QVCTL_DIGESTPROGRESS_H
#define QVCTL_DIGESTPROGRESS_H

#include <string>

#include "Context.h"
#include "QvUserLib/Progress.h"

namespace Qvctl {

// On a console one line that is written over, and wiped out in the end; for those who asked for
// what is done, but have no console, a line for each tenth. Short operations show nothing.
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
