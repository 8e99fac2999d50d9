// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The reason of a failed call of the library, captured at the call.

#ifndef QVKIT_SUPPORT_LIBRARYCALL_H
#define QVKIT_SUPPORT_LIBRARYCALL_H

#include <string>

#include "QvKit/Error.h"
#include "QvUserLib/BaseTypes.h"

namespace QvKit {

struct LibraryReason {
    std::string text;  // The library's message; "code 0x19" when it logged none.
    bool isLogged;
};

// Call it on the line after the call that returned `aResult`, on the same thread: the library keeps
// the last message of each thread. A call that logs nothing leaves an older message there, which is
// ignored if its code is another one. For a call that never logs, write a message of your own.
LibraryReason CaptureReason(const QvUserLib::Result& aResult);

// The same as an error, "aWhat: the reason".
Error LibraryError(ErrorKind aKind, const std::string& aWhat, const QvUserLib::Result& aResult);

}  // namespace QvKit

#endif
