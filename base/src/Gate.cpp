// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvBaseLib/Gate.h"

#include "WindowsApi.h"

namespace QvBaseLib {

namespace {

CRITICAL_SECTION* AsCriticalSection(void** aStorage) {
    return reinterpret_cast<CRITICAL_SECTION*>(aStorage);
}

}  // namespace

Gate::Gate() {
    static_assert(sizeof(criticalSection_) == sizeof(CRITICAL_SECTION), "room for the lock");
    static_assert(alignof(void*) >= alignof(CRITICAL_SECTION), "alignment of the lock");
    ::InitializeCriticalSection(AsCriticalSection(criticalSection_));
}

Gate::~Gate() { ::DeleteCriticalSection(AsCriticalSection(criticalSection_)); }

void Gate::Lock() { ::EnterCriticalSection(AsCriticalSection(criticalSection_)); }

void Gate::Unlock() { ::LeaveCriticalSection(AsCriticalSection(criticalSection_)); }

}  // namespace QvBaseLib
