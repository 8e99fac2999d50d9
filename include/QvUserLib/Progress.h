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

/// The progress of a long operation: a status text, the steps done, the steps in total, and a
/// percentage.
///
/// The operation writes on one thread and others read. A lock guards the status. The counters are
/// independent of each other and of the status: a reader may see one changed and another not yet,
/// and only one thread may write them.
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
    /// The total number of steps.
    unsigned int GetStepTotal();

    /// The percentage that was last set; it does not follow the steps by itself.
    unsigned int GetPercentage();

    /// Sets the total number of steps. If more steps than that are done, their number stays until
    /// it is next set.
    void SetStepTotal(unsigned int aTotal);

    /// Sets the number of steps done, at most the total.
    void SetStepCompleted(unsigned int aCompleted);

    /// Adds one to the number of steps done, at most up to the total.
    void StepIncrement();

    /// Sets the percentage as given.
    void SetPercentage(unsigned int aPercentage);

    /// Computes the percentage from the steps, rounded half up; 0 when there are no steps.
    void SetPercentage();

    /// Empties the status and sets all numbers to 0.
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
