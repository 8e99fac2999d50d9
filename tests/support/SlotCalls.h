// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Calls through an object's virtual table by place, as compiled clients do. The places are part of
// the fixed binary interface.

#ifndef QVTESTS_SLOTCALLS_H
#define QVTESTS_SLOTCALLS_H

#include <cstddef>

#include "TestSupport.h"

namespace QvTests {

/// Calls the virtual function in place `aNumber`, where the destructor is number 1. It takes two
/// entries in the Itanium ABI, so the number of any later function is its index there.
///
/// GCC and Clang pass `this` where a free function takes its first argument, also behind the hidden
/// address of a result that is returned by value.
template <typename Return, typename... Arguments>
Return CallSlot(void* aObject, std::size_t aNumber, Arguments... aArguments) {
    using Function = Return (*)(void*, Arguments...);
    return reinterpret_cast<Function>(VirtualSlot(aObject, aNumber))(aObject, aArguments...);
}

}  // namespace QvTests

#endif
