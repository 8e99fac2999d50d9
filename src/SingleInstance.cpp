// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/SingleInstance.h"

#include "WindowsApi.h"

namespace QvUserLib {

SingleInstance::SingleInstance(const char* aName)
    : mutex_(::CreateMutexA(nullptr, /*bInitialOwner=*/FALSE, aName)),
      creationError_(::GetLastError()) {}

SingleInstance::~SingleInstance() {
    if (mutex_ != nullptr) ::CloseHandle(mutex_);
}

int SingleInstance::IsAnyOtherInstance() { return creationError_ == ERROR_ALREADY_EXISTS ? 1 : 0; }

}  // namespace QvUserLib
