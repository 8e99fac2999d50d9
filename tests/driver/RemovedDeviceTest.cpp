// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A device that is removed while programs use it.

#include <string>

#include "QvBaseLib/DeviceParameterRecord.h"
#include "SampleDevice.h"
#include "SampleSetup.h"

namespace QvTests {
namespace {

// Opens a third device and loads its parameters; the tests remove it.
class RemovedDeviceTest : public ::testing::Test {
protected:
    void SetUp() override {
        const Outcome installed = InstallSampleDevices(3);
        ASSERT_EQ(0u, installed.exitCode) << installed.err;
        const std::size_t path = installed.out.find("\\\\?\\", installed.out.find("\n2  "));
        ASSERT_NE(std::string::npos, path) << installed.out;
        path_ = installed.out.substr(path, installed.out.find_first_of("\r\n", path) - path);
        ASSERT_THAT(connection_.Connect(path_.c_str()), HasCode(Code::Success));
        ASSERT_THAT(parameters_.Connect(&connection_), HasCode(Code::Success));
    }

    void TearDown() override {
        if (!isRemoved_) Remove();
    }

    void Remove() {
        const Outcome removed = RemoveSampleDevice("2");
        ASSERT_EQ(0u, removed.exitCode) << removed.err;
        isRemoved_ = true;
    }

    std::string path_;
    DeviceConnection connection_;
    DeviceParameterRepository parameters_;

private:
    bool isRemoved_ = false;
};

TEST_F(RemovedDeviceTest, RequestsOnTheOpenHandleFailWithTheSystemsCode) {
    char data[16] = {};
    unsigned long size = 0;
    Remove();

    EXPECT_THAT(connection_.IoControl(IOCTL_PARAMETERS_GET_SIZE, nullptr, 0, nullptr, 0, 0UL),
                IsBareCode(ERROR_INVALID_FUNCTION));
    EXPECT_EQ("DeviceIoControl failed", LastErrorText());
    EXPECT_THAT(connection_.Read(data, sizeof data, &size, nullptr),
                IsBareCode(ERROR_INVALID_FUNCTION));
    EXPECT_THAT(connection_.Write(data, sizeof data, &size, nullptr),
                IsBareCode(ERROR_INVALID_FUNCTION));
    EXPECT_THAT(connection_.Close(), IsBareCode(Code::Success));
}

TEST_F(RemovedDeviceTest, ChangedParametersAreNotSentAndKeepTheirValues) {
    QvUserLib::Parameter* const gain = parameters_.GetByID(QV_SAMPLE_ID_GAIN);
    ASSERT_THAT(gain->SetInt(7), HasCode(Code::Success));
    Remove();

    EXPECT_THAT(parameters_.Apply(), IsBareCode(ERROR_INVALID_FUNCTION));

    EXPECT_EQ(7, gain->GetInt());
    EXPECT_EQ(0u, parameters_.GetChangeCount());
}

TEST_F(RemovedDeviceTest, RefreshFailsAndLeavesNoParameters) {
    Remove();

    EXPECT_THAT(parameters_.Refresh(), IsBareCode(ERROR_INVALID_FUNCTION));

    EXPECT_EQ(0u, parameters_.GetCount());
    EXPECT_TRUE(parameters_.IsConnected());
}

TEST_F(RemovedDeviceTest, CannotBeOpenedAgain) {
    DeviceConnection again;
    Remove();

    EXPECT_THAT(again.Connect(path_.c_str()), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ("CreateFile failed", LastErrorText());
    EXPECT_THAT(again.Connect(GUID_DEVINTERFACE_QVSAMPLE, 2), IsBareCode(Code::NoSuchDevice));
}

TEST_F(RemovedDeviceTest, OtherDeviceGoesOn) {
    DeviceConnection other;
    ASSERT_THAT(other.Connect(GUID_DEVINTERFACE_QVSAMPLE, 1), HasCode(Code::Success));
    Remove();

    DeviceParameterRepository parameters;
    EXPECT_THAT(parameters.Connect(&other), IsBareCode(Code::Success));
    EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT, parameters.GetCount());
}

TEST_F(RemovedDeviceTest, ToolSaysThatThereIsNoSuchDevice) {
    Remove();

    const Outcome outcome = RunProgram(L"qvctl.exe", {"get", "Gain", "--device", path_});

    EXPECT_EQ(3u, outcome.exitCode);
    EXPECT_THAT(outcome.err,
                testing::StartsWith("qvctl: there is no device '" + path_ + "': error 2"));
    EXPECT_EQ("", outcome.out);
}

}  // namespace
}  // namespace QvTests
