// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/StopSignal.h"

#include <algorithm>

#include "Event.h"
#include "QvKit/Error.h"

namespace QvKit {

struct StopSignal::State {
    QvBaseLib::KernelHandle event = CreateManualEvent();
};

QvBaseLib::KernelHandle CreateManualEvent() {
    QvBaseLib::KernelHandle event(
        ::CreateEventA(nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE, nullptr));
    const DWORD error = ::GetLastError();
    if (!event.IsValid()) {
        throw Error(ErrorKind::SystemFailed, "the system cannot create an event", error);
    }
    return event;
}

DWORD ToSystemWait(std::chrono::milliseconds aLimit) {
    if (aLimit == kNoLimit) return INFINITE;
    // The longest wait that is not endless: more than a month.
    constexpr std::chrono::milliseconds kLongest(INFINITE - 1);
    return static_cast<DWORD>(
        std::clamp(aLimit, std::chrono::milliseconds::zero(), kLongest).count());
}

StopSignal::StopSignal() : state_(std::make_unique<State>()) {}
StopSignal::~StopSignal() = default;

void StopSignal::Request() const { ::SetEvent(state_->event.Get()); }

bool StopSignal::IsRequested() const { return WaitFor(std::chrono::milliseconds::zero()); }

bool StopSignal::WaitFor(std::chrono::milliseconds aLimit) const {
    return ::WaitForSingleObject(state_->event.Get(), ToSystemWait(aLimit)) == WAIT_OBJECT_0;
}

bool StopSignal::WaitForEither(const StopSignal& aOther, std::chrono::milliseconds aLimit) const {
    const HANDLE events[] = {state_->event.Get(), aOther.state_->event.Get()};
    return ::WaitForMultipleObjects(ARRAYSIZE(events), events, /*bWaitAll=*/FALSE,
                                    ToSystemWait(aLimit)) != WAIT_TIMEOUT;
}

void* StopSignal::GetEvent() const { return state_->event.Get(); }

}  // namespace QvKit
