// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The library's main use against the real driver: load its parameters, change them, send them back.

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "QvBaseLib/DeviceParameter.h"
#include "QvUserLib/ParameterRepository.h"
#include "SampleDevice.h"

namespace QvTests {
namespace {

class SampleParametersTest : public SampleDeviceTest {
protected:
    void SetUp() override {
        SampleDeviceTest::SetUp();
        ASSERT_THAT(parameters_.Connect(&connection_), HasCode(Code::Success));
    }

    Parameter* Get(unsigned long aID) { return parameters_.GetByID(aID); }

    // The driver's value, read through another connection.
    long long DriversInt(unsigned long aID, unsigned int aDevice = 0) {
        DeviceConnection connection;
        DeviceParameterRepository parameters;
        EXPECT_THAT(connection.Connect(GUID_DEVINTERFACE_QVSAMPLE, aDevice),
                    HasCode(Code::Success));
        EXPECT_THAT(parameters.Connect(&connection), HasCode(Code::Success));
        return parameters.GetByID(aID)->GetInt();
    }

    DeviceParameterRepository parameters_;
};

TEST_F(SampleParametersTest, LoadsEveryParameterUnchanged) {
    EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT, parameters_.GetCount());
    EXPECT_EQ(0U, parameters_.GetChangeCount());
    EXPECT_TRUE(parameters_.IsConnected());
}

TEST_F(SampleParametersTest, LoadsAnIntegerWithItsUnitAndRange) {
    const Parameter* gain = Get(QV_SAMPLE_ID_GAIN);
    ASSERT_NE(nullptr, gain);
    EXPECT_EQ(static_cast<unsigned long>(Parameter::TypeInteger), gain->GetType());
    EXPECT_STREQ("Gain", gain->GetName().GetAscii());
    EXPECT_STREQ("Input amplification (dB)", gain->GetDescription().GetAscii());
    EXPECT_EQ(0, gain->GetMinInt());
    EXPECT_EQ(60, gain->GetMaxInt());
    EXPECT_EQ(6, gain->GetDefaultInt());
    EXPECT_EQ(6, gain->GetInt());
    EXPECT_TRUE(gain->IsPersistent());
}

TEST_F(SampleParametersTest, LoadsAnEnumerationWithItsEntries) {
    const Parameter* mode = Get(QV_SAMPLE_ID_OPERATING_MODE);
    ASSERT_NE(nullptr, mode);
    EXPECT_EQ(static_cast<unsigned long>(Parameter::TypeEnumeration), mode->GetType());
    EXPECT_EQ(2, mode->GetMaxInt());
    EXPECT_STREQ("Continuous", mode->GetEnumValueString(0).GetAscii());
    EXPECT_STREQ("Triggered", mode->GetEnumValueString(1).GetAscii());
    EXPECT_STREQ("Standby", mode->GetEnumValueString(2).GetAscii());
    EXPECT_STREQ("Continuous", mode->GetString().GetAscii());
}

TEST_F(SampleParametersTest, LoadsAStringWithNonAsciiCharacters) {
    EXPECT_STREQ(L"S\u00fcd \u2013 Kanal 1", Get(QV_SAMPLE_ID_LABEL)->GetString().GetUnicode());
    EXPECT_STREQ(
        "S\xfc"
        "d \x96 Kanal 1",
        Get(QV_SAMPLE_ID_LABEL)->GetDefaultString().GetAscii());
}

TEST_F(SampleParametersTest, LoadsTheMarks) {
    EXPECT_TRUE(Get(QV_SAMPLE_ID_TEMPERATURE)->IsReadOnly());
    EXPECT_TRUE(Get(QV_SAMPLE_ID_TEMPERATURE)->IsVolatile());
    EXPECT_TRUE(Get(QV_SAMPLE_ID_SELF_TEST_COUNT)->IsHidden());
    EXPECT_TRUE(Get(QV_SAMPLE_ID_FILTER_ORDER)->IsAdvanced());
    EXPECT_TRUE(Get(QV_SAMPLE_ID_BUFFER_SIZE)->IsRestartRequired());
    EXPECT_FALSE(Get(QV_SAMPLE_ID_MARKER)->IsPersistent());
}

TEST_F(SampleParametersTest, SendsAllChangesInOneApply) {
    ASSERT_THAT(Get(QV_SAMPLE_ID_GAIN)->SetInt(12), HasCode(Code::Success));
    ASSERT_THAT(Get(QV_SAMPLE_ID_OPERATING_MODE)->SetInt(1), HasCode(Code::Success));
    ASSERT_THAT(Get(QV_SAMPLE_ID_LABEL)->SetString(L"Pr\u00fcfstand"), HasCode(Code::Success));
    EXPECT_EQ(3U, parameters_.GetChangeCount());

    EXPECT_THAT(parameters_.Apply(), HasCode(Code::Success));

    EXPECT_EQ(0U, parameters_.GetChangeCount());
    EXPECT_EQ(12, DriversInt(QV_SAMPLE_ID_GAIN));
    EXPECT_EQ(1, DriversInt(QV_SAMPLE_ID_OPERATING_MODE));
    ASSERT_THAT(parameters_.Refresh(), HasCode(Code::Success));
    EXPECT_STREQ(L"Pr\u00fcfstand", Get(QV_SAMPLE_ID_LABEL)->GetString().GetUnicode());
}

TEST_F(SampleParametersTest, EveryIntegerOfTheRangeArrives) {
    for (const unsigned long marker : {0UL, 1UL, 0x7FFFFFFFUL, 0x80000000UL, 0xFFFFFFFFUL}) {
        SCOPED_TRACE(marker);
        ASSERT_THAT(Get(QV_SAMPLE_ID_MARKER)->SetInt(marker), HasCode(Code::Success));
        ASSERT_THAT(parameters_.Apply(), HasCode(Code::Success));
        EXPECT_EQ(marker, DriversInt(QV_SAMPLE_ID_MARKER));
    }
}

TEST_F(SampleParametersTest, RefusedChangeIsNotSent) {
    EXPECT_THAT(Get(QV_SAMPLE_ID_SAMPLING_INTERVAL)->SetInt(-5), HasCode(Code::InvalidArgument));
    EXPECT_EQ("Value does not fit in the range", LastErrorText());

    EXPECT_EQ(0U, parameters_.GetChangeCount());
    EXPECT_THAT(parameters_.Apply(), HasCode(Code::Success));
    EXPECT_EQ(1000, DriversInt(QV_SAMPLE_ID_SAMPLING_INTERVAL));
}

TEST_F(SampleParametersTest, DriverRefusesAllRecordsForOneOutOfRange) {
    // A client that widens a range gets past the library's own check.
    ASSERT_THAT(Get(QV_SAMPLE_ID_GAIN)->SetRange(0LL, 1000LL), HasCode(Code::Success));
    ASSERT_THAT(Get(QV_SAMPLE_ID_GAIN)->SetInt(61), HasCode(Code::Success));
    ASSERT_THAT(Get(QV_SAMPLE_ID_MARKER)->SetInt(7), HasCode(Code::Success));

    EXPECT_THAT(parameters_.Apply(), IsBareCode(ERROR_INVALID_PARAMETER));
    EXPECT_EQ("DeviceIoControl failed", LastErrorText());

    EXPECT_EQ(6, DriversInt(QV_SAMPLE_ID_GAIN));
    EXPECT_EQ(0, DriversInt(QV_SAMPLE_ID_MARKER));
}

TEST_F(SampleParametersTest, FailedApplyClearsTheMarksAndRefreshReadsTheDriversValues) {
    ASSERT_THAT(Get(QV_SAMPLE_ID_TEMPERATURE)->ChangeInt(99), HasCode(Code::Success));
    ASSERT_EQ(1U, parameters_.GetChangeCount());

    EXPECT_THAT(parameters_.Apply(), IsBareCode(ERROR_ACCESS_DENIED));

    EXPECT_EQ(0U, parameters_.GetChangeCount());
    EXPECT_THAT(parameters_.Apply(), HasCode(Code::Success));
    ASSERT_THAT(parameters_.Refresh(), HasCode(Code::Success));
    EXPECT_NE(99, Get(QV_SAMPLE_ID_TEMPERATURE)->GetInt());
}

TEST_F(SampleParametersTest, RefreshReadsVolatileValuesAnew) {
    const long long before = Get(QV_SAMPLE_ID_TEMPERATURE)->GetInt();
    ASSERT_THAT(parameters_.Refresh(), HasCode(Code::Success));
    EXPECT_NE(before, Get(QV_SAMPLE_ID_TEMPERATURE)->GetInt());
}

TEST_F(SampleParametersTest, RefreshDropsChangesThatWereNotSent) {
    ASSERT_THAT(Get(QV_SAMPLE_ID_GAIN)->SetInt(30), HasCode(Code::Success));
    ASSERT_THAT(parameters_.Refresh(), HasCode(Code::Success));
    EXPECT_EQ(6, Get(QV_SAMPLE_ID_GAIN)->GetInt());
    EXPECT_EQ(0U, parameters_.GetChangeCount());
}

TEST_F(SampleParametersTest, RefreshAfterTheDeviceWasClosedLeavesNothing) {
    ASSERT_THAT(connection_.Close(), HasCode(Code::Success));
    EXPECT_THAT(parameters_.Refresh(), IsBareCode(Code::NotAllowed));
    EXPECT_EQ("Connect first", LastErrorText());
    EXPECT_EQ(0U, parameters_.GetCount());
    EXPECT_TRUE(parameters_.IsConnected());
    ASSERT_THAT(connection_.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), HasCode(Code::Success));
}

TEST_F(SampleParametersTest, ValuesAreRestoredFromACopy) {
    const ParameterRepository saved(parameters_);
    ASSERT_THAT(Get(QV_SAMPLE_ID_GAIN)->SetInt(40), HasCode(Code::Success));
    ASSERT_THAT(parameters_.Apply(), HasCode(Code::Success));

    parameters_ = saved;
    ASSERT_THAT(parameters_.Apply(), HasCode(Code::Success));
    EXPECT_EQ(6, DriversInt(QV_SAMPLE_ID_GAIN));
}

TEST_F(SampleParametersTest, DevicesHoldTheirOwnValues) {
    const long long other = DriversInt(QV_SAMPLE_ID_MARKER, 1);
    ASSERT_THAT(Get(QV_SAMPLE_ID_MARKER)->SetInt(other + 1), HasCode(Code::Success));
    ASSERT_THAT(parameters_.Apply(), HasCode(Code::Success));
    EXPECT_EQ(other, DriversInt(QV_SAMPLE_ID_MARKER, 1));
}

class SampleRefusalsTest : public SampleParametersTest {
protected:
    // A record that the driver takes.
    static DeviceParameter GainRecord(unsigned long aGain) {
        DeviceParameter record;
        record.InitCommon(QV_SAMPLE_ID_GAIN, L"Gain", "");
        record.InitDWord(0, 60, 6, "dB");
        EXPECT_THAT(record.SetValue(aGain), HasCode(Code::Success));
        return record;
    }

    unsigned long Send(const void* aData, std::size_t aSize) {
        unsigned long returned = 0;
        return connection_
            .IoControl(IOCTL_PARAMETERS_SET, aData, static_cast<unsigned int>(aSize), nullptr, 0,
                       &returned, nullptr)
            .GetCode();
    }

    unsigned long Send(const DeviceParameter& aRecord) { return Send(&aRecord, sizeof aRecord); }
};

TEST_F(SampleRefusalsTest, RecordInOrderIsTaken) {
    EXPECT_EQ(Code::Success, Send(GainRecord(20)));
    EXPECT_EQ(20, DriversInt(QV_SAMPLE_ID_GAIN));
}

TEST_F(SampleRefusalsTest, SizesThatAreNoRecordsAreRefused) {
    const DeviceParameter records[2] = {GainRecord(20), GainRecord(21)};
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, sizeof records[0] - 1,
                                   sizeof records[0] + 1, sizeof records - 1}) {
        SCOPED_TRACE(size);
        EXPECT_EQ(static_cast<unsigned long>(ERROR_INVALID_USER_BUFFER), Send(records, size));
    }
    EXPECT_EQ(6, DriversInt(QV_SAMPLE_ID_GAIN));
}

TEST_F(SampleRefusalsTest, MoreRecordsThanParametersAreRefused) {
    const std::vector<DeviceParameter> records(QV_SAMPLE_PARAMETER_COUNT + 1, GainRecord(20));
    EXPECT_EQ(static_cast<unsigned long>(ERROR_INVALID_USER_BUFFER),
              Send(records.data(), records.size() * sizeof records[0]));
}

TEST_F(SampleRefusalsTest, RecordsThatDoNotMatchAreRefused) {
    DeviceParameter unknown = GainRecord(20);
    unknown.InitCommon(4711, L"Gain", "");
    EXPECT_EQ(static_cast<unsigned long>(ERROR_NOT_FOUND), Send(unknown));

    DeviceParameter otherName = GainRecord(20);
    otherName.InitCommon(QV_SAMPLE_ID_GAIN, L"gain", "");
    EXPECT_EQ(static_cast<unsigned long>(ERROR_INVALID_NAME), Send(otherName));

    DeviceParameter otherType = GainRecord(20);
    otherType.InitString(L"20");
    EXPECT_EQ(static_cast<unsigned long>(ERROR_REVISION_MISMATCH), Send(otherType));

    EXPECT_EQ(static_cast<unsigned long>(ERROR_INVALID_PARAMETER), Send(GainRecord(61)));
    EXPECT_EQ(6, DriversInt(QV_SAMPLE_ID_GAIN));
}

TEST_F(SampleRefusalsTest, SameParameterTwiceIsRefused) {
    const DeviceParameter records[2] = {GainRecord(20), GainRecord(21)};
    EXPECT_EQ(static_cast<unsigned long>(ERROR_OBJECT_ALREADY_EXISTS),
              Send(records, sizeof records));
    EXPECT_EQ(6, DriversInt(QV_SAMPLE_ID_GAIN));
}

TEST_F(SampleRefusalsTest, BlockThatDoesNotFitTheBufferIsNotReturned) {
    unsigned char little[QV_PARAMETER_RECORD_SIZE] = {};
    unsigned long returned = 0;
    EXPECT_THAT(connection_.IoControl(IOCTL_PARAMETERS_GET, nullptr, 0, little, sizeof little,
                                      &returned, nullptr),
                HasCode(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(0U, returned);
    EXPECT_EQ(0, little[8]);
}

// Random blocks: noise, valid records with random bytes changed, and odd sizes of both.
TEST_F(SampleRefusalsTest, DriverSurvivesTenThousandRandomBlocks) {
    const unsigned int seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&random](std::size_t aLimit) { return random() % aLimit; };

    for (int block = 0; block < 10000; ++block) {
        std::vector<DeviceParameter> records(below(4), GainRecord(random() % 100));
        std::string bytes(reinterpret_cast<const char*>(records.data()),
                          records.size() * sizeof(DeviceParameter));
        if (below(2) == 0) bytes.resize(below(4 * sizeof(DeviceParameter)));
        const std::size_t changes = below(3) == 0 ? bytes.size() : below(8);
        for (std::size_t change = 0; change < changes && !bytes.empty(); ++change) {
            bytes[below(bytes.size())] = static_cast<char>(random());
        }
        (void)Send(bytes.data(), bytes.size());  // The driver may take it or refuse it.
    }

    ASSERT_THAT(parameters_.Refresh(), HasCode(Code::Success));
    EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT, parameters_.GetCount());
    EXPECT_EQ(Code::Success, Send(GainRecord(20)));
    EXPECT_EQ(20, DriversInt(QV_SAMPLE_ID_GAIN));
}

}  // namespace
}  // namespace QvTests
