// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/VersionVerb.h"

#include <nlohmann/json.hpp>

#include "Utf8.h"
#include "Versions.h"

namespace Qvctl {

std::string VersionVerb::GetName() const { return "version"; }

std::string VersionVerb::GetSummary() const { return "Print the versions of tool and libraries"; }

std::string VersionVerb::GetDetails() const {
    return "Each library is told with the file that is in use.\n"
           "\n"
           "Example:\n"
           "  qvctl version --json";
}

void VersionVerb::Run(const Context& aContext) {
    nlohmann::ordered_json json;
    json["qvctl"] = QVCTL_VERSION;
    json["libraries"] = nlohmann::ordered_json::array();
    if (!aContext.options.json) aContext.out.WriteLine("qvctl " QVCTL_VERSION);
    for (const Library& library : GetLibraries()) {
        json["libraries"].push_back(
            {{"name", library.name}, {"version", library.version}, {"path", library.path}});
        if (aContext.options.json) continue;
        aContext.out.WriteLine(
            Printable(library.name + " " + library.version + "  " + library.path));
    }
    if (aContext.options.json) aContext.out.WriteLine(json.dump(2));
}

}  // namespace Qvctl
