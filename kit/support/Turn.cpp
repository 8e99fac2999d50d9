// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Turn.h"

#include "Event.h"
#include "QvKit/StopSignal.h"

namespace QvKit {

Turn::Turn(const wchar_t* aName, std::chrono::milliseconds aLimit, const StopSignal* aStop)
    : mutex_(::CreateMutexW(/*lpMutexAttributes=*/nullptr, /*bInitialOwner=*/FALSE, aName)),
      error_(::GetLastError()) {
    if (!mutex_.IsValid()) return;
    const HANDLE handles[] = {mutex_.Get(), aStop != nullptr ? aStop->GetEvent() : nullptr};
    const DWORD wait = ::WaitForMultipleObjects(aStop != nullptr ? 2 : 1, handles,
                                                /*bWaitAll=*/FALSE, ToSystemWait(aLimit));
    // A mutex that its owner left behind, as by a sudden end, passes on like any other.
    const bool hasCome = wait == WAIT_OBJECT_0 || wait == WAIT_ABANDONED_0;
    error_ = hasCome ? ERROR_SUCCESS : ERROR_TIMEOUT;
}

Turn::~Turn() {
    if (error_ == ERROR_SUCCESS) ::ReleaseMutex(mutex_.Get());
}

}  // namespace QvKit
