// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVBASELIB_ILOCKABLE_H
#define QVBASELIB_ILOCKABLE_H

#include "QvBaseLib/Export.h"

namespace QvBaseLib {

/// An object that a caller can hold and release.
class QVBASELIB_API ILockable {
protected:
    ILockable();

    // Declared first, because it has the first slot of the virtual table, also in derived classes.
    virtual ~ILockable();

public:
    ILockable(const ILockable&) = delete;
    ILockable& operator=(const ILockable&) = delete;

    /// Takes one hold on the object.
    virtual void Lock() = 0;

    /// Releases one hold.
    virtual void Unlock() = 0;
};

}  // namespace QvBaseLib

#endif
