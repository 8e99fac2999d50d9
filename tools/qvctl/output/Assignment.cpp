// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/Assignment.h"

#include "QvKit/Text.h"
#include "output/ErrorReport.h"

namespace Qvctl {
namespace {

// A name may have an equals sign in it, and begin like an option or a list of the parser.
std::string EscapeName(const std::string& aName) {
    std::string escaped = QvKit::Escape(QvKit::FromUtf8(aName));
    for (std::size_t sign = escaped.find('='); sign != std::string::npos;
         sign = escaped.find('=')) {
        escaped.replace(sign, 1, "\\u003d");
    }
    if (escaped.rfind('-', 0) == 0) escaped.replace(0, 1, "\\u002d");
    if (escaped.rfind('[', 0) == 0) escaped.replace(0, 1, "\\u005b");
    return escaped;
}

}  // namespace

std::string FormatAssignment(const QvKit::Setting& aSetting) {
    return EscapeName(aSetting.name) + "=" + aSetting.ToEscapedText(aSetting.value);
}

Assignment ParseAssignment(const std::string& aText) {
    const std::size_t sign = aText.find('=');
    if (sign == std::string::npos) throw WrongUsage("'" + aText + "' is no NAME=VALUE");
    return Assignment{QvKit::ToUtf8(QvKit::Unescape(aText.substr(0, sign))),
                      aText.substr(sign + 1)};
}

}  // namespace Qvctl
