// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Comparison.h"
#include "QvUserLib/Parameter.h"
#include "QvUserLib/ParameterRepository.h"
#include "WindowsApi.h"

namespace QvBench {

namespace {

using QvUserLib::Parameter;
using QvUserLib::ParameterRepository;
using QvUserLib::String;

constexpr int kSizes[] = {64, 1024, 10000};
constexpr int kNameSize = 64;

// What a program would use without the library.
struct PlainSetting {
    std::string name;
    std::string description;
    unsigned long id;
    unsigned long index;
    long long value;
    long long min;
    long long max;
};

std::string NameOf(int aId) { return "Channel " + std::to_string(aId); }

std::string DescriptionOf(int aId) {
    return "What channel " + std::to_string(aId) + " triggers at (mV)";
}

// The numbers below aCount in random order, always the same order.
std::vector<int> Shuffled(int aCount) {
    std::vector<int> numbers;
    for (int number = 0; number < aCount; ++number) numbers.push_back(number);
    std::shuffle(numbers.begin(), numbers.end(), std::minstd_rand(1));
    return numbers;
}

ParameterRepository& Ours(int aCount) {
    static std::map<int, std::unique_ptr<ParameterRepository>> made;
    std::unique_ptr<ParameterRepository>& repository = made[aCount];
    if (repository == nullptr) {
        repository = std::make_unique<ParameterRepository>("Channels", 1);
        for (int id = 0; id < aCount; ++id) {
            auto parameter = std::make_unique<Parameter>(NameOf(id).c_str(), id);
            parameter->InitInteger(1, 0, 1000);
            Must(parameter->SetDescription(DescriptionOf(id).c_str()));
            Must(repository->Add(parameter.get()));
            (void)parameter.release();
        }
    }
    return *repository;
}

class PlainSet {
public:
    explicit PlainSet(int aCount) {
        for (int id = 0; id < aCount; ++id) {
            const auto number = static_cast<unsigned long>(id);
            auto* const setting =
                new PlainSetting{NameOf(id), DescriptionOf(id), number, number, 1, 0, 1000};
            settings_.emplace_back(setting);
            byIndex.push_back(setting);
            byId.emplace(number, setting);
            byName.emplace(setting->name, setting);
        }
    }
    virtual ~PlainSet() = default;

    virtual PlainSetting* GetByIndex(unsigned long aIndex) {
        return aIndex < byIndex.size() ? byIndex[aIndex] : nullptr;
    }

    std::vector<PlainSetting*> byIndex;
    std::map<unsigned long, PlainSetting*> byId;
    std::map<std::string, PlainSetting*, std::less<>> byName;

private:
    std::vector<std::unique_ptr<PlainSetting>> settings_;
};

// A second class, so that the compiler cannot guess which one a call reaches.
class EmptySet : public PlainSet {
public:
    EmptySet() : PlainSet(0) {}
    PlainSetting* GetByIndex(unsigned long /*aIndex*/) override { return nullptr; }
};

PlainSet& Bare(int aCount) {
    static std::map<int, std::unique_ptr<PlainSet>> made;
    std::unique_ptr<PlainSet>& set = made[aCount];
    if (set == nullptr && aCount == 0) set = std::make_unique<EmptySet>();
    if (set == nullptr) set = std::make_unique<PlainSet>(aCount);
    return *set;
}

// Steps through keys again and again.
template <typename Key>
class Cycle {
public:
    explicit Cycle(std::vector<Key> aKeys) : keys_(std::move(aKeys)) {}

    const Key& Next() {
        if (++position_ == keys_.size()) position_ = 0;
        return keys_[position_];
    }

private:
    std::vector<Key> keys_;
    std::size_t position_ = 0;
};

// An iteration is one look-up. The keys are made beforehand and come in random order; all of them
// exist.

std::vector<String> MakeNameKeys(int aCount, bool aIsWide) {
    std::vector<String> keys;
    keys.reserve(static_cast<std::size_t>(aCount));
    for (const int id : Shuffled(aCount)) {
        const String name(NameOf(id).c_str());
        if (aIsWide) {
            keys.emplace_back(name.GetUnicode());
        } else {
            keys.emplace_back(NameOf(id).c_str());
        }
        // A wide name builds its 8-bit form once, at its first look-up.
        Must(Ours(aCount).HasByName(keys.back()), "a name is missing");
    }
    return keys;
}

// Made once: making them takes longer than what is measured.
Cycle<const String*> NameKeys(int aCount, bool aIsWide) {
    static std::map<std::pair<int, bool>, std::vector<String>> made;
    std::vector<String>& keys = made[{aCount, aIsWide}];
    if (keys.empty()) keys = MakeNameKeys(aCount, aIsWide);
    std::vector<const String*> pointers;
    for (const String& key : keys) pointers.push_back(&key);
    return Cycle<const String*>(std::move(pointers));
}

template <typename LookUp>
Body OursByName(int aCount, bool aIsWide, LookUp aLookUp) {
    return [=](benchmark::State& aState) {
        ParameterRepository& repository = Ours(aCount);
        Cycle<const String*> keys = NameKeys(aCount, aIsWide);
        Repeat(aState, [&] { benchmark::DoNotOptimize(aLookUp(repository, *keys.Next())); });
    };
}

Body BareByName(int aCount) {
    return [=](benchmark::State& aState) {
        PlainSet& set = Bare(aCount);
        static std::map<int, std::vector<std::string>> made;
        std::vector<std::string>& names = made[aCount];
        if (names.empty()) {
            for (const int id : Shuffled(aCount)) names.push_back(NameOf(id));
        }
        Cycle<std::string_view> keys(std::vector<std::string_view>(names.begin(), names.end()));
        Repeat(aState, [&] { benchmark::DoNotOptimize(set.byName.find(keys.Next())->second); });
    };
}

std::vector<std::wstring> WideNames(int aCount) {
    std::vector<std::wstring> names;
    for (const int id : Shuffled(aCount)) {
        names.emplace_back(String(NameOf(id).c_str()).GetUnicode());
    }
    return names;
}

// As above, with a wide text that is converted to an argument for each look-up.
Body OursByFreshWideName(int aCount) {
    return [=](benchmark::State& aState) {
        ParameterRepository& repository = Ours(aCount);
        Cycle<std::wstring> keys(WideNames(aCount));
        Repeat(aState, [&] {
            benchmark::DoNotOptimize(repository.HasByName(String(keys.Next().c_str())));
        });
    };
}

Body BareByFreshWideName(int aCount) {
    return [=](benchmark::State& aState) {
        PlainSet& set = Bare(aCount);
        Cycle<std::wstring> keys(WideNames(aCount));
        Repeat(aState, [&] {
            char name[kNameSize];
            ::WideCharToMultiByte(CP_ACP, 0, keys.Next().c_str(), -1, name, kNameSize, nullptr,
                                  nullptr);
            benchmark::DoNotOptimize(set.byName.find(std::string_view(name)) != set.byName.end());
        });
    };
}

template <typename Set, typename LookUp>
Body ByNumber(Set& (*aGetSet)(int aCount), int aCount, LookUp aLookUp) {
    return [=](benchmark::State& aState) {
        Set& set = aGetSet(aCount);
        Cycle<int> keys(Shuffled(aCount));
        Repeat(aState, [&] {
            benchmark::DoNotOptimize(aLookUp(set, static_cast<unsigned long>(keys.Next())));
        });
    };
}

void AddNumberRows(Table& aTable, int aCount) {
    const std::string of = ", of " + std::to_string(aCount);
    const Body bareFind = ByNumber(&Bare, aCount, [](PlainSet& aSet, unsigned long aId) {
        return aSet.byId.find(aId)->second;
    });
    aTable.Add({"GetByIndex" + of, "std::vector through a virtual call",
                ByNumber(&Ours, aCount,
                         [](auto& aSet, unsigned long aIndex) { return aSet.GetByIndex(aIndex); }),
                ByNumber(&Bare, aCount,
                         [](auto& aSet, unsigned long aIndex) { return aSet.GetByIndex(aIndex); }),
                1.1});
    aTable.Add(
        {"GetByID" + of, "std::map::find",
         ByNumber(&Ours, aCount, [](auto& aSet, unsigned long aId) { return aSet.GetByID(aId); }),
         bareFind, 1.1});
    aTable.Add(
        {"HasByID" + of, "std::map::find",
         ByNumber(&Ours, aCount, [](auto& aSet, unsigned long aId) { return aSet.HasByID(aId); }),
         bareFind, 1.1});
}

void AddNameRows(Table& aTable, int aCount) {
    const std::string of = ", of " + std::to_string(aCount);
    const auto has = [](ParameterRepository& aRepository, const String& aName) {
        return aRepository.HasByName(aName);
    };
    const auto index = [](ParameterRepository& aRepository, const String& aName) {
        return aRepository.GetIndexByName(aName);
    };
    constexpr char kFind[] = "transparent std::map::find";
    aTable.Add(
        {"HasByName, 8-bit" + of, kFind, OursByName(aCount, false, has), BareByName(aCount), 1.0});
    aTable.Add(
        {"HasByName, wide" + of, kFind, OursByName(aCount, true, has), BareByName(aCount), 1.0});
    aTable.Add({"GetIndexByName, 8-bit" + of, kFind, OursByName(aCount, false, index),
                BareByName(aCount), 1.0});
    aTable.Add({"GetIndexByName, wide" + of, kFind, OursByName(aCount, true, index),
                BareByName(aCount), 1.0});
    aTable.Add({"HasByName, new wide text" + of, "WideCharToMultiByte and find",
                OursByFreshWideName(aCount), BareByFreshWideName(aCount), 0});
}

}  // namespace

void AddParameterRepositoryRows(Table& aTable) {
    for (const int count : kSizes) {
        AddNumberRows(aTable, count);
        AddNameRows(aTable, count);
    }
}

}  // namespace QvBench
