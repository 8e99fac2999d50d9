// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "digest/DigestProgress.h"

#include "QvKit/Text.h"
#include "output/Printable.h"

namespace Qvctl {
namespace {

// Fewer steps take too little time for a line to be read.
constexpr unsigned int kFewSteps = 16;
constexpr unsigned int kTenth = 10;

// The end of a text that is too long: it is what differs between files.
std::string Shorten(const std::string& aText, std::size_t aColumns) {
    const std::wstring text = QvKit::FromUtf8(aText);
    if (text.size() <= aColumns) return aText;
    return "..." + QvKit::ToUtf8(text.substr(text.size() - aColumns + 3));
}

}  // namespace

void DigestProgress::Show(QvUserLib::Progress& aProgress) {
    if (aProgress.GetStepTotal() < kFewSteps) return;
    const bool isConsole = context_.err.IsTerminal();
    const unsigned int percentage = aProgress.GetPercentage();
    const unsigned int told = isConsole ? percentage : percentage / kTenth * kTenth;

    // Room for "qvctl: ", the percentage, and the cursor after them.
    constexpr std::size_t kRoom = 16;
    const std::size_t columns = context_.err.GetWidth() - kRoom;
    const std::string line =
        std::to_string(told) + " % " +
        Shorten(Printable(QvKit::FromLibraryText(aProgress.GetStatus())), columns);
    if (line == shown_) return;
    shown_ = line;
    if (isConsole) {
        context_.err.Write("\rqvctl: " + line);
    } else {
        context_.Note(line);
    }
}

void DigestProgress::Clear() {
    if (context_.err.IsTerminal() && !shown_.empty()) {
        context_.err.Write("\r" + std::string(context_.err.GetWidth() - 1, ' ') + "\r");
    }
    shown_.clear();
}

}  // namespace Qvctl
