// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Error.h"

#include <cstdio>
#include <utility>

#include "QvKit/Text.h"
#include "WindowsApi.h"

// After windows.h, which it needs.
#include <setupapi.h>

namespace QvKit {
namespace {

std::string Join(const std::vector<Refusal>& aRefusals, const std::string& aConsequence) {
    std::string joined;
    for (const Refusal& refusal : aRefusals) {
        joined += (joined.empty() ? "" : "; ") + refusal.ToText();
    }
    return aConsequence.empty() ? joined : joined + "; " + aConsequence;
}

}  // namespace

std::string Refusal::ToText() const {
    std::string text = name;
    if (value) text += "=" + *value + " refused";
    text += ": " + reason;
    if (!hint.empty()) text += " (" + hint + ")";
    return text;
}

Error::Error(ErrorKind aKind, std::string aMessage, std::optional<unsigned long> aCode,
             std::string aReason)
    : kind_(aKind), message_(std::move(aMessage)), code_(aCode), reason_(std::move(aReason)) {}

Error::Error(std::vector<Refusal> aRefusals, std::string aConsequence)
    : kind_(ErrorKind::Refused),
      message_(Join(aRefusals, aConsequence)),
      refusals_(std::move(aRefusals)),
      consequence_(std::move(aConsequence)) {}

Error SystemError(ErrorKind aKind, const std::string& aWhat, unsigned long aCode) {
    const std::string reason = SystemErrorText(aCode);
    return Error(aKind, aWhat + ": " + reason, aCode, reason);
}

std::string SystemText(unsigned long aCode) {
    // The system knows the errors of device installation by another code.
    const bool isOfSetup = (aCode & (APPLICATION_ERROR_MASK | ERROR_SEVERITY_ERROR)) ==
                           (APPLICATION_ERROR_MASK | ERROR_SEVERITY_ERROR);
    const auto known = isOfSetup ? static_cast<unsigned long>(HRESULT_FROM_SETUPAPI(aCode)) : aCode;
    wchar_t buffer[512];
    const unsigned long length =
        ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, known,
                         0, buffer, ARRAYSIZE(buffer), nullptr);
    std::wstring text(buffer, length);
    while (!text.empty() && (text.back() <= L' ' || text.back() == L'.')) text.pop_back();
    return ToUtf8(text);
}

std::string SystemErrorText(unsigned long aCode) {
    const std::string text = SystemText(aCode);
    char number[16];
    // Codes with a severity are known in hexadecimal.
    std::snprintf(number, sizeof number, aCode < 0x80000000 ? "%lu" : "0x%08lx", aCode);
    return std::string("error ") + number + (text.empty() ? "" : ": " + text);
}

}  // namespace QvKit
