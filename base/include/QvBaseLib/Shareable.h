// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVBASELIB_SHAREABLE_H
#define QVBASELIB_SHAREABLE_H

#include "QvBaseLib/ILockable.h"

namespace QvBaseLib {

/// A reference-counted base. The count starts at 1, the creator's own reference, and is kept with
/// interlocked operations, so any thread may lock and unlock.
///
/// The count never destroys the object by itself: its creator does, or a derived class does so in
/// `OnRelease`.
class QVBASELIB_API Shareable : public ILockable {
public:
    /// Adds one reference.
    void Lock() override;

    /// Releases one reference; the call that makes the count 0 calls `OnRelease`.
    void Unlock() override;

    /// The number of references at this moment.
    virtual long GetRefCount() const;

protected:
    Shareable();
    ~Shareable() override;

    /// Called by the `Unlock` that released the last reference, on its thread. Does nothing here.
    virtual void OnRelease();

private:
    // This field is part of the binary interface. It is eight bytes wide so that the class ends on
    // an eight-byte boundary and a derived class starts at the same offset with every compiler.
    mutable long long refCount_;
};

}  // namespace QvBaseLib

#endif
