// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Shows the progress of a transfer.

#ifndef QVCTL_OUTPUT_PROGRESSDISPLAY_H
#define QVCTL_OUTPUT_PROGRESSDISPLAY_H

#include <chrono>
#include <cstddef>

#include "output/Output.h"
#include "output/ProgressLine.h"

namespace Qvctl {

// On a terminal one line that is drawn again and again, elsewhere a new line each second; if quiet,
// nothing.
class ProgressDisplay {
public:
    ProgressDisplay(Output& aOutput, bool aIsQuiet) : output_(aOutput), isQuiet_(aIsQuiet) {}

    // The time between two calls of `Show`.
    std::chrono::milliseconds GetPeriod() const;

    void Show(const ProgressFigures& aFigures);

    // Shows the end, and goes to the next line.
    void Finish(const ProgressFigures& aFigures);

private:
    void Draw(const ProgressFigures& aFigures);

    Output& output_;
    bool isQuiet_;
    std::size_t drawn_ = 0;  // Columns of the line that is on the terminal.
};

}  // namespace Qvctl

#endif
