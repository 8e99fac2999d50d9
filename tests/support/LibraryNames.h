// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The library's classes under their short names, for all tests.

#ifndef QVTESTS_LIBRARYNAMES_H
#define QVTESTS_LIBRARYNAMES_H

#include "QvUserLib/BaseTypes.h"

namespace QvBaseLib {
class DeviceParameter;
}  // namespace QvBaseLib

namespace QvUserLib {
class DeviceConnection;
class DeviceEnumerator;
class DeviceParameterRepository;
class DeviceRequestQueue;
class ErrorLog;
class Log;
class Logger;
class MD5;
class Parameter;
class ParameterRepository;
class Progress;
class SingleInstance;
class String;
class Synchro;
class Thread;
}  // namespace QvUserLib

namespace QvTests {

using QvBaseLib::Code;
using QvBaseLib::DeviceParameter;
using QvBaseLib::Gate;
using QvBaseLib::GateGuard;
using QvBaseLib::ILockable;
using QvBaseLib::Result;
using QvBaseLib::Shareable;
using QvUserLib::DeviceConnection;
using QvUserLib::DeviceEnumerator;
using QvUserLib::DeviceParameterRepository;
using QvUserLib::DeviceRequestQueue;
using QvUserLib::ErrorLog;
using QvUserLib::Log;
using QvUserLib::Logger;
using QvUserLib::MD5;
using QvUserLib::Parameter;
using QvUserLib::ParameterRepository;
using QvUserLib::Progress;
using QvUserLib::SingleInstance;
using QvUserLib::String;
using QvUserLib::Synchro;
using QvUserLib::Thread;

}  // namespace QvTests

#endif
