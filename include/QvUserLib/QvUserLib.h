// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

/// @file
/// Everything that `QvUserLib64.dll` offers.

#ifndef QVUSERLIB_QVUSERLIB_H
#define QVUSERLIB_QVUSERLIB_H

#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/DeviceConnection.h"
#include "QvUserLib/DeviceEnumerator.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "QvUserLib/DeviceRequestQueue.h"
#include "QvUserLib/ErrorLog.h"
#include "QvUserLib/Log.h"
#include "QvUserLib/Logger.h"
#include "QvUserLib/MD5.h"
#include "QvUserLib/Parameter.h"
#include "QvUserLib/ParameterRepository.h"
#include "QvUserLib/Progress.h"
#include "QvUserLib/SingleInstance.h"
#include "QvUserLib/String.h"
#include "QvUserLib/Synchro.h"
#include "QvUserLib/System.h"
#include "QvUserLib/Thread.h"

#endif
