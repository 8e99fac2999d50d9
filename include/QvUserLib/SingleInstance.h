// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SINGLEINSTANCE_H
#define QVUSERLIB_SINGLEINSTANCE_H

#include "QvUserLib/Export.h"

namespace QvUserLib {

/// Detects whether a program, or anything else with a given name, is already running. The object
/// holds the name as long as it exists.
class QVUSERLIB_API SingleInstance {
public:
    /// Creates or opens the named mutex `aName` (ANSI code page, as for `CreateMutex`; with the
    /// prefix `Global\` it counts across sessions).
    ///
    /// The mutex has its creator's default security. Another user, or a program that is not
    /// elevated while the creator is, may be denied access. The object there then reports no other
    /// instance. Programs of several users, or with different rights, need to create a mutex
    /// themselves, with a security descriptor that admits all of them.
    explicit SingleInstance(const char* aName);
    virtual ~SingleInstance();

    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// 1 if the name was already held at construction, by this process or another; otherwise 0.
    /// Also 0 if the mutex could not be created or opened.
    int IsAnyOtherInstance();

private:
    // These fields and their order are part of the binary interface.
    void* mutex_;
    unsigned long creationError_;
};

}  // namespace QvUserLib

#endif
