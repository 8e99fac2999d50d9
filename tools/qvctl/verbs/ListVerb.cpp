// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <nlohmann/json.hpp>
#include <utility>

#include "QvKit/Guid.h"
#include "output/Printable.h"
#include "output/SettingJson.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class ListReport final : public Report {
public:
    ListReport(const GUID& aInterface, std::vector<QvKit::DeviceAddress> aDevices)
        : interface_(QvKit::GuidToText(aInterface)) {
        for (QvKit::DeviceAddress& device : aDevices) {
            const auto index = static_cast<unsigned int>(devices_.size());
            devices_.push_back(ChosenDevice{index, std::move(device)});
        }
    }

    void WriteText(Output& aOut) const override {
        std::size_t index = 0;
        for (const ChosenDevice& device : devices_) {
            aOut.WriteLine(std::to_string(index++) + "  " + Printable(device.address.path));
        }
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["interface"] = interface_;
        json["devices"] = nlohmann::ordered_json::array();
        for (const ChosenDevice& device : devices_) {
            json["devices"].push_back(Qvctl::ToJson(device));
            json["devices"].back()["instanceId"] = device.address.instanceId;
        }
        return json;
    }

private:
    std::string interface_;
    std::vector<ChosenDevice> devices_;
};

class ListVerb final : public Verb {
public:
    Outcome Run(const Context& aContext) override {
        const GUID& interfaceClass = aContext.options.interfaceClass;
        return {std::make_unique<ListReport>(interfaceClass, ListPresentDevices(interfaceClass)),
                {}};
    }
};

}  // namespace

std::unique_ptr<Verb> MakeListVerb() { return std::make_unique<ListVerb>(); }

}  // namespace Qvctl
