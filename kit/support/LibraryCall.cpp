// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "LibraryCall.h"

#include <cstdio>

#include "QvKit/Text.h"
#include "QvUserLib/ErrorLog.h"

namespace QvKit {

LibraryReason CaptureReason(const QvUserLib::Result& aResult) {
    QvUserLib::String text;
    const QvUserLib::Result logged = QvUserLib::ErrorLog::GetErrorLog().GetLastError(text);
    if (logged.GetCode() == aResult.GetCode() && !text.IsEmpty())
        return {FromLibraryText(text), true};

    char code[32];
    std::snprintf(code, sizeof code, "code 0x%lx", aResult.GetCode());
    return {code, false};
}

Error LibraryError(ErrorKind aKind, const std::string& aWhat, const QvUserLib::Result& aResult) {
    const std::string reason = CaptureReason(aResult).text;
    return Error(aKind, aWhat + ": " + reason, aResult.GetCode(), reason);
}

}  // namespace QvKit
