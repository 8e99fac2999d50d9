// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/InformationReport.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "output/Printable.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;
using QvKit::DeviceInformation;
using QvKit::DriverInformation;
using QvKit::InterfaceInformation;

// A fact is in the text under its label, in JSON under its name.
struct TextFact {
    const char* label;
    const char* name;
    std::string DeviceInformation::* text;
};
struct ListFact {
    const char* label;
    const char* name;
    std::vector<std::string> DeviceInformation::* texts;
};
struct DriverFact {
    const char* label;
    const char* name;
    std::string DriverInformation::* text;
};

constexpr TextFact kTexts[] = {
    {"instance ID", "instanceId", &DeviceInformation::instanceId},
    {"friendly name", "friendlyName", &DeviceInformation::friendlyName},
    {"description", "description", &DeviceInformation::description},
    {"manufacturer", "manufacturer", &DeviceInformation::manufacturer},
    {"class", "class", &DeviceInformation::setupClass},
    {"class ID", "classId", &DeviceInformation::setupClassId},
    {"location", "location", &DeviceInformation::location},
};

constexpr ListFact kLists[] = {
    {"location paths", "locationPaths", &DeviceInformation::locationPaths},
    {"hardware IDs", "hardwareIds", &DeviceInformation::hardwareIds},
    {"compatible IDs", "compatibleIds", &DeviceInformation::compatibleIds},
    {"parents", "parents", &DeviceInformation::parents},
};

constexpr DriverFact kDriver[] = {
    {"service", "service", &DriverInformation::service},
    {"driver file", "file", &DriverInformation::file},
    {"driver provider", "provider", &DriverInformation::provider},
    {"driver version", "version", &DriverInformation::version},
    {"driver date", "date", &DriverInformation::date},
};

// Each text on a line of its own, the first one behind the label.
void WriteTexts(Output& aOut, std::string aLabel, const std::vector<std::string>& aTexts) {
    constexpr std::size_t kColumn = 17;
    for (const std::string& text : aTexts) {
        aLabel.resize(kColumn, ' ');
        aOut.WriteLine(aLabel + Printable(text));
        aLabel.clear();
    }
}

void WriteText(Output& aOut, const char* aLabel, const std::string& aText) {
    if (!aText.empty()) WriteTexts(aOut, aLabel, {aText});
}

std::string TextOf(const InterfaceInformation& aInterface) {
    std::string text = aInterface.path;
    if (!aInterface.className.empty()) text += "  " + aInterface.className;
    return aInterface.isActive ? text : text + "  (not active)";
}

ordered_json InterfaceToJson(const InterfaceInformation& aInterface) {
    ordered_json json;
    json["interface"] = aInterface.interfaceClass;
    if (!aInterface.className.empty()) json["name"] = aInterface.className;
    json["path"] = aInterface.path;
    json["active"] = aInterface.isActive;
    return json;
}

}  // namespace

InformationReport::InformationReport(DeviceInformation aInformation)
    : information_(std::move(aInformation)) {}

void InformationReport::WriteText(Output& aOut) const {
    for (const TextFact& fact : kTexts) {
        Qvctl::WriteText(aOut, fact.label, information_.*fact.text);
    }
    for (const ListFact& fact : kLists) WriteTexts(aOut, fact.label, information_.*fact.texts);
    if (information_.isPresent)
        Qvctl::WriteText(aOut, "present", *information_.isPresent ? "yes" : "no");
    Qvctl::WriteText(aOut, "problem", information_.problemText);
    for (const DriverFact& fact : kDriver) {
        Qvctl::WriteText(aOut, fact.label, information_.driver.*fact.text);
    }
    std::vector<std::string> interfaces(information_.interfaces.size());
    std::transform(information_.interfaces.begin(), information_.interfaces.end(),
                   interfaces.begin(), TextOf);
    WriteTexts(aOut, "interfaces", interfaces);
}

ordered_json InformationReport::ToJson() const {
    ordered_json json;
    for (const TextFact& fact : kTexts) {
        const std::string& text = information_.*fact.text;
        if (!text.empty()) json[fact.name] = text;
    }
    for (const ListFact& fact : kLists) json[fact.name] = information_.*fact.texts;
    if (information_.isPresent) json["present"] = *information_.isPresent;
    if (information_.problem) {
        json["problem"] = {{"code", *information_.problem}, {"text", information_.problemText}};
    }
    json["driver"] = ordered_json::object();
    for (const DriverFact& fact : kDriver) {
        const std::string& text = information_.driver.*fact.text;
        if (!text.empty()) json["driver"][fact.name] = text;
    }
    json["interfaces"] = ordered_json::array();
    for (const InterfaceInformation& one : information_.interfaces)
        json["interfaces"].push_back(InterfaceToJson(one));
    return json;
}

}  // namespace Qvctl
