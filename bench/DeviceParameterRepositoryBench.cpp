// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <cstdlib>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Comparison.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "QvUserLib/Parameter.h"
#include "SyntheticDriver.h"

namespace QvBench {

namespace {

using QvBaseLib::DeviceParameter;
using QvUserLib::DeviceConnection;
using QvUserLib::DeviceParameterRepository;

// The least work possible: a copy of the texts and numbers, and a way to find them.
struct PlainSetting {
    std::wstring name;
    std::string description;
    unsigned long id;
    long long value;
    long long min;
    long long max;
    long long defaultValue;
    std::wstring text;
    std::wstring defaultText;
    std::vector<std::wstring> valueNames;
};

struct RecordReleaser {
    void operator()(DeviceParameter* aRecords) const { std::free(aRecords); }
};
using Records = std::unique_ptr<DeviceParameter[], RecordReleaser>;

Records MakeRecords(std::size_t aCount) {
    return Records(static_cast<DeviceParameter*>(std::calloc(aCount, sizeof(DeviceParameter))));
}

class PlainSet {
public:
    explicit PlainSet(DeviceConnection& aConnection) {
        unsigned long size = 0;
        Must(aConnection.IoControl(IOCTL_PARAMETERS_GET_SIZE, nullptr, 0, nullptr, 0, &size,
                                   nullptr));
        const std::size_t count = size / sizeof(DeviceParameter);
        const Records records = MakeRecords(count);
        Must(aConnection.IoControl(IOCTL_PARAMETERS_GET, nullptr, 0, records.get(), size, &size,
                                   nullptr));
        settings_.reserve(count);
        byId_.reserve(count);
        for (std::size_t index = 0; index < count; ++index) {
            settings_.emplace_back();
            Copy(records[index], settings_.back());
            byId_.emplace(settings_.back().id, index);
        }
    }

private:
    static void Copy(const DeviceParameter& aRecord, PlainSetting& aSetting) {
        aSetting.name = aRecord.GetName();
        aSetting.description = aRecord.GetDescription();
        const std::string unit = aRecord.GetUnit();
        if (!unit.empty()) aSetting.description.append(" (").append(unit).append(")");
        aSetting.id = aRecord.GetId();
        aSetting.min = aRecord.GetMin();
        aSetting.max = aRecord.GetMax();
        aSetting.value = aRecord.GetValueDWord();
        aSetting.defaultValue = aRecord.GetDefaultDWord();
        if (aRecord.GetType() == DeviceParameter::String) {
            aSetting.text = aRecord.GetValueString();
            aSetting.defaultText = aRecord.GetDefaultString();
        } else if (aRecord.GetType() == DeviceParameter::Enumeration) {
            for (unsigned long index = 0; index <= aRecord.GetMax(); ++index) {
                aSetting.valueNames.push_back(aRecord.GetValueName(index));
            }
        }
    }

    std::vector<PlainSetting> settings_;
    std::unordered_map<unsigned long, std::size_t> byId_;
};

// An iteration is one load into a new repository, from both requests to the driver to the
// repository's destruction.
Comparison LoadOf(unsigned long aCount, bool aIsMixed) {
    const int counted = aCount <= 10000 ? 8 : 1;
    Comparison row{
        "Load " + std::to_string(aCount) + (aIsMixed ? " records of all types" : " records"),
        "plain structs in a vector, std::unordered_map",
        [=](benchmark::State& aState) {
            SyntheticDriver driver(aCount, aIsMixed);
            Repeat(
                aState,
                [&] {
                    DeviceParameterRepository parameters;
                    Must(parameters.Connect(&driver));
                },
                counted);
        },
        [=](benchmark::State& aState) {
            SyntheticDriver driver(aCount, aIsMixed);
            Repeat(aState, [&] { const PlainSet set(driver); }, counted);
        },
        3.0};
    row.peakPer = static_cast<double>(aCount);
    return row;
}

// Changes k evenly spread parameters of a device, and lets `aSend` send them.
template <typename Send>
Body ChangeAndSend(unsigned long aChanged, unsigned long aCount, Send aSend) {
    return [=](benchmark::State& aState) {
        SyntheticDriver driver(aCount, /*aIsMixed=*/false);
        DeviceParameterRepository parameters;
        Must(parameters.Connect(&driver));
        long long value = 0;
        Repeat(aState, [&] {
            value ^= 1;
            for (unsigned long index = 0; index < aChanged; ++index) {
                Must(parameters.GetByIndex(index * (aCount / aChanged))->SetInt(value));
            }
            aSend(driver, parameters);
        });
    };
}

void Fill(DeviceParameter& aRecord, const QvUserLib::Parameter& aParameter) {
    aRecord.InitCommon(aParameter.GetID(), aParameter.GetName().GetUnicode(),
                       aParameter.GetDescription().GetAscii());
    aRecord.SetFlags(QV_PARAMETER_SENT);
    aRecord.InitDWord(static_cast<unsigned long>(aParameter.GetMinInt()),
                      static_cast<unsigned long>(aParameter.GetMaxInt()),
                      static_cast<unsigned long>(aParameter.GetDefaultInt()), "mV");
    Must(aRecord.SetValue(static_cast<unsigned long>(aParameter.GetInt())));
}

// An iteration changes k evenly spread parameters and applies them. The bare alternative fills and
// sends k records of parameters that it knows to be changed.
Comparison ApplyOf(unsigned long aChanged, unsigned long aCount) {
    return {"Apply " + std::to_string(aChanged) + " of " + std::to_string(aCount),
            "fill and send as many records",
            ChangeAndSend(aChanged, aCount,
                          [](SyntheticDriver&, DeviceParameterRepository& aParameters) {
                              Must(aParameters.Apply());
                          }),
            ChangeAndSend(
                aChanged, aCount,
                [=](SyntheticDriver& aDriver, DeviceParameterRepository& aParameters) {
                    const Records records = MakeRecords(aChanged);
                    for (unsigned long index = 0; index < aChanged; ++index) {
                        Fill(records[index], *aParameters.GetByIndex(index * (aCount / aChanged)));
                    }
                    const auto size = static_cast<unsigned int>(aChanged * sizeof(DeviceParameter));
                    unsigned long sent = 0;
                    Must(aDriver.IoControl(IOCTL_PARAMETERS_SET, records.get(), size, nullptr, 0,
                                           &sent, nullptr));
                }),
            2.0};
}

}  // namespace

void AddDeviceParameterRepositoryRows(Table& aTable) {
    for (const unsigned long count : {100UL, 1000UL, 10000UL, 100000UL}) {
        aTable.Add(LoadOf(count, /*aIsMixed=*/false));
    }
    aTable.Add(LoadOf(999, /*aIsMixed=*/true));
    aTable.Add(ApplyOf(1, 12));
    aTable.Add(ApplyOf(12, 12));
    aTable.Add(ApplyOf(1, 1000));
    aTable.Add(ApplyOf(10, 1000));
    aTable.Add(ApplyOf(100, 1000));
    aTable.Add(ApplyOf(1000, 1000));
    aTable.Add(ApplyOf(100, 10000));
    aTable.Add(ApplyOf(10000, 10000));
}

}  // namespace QvBench
