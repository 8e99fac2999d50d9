// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "LibraryLog.h"

#include <optional>

#include "QvKit/Text.h"
#include "QvUserLib/ErrorLog.h"

namespace Qvctl {

using QvKit::Error;
using QvKit::ErrorKind;
using QvUserLib::ErrorLog;

LibraryLog::LibraryLog(const std::string& aPath) {
    const std::string what = "cannot open the error log '" + aPath + "'";
    const std::optional<std::string> path = QvKit::ToAnsi(aPath);
    if (!path) {
        throw Error(ErrorKind::SystemFailed,
                    what + ": the system's code page lacks a character of it");
    }
    ErrorLog& log = ErrorLog::GetErrorLog();
    const QvUserLib::Result result = log.Open(path->c_str());
    if (result.IsFailure()) throw Error(ErrorKind::SystemFailed, what, result.GetCode());
    // What was recorded must be in the file even if the process is ended from outside.
    log.SetAutoFlush(true);
}

void LibraryLog::Record(const Error& aError) {
    for (const QvKit::Refusal& refusal : aError.GetRefusals()) {
        if (refusal.isLogged || refusal.code == 0) continue;
        const QvUserLib::String reason = QvKit::ToLibraryText(refusal.reason);
        // A log that cannot be written does not change how the program ends.
        (void)ErrorLog::GetErrorLog().WriteError(QvUserLib::Result(refusal.code), "qvctl", __LINE__,
                                                 "%s", reason.GetAscii());
    }
}

}  // namespace Qvctl
