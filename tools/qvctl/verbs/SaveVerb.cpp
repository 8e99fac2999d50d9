// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <nlohmann/json.hpp>
#include <utility>

#include "QvKit/DeviceInformation.h"
#include "QvKit/Guid.h"
#include "QvKit/Profile.h"
#include "commandline/ArgumentValues.h"
#include "output/Printable.h"
#include "output/SettingJson.h"
#include "sample/SampleSerialNumber.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;
using QvKit::Profile;

class SaveReport final : public Report {
public:
    SaveReport(ChosenDevice aDevice, std::string aFile, Profile aProfile)
        : device_(std::move(aDevice)), file_(std::move(aFile)), profile_(std::move(aProfile)) {}

    void WriteText(Output& aOut) const override {
        aOut.WriteLine(Printable(file_) + ": saved " + std::to_string(profile_.settings.size()) +
                       ", left out " + std::to_string(profile_.omissions.size()));
    }

    ordered_json ToJson() const override {
        ordered_json json;
        json["device"] = Qvctl::ToJson(device_);
        json["file"] = file_;
        json["saved"] = ordered_json::array();
        for (const QvKit::SavedSetting& setting : profile_.settings) {
            json["saved"].push_back(setting.name);
        }
        json["leftOut"] = ordered_json::array();
        for (const Profile::Omission& omission : profile_.omissions) {
            json["leftOut"].push_back({{"name", omission.name}, {"reason", omission.reason}});
        }
        return json;
    }

private:
    ChosenDevice device_;
    std::string file_;
    Profile profile_;
};

class SaveVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("FILE", file_, &ParseFileName, "The file to write").Require();
        aArguments.Add("NAME ...", names_, "The parameters to save; all by default");
    }
    Outcome Run(const Context& aContext) override {
        RequireDistinctNames(names_);
        const ChosenDevice device = aContext.FindDevice();
        const QvKit::Snapshot snapshot = aContext.ReadParameters(device);
        Profile profile =
            Profile::Take(snapshot, names_, OriginOf(device, aContext.options, snapshot));
        for (const Profile::Omission& omission : profile.omissions) {
            aContext.Note("left out " + Printable(omission.name) + ": " + omission.reason);
        }
        profile.Save(file_);
        return {std::make_unique<SaveReport>(device, file_, std::move(profile)), {}};
    }

private:
    // The class of a device that was given by its path is not known.
    static Profile::Origin OriginOf(const ChosenDevice& aDevice, const Options& aOptions,
                                    const QvKit::Snapshot& aSnapshot) {
        Profile::Origin origin;
        if (!aDevice.index) return origin;
        origin.deviceClass = QvKit::GuidToText(aOptions.interfaceClass);
        origin.serialNumber = SerialNumberOf(aOptions.interfaceClass, aSnapshot);
        const std::string version =
            QvKit::ReadDriverInformation(aDevice.address.instanceId).version;
        if (!version.empty()) origin.driverVersion = version;
        return origin;
    }

    std::string file_;
    std::vector<std::string> names_;
};

}  // namespace

std::unique_ptr<Verb> MakeSaveVerb() { return std::make_unique<SaveVerb>(); }

}  // namespace Qvctl
