// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Snapshot.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvKit/Spelling.h"
#include "QvKit/Text.h"
#include "QvUserLib/Parameter.h"
#include "QvUserLib/ParameterRepository.h"

namespace QvKit {
namespace {

using QvUserLib::Parameter;

EntryNames CopyEntries(const Parameter& aParameter) {
    unsigned long count = 0;
    // Only an enumeration has entries; for another type the count stays 0.
    (void)aParameter.GetEnumValueCount(count);
    std::vector<std::string> entries;
    entries.reserve(count);
    for (unsigned long index = 0; index < count; ++index) {
        entries.push_back(FromLibraryText(aParameter.GetEnumValueString(index)));
    }
    return EntryNames(entries);
}

// The library composes "Gain (dB)" of an integer's description and unit. A description of
// any other form stays, and has no unit.
std::string CutUnit(std::string& aDescription) {
    const std::size_t blank = aDescription.rfind(" (");
    if (blank == std::string::npos || aDescription.back() != ')') return std::string();
    std::string unit = aDescription.substr(blank + 2, aDescription.size() - blank - 3);
    if (unit.empty() || unit.find_first_of("()") != std::string::npos) return std::string();
    aDescription.resize(blank);
    return unit;
}

long long LimitOf(unsigned long aId, const Snapshot::TextLimits& aLimits) {
    const auto limit = aLimits.find(aId);
    return limit == aLimits.end() ? QV_PARAMETER_TEXT_UNITS : limit->second;
}

void CopyText(const Parameter& aParameter, const Snapshot::TextLimits& aLimits, Setting& aSetting) {
    aSetting.type = SettingType::String;
    aSetting.maximum = LimitOf(aParameter.GetID(), aLimits);
    aSetting.value = aParameter.GetString().GetUnicode();
    aSetting.defaultValue = aParameter.GetDefaultString().GetUnicode();
}

void CopyNumber(const Parameter& aParameter, Setting& aSetting) {
    aSetting.value = aParameter.GetInt();
    aSetting.defaultValue = aParameter.GetDefaultInt();
    aSetting.minimum = aParameter.GetMinInt();
    aSetting.maximum = aParameter.GetMaxInt();
}

void CopyMarks(const Parameter& aParameter, Setting& aSetting) {
    aSetting.isReadOnly = aParameter.IsReadOnly();
    aSetting.isVolatile = aParameter.IsVolatile();
    aSetting.isRestartRequired = aParameter.IsRestartRequired();
    aSetting.isPersistent = aParameter.IsPersistent();
    aSetting.isAdvanced = aParameter.IsAdvanced();
    aSetting.isHidden = aParameter.IsHidden();
}

bool IsKnownType(const Parameter& aParameter) {
    const unsigned long type = aParameter.GetType();
    return type == Parameter::TypeInteger || type == Parameter::TypeEnumeration ||
           type == Parameter::TypeString;
}

Setting Copy(const Parameter& aParameter, const Snapshot::TextLimits& aLimits) {
    Setting setting;
    setting.name = FromLibraryText(aParameter.GetName());
    setting.id = aParameter.GetID();
    CopyMarks(aParameter, setting);
    std::string description = FromLibraryText(aParameter.GetDescription());
    switch (aParameter.GetType()) {
        case Parameter::TypeString:
            CopyText(aParameter, aLimits, setting);
            break;
        case Parameter::TypeEnumeration:
            setting.type = SettingType::Enumeration;
            CopyNumber(aParameter, setting);
            setting.entries = CopyEntries(aParameter);
            break;
        default:
            CopyNumber(aParameter, setting);
            setting.unit = CutUnit(description);
    }
    setting.description = description;
    return setting;
}

}  // namespace

Snapshot::Snapshot(const QvUserLib::ParameterRepository& aParameters, const TextLimits& aLimits) {
    settings_.reserve(aParameters.GetCount());
    for (unsigned long index = 0; index < aParameters.GetCount(); ++index) {
        const Parameter& parameter = *aParameters.GetByIndex(index);
        if (IsKnownType(parameter)) settings_.push_back(Copy(parameter, aLimits));
    }
    byName_.resize(settings_.size());
    std::iota(byName_.begin(), byName_.end(), 0U);
    std::sort(byName_.begin(), byName_.end(), [this](unsigned int aLeft, unsigned int aRight) {
        const int order = settings_[aLeft].name.compare(settings_[aRight].name);
        return order != 0 ? order < 0 : aLeft < aRight;
    });
}

std::vector<const Setting*> Snapshot::GetSettingsByName() const {
    std::vector<const Setting*> sorted;
    sorted.reserve(byName_.size());
    for (const unsigned int index : byName_) sorted.push_back(&settings_[index]);
    return sorted;
}

const Setting* Snapshot::Find(std::string_view aName) const {
    const auto found = std::lower_bound(byName_.begin(), byName_.end(), aName,
                                        [this](unsigned int aIndex, std::string_view aText) {
                                            return settings_[aIndex].name.compare(aText) < 0;
                                        });
    if (found == byName_.end() || settings_[*found].name != aName) return nullptr;
    return &settings_[*found];
}

const Setting* Snapshot::Find(unsigned long aId) const {
    const auto found = std::find_if(settings_.begin(), settings_.end(),
                                    [&](const Setting& aSetting) { return aSetting.id == aId; });
    return found == settings_.end() ? nullptr : &*found;
}

std::vector<Setting> Snapshot::Select(const std::vector<std::string>& aNames) const {
    std::vector<Setting> selected;
    std::vector<Refusal> refusals;
    for (const std::string& name : aNames) {
        if (const Setting* const setting = Find(name)) {
            selected.push_back(*setting);
        } else {
            refusals.push_back(RefuseUnknown(name));
        }
    }
    if (!refusals.empty()) throw Error(std::move(refusals));
    return selected;
}

Refusal Snapshot::RefuseUnknown(const std::string& aName) const {
    std::vector<std::string> names;
    names.reserve(settings_.size());
    for (const Setting& setting : settings_) names.push_back(setting.name);
    const std::string nearest = FindNearestWord(aName, names);
    Refusal refusal;
    refusal.name = aName;
    refusal.reason = "The specified parameter doesn't exist";
    if (!nearest.empty()) refusal.hint = "did you mean " + nearest + "?";
    refusal.code = static_cast<unsigned long>(QvUserLib::Code::InvalidArgument);
    return refusal;
}

}  // namespace QvKit
