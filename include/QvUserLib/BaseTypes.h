// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

/// @file
/// The base library's types that this library's interface uses, in this library's namespace.

#ifndef QVUSERLIB_BASETYPES_H
#define QVUSERLIB_BASETYPES_H

#include "QvBaseLib/Gate.h"
#include "QvBaseLib/ILockable.h"
#include "QvBaseLib/Result.h"
#include "QvBaseLib/Shareable.h"

namespace QvUserLib {

using QvBaseLib::Code;
using QvBaseLib::Gate;
using QvBaseLib::GateGuard;
using QvBaseLib::ILockable;
using QvBaseLib::Result;
using QvBaseLib::Shareable;

}  // namespace QvUserLib

#endif
