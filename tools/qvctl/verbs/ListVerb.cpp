// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <nlohmann/json.hpp>
#include <utility>

#include "QvKit/DeviceInventory.h"
#include "QvKit/Guid.h"
#include "output/ErrorReport.h"
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

using QvKit::MachineClass;
using QvKit::MachineDevice;

// A line for something and its name, which may be empty.
std::string LineOf(const std::string& aText, const std::string& aName) {
    return Printable(aName.empty() ? aText : aText + "  " + aName);
}

nlohmann::ordered_json MachineDeviceToJson(const MachineDevice& aDevice) {
    nlohmann::ordered_json json;
    json["instanceId"] = aDevice.instanceId;
    if (!aDevice.name.empty()) json["name"] = aDevice.name;
    return json;
}

class PresentReport final : public Report {
public:
    explicit PresentReport(std::vector<MachineClass> aClasses) : classes_(std::move(aClasses)) {}

    void WriteText(Output& aOut) const override {
        for (const MachineClass& one : classes_) {
            aOut.WriteLine(LineOf(one.interfaceClass, one.name));
            std::size_t index = 0;
            for (const MachineDevice& device : one.devices) {
                aOut.WriteLine("  " + std::to_string(index++) + "  " +
                               LineOf(device.path, device.name));
            }
        }
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["classes"] = nlohmann::ordered_json::array();
        for (const MachineClass& one : classes_) json["classes"].push_back(ClassToJson(one));
        return json;
    }

private:
    static nlohmann::ordered_json ClassToJson(const MachineClass& aClass) {
        nlohmann::ordered_json json;
        json["interface"] = aClass.interfaceClass;
        if (!aClass.name.empty()) json["name"] = aClass.name;
        json["devices"] = nlohmann::ordered_json::array();
        for (const MachineDevice& device : aClass.devices) {
            nlohmann::ordered_json entry;
            entry["index"] = json["devices"].size();
            entry["path"] = device.path;
            entry.update(MachineDeviceToJson(device));
            json["devices"].push_back(std::move(entry));
        }
        return json;
    }

    std::vector<MachineClass> classes_;
};

class AbsentReport final : public Report {
public:
    explicit AbsentReport(std::vector<MachineDevice> aDevices) : devices_(std::move(aDevices)) {}

    void WriteText(Output& aOut) const override {
        for (const MachineDevice& device : devices_) {
            aOut.WriteLine(LineOf(device.instanceId, device.name));
        }
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["absent"] = nlohmann::ordered_json::array();
        for (const MachineDevice& device : devices_)
            json["absent"].push_back(MachineDeviceToJson(device));
        return json;
    }

private:
    std::vector<MachineDevice> devices_;
};

class ListVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.AddFlag("--all", isAll_, "List the devices of all interface classes");
        aArguments.Add("--present yes|no", present_,
                       "With --all: no for the devices that were there\nonce; yes by default");
    }
    Outcome Run(const Context& aContext) override {
        if (!present_.empty() && !isAll_) throw WrongUsage("--present is for --all only");
        if (!present_.empty() && present_ != "yes" && present_ != "no")
            throw WrongUsage("--present: '" + present_ + "' is neither yes nor no");
        if (present_ == "no")
            return {std::make_unique<AbsentReport>(QvKit::ListAbsentDevices()), {}};
        if (isAll_) return {std::make_unique<PresentReport>(QvKit::ListPresentDevices()), {}};
        const GUID& interfaceClass = aContext.options.interfaceClass;
        return {std::make_unique<ListReport>(interfaceClass, ListPresentDevices(interfaceClass)),
                {}};
    }

private:
    bool isAll_ = false;
    std::string present_;  // Empty when it is not given.
};

}  // namespace

std::unique_ptr<Verb> MakeListVerb() { return std::make_unique<ListVerb>(); }

}  // namespace Qvctl
