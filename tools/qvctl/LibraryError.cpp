// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "LibraryError.h"

#include <cstdio>

#include "QvUserLib/ErrorLog.h"
#include "Utf8.h"
#include "WindowsApi.h"

namespace Qvctl {
namespace {

using QvUserLib::ErrorLog;
using QvUserLib::Result;

// With this message, and with no other, the code is the system's.
constexpr char kSystemReason[] = "DeviceIoControl failed";

// "error 5: Access denied"; some systems lack words for some errors.
std::string ErrorText(unsigned long aError) {
    const std::string text = SystemText(aError);
    return "error " + std::to_string(aError) + (text.empty() ? "" : ": " + text);
}

}  // namespace

void OpenErrorLog(const std::string& aPath) {
    const std::optional<std::string> path = ToAnsi(aPath);
    if (!path) {
        throw Failure(ExitCode::Failed, "cannot open the error log '" + aPath +
                                            "': the system's code page lacks a character of it");
    }
    ErrorLog& log = ErrorLog::GetErrorLog();
    const Result result = log.Open(path->c_str());
    if (result.IsFailure()) {
        throw Failure(ExitCode::Failed, "cannot open the error log '" + aPath + "'",
                      result.GetCode());
    }
    // What was recorded must be in the file even if the process is ended from outside.
    log.SetAutoFlush(true);
}

std::string ReasonFor(const Result& aResult) {
    QvUserLib::String text;
    const Result logged = ErrorLog::GetErrorLog().GetLastError(text);
    // Some failures are not logged: then the last message belongs to an earlier one.
    if (logged.GetCode() == aResult.GetCode() && !text.IsEmpty()) return Utf8Of(text);

    char code[32];
    std::snprintf(code, sizeof code, "code 0x%lx", aResult.GetCode());
    return code;
}

Result Refuse(QvUserLib::Code aCode, unsigned long aLine, const char* aReason) {
    const Result result(aCode);
    // That no file is open is no failure: the record in memory is what counts.
    (void)ErrorLog::GetErrorLog().WriteError(result, "qvctl", aLine, "%s", aReason);
    return result;
}

Failure SystemFailure(const std::string& aWhat, unsigned long aError) {
    return Failure(ExitCode::Failed, aWhat + ": " + ErrorText(aError), aError);
}

std::string SystemText(unsigned long aCode) {
    wchar_t buffer[512];
    const unsigned long length =
        ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, aCode,
                         0, buffer, ARRAYSIZE(buffer), nullptr);
    std::wstring text(buffer, length);
    while (!text.empty() && (text.back() <= L' ' || text.back() == L'.')) text.pop_back();
    return ToUtf8(text);
}

Failure DriverFailure(const std::string& aWhat, const Result& aResult) {
    std::string message = aWhat + ": " + ReasonFor(aResult);
    if (ReasonFor(aResult) == kSystemReason) message += " (" + ErrorText(aResult.GetCode()) + ")";
    return Failure(ExitCode::Failed, message, aResult.GetCode());
}

}  // namespace Qvctl
