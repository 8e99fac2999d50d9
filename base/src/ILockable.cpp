// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvBaseLib/ILockable.h"

namespace QvBaseLib {

ILockable::ILockable() = default;

ILockable::~ILockable() = default;

}  // namespace QvBaseLib
