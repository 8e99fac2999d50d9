// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "JsonDocument.h"
#include "ProfileFormat.h"
#include "QvKit/Profile.h"
#include "SystemFile.h"
#include "WholeFile.h"

namespace QvKit {
namespace {

// Why the setting would not be read as it is; empty if it would.
std::string RefuseSetting(const SavedSetting& aSetting) {
    const bool isInteger = aSetting.type == SettingType::Integer;
    const bool isNumber = std::holds_alternative<long long>(aSetting.value);
    if (isInteger != isNumber) return "its value is of another type";
    if (aSetting.unit && !isInteger) return "only an integer has a unit";
    std::string reason = RefuseProfileText(aSetting.name);
    if (reason.empty() && aSetting.unit) reason = RefuseProfileText(*aSetting.unit);
    if (!reason.empty() || isNumber) return reason;
    // UTF-8 has at most three bytes for a unit, so that a short text cannot be too long.
    constexpr std::size_t kShort = 5000;
    const std::wstring_view value = std::get<CompactWideText>(aSetting.value);
    const bool isFine = value.size() <= kShort && value.find(L'\0') == std::wstring::npos;
    return isFine ? reason : RefuseProfileText(aSetting.ToText());
}

// Why the profile would not be read as it is; empty if it would.
std::string RefuseProfile(const Profile& aProfile) {
    if (aProfile.time && !IsProfileTime(*aProfile.time)) return "the time is malformed";
    for (const auto& [name, member] : kOriginMembers) {
        const std::string reason =
            RefuseProfileText((aProfile.origin.*member).value_or(std::string()));
        if (!reason.empty()) return std::string(name) + ": " + reason;
    }
    std::unordered_set<std::string_view> names;
    std::size_t values = 9;  // Of the document's own.
    for (const SavedSetting& setting : aProfile.settings) {
        std::string reason = RefuseSetting(setting);
        if (!names.insert(setting.name).second) reason = "it is there a second time";
        if (!reason.empty()) return Quote(setting.name) + ": " + reason;
        values += 4U + (setting.id ? 1U : 0U) + (setting.unit ? 1U : 0U);
    }
    return values > JsonDocument::kMostValues ? "there are too many settings" : std::string();
}

}  // namespace

void Profile::Save(const std::string& aPath) const {
    // What is written can be read. To read it for that would take several times as long.
    const std::string reason = RefuseProfile(*this);
    const std::string json = ToJson();
    if (!reason.empty() || json.size() > kMostBytes) {
        throw Error(ErrorKind::BadFile, "'" + aPath + "' would be no profile: " +
                                            (reason.empty() ? "it is too large" : reason));
    }
    WriteWholeFile(aPath, json);
}

Profile Profile::Open(const std::string& aPath) {
    SystemFile file = SystemFile::Open(aPath);
    // One byte more than a profile may have. A pipe has no size, so that is not asked for.
    std::vector<unsigned char> bytes(kMostBytes + 1);
    std::size_t size = 0;
    while (size < bytes.size()) {
        const std::size_t read = file.Read(bytes.data() + size, bytes.size() - size);
        if (read == 0) break;
        size += read;
    }
    return FromJson(std::string_view(reinterpret_cast<const char*>(bytes.data()), size), aPath);
}

}  // namespace QvKit
