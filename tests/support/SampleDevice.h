// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The sample driver's devices, as the tests use them. scripts/test.sh installs two.

#ifndef QVTESTS_SAMPLEDEVICE_H
#define QVTESTS_SAMPLEDEVICE_H

#include <string>
#include <vector>

#include "TestSupport.h"
#include "WindowsApi.h"

#include "QvSample/QvSampleDevice.h"
#include "QvUserLib/DeviceConnection.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "QvUserLib/Parameter.h"

namespace QvTests {

/// Reads what earlier tests have left in the loop-back buffer. The device is in that mode. A byte
/// is written first, so that the read doesn't wait when the buffer is empty. The write is refused
/// when the buffer is full. The read has room for the largest buffer.
inline void EmptyTheLoopBack(QvUserLib::DeviceConnection& aConnection) {
    std::vector<char> bytes(256 * 1024);
    unsigned long size = 0;
    (void)aConnection.Write("x", 1, &size, nullptr);
    ASSERT_THAT(
        aConnection.Read(bytes.data(), static_cast<unsigned int>(bytes.size()), &size, nullptr),
        HasCode(QvUserLib::Code::Success));
}

/// Opens the first device, and leaves it with all parameters at their defaults.
class SampleDeviceTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_THAT(connection_.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0),
                    HasCode(QvUserLib::Code::Success))
            << "the sample driver is not installed: run scripts/test.sh";
        RestoreDefaults();
    }

    void TearDown() override {
        // Tests may close the connection, or remove the device.
        if (!connection_.IsConnected()) (void)connection_.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0);
        if (connection_.IsConnected()) RestoreDefaults();
    }

    void RestoreDefaults() {
        QvUserLib::DeviceParameterRepository parameters;
        ASSERT_THAT(parameters.Connect(&connection_), HasCode(QvUserLib::Code::Success));
        ASSERT_THAT(parameters.ResetDefaults(), HasCode(QvUserLib::Code::Success));
        ASSERT_THAT(parameters.Apply(), HasCode(QvUserLib::Code::Success));
    }

    /// Sends the value of an integer or the index of an enumeration to the driver.
    void Set(unsigned long aID, long long aValue) {
        QvUserLib::DeviceParameterRepository parameters;
        ASSERT_THAT(parameters.Connect(&connection_), HasCode(QvUserLib::Code::Success));
        ASSERT_THAT(parameters.GetByID(aID)->SetInt(aValue), HasCode(QvUserLib::Code::Success));
        ASSERT_THAT(parameters.Apply(), HasCode(QvUserLib::Code::Success));
    }

    /// From now on the first device returns what is written to it.
    void BeginLoopBack() {
        Set(QV_SAMPLE_ID_STREAM_MODE, QV_SAMPLE_MODE_LOOP_BACK);
        EmptyTheLoopBack(connection_);
    }

    QvUserLib::DeviceConnection connection_;
};

/// The first device in the mode in which it returns what was written to it.
class SampleLoopBackTest : public SampleDeviceTest {
protected:
    void SetUp() override {
        SampleDeviceTest::SetUp();
        if (!HasFatalFailure()) BeginLoopBack();
    }
};

}  // namespace QvTests

#endif
