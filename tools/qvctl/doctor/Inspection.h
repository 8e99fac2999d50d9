// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Looks at this machine for what usually goes wrong.

#ifndef QVCTL_DOCTOR_INSPECTION_H
#define QVCTL_DOCTOR_INSPECTION_H

#include "Context.h"
#include "doctor/Doctor.h"

namespace Qvctl {

// Opens every device and loads its parameters; changes nothing. Throws `QvKit::Error` when the
// system cannot list its devices.
Findings Inspect(const Context& aContext);

}  // namespace Qvctl

#endif
