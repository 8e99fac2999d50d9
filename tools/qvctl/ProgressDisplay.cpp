// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ProgressDisplay.h"

#include <algorithm>
#include <string>

namespace Qvctl {
namespace {

constexpr DWORD kTerminalPeriodMs = 100;
constexpr DWORD kPlainPeriodMs = 1000;

}  // namespace

DWORD ProgressDisplay::GetPeriodMs() const {
    if (isQuiet_) return INFINITE;
    return output_.IsTerminal() ? kTerminalPeriodMs : kPlainPeriodMs;
}

void ProgressDisplay::Show(const ProgressFigures& aFigures) {
    if (isQuiet_) return;
    if (output_.IsTerminal()) {
        Draw(aFigures);
    } else {
        output_.WriteLine(PlainProgressLine(aFigures));
    }
}

void ProgressDisplay::Finish(const ProgressFigures& aFigures) {
    if (isQuiet_ || !output_.IsTerminal()) return;
    Draw(aFigures);
    output_.Write("\n");
}

void ProgressDisplay::Draw(const ProgressFigures& aFigures) {
    // The last column stays free, as some terminals go to the next line behind it.
    std::string line = ProgressBarLine(aFigures, output_.GetWidth() - 1);
    const std::size_t columns = line.size();
    line.resize(std::max(columns, drawn_), ' ');
    drawn_ = columns;
    output_.Write("\r" + line);
}

}  // namespace Qvctl
