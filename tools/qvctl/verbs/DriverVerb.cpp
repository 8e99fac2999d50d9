// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <nlohmann/json.hpp>
#include <utility>

#include "QvKit/DriverInstallation.h"
#include "QvUserLib/String.h"
#include "commandline/ArgumentValues.h"
#include "output/ErrorReport.h"
#include "output/Printable.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

using QvKit::DriverInstallation;
using QvKit::RootDevice;

constexpr std::size_t kMostDevices = 64;

nlohmann::ordered_json DeviceToJson(const RootDevice& aDevice, std::size_t aIndex) {
    nlohmann::ordered_json json;
    json["index"] = aIndex;
    json["instanceId"] = aDevice.instanceId;
    json["service"] = aDevice.service;
    json["started"] = aDevice.isStarted;
    json["interfaces"] = aDevice.interfaces;
    json["problem"] = nullptr;
    if (!aDevice.problem.empty()) json["problem"] = aDevice.problem;
    return json;
}

class DriverReport final : public Report {
public:
    // With an empty hardware id the devices may be any.
    DriverReport(std::string aHardwareId, DriverInstallation aDone)
        : hardwareId_(std::move(aHardwareId)), done_(std::move(aDone)) {}

    void WriteText(Output& aOut) const override {
        if (done_.hasReplacedDriver) {
            aOut.WriteLine("Replaced the installed driver.");
        } else {
            for (const std::string& id : done_.removed)
                aOut.WriteLine("Removed " + Printable(id) + ".");
        }
        std::size_t index = 0;
        for (const RootDevice& device : done_.devices) WriteDevice(aOut, device, index++);
        if (done_.devices.empty() && done_.removed.empty()) {
            const std::string id =
                hardwareId_.empty() ? "" : " with the hardware id " + hardwareId_;
            aOut.WriteLine("No root-enumerated device" + Printable(id) + " is installed.");
        }
        if (done_.needsRestart) aOut.WriteLine("Restart the machine to finish this.");
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["hardwareId"] = nullptr;
        if (!hardwareId_.empty()) json["hardwareId"] = hardwareId_;
        json["devices"] = nlohmann::ordered_json::array();
        for (const RootDevice& device : done_.devices)
            json["devices"].push_back(DeviceToJson(device, json["devices"].size()));
        json["removed"] = done_.removed;
        json["replaced"] = done_.hasReplacedDriver;
        json["restartRequired"] = done_.needsRestart;
        json["error"] = nullptr;
        return json;
    }

private:
    static void WriteDevice(Output& aOut, const RootDevice& aDevice, std::size_t aIndex) {
        std::string line = std::to_string(aIndex) + "  " + aDevice.instanceId;
        line += aDevice.isStarted ? "  started" : "  not started: " + aDevice.problem;
        for (const std::string& path : aDevice.interfaces) line += "  " + path;
        aOut.WriteLine(Printable(line));
    }

    std::string hardwareId_;
    DriverInstallation done_;
};

std::string InLowerCase(const std::string& aText) {
    return QvUserLib::String(aText.c_str()).ToLower();
}

// A device is named by its number in the list that status prints, or by its instance id.
std::vector<std::string> Select(const std::vector<RootDevice>& aDevices, const std::string& aName) {
    std::vector<std::string> ids;
    for (const RootDevice& device : aDevices) {
        const bool isMeant = aName.empty() || aName == std::to_string(&device - aDevices.data()) ||
                             InLowerCase(aName) == InLowerCase(device.instanceId);
        if (isMeant) ids.push_back(device.instanceId);
    }
    if (ids.empty() && !aName.empty()) {
        throw QvKit::Error(QvKit::ErrorKind::NoSuchDevice,
                           "there is no device '" + aName +
                               "'; \"qvctl driver status\" lists those that are there");
    }
    return ids;
}

class DriverVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("ACTION install|status|remove", action_, "What to do").Require();
        aArguments.Add("FILE", file_, &ParseFileName, "The driver's INF");
        aArguments.Add("--id ROOT\\NAME", id_,
                       "The hardware id of the devices; by default the\nonly one that the INF "
                       "names");
        aArguments.Add("--devices N", count_, WholeNumber<std::size_t>(1, kMostDevices),
                       "How many devices there are to be, at least, 1 to 64;\n1 by default");
        aArguments.Add("--device N|ID", device_,
                       "The only device to remove: its number in the list of\nstatus, or its "
                       "instance id");
    }
    Outcome Run(const Context& aContext) override {
        const bool isInstall = action_ == "install";
        const bool isRemove = action_ == "remove";
        if (!isInstall && !isRemove && action_ != "status") {
            throw WrongUsage("driver: '" + action_ + "' is none of install, status and remove");
        }
        if (!isInstall && count_ != 0) throw WrongUsage("--devices is for install only");
        if (!isRemove && !device_.empty()) throw WrongUsage("--device is for remove only");
        if (isInstall) return Install(aContext);
        return isRemove ? Remove() : Status();
    }

private:
    Outcome Install(const Context& aContext) const {
        if (file_.empty()) throw WrongUsage("driver install: the driver's INF is missing");
        const QvKit::DriverPackage package = QvKit::ReadDriverPackage(file_, id_);
        QvKit::InstallationSettings settings;
        if (count_ != 0) settings.devices = count_;
        aContext.Note("installing " + package.driverFile + " for " + package.hardwareId);
        DriverInstallation done = QvKit::InstallDriver(package, settings);
        const std::optional<QvKit::Error> error = done.error;
        return {std::make_unique<DriverReport>(package.hardwareId, std::move(done)), error};
    }

    Outcome Status() const {
        DriverInstallation found;
        const std::string id = FindHardwareId();
        found.devices = QvKit::ListRootDevices(id);
        return {std::make_unique<DriverReport>(id, std::move(found)), {}};
    }

    Outcome Remove() const {
        const std::string id = FindHardwareId();
        if (id.empty() && device_.empty()) {
            throw WrongUsage("driver remove: an INF, --id or --device has to say what to remove");
        }
        DriverInstallation done =
            QvKit::RemoveRootDevices(Select(QvKit::ListRootDevices(id), device_));
        return {std::make_unique<DriverReport>(id, std::move(done)), {}};
    }

    // Empty when neither argument says which one is meant.
    std::string FindHardwareId() const {
        return file_.empty() ? id_ : QvKit::ReadDriverPackage(file_, id_).hardwareId;
    }

    std::string action_;
    std::string file_;
    std::string id_;
    std::size_t count_ = 0;  // 0 when it is not given.
    std::string device_;
};

}  // namespace

std::unique_ptr<Verb> MakeDriverVerb() { return std::make_unique<DriverVerb>(); }

}  // namespace Qvctl
