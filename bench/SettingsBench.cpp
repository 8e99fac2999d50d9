// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The kit's snapshots, differences and profiles of a device with many parameters.

#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "Comparison.h"
#include "QvKit/Difference.h"
#include "QvKit/Profile.h"
#include "QvKit/Snapshot.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "QvUserLib/Parameter.h"
#include "SyntheticDriver.h"
#include "TemporaryFile.h"

namespace QvBench {

namespace {

using nlohmann::ordered_json;
using QvKit::Difference;
using QvKit::Profile;
using QvKit::Setting;
using QvKit::Snapshot;
using QvUserLib::DeviceParameterRepository;

constexpr unsigned long kCount = 10000;
constexpr unsigned long kChanged = 100;
constexpr int kCounted = 4;

SyntheticDriver& Driver() {
    static SyntheticDriver driver(kCount, /*aIsMixed=*/true);
    return driver;
}

DeviceParameterRepository& Loaded() {
    static const auto repository = [] {
        auto made = std::make_unique<DeviceParameterRepository>();
        Must(made->Connect(&Driver()));
        // So that a profile takes it.
        for (unsigned long index = 0; index < kCount; ++index) {
            Must(made->GetByIndex(index)->SetPersistent(true));
        }
        return made;
    }();
    return *repository;
}

const Snapshot& First() {
    static const Snapshot snapshot(Loaded());
    return snapshot;
}

// Evenly spread parameters have other values.
const Snapshot& Second() {
    static const Snapshot snapshot = [] {
        DeviceParameterRepository repository;
        Must(repository.Connect(&Driver()));
        for (unsigned long index = 0; index < kChanged; ++index) {
            QvUserLib::Parameter& parameter = *repository.GetByIndex(index * (kCount / kChanged));
            const bool isText = parameter.GetType() == QvUserLib::Parameter::TypeString;
            Must(isText ? parameter.SetString("Bench 8") : parameter.SetInt(2));
        }
        return Snapshot(repository);
    }();
    return snapshot;
}

// An iteration copies all parameters and frees the copy.
Comparison SnapshotRow() {
    Comparison row{
        "Snapshot of 10000 parameters", "loading them into a repository",
        [](benchmark::State& aState) {
            DeviceParameterRepository& repository = Loaded();
            Repeat(aState, [&] { benchmark::DoNotOptimize(Snapshot(repository)); }, kCounted);
        },
        [](benchmark::State& aState) {
            Repeat(
                aState,
                [&] {
                    DeviceParameterRepository repository;
                    Must(repository.Connect(&Driver()));
                },
                kCounted);
        },
        1.5};
    row.peakPer = kCount;
    return row;
}

bool IsSame(const Setting& aFirst, const Setting& aSecond) {
    return aFirst.type == aSecond.type && aFirst.unit == aSecond.unit &&
           aFirst.value == aSecond.value;
}

// The comparison by name that a program would write itself.
std::vector<Difference> CompareByMap(const Snapshot& aFirst, const Snapshot& aSecond) {
    std::map<std::string, std::pair<const Setting*, const Setting*>> byName;
    for (const Setting& setting : aFirst.GetSettings()) byName[setting.name].first = &setting;
    for (const Setting& setting : aSecond.GetSettings()) byName[setting.name].second = &setting;
    std::vector<Difference> differences;
    for (const auto& [name, both] : byName) {
        const auto& [first, second] = both;
        if (first != nullptr && second != nullptr && IsSame(*first, *second)) continue;
        Difference difference{name, std::nullopt, std::nullopt};
        if (first != nullptr) difference.first.emplace(*first, first->value);
        if (second != nullptr) difference.second.emplace(*second, second->value);
        differences.push_back(std::move(difference));
    }
    return differences;
}

// An iteration finds the 100 of 10,000 settings that differ.
Comparison DifferenceRow() {
    const auto body = [](auto aCompare) {
        return [aCompare](benchmark::State& aState) {
            const Snapshot& first = First();
            const Snapshot& second = Second();
            Repeat(
                aState,
                [&] { Must(aCompare(first, second).size() == kChanged, "a difference is lost"); },
                kCounted);
        };
    };
    return {"Difference of two snapshots of 10000", "std::map by name",
            body([](const Snapshot& aFirst, const Snapshot& aSecond) {
                return QvKit::FindDifferences(aFirst, aSecond);
            }),
            body(CompareByMap), 1.2};
}

const Profile& Taken() {
    static const Profile profile = Profile::Take(First(), {}, {});
    Must(profile.settings.size() == kCount, "a setting is left out");
    return profile;
}

// An iteration takes 10,000 settings out of a snapshot, each with a check whether it can be kept.
Comparison TakeRow() {
    return {"Profile of a snapshot of 10000", "copying the settings",
            [](benchmark::State& aState) {
                const Snapshot& snapshot = First();
                Repeat(
                    aState, [&] { benchmark::DoNotOptimize(Profile::Take(snapshot, {}, {})); },
                    kCounted);
            },
            [](benchmark::State& aState) {
                const Snapshot& snapshot = First();
                Repeat(
                    aState,
                    [&] {
                        std::vector<QvKit::SavedSetting> settings;
                        for (const Setting& setting : snapshot.GetSettings()) {
                            settings.emplace_back(setting, setting.value);
                        }
                        benchmark::DoNotOptimize(settings.data());
                    },
                    kCounted);
            },
            3.0};
}

// An iteration writes a file of 10,000 settings, or reads one.
void AddFileRows(Table& aTable) {
    aTable.Add({"Saving a profile of 10000", "printing by the JSON library",
                [](benchmark::State& aState) {
                    const TemporaryFile file;
                    Repeat(aState, [&] { Taken().Save(file.Path()); }, kCounted);
                },
                [](benchmark::State& aState) {
                    const TemporaryFile file;
                    const ordered_json json = ordered_json::parse(Taken().ToJson());
                    Repeat(
                        aState,
                        [&] {
                            std::ofstream stream(file.Path(), std::ios::binary);
                            const std::string text = json.dump(2);
                            stream.write(text.data(), static_cast<std::streamsize>(text.size()));
                            Must(static_cast<bool>(stream.flush()), "the file is not written");
                        },
                        kCounted);
                },
                2.0});
    aTable.Add({"Loading a profile of 10000", "parsing by the JSON library",
                [](benchmark::State& aState) {
                    const TemporaryFile file;
                    Taken().Save(file.Path());
                    Repeat(
                        aState, [&] { benchmark::DoNotOptimize(Profile::Open(file.Path())); },
                        kCounted);
                },
                [](benchmark::State& aState) {
                    const TemporaryFile file;
                    Taken().Save(file.Path());
                    Repeat(
                        aState,
                        [&] {
                            std::ifstream stream(file.Path(), std::ios::binary);
                            const std::string text{std::istreambuf_iterator<char>(stream), {}};
                            benchmark::DoNotOptimize(ordered_json::parse(text));
                        },
                        kCounted);
                },
                2.0});
}

}  // namespace

void AddSettingsRows(Table& aTable) {
    aTable.Add(SnapshotRow());
    aTable.Add(DifferenceRow());
    aTable.Add(TakeRow());
    AddFileRows(aTable);
}

}  // namespace QvBench
