// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Turn.h"

namespace QvKit {
namespace {

constexpr DWORD kLongestMs = 5000;

}  // namespace

Turn::Turn()
    : mutex_(::CreateMutexA(/*lpMutexAttributes=*/nullptr, /*bInitialOwner=*/FALSE,
                            "Global\\QvKit change of a device")) {
    // A mutex that its owner left behind, as by a sudden end, passes on like any other.
    const DWORD wait =
        mutex_.IsValid() ? ::WaitForSingleObject(mutex_.Get(), kLongestMs) : WAIT_FAILED;
    isOwner_ = wait == WAIT_OBJECT_0 || wait == WAIT_ABANDONED;
}

Turn::~Turn() {
    if (isOwner_) ::ReleaseMutex(mutex_.Get());
}

}  // namespace QvKit
