// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "SettingChanges.h"

#include <tuple>
#include <unordered_map>

namespace QvKit {
namespace {

using Kind = SettingEvent::Kind;

bool IsSame(const Setting& aBefore, const Setting& aAfter) {
    return aBefore.name == aAfter.name && aBefore.type == aAfter.type;
}

auto RangeOf(const Setting& aSetting) {
    return std::tie(aSetting.minimum, aSetting.maximum, aSetting.defaultValue, aSetting.unit);
}

auto MarksOf(const Setting& aSetting) {
    return std::tie(aSetting.isReadOnly, aSetting.isVolatile, aSetting.isRestartRequired,
                    aSetting.isPersistent, aSetting.isAdvanced, aSetting.isHidden);
}

class Comparison {
public:
    explicit Comparison(std::chrono::system_clock::time_point aTime) : time_(aTime) {}

    void Compare(const Setting& aBefore, const Setting& aAfter) {
        if (aBefore.entries != aAfter.entries) Add(Kind::Entries, &aBefore, &aAfter);
        if (RangeOf(aBefore) != RangeOf(aAfter)) Add(Kind::Range, &aBefore, &aAfter);
        if (MarksOf(aBefore) != MarksOf(aAfter)) Add(Kind::Marks, &aBefore, &aAfter);
        if (aBefore.value != aAfter.value) Add(Kind::Value, &aBefore, &aAfter);
    }

    void Add(Kind aKind, const Setting* aBefore, const Setting* aAfter) {
        SettingEvent event{aKind, time_, std::nullopt, std::nullopt, std::nullopt};
        if (aBefore != nullptr) event.before = *aBefore;
        if (aAfter != nullptr) event.after = *aAfter;
        events_.push_back(std::move(event));
    }

    std::deque<SettingEvent> TakeEvents() { return std::move(events_); }

private:
    const std::chrono::system_clock::time_point time_;
    std::deque<SettingEvent> events_;
};

}  // namespace

std::vector<const Setting*> FindSettings(const Snapshot& aSnapshot,
                                         const std::vector<std::string>& aNames) {
    std::vector<const Setting*> found;
    for (const std::string& name : aNames) {
        if (const Setting* const setting = aSnapshot.Find(name)) found.push_back(setting);
    }
    if (!aNames.empty()) return found;
    found.reserve(aSnapshot.GetSettings().size());
    for (const Setting& setting : aSnapshot.GetSettings()) found.push_back(&setting);
    return found;
}

std::deque<SettingEvent> FindChanges(const std::vector<const Setting*>& aBefore,
                                     const std::vector<const Setting*>& aAfter,
                                     std::chrono::system_clock::time_point aTime) {
    std::unordered_map<unsigned long, const Setting*> after;
    for (const Setting* const setting : aAfter) after.emplace(setting->id, setting);
    Comparison comparison(aTime);
    std::unordered_map<unsigned long, const Setting*> kept;
    for (const Setting* const setting : aBefore) {
        const auto found = after.find(setting->id);
        if (found != after.end() && IsSame(*setting, *found->second)) {
            kept.emplace(setting->id, setting);
        } else {
            comparison.Add(Kind::Gone, setting, nullptr);
        }
    }
    for (const Setting* const setting : aAfter) {
        const auto found = kept.find(setting->id);
        if (found != kept.end()) {
            comparison.Compare(*found->second, *setting);
        } else {
            comparison.Add(Kind::Arrival, nullptr, setting);
        }
    }
    return comparison.TakeEvents();
}

}  // namespace QvKit
