// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "QvKit/Difference.h"
#include "QvKit/Profile.h"
#include "commandline/ArgumentValues.h"
#include "output/ErrorReport.h"
#include "output/Printable.h"
#include "output/SettingJson.h"
#include "output/TextTable.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;
using QvKit::Difference;
using QvKit::SavedSetting;
using QvKit::Setting;

using Settings = std::vector<SavedSetting>;

// One of the two things that are compared.
struct Side {
    const char* source = "file";  // "file", "device" or "defaults".
    std::string file;
    Settings settings;

    std::string GetTitle() const { return file.empty() ? source : file; }
};

ordered_json SideToJson(const Side& aSide) {
    ordered_json json;
    json["source"] = aSide.source;
    json["file"] = nullptr;
    if (!aSide.file.empty()) json["file"] = aSide.file;
    return json;
}

ordered_json SettingToJson(const std::optional<SavedSetting>& aSetting) {
    if (!aSetting) return nullptr;
    ordered_json json;
    json["type"] = NameOf(aSetting->type);
    if (const auto* number = std::get_if<long long>(&aSetting->value)) {
        json["value"] = *number;
    } else {
        json["value"] = aSetting->ToText();
    }
    if (aSetting->unit) json["unit"] = *aSetting->unit;
    return json;
}

std::string Cell(const std::optional<SavedSetting>& aSetting, bool aWithType) {
    if (!aSetting) return "(not there)";
    const std::string type = aWithType ? " (" + std::string(NameOf(aSetting->type)) + ")" : "";
    return Printable(aSetting->Describe() + type);
}

class DiffReport final : public Report {
public:
    DiffReport(Side aFirst, Side aSecond, std::vector<Difference> aDifferences)
        : first_(std::move(aFirst)),
          second_(std::move(aSecond)),
          differences_(std::move(aDifferences)) {}

    void WriteText(Output& aOut) const override {
        if (differences_.empty()) {
            aOut.WriteLine("no differences");
            return;
        }
        TextTable table({"NAME", Printable(first_.GetTitle()), Printable(second_.GetTitle())});
        for (const Difference& difference : differences_) {
            const auto& [name, first, second] = difference;
            const bool withType = first && second && first->type != second->type;
            table.AddRow({Printable(name), Cell(first, withType), Cell(second, withType)});
        }
        aOut.Write(table.Format(aOut.GetWidth()));
    }

    ordered_json ToJson() const override {
        ordered_json json;
        json["first"] = SideToJson(first_);
        json["second"] = SideToJson(second_);
        json["differences"] = ordered_json::array();
        for (const Difference& difference : differences_) {
            json["differences"].push_back({{"name", difference.name},
                                           {"first", SettingToJson(difference.first)},
                                           {"second", SettingToJson(difference.second)}});
        }
        json["error"] = nullptr;
        return json;
    }

private:
    Side first_;
    Side second_;
    std::vector<Difference> differences_;
};

Side ReadFile(const std::string& aFile) {
    return Side{"file", aFile, QvKit::Profile::Open(aFile).settings};
}

// What the device has of a file's settings, or of all that can be set.
Side ReadDevice(const QvKit::Snapshot& aSnapshot, const Side* aFile, bool aWithDefaults) {
    Side side{aWithDefaults ? "defaults" : "device", std::string(), {}};
    const auto add = [&](const Setting& aSetting) {
        side.settings.emplace_back(aSetting,
                                   aWithDefaults ? aSetting.defaultValue : aSetting.value);
    };
    if (aFile == nullptr) {
        for (const Setting& setting : aSnapshot.GetSettings()) {
            if (!setting.isReadOnly && !setting.isVolatile) add(setting);
        }
        return side;
    }
    for (const SavedSetting& saved : aFile->settings) {
        if (const Setting* const setting = aSnapshot.Find(saved.name)) add(*setting);
    }
    return side;
}

class DiffVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("FILE", first_, &ParseFileName, "A file, as save writes it");
        const Argument second =
            aArguments.Add("OTHER", second_, &ParseFileName, "The file to compare it with");
        aArguments.AddFlag("--defaults", withDefaults_, "Compare with the device's defaults")
            .Exclude(second);
    }
    Outcome Run(const Context& aContext) override {
        if (first_.empty() && !withDefaults_) {
            throw WrongUsage("a file or --defaults is needed; see \"qvctl diff --help\"");
        }
        Side first;
        if (!first_.empty()) first = ReadFile(first_);
        if (!second_.empty()) return Compare(std::move(first), ReadFile(second_));

        const QvKit::Snapshot snapshot = aContext.ReadParameters(aContext.FindDevice());
        const Side* const file = first_.empty() ? nullptr : &first;
        Side second = ReadDevice(snapshot, file, withDefaults_);
        if (file == nullptr) first = ReadDevice(snapshot, file, /*aWithDefaults=*/false);
        return Compare(std::move(first), std::move(second));
    }

private:
    static Outcome Compare(Side aFirst, Side aSecond) {
        std::vector<Difference> differences =
            QvKit::FindDifferences(aFirst.settings, aSecond.settings);
        const std::size_t count = differences.size();
        Outcome outcome{std::make_unique<DiffReport>(std::move(aFirst), std::move(aSecond),
                                                     std::move(differences)),
                        std::nullopt};
        if (count > 0) {
            outcome.error = QvKit::Error(QvKit::ErrorKind::SystemFailed,
                                         "differences found: " + std::to_string(count));
        }
        return outcome;
    }

    std::string first_;
    std::string second_;
    bool withDefaults_ = false;
};

}  // namespace

std::unique_ptr<Verb> MakeDiffVerb() { return std::make_unique<DiffVerb>(); }

}  // namespace Qvctl
