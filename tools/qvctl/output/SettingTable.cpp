// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/SettingTable.h"

#include <utility>

#include "output/Printable.h"
#include "output/TextTable.h"

namespace Qvctl {
namespace {

std::string Join(const std::vector<std::string>& aWords) {
    std::string joined;
    for (const std::string& word : aWords) joined += joined.empty() ? word : ", " + word;
    return joined;
}

}  // namespace

std::vector<std::string> GetMarks(const QvKit::Setting& aSetting) {
    std::vector<std::string> marks;
    if (aSetting.isReadOnly) marks.emplace_back("read-only");
    if (aSetting.isVolatile) marks.emplace_back("volatile");
    if (aSetting.isRestartRequired) marks.emplace_back("restart");
    // Read-only values aren't expected to be saved.
    if (!aSetting.isPersistent && !aSetting.isReadOnly) marks.emplace_back("not saved");
    if (aSetting.isAdvanced) marks.emplace_back("advanced");
    if (aSetting.isHidden) marks.emplace_back("hidden");
    return marks;
}

std::string FormatSettings(std::vector<QvKit::Setting> aSettings, const TableOptions& aOptions,
                           std::size_t aWidth) {
    std::vector<std::string> headings = {"NAME", "VALUE", "ALLOWED", "DEFAULT", "MARKS"};
    if (aOptions.withIds) headings.insert(headings.begin(), "ID");
    TextTable table(headings);
    for (QvKit::Setting& setting : aSettings) {
        if (aOptions.isHexadecimal) setting.unit = QvKit::kHexadecimalUnit;
        std::vector<std::string> cells = {
            Printable(setting.name), Printable(setting.DescribeWithUnit(setting.value)),
            Printable(setting.DescribeRange()), Printable(setting.Describe(setting.defaultValue)),
            Join(GetMarks(setting))};
        if (aOptions.withIds) cells.insert(cells.begin(), std::to_string(setting.id));
        table.AddRow(std::move(cells),
                     aOptions.withDescriptions ? Printable(setting.description) : std::string());
    }
    return table.Format(aWidth);
}

}  // namespace Qvctl
