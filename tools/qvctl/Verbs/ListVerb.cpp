// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/ListVerb.h"

#include <nlohmann/json.hpp>

#include "DeviceList.h"
#include "InterfaceId.h"
#include "ParameterJson.h"
#include "Utf8.h"

namespace Qvctl {

std::string ListVerb::GetName() const { return "list"; }

std::string ListVerb::GetSummary() const { return "List the devices that are present"; }

std::string ListVerb::GetDetails() const {
    return "Prints the number of each device, which --device takes, and its path.\n"
           "\n"
           "Example:\n"
           "  qvctl list";
}

void ListVerb::Run(const Context& aContext) {
    const GUID& interfaceClass = aContext.options.interfaceClass;
    const std::vector<Device> devices = ListDevices(interfaceClass);

    nlohmann::ordered_json json;
    json["interface"] = InterfaceText(interfaceClass);
    json["devices"] = nlohmann::ordered_json::array();
    for (std::size_t index = 0; index < devices.size(); ++index) {
        json["devices"].push_back(DeviceToJson(devices[index]));
        if (aContext.options.json) continue;
        aContext.out.WriteLine(std::to_string(index) + "  " + Printable(devices[index].path));
    }
    if (aContext.options.json) aContext.out.WriteLine(json.dump(2));
}

}  // namespace Qvctl
