// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The arguments of verbs that apply a profile.

#ifndef QVCTL_VERBS_PROFILEARGUMENTS_H
#define QVCTL_VERBS_PROFILEARGUMENTS_H

#include <CLI/CLI.hpp>
#include <string>

#include "QvKit/Profile.h"

namespace Qvctl {

void AddProfileArguments(CLI::App& aCommand, std::string& aFile, QvKit::ProfileChoice& aChoice);

}  // namespace Qvctl

#endif
