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
    explicit SingleInstance(const char* aName);
    virtual ~SingleInstance();

    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// 1 when the name was held, by this process or another, at the time of construction, else 0.
    /// A mutex that could not be created reads as 0.
    int IsAnyOtherInstance();

private:
    // These fields and their order are part of the binary interface.
    void* mutex_;
    unsigned long creationError_;
};

}  // namespace QvUserLib

#endif
