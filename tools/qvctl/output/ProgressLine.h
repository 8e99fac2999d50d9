// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Progress in one line.

#ifndef QVCTL_OUTPUT_PROGRESSLINE_H
#define QVCTL_OUTPUT_PROGRESSLINE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "QvKit/Transfer.h"

namespace Qvctl {

// The figures at one moment.
struct ProgressFigures {
    const char* noun;  // Of one item.
    std::uint64_t items;
    std::uint64_t bytes;
    std::optional<std::uint64_t> dropped;  // Nothing if items can't be dropped.
    double seconds;                        // Since the start.
    std::optional<double> done;            // 0 to 1; nothing when there is no end.
    std::string status;                    // Empty most of the time.
};

ProgressFigures FiguresOf(const QvKit::TransferProgress& aProgress, const char* aNoun,
                          bool aCanDrop, double aSeconds);

// Such as "500 packets  16.4 MB/s  0 dropped  50%  12 s left".
std::string PlainProgressLine(const ProgressFigures& aFigures);

// The same after a progress bar, in at most `aWidth` columns.
std::string ProgressBarLine(const ProgressFigures& aFigures, std::size_t aWidth);

}  // namespace Qvctl

#endif
