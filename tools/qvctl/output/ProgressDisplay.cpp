// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/ProgressDisplay.h"

#include <algorithm>
#include <string>

#include "QvKit/StopSignal.h"

namespace Qvctl {
namespace {

constexpr std::chrono::milliseconds kTerminalPeriod(100);
constexpr std::chrono::milliseconds kPlainPeriod(1000);

}  // namespace

std::chrono::milliseconds ProgressDisplay::GetPeriod() const {
    if (isQuiet_) return QvKit::kNoLimit;
    return output_.IsTerminal() ? kTerminalPeriod : kPlainPeriod;
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
    // The last column stays free, as some terminals wrap when it is used.
    std::string line = ProgressBarLine(aFigures, output_.GetWidth() - 1);
    const std::size_t columns = line.size();
    line.resize(std::max(columns, drawn_), ' ');
    drawn_ = columns;
    output_.Write("\r" + line);
}

}  // namespace Qvctl
