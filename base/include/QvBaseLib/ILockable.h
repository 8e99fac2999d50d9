// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVBASELIB_ILOCKABLE_H
#define QVBASELIB_ILOCKABLE_H

#include "QvBaseLib/Export.h"

namespace QvBaseLib {

/// What can be held by a caller and given back.
class QVBASELIB_API ILockable {
protected:
    ILockable();

    // First, because it has the first slot of the virtual tables, those of derived classes
    // included.
    virtual ~ILockable();

public:
    ILockable(const ILockable&) = delete;
    ILockable& operator=(const ILockable&) = delete;

    /// Takes one hold on the object.
    virtual void Lock() = 0;

    /// Gives one hold back.
    virtual void Unlock() = 0;
};

}  // namespace QvBaseLib

#endif
