// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/ErrorLog.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "CopyBytes.h"
#include "DateTimeText.h"
#include "ExpandText.h"
#include "ReportError.h"
#include "TextLength.h"
#include "WindowsApi.h"

namespace QvUserLib {

namespace {

constexpr std::size_t kLineSize = 1024;
constexpr std::size_t kWrittenSize = 512;
constexpr std::size_t kMaxBackupLength = 259;
constexpr int kTimeStampSize = 26;

constexpr char kErrorTag[] = "ERR ";
constexpr char kInfoTag[] = "INFO";

// Marks an error on its way to the caller: the cause was reported before.
constexpr char kPropagation[] = "~Error propagation";

// What a line contains besides its message.
struct Origin {
    const Result& result;
    const char* file;
    unsigned long line;
    const char* tag;
    unsigned long thread;
};

bool IsEmptyFormat(const char* aFormat) { return aFormat == nullptr || *aFormat == '\0'; }

// Copies as much of the text as fits.
void CopyText(char* aOut, std::size_t aSize, const char* aText) {
    const std::size_t length = LengthUpTo(aText, aSize - 1);
    CopyBytes(aOut, aText, length);
    aOut[length] = '\0';
}

unsigned long PrintedCode(const Result& aResult) {
    const unsigned long code = aResult.GetCode();
    return code == ERROR_NO_MORE_ITEMS ? 0xFFFF : code & 0xFFFF;
}

// The present time in seconds since 1970. The C library's time() also queries the time zone.
long long SecondsNow() {
    constexpr unsigned long long kTicksPerSecond = 10000000;
    constexpr unsigned long long kSecondsFrom1601To1970 = 11644473600;
    FILETIME now = {};
    ::GetSystemTimeAsFileTime(&now);
    const unsigned long long ticks =
        static_cast<unsigned long long>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
    return static_cast<long long>(ticks / kTicksPerSecond - kSecondsFrom1601To1970);
}

// The present time as text. It is made again when the system's tick has advanced, every 10 to 16
// ms: the system's time is no finer, and takes longer to query.
class TimeStamp {
public:
    void Read(char (&aOut)[kTimeStampSize]) {
        const unsigned long long tick = ::GetTickCount64();
        ::AcquireSRWLockShared(&lock_);
        const bool isCurrent = tick_ == tick;
        if (isCurrent) std::memcpy(aOut, text_, sizeof text_);
        ::ReleaseSRWLockShared(&lock_);
        if (isCurrent) return;

        WriteDateTime(SecondsNow(), aOut, kTimeStampSize);
        ::AcquireSRWLockExclusive(&lock_);
        tick_ = tick;
        std::memcpy(text_, aOut, sizeof text_);
        ::ReleaseSRWLockExclusive(&lock_);
    }

private:
    SRWLOCK lock_ = SRWLOCK_INIT;      // Guards what follows.
    unsigned long long tick_ = ~0ULL;  // No tick yet.
    char text_[kTimeStampSize] = {};
};
TimeStamp theTimeStamp;

// Expands a format into a buffer, and returns the length of the text in it.
std::size_t Print(char* aOut, std::size_t aSize, const char* aFormat, ...) {
    va_list arguments;
    va_start(arguments, aFormat);
    const std::size_t length = ExpandText(aOut, aSize, aFormat, arguments);
    va_end(arguments);
    return length;
}

// Writes everything that comes before the message, and returns where the message begins.
char* StartLine(char (&aLine)[kLineSize], const Origin& aOrigin) {
    char time[kTimeStampSize];
    theTimeStamp.Read(time);
    return aLine + Print(aLine, kLineSize, "%s [0x%lx] [0x%lx] %s(%lu) %s - ", time,
                         PrintedCode(aOrigin.result), aOrigin.thread,
                         aOrigin.file != nullptr ? aOrigin.file : "", aOrigin.line, aOrigin.tag);
}

// Expands a message and returns its length. Without arguments the format itself is the message.
std::size_t ExpandMessage(char* aOut, std::size_t aSize, const char* aFormat, va_list aArguments) {
    if (aArguments != nullptr) return ExpandText(aOut, aSize, aFormat, aArguments);
    CopyText(aOut, aSize, aFormat);
    return LengthUpTo(aOut, aSize - 1);
}

// Composes a line with a message that is still to be expanded. Returns where the message begins.
const char* ComposeLine(char (&aLine)[kLineSize], const Origin& aOrigin, const char* aFormat,
                        va_list aArguments) {
    char* const message = StartLine(aLine, aOrigin);
    (void)ExpandMessage(message, static_cast<std::size_t>(aLine + kLineSize - message), aFormat,
                        aArguments);  // Only the line is needed.
    return message;
}

// Composes a line with a message that was expanded before.
void ComposeLine(char (&aLine)[kLineSize], const Origin& aOrigin, const char* aMessage) {
    aLine[0] = '\0';
    if (*aMessage == '\0') return;
    char* const message = StartLine(aLine, aOrigin);
    CopyText(message, static_cast<std::size_t>(aLine + kLineSize - message), aMessage);
}

// Built when the library loads, so that it exists before anything can fail.
ErrorLog theErrorLog;

}  // namespace

ErrorLog& ErrorLog::GetErrorLog() { return theErrorLog; }

// The records of the library's own log are in memory that the system fills with zeros, which is how
// records without an error look. Written when the library loads, they would take 33 pages.
static_assert(Code::Success == 0, "memory of zeros is not a success");

ErrorLog::ErrorLog() : newest_(0), hasEntries_(false) {
    if (this == &theErrorLog) return;
    for (Record& record : records_) {
        new (&record.result.value) Result(Code::Success);
        record.message[0] = '\0';
        record.file[0] = '\0';
        record.line = 0;
        record.thread = 0;
    }
}

ErrorLog::~ErrorLog() {
    if (!hasEntries_) return;
    for (Record& record : records_) record.result.value.~Result();
}

Result ErrorLog::Close() {
    const GateGuard guard(gate_);
    return Log::Close();
}

Result ErrorLog::Open(const char* aPath) {
    const GateGuard guard(gate_);
    if (IsOpened()) return Result(Code::AlreadyOpen);
    if (aPath == nullptr) return Result(Code::CannotOpenFile);

    char backup[kMaxBackupLength + 1];
    std::snprintf(backup, sizeof backup, "%s.bak", aPath);
    // There may be no earlier file, and a new log without a backup is better than none.
    ::CopyFileA(aPath, backup, /*bFailIfExists=*/FALSE);
    ::DeleteFileA(aPath);
    return Log::Open(aPath, "w", 0);
}

Result ErrorLog::WriteError(Result aResult, const char* aFile, unsigned long aLine,
                            const char* aFormat, ...) {
    va_list arguments;
    va_start(arguments, aFormat);
    const Result written = WriteErrorArg(aResult, aFile, aLine, aFormat, arguments);
    va_end(arguments);
    return written;
}

Result ErrorLog::WriteErrorArg(Result aResult, const char* aFile, unsigned long aLine,
                               const char* aFormat, char*& aArguments) {
    if (IsEmptyFormat(aFormat)) return Result(Code::Success);

    char text[kLineSize];
    if (IsOpened()) {
        const Origin origin = {aResult, aFile, aLine, kErrorTag, ::GetCurrentThreadId()};
        const char* const message = ComposeLine(text, origin, aFormat, aArguments);
        const GateGuard guard(gate_);
        const Result written = WriteLine(text);
        AddRecord(aResult, aFile, aLine, message, LengthUpTo(message, kLineSize - 1));
        return written;
    }

    const std::size_t length = ExpandMessage(text, sizeof text, aFormat, aArguments);
    const GateGuard guard(gate_);
    AddRecord(aResult, aFile, aLine, text, length);
    return Result(Code::NotSet);
}

Result ErrorLog::WriteInfo(Result aResult, const char* aFile, unsigned long aLine,
                           const char* aFormat, ...) {
    if (!IsOpened()) return Result(Code::Success);
    va_list arguments;
    va_start(arguments, aFormat);
    const Result written = WriteInfoArg(aResult, aFile, aLine, aFormat, arguments);
    va_end(arguments);
    return written;
}

Result ErrorLog::WriteInfoArg(Result aResult, const char* aFile, unsigned long aLine,
                              const char* aFormat, char*& aArguments) {
    if (IsEmptyFormat(aFormat)) return Result(Code::Success);
    if (!IsOpened()) return Result(Code::FileNotOpen);

    char text[kLineSize];
    const Origin origin = {aResult, aFile, aLine, kInfoTag, ::GetCurrentThreadId()};
    ComposeLine(text, origin, aFormat, aArguments);
    const GateGuard guard(gate_);
    return WriteLine(text);
}

Result ErrorLog::GetLastError(String& aText) {
    const GateGuard guard(gate_);
    if (!hasEntries_) {
        aText = String("");
        return Result(Code::Success);
    }

    const unsigned long thread = ::GetCurrentThreadId();
    const Record* answer = nullptr;
    for (unsigned long age = 0; age < kRecordCount; ++age) {
        const Record& record = records_[(newest_ + kRecordCount - age) % kRecordCount];
        if (record.thread != thread) continue;
        answer = &record;
        if (std::strcmp(record.message, kPropagation) != 0) break;
    }
    if (answer == nullptr) answer = &records_[newest_];

    aText = String(answer->message);
    return answer->result.value;
}

Result ErrorLog::DumpLastError() {
    const GateGuard guard(gate_);
    if (!IsOpened() || !hasEntries_) return Result(Code::Success);

    Result written(Code::Success);
    for (unsigned long age = 0; age < kRecordCount && written.IsSuccess(); ++age) {
        const Record& record = records_[(newest_ + kRecordCount - age) % kRecordCount];
        if (record.thread == 0) break;
        char text[kLineSize];
        const Origin origin = {record.result.value, record.file, record.line, kErrorTag,
                               record.thread};
        ComposeLine(text, origin, record.message);
        written = WriteLine(text);
    }
    return written;
}

// Writes the line as Log::Write writes a format: `%%` becomes one percent sign, and the line is
// cut. Other conversions have no arguments and stay as they are.
Result ErrorLog::WriteLine(const char* aLine) {
    if (*aLine == '\0') return Result(Code::Success);
    char line[kWrittenSize];
    std::size_t length = 0;
    for (const char* in = aLine; *in != '\0' && length < kWrittenSize - 1;) {
        const std::size_t plain = LengthUpTo(in, '%', kWrittenSize - 1 - length);
        CopyBytes(line + length, in, plain);
        length += plain;
        in += plain;
        if (*in != '%' || length == kWrittenSize - 1) continue;
        line[length++] = '%';
        in += in[1] == '%' ? 2 : 1;
    }
    return WriteText(line, length);
}

void ErrorLog::AddRecord(const Result& aResult, const char* aFile, unsigned long aLine,
                         const char* aMessage, std::size_t aLength) {
    hasEntries_ = true;
    newest_ = (newest_ + 1) % kRecordCount;
    Record& record = records_[newest_];
    record.result.value = aResult;
    CopyBytes(record.message, aMessage, aLength + 1);
    CopyText(record.file, sizeof record.file, aFile != nullptr ? aFile : "");
    record.line = aLine;
    record.thread = ::GetCurrentThreadId();
}

Result ReportError(const Result& aResult, const char* aFile, unsigned long aLine,
                   const char* aFormat, ...) {
    va_list arguments;
    va_start(arguments, aFormat);
    // The caller needs the failure itself, not whether logging it worked.
    (void)ErrorLog::GetErrorLog().WriteErrorArg(aResult, aFile, aLine, aFormat, arguments);
    va_end(arguments);
    return Result(aResult.GetCode());
}

}  // namespace QvUserLib
