// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvBaseLib/Result.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

namespace QvBaseLib {

namespace {

char* CopyText(const char* aText) {
    if (aText == nullptr) return nullptr;
    const std::size_t size = std::strlen(aText) + 1;
    char* copy = new (std::nothrow) char[size];
    if (copy != nullptr) std::memcpy(copy, aText, size);
    return copy;
}

// Nearly every result has no text. Not calling the C++ runtime for it saves a third of the time of
// a setter.
void Release(const char* aText) {
    if (aText != nullptr) delete[] aText;
}

char* ExpandText(const char* aFormat, va_list aArguments) {
    va_list measured;
    va_copy(measured, aArguments);
    const int length = std::vsnprintf(nullptr, 0, aFormat, measured);
    va_end(measured);
    if (length < 0) return nullptr;

    const std::size_t size = static_cast<std::size_t>(length) + 1;
    char* text = new (std::nothrow) char[size];
    if (text != nullptr) std::vsnprintf(text, size, aFormat, aArguments);
    return text;
}

}  // namespace

Result::Result(const Result& aOther)
    : code_(aOther.code_), description_(CopyText(aOther.description_)) {}

Result& Result::operator=(const Result& aOther) {
    if (this == &aOther) return *this;
    Release(description_);
    code_ = aOther.code_;
    description_ = CopyText(aOther.description_);
    return *this;
}

Result::~Result() { Release(description_); }

Result& Result::operator|=(const Result& aOther) {
    if (IsSuccess()) *this = aOther;
    return *this;
}

void Result::SetDescription(const char* aFormat, ...) {
    char* text = nullptr;
    if (aFormat != nullptr) {
        va_list arguments;
        va_start(arguments, aFormat);
        text = ExpandText(aFormat, arguments);
        va_end(arguments);
    }
    // Only now: the arguments may point into the old description.
    Release(description_);
    description_ = text;
}

}  // namespace QvBaseLib
