// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/ProgressLine.h"

#include <algorithm>
#include <cmath>

#include "output/Quantity.h"

namespace Qvctl {
namespace {

constexpr char kSeparator[] = "  ";

constexpr std::size_t kLongestBar = 24;
constexpr std::size_t kShortestBar = 4;
constexpr std::size_t kBarFrame = 2;

std::string Bar(double aDone, std::size_t aLength) {
    const auto filled = static_cast<std::size_t>(aDone * static_cast<double>(aLength));
    return "[" + std::string(filled, '#') + std::string(aLength - filled, '-') + "]" + kSeparator;
}

std::string TimeText(const ProgressFigures& aFigures) {
    if (!aFigures.done) return TimeLeftText(aFigures.seconds);
    std::string text = std::to_string(static_cast<int>(std::floor(*aFigures.done * 100))) + "%";
    if (*aFigures.done > 0) {
        const double left = aFigures.seconds * (1 - *aFigures.done) / *aFigures.done;
        text += kSeparator + TimeLeftText(left) + " left";
    }
    return text;
}

}  // namespace

ProgressFigures FiguresOf(const QvKit::TransferProgress& aProgress, const char* aNoun,
                          bool aCanDrop, double aSeconds) {
    ProgressFigures figures = {};
    figures.noun = aNoun;
    figures.items = aProgress.GetItems();
    figures.bytes = aProgress.GetBytes();
    if (aCanDrop) figures.dropped = aProgress.GetDropped();
    figures.seconds = aSeconds;
    figures.done = aProgress.GetDone();
    if (aProgress.IsStopping()) figures.status = "stopping";
    return figures;
}

std::string PlainProgressLine(const ProgressFigures& aFigures) {
    std::string line = CountText(aFigures.items, aFigures.noun);
    line += kSeparator + RateText(PerSecond(aFigures.bytes, aFigures.seconds));
    if (aFigures.dropped) line += kSeparator + std::to_string(*aFigures.dropped) + " dropped";
    line += kSeparator + TimeText(aFigures);
    if (!aFigures.status.empty()) line += kSeparator + aFigures.status;
    return line;
}

std::string ProgressBarLine(const ProgressFigures& aFigures, std::size_t aWidth) {
    std::string line = PlainProgressLine(aFigures);
    if (line.size() > aWidth) return line.substr(0, aWidth);
    const std::size_t frame = kBarFrame + sizeof kSeparator - 1;
    const std::size_t room = aWidth - line.size();
    if (!aFigures.done || room < frame + kShortestBar) return line;
    return Bar(*aFigures.done, std::min(room - frame, kLongestBar)) + line;
}

}  // namespace Qvctl
