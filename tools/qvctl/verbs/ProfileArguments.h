// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The arguments of verbs that apply a profile.

#ifndef QVCTL_VERBS_PROFILEARGUMENTS_H
#define QVCTL_VERBS_PROFILEARGUMENTS_H

#include <string>

#include "QvKit/Profile.h"
#include "commandline/Arguments.h"

namespace Qvctl {

void AddProfileArguments(Arguments& aArguments, std::string& aFile, QvKit::ProfileChoice& aChoice);

}  // namespace Qvctl

#endif
