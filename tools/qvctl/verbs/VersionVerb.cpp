// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <nlohmann/json.hpp>

#include "doctor/Versions.h"
#include "output/Printable.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class VersionReport final : public Report {
public:
    void WriteText(Output& aOut) const override {
        aOut.WriteLine("qvctl " QVCTL_VERSION);
        for (const Library& library : libraries_) {
            aOut.WriteLine(Printable(library.name + " " + library.version + "  " + library.path));
        }
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["qvctl"] = QVCTL_VERSION;
        json["libraries"] = nlohmann::ordered_json::array();
        for (const Library& library : libraries_) {
            json["libraries"].push_back(
                {{"name", library.name}, {"version", library.version}, {"path", library.path}});
        }
        return json;
    }

private:
    std::vector<Library> libraries_ = GetLibraries();
};

class VersionVerb final : public Verb {
public:
    Outcome Run(const Context&) override { return {std::make_unique<VersionReport>(), {}}; }
};

}  // namespace

std::unique_ptr<Verb> MakeVersionVerb() { return std::make_unique<VersionVerb>(); }

}  // namespace Qvctl
