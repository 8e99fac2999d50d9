// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Looks at this machine for what usually goes wrong.

#ifndef QVCTL_INSPECTION_H
#define QVCTL_INSPECTION_H

#include "Context.h"
#include "Doctor.h"

namespace Qvctl {

// Opens every device and loads its parameters; changes nothing. Throws `Failure` when the system
// cannot list its devices.
Findings Inspect(const Context& aContext);

}  // namespace Qvctl

#endif
