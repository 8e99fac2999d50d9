// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvBaseLib/Shareable.h"

#include "WindowsApi.h"

namespace QvBaseLib {

Shareable::Shareable() : refCount_(1) {}

Shareable::~Shareable() = default;

void Shareable::Lock() { ::InterlockedIncrement64(&refCount_); }

void Shareable::Unlock() {
    if (::InterlockedDecrement64(&refCount_) == 0) OnRelease();
}

long Shareable::GetRefCount() const {
    return static_cast<long>(::InterlockedCompareExchange64(&refCount_, 0, 0));
}

void Shareable::OnRelease() {}

}  // namespace QvBaseLib
