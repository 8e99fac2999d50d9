// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SINGLEINSTANCE_H
#define QVUSERLIB_SINGLEINSTANCE_H

#include "QvUserLib/Export.h"

namespace QvUserLib {

/// Tells whether a program, or whatever else goes by one name, is there already. The name is held
/// for the life of the object.
class QVUSERLIB_API SingleInstance {
public:
    /// Takes hold of the named mutex `aName` (ANSI code page, as of `CreateMutex`; a `Global\`
    /// prefix makes it count across sessions).
    ///
    /// The mutex has the default security of its creator. Another user, or a program without
    /// elevation when the creator is elevated, may not open it: the creation fails there with
    /// "access denied", and that object reports no other instance. Programs of several users or
    /// with different rights need a mutex of their own, whose security descriptor lets all of them
    /// in.
    explicit SingleInstance(const char* aName);
    virtual ~SingleInstance();

    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// 1 when the name was held, by this process or another, at the time of construction, else 0.
    /// Also 0 when the mutex could not be created or opened.
    int IsAnyOtherInstance();

private:
    // These fields and their order are part of the binary interface.
    void* mutex_;
    unsigned long creationError_;
};

}  // namespace QvUserLib

#endif
