// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a device made of a change, by what it holds afterwards.

#ifndef QVKIT_SETTINGS_VERDICTS_H
#define QVKIT_SETTINGS_VERDICTS_H

#include <string>
#include <vector>

#include "QvKit/Change.h"

namespace QvKit {

// Judges each edit by what the device holds, and notes that.
void Judge(std::vector<Edit>& aEdits, const Snapshot& aHeld);

// The edits that were not taken as asked, in words; empty when all were.
std::string DescribeLosses(const std::vector<Edit>& aEdits);

// Whether the device kept something of each edit.
bool AreAllKept(const std::vector<Edit>& aEdits);

// Notes what the device holds after the former values were sent, and which of them are back.
void NoteRestored(std::vector<Edit>& aEdits, const Snapshot& aHeld);

// What the device holds instead of the former values, as in "Gain=8, Label=x"; empty when it holds
// all of them.
std::string DescribeUnrestored(const std::vector<Edit>& aEdits);

}  // namespace QvKit

#endif
