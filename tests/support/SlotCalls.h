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

/// An object of a derived class that counts its destructions.
template <typename Base>
class Watched : public Base {
public:
    template <typename... Arguments>
    explicit Watched(int& aDestroyed, const Arguments&... aArguments)
        : Base(aArguments...), destroyed_(aDestroyed) {}
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;
    ~Watched() override { ++destroyed_; }

private:
    int& destroyed_;
};

/// Checks that the destructor is the first virtual function, and that a deletion through the base
/// class destroys the derived object.
template <typename Base>
void ExpectDestructorIsVirtualAndFirst() {
    int destroyed = 0;
    CallSlot<void>(static_cast<Base*>(new Watched<Base>(destroyed)), 1);
    EXPECT_EQ(1, destroyed);

    Base* const object = new Watched<Base>(destroyed);
    delete object;
    EXPECT_EQ(2, destroyed);
}

}  // namespace QvTests

#endif
