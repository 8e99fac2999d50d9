// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The device that the user means, as the system knows it.

#ifndef QVCTL_INSTANCECHOICE_H
#define QVCTL_INSTANCECHOICE_H

#include <string>

#include "Context.h"

namespace Qvctl {

// The instance ID of the device that the options name. One that is given by its instance ID is not
// looked up unless it is waited for: it need not have an interface, nor be present. Throws
// `QvKit::Error`.
std::string ChooseInstance(const Context& aContext);

}  // namespace Qvctl

#endif
