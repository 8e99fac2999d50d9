// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_PROGRESS_H
#define QVUSERLIB_PROGRESS_H

#include <atomic>

#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/Export.h"
#include "QvUserLib/String.h"

#ifdef _MSC_VER
#pragma warning(push)
// The standard library's types in the private part are the same on both sides of the DLL.
#pragma warning(disable : 4251)
#endif

namespace QvUserLib {

/// How far a long operation has come: a status text, steps done of steps in all, and a percentage.
///
/// The operation writes and another party reads, each on a thread of its own. The status is guarded
/// by a lock. The counters are not tied to each other or to the status: a reader may see one of
/// them already changed and the other not yet, and only one thread may write them.
class QVUSERLIB_API Progress {
public:
    Progress();
    virtual ~Progress();

    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// A copy of the status text.
    String GetStatus();
    /// Replaces the status text.
    void SetStatus(const String& aStatus);

    /// The number of steps done.
    unsigned int GetStepCompleted();
    /// The number of steps in all.
    unsigned int GetStepTotal();

    /// The percentage as it was last set: it does not follow the steps by itself.
    unsigned int GetPercentage();

    /// Sets the number of steps in all. Steps done beyond it stay until they are set next.
    void SetStepTotal(unsigned int aTotal);

    /// Sets the number of steps done, at most all of them.
    void SetStepCompleted(unsigned int aCompleted);

    /// Counts one more step as done, if there is one.
    void StepIncrement();

    /// Sets the percentage as given.
    void SetPercentage(unsigned int aPercentage);

    /// Computes the percentage from the steps, rounded half up; 0 when there are no steps.
    void SetPercentage();

    /// Back to an empty status and zeros.
    void Reset();

private:
    // These fields and their order are part of the binary interface. The gate guards the status.
    Gate gate_;
    String status_;
    std::atomic<unsigned int> stepCompleted_;
    std::atomic<unsigned int> stepTotal_;
    std::atomic<unsigned int> percentage_;
};

}  // namespace QvUserLib

#ifdef _MSC_VER
#pragma warning(pop)
#endif

#endif
