// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ParameterTable.h"

#include "ParameterText.h"
#include "TextTable.h"
#include "Utf8.h"

namespace Qvctl {
namespace {

std::string Join(const std::vector<std::string>& aWords) {
    std::string joined;
    for (const std::string& word : aWords) joined += joined.empty() ? word : ", " + word;
    return joined;
}

}  // namespace

std::string FormatParameters(const std::vector<QvUserLib::Parameter*>& aParameters,
                             bool aWithDescriptions, std::size_t aWidth) {
    TextTable table({"NAME", "VALUE", "ALLOWED", "DEFAULT", "MARKS"});
    for (const QvUserLib::Parameter* parameter : aParameters) {
        const std::string description = Printable(GetDescription(*parameter).text);
        table.AddRow({Printable(Utf8Of(parameter->GetName())),
                      ToDisplayWithUnit(*parameter, GetValue(*parameter)), RangeText(*parameter),
                      ToDisplay(*parameter, GetDefault(*parameter)), Join(GetMarks(*parameter))},
                     aWithDescriptions ? description : std::string());
    }
    return table.Format(aWidth);
}

}  // namespace Qvctl
