// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVBASELIB_GATE_H
#define QVBASELIB_GATE_H

#include "QvBaseLib/Export.h"

namespace QvBaseLib {

/// A mutual-exclusion lock on a Win32 critical section. The thread that holds it may lock it again,
/// and must then unlock it as often.
class QVBASELIB_API Gate {
public:
    Gate();

    /// No thread may still hold the lock.
    virtual ~Gate();

    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    /// Waits, without limit, until no other thread holds the lock, and takes it.
    virtual void Lock();

    /// Releases the lock. Only the thread that holds it may do so.
    virtual void Unlock();

private:
    // This field is part of the binary interface: room for a CRITICAL_SECTION.
    void* criticalSection_[5];
};

/// Holds a `Gate` from its construction to its destruction.
class GateGuard {
public:
    /// Waits, without limit, for the lock, which must outlive this object.
    explicit GateGuard(Gate& aGate) : gate_(aGate) { gate_.Lock(); }
    ~GateGuard() { gate_.Unlock(); }

    GateGuard(const GateGuard&) = delete;
    GateGuard& operator=(const GateGuard&) = delete;

private:
    Gate& gate_;
};

}  // namespace QvBaseLib

#endif
