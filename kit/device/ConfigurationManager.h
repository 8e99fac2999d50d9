// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The configuration manager's notifications. The system's headers declare them for Windows 8 and
// later only, while the kit runs on older systems too: it looks for the functions at run time.

#ifndef QVKIT_DEVICE_CONFIGURATIONMANAGER_H
#define QVKIT_DEVICE_CONFIGURATIONMANAGER_H

#include "WindowsApi.h"

#pragma push_macro("WINVER")
#undef WINVER
#define WINVER 0x0602
#include <cfgmgr32.h>
#pragma pop_macro("WINVER")

#endif
