// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvBaseLib/Gate.h"

#include "WindowsApi.h"

namespace QvBaseLib {

namespace {

// Code under a gate usually takes less time than putting a thread to sleep and waking it. So spin
// for a while first.
constexpr DWORD kSpinCount = 4000;

CRITICAL_SECTION* AsCriticalSection(void** aStorage) {
    return reinterpret_cast<CRITICAL_SECTION*>(aStorage);
}

}  // namespace

Gate::Gate() {
    static_assert(sizeof(criticalSection_) == sizeof(CRITICAL_SECTION), "room for the lock");
    static_assert(alignof(void*) >= alignof(CRITICAL_SECTION), "alignment of the lock");
    ::InitializeCriticalSectionAndSpinCount(AsCriticalSection(criticalSection_), kSpinCount);
}

Gate::~Gate() { ::DeleteCriticalSection(AsCriticalSection(criticalSection_)); }

void Gate::Lock() { ::EnterCriticalSection(AsCriticalSection(criticalSection_)); }

void Gate::Unlock() { ::LeaveCriticalSection(AsCriticalSection(criticalSection_)); }

}  // namespace QvBaseLib
