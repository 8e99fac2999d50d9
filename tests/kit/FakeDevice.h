// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A device without hardware and driver, with the kit's view of its parameters.

#ifndef QVTESTS_FAKEDEVICE_H
#define QVTESTS_FAKEDEVICE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "QvKit/DeviceParameters.h"
#include "QvKit/Snapshot.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "ScriptedConnection.h"
#include "TestSupport.h"

namespace QvTests {

inline Record RecordOf(unsigned int aId, const std::wstring& aName, unsigned int aType) {
    Record record = {};
    record.flags = QV_PARAMETER_PERSISTENT;
    record.type = aType;
    record.id = aId;
    aName.copy(record.name, QV_PARAMETER_NAME_UNITS);
    return record;
}

inline Record Integer(unsigned int aId, const std::wstring& aName, unsigned int aValue,
                      const std::string& aUnit = "", unsigned int aFlags = 0) {
    Record record = RecordOf(aId, aName, QV_PARAMETER_INTEGER);
    record.flags |= aFlags;
    aUnit.copy(record.unit, QV_PARAMETER_UNIT_BYTES);
    record.maximum = 100;
    record.value = aValue;
    return record;
}

/// The names end with a zero each.
inline Record Enumeration(const std::wstring& aNames, unsigned int aValue) {
    Record record = RecordOf(2, L"Mode", QV_PARAMETER_ENUMERATION);
    aNames.copy(record.content.valueNames, QV_PARAMETER_VALUE_NAMES_UNITS);
    const auto count = std::count(aNames.begin(), aNames.end(), L'\0');
    record.maximum = static_cast<unsigned int>(count) - 1;
    record.value = aValue;
    return record;
}

inline Record Text(const std::wstring& aValue) {
    Record record = RecordOf(3, L"Label", QV_PARAMETER_STRING);
    aValue.copy(record.content.string.valueText, QV_PARAMETER_TEXT_UNITS);
    return record;
}

inline const std::wstring kSlowFast(L"Slow\0Fast\0", 10);

/// Holds records, and takes those that are sent, until the test says otherwise.
class FakeDevice {
public:
    explicit FakeDevice(std::vector<Record> aRecords) {
        connection.records = std::move(aRecords);
        connection.onSet = [this] { TakeSent(); };
        EXPECT_THAT(repository_.Connect(&connection), HasCode(0));
        connection.requests.clear();
    }

    QvKit::Snapshot GetSnapshot() const { return parameters.GetSnapshot(); }

    /// What was sent, request by request.
    std::vector<std::vector<Record>> GetSendings() const {
        std::vector<std::vector<Record>> sendings;
        for (const Request& request : connection.requests) {
            if (request.code == IOCTL_PARAMETERS_SET) sendings.push_back(request.Records());
        }
        return sendings;
    }

    /// What was sent, by the only request.
    std::vector<Record> GetSent() const {
        const std::vector<std::vector<Record>> sendings = GetSendings();
        EXPECT_LE(sendings.size(), 1u);
        return sendings.empty() ? std::vector<Record>() : sendings.front();
    }

    Record& At(unsigned int aId) {
        return *std::find_if(connection.records.begin(), connection.records.end(),
                             [&](const Record& aRecord) { return aRecord.id == aId; });
    }

    /// Takes the value of a record that was sent into the one with the same identifier.
    static void Take(const Record& aSent, Record& aHeld) {
        if (aHeld.type == QV_PARAMETER_STRING) {
            std::memcpy(aHeld.content.string.valueText, aSent.content.string.valueText,
                        sizeof aHeld.content.string.valueText);
        } else {
            aHeld.value = aSent.value;
        }
    }

    ScriptedConnection connection;

    /// What becomes of each record that is sent.
    std::function<void(const Record&, Record&)> onRecord = &FakeDevice::Take;

private:
    void TakeSent() {
        for (const Record& sent : connection.requests.back().Records()) onRecord(sent, At(sent.id));
    }

    QvUserLib::DeviceParameterRepository repository_;

public:
    QvKit::DeviceParameters parameters{repository_};
};

}  // namespace QvTests

#endif
