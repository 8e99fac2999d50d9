// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ExpandText.h"

#include <algorithm>
#include <cstdio>

#include "CopyBytes.h"
#include "TextLength.h"

namespace QvUserLib {

namespace {

// A text that grows in a buffer while there is room.
class Output {
public:
    Output(char* aOut, std::size_t aSize) : start_(aOut), end_(aOut + aSize - 1), next_(aOut) {}

    void Append(char aCharacter) {
        if (next_ != end_) *next_++ = aCharacter;
    }

    // Appends the text up to its end or the next aStop, as far as it fits. Returns the rest.
    const char* AppendUpTo(const char* aText, char aStop) {
        const auto room = static_cast<std::size_t>(end_ - next_);
        const std::size_t length = LengthUpTo(aText, aStop, room);
        CopyBytes(next_, aText, length);
        next_ += length;
        return aText + length;
    }

    void Append(const char* aText) { (void)AppendUpTo(aText, '\0'); }

    bool IsFull() const { return next_ == end_; }

    void AppendNumber(unsigned long long aNumber, unsigned int aBase) {
        char digits[20];
        char* const end = digits + sizeof digits;
        char* first = end;
        do {
            *--first = "0123456789abcdef"[aNumber % aBase];
            aNumber /= aBase;
        } while (aNumber != 0);
        while (first != end) Append(*first++);
    }

    std::size_t Finish() {
        *next_ = '\0';
        return static_cast<std::size_t>(next_ - start_);
    }

private:
    char* const start_;
    char* const end_;
    char* next_;
};

void AppendText(Output& aOutput, const char* aText) {
    aOutput.Append(aText != nullptr ? aText : "(null)");
}

void AppendSigned(Output& aOutput, int aNumber) {
    const auto number = static_cast<unsigned int>(aNumber);
    if (aNumber < 0) aOutput.Append('-');
    aOutput.AppendNumber(aNumber < 0 ? 0U - number : number, 10);
}

// Expands the most common conversions: `%s`, `%d`, `%u`, `%x`, the last three also with an l, and
// `%%`. False when the format contains another one. Nearly every message uses only these. With the
// C library alone the benchmark "Refused change, log closed" takes twice as long.
bool ExpandCommon(Output& aOutput, const char* aFormat, va_list aArguments) {
    for (const char* in = aFormat;;) {
        in = aOutput.AppendUpTo(in, '%');
        if (*in == '\0' || aOutput.IsFull()) return true;
        ++in;
        // Both are 32 bits wide.
        static_assert(sizeof(long) == sizeof(int), "64-bit Windows");
        if (*in == 'l' && (in[1] == 'd' || in[1] == 'u' || in[1] == 'x')) ++in;
        switch (*in++) {
            case '%':
                aOutput.Append('%');
                break;
            case 's':
                AppendText(aOutput, va_arg(aArguments, const char*));
                break;
            case 'd':
                AppendSigned(aOutput, va_arg(aArguments, int));
                break;
            case 'u':
                aOutput.AppendNumber(va_arg(aArguments, unsigned int), 10);
                break;
            case 'x':
                aOutput.AppendNumber(va_arg(aArguments, unsigned int), 16);
                break;
            default:
                return false;
        }
    }
}

}  // namespace

std::size_t ExpandText(char* aOut, std::size_t aSize, const char* aFormat, va_list aArguments) {
    Output output(aOut, aSize);
    va_list arguments;
    va_copy(arguments, aArguments);
    const bool isExpanded = ExpandCommon(output, aFormat, arguments);
    va_end(arguments);
    if (isExpanded) return output.Finish();

    const int length = std::vsnprintf(aOut, aSize, aFormat, aArguments);
    if (length < 0) {
        aOut[0] = '\0';
        return 0;
    }
    return std::min(static_cast<std::size_t>(length), aSize - 1);
}

}  // namespace QvUserLib
