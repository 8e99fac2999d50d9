// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Replaces Log4cxx.cpp in a library that is built without log4cxx. Nothing can be bound, so nothing
// else here is called.

#include "Log4cxx.h"

namespace QvUserLib {
namespace Log4cxx {

bool Bind(const std::string&) { return false; }

bool Unbind() { return false; }

bool CanUnbind() { return false; }

bool Configure(const std::wstring&) { return false; }

void* GetLogger(const char*) { return nullptr; }

bool IsEnabled(void*, int) { return false; }

void Log(void*, int, const char*) {}

void LogError(void*, const char*) {}

}  // namespace Log4cxx
}  // namespace QvUserLib
