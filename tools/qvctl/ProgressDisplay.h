// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Shows the progress of a transfer while it goes on.

#ifndef QVCTL_PROGRESSDISPLAY_H
#define QVCTL_PROGRESSDISPLAY_H

#include <cstddef>

#include "Output.h"
#include "ProgressLine.h"
#include "WindowsApi.h"

namespace Qvctl {

// On a terminal a line that is drawn anew all the time, elsewhere a new line each second, or
// nothing at all.
class ProgressDisplay {
public:
    ProgressDisplay(Output& aOutput, bool aIsQuiet) : output_(aOutput), isQuiet_(aIsQuiet) {}

    // How often it wants to be shown something new.
    DWORD GetPeriodMs() const;

    void Show(const ProgressFigures& aFigures);

    // Shows the end, and leaves the line.
    void Finish(const ProgressFigures& aFigures);

private:
    void Draw(const ProgressFigures& aFigures);

    Output& output_;
    bool isQuiet_;
    std::size_t drawn_ = 0;  // Columns of the line that stands on the terminal.
};

}  // namespace Qvctl

#endif
