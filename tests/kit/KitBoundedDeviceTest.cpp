// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Requests that end in time, on the devices of the sample driver.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "KitTestSupport.h"
#include "LoggedErrors.h"
#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvKit/QvKit.h"
#include "SampleDevice.h"

namespace {

using QvKit::BoundedConnection;
using QvKit::CountGivenUpRequests;
using QvKit::ErrorKind;
using QvKit::kNoLimit;
using QvKit::RequestLimits;
using QvTests::ErrorOf;
using QvTests::IsBareCode;
using QvTests::LastErrorText;
using QvUserLib::Code;
using QvUserLib::DeviceConnection;
using QvUserLib::DeviceParameterRepository;
using QvUserLib::Parameter;
using QvUserLib::Result;
using std::chrono::milliseconds;

constexpr milliseconds kShort(20);
constexpr milliseconds kLong(60000);
constexpr unsigned int kSize = 4096;

class KitBoundedDeviceTest : public QvTests::SampleDeviceTest {
protected:
    void Open(milliseconds aCancelLimit) {
        bounded_ = std::make_unique<BoundedConnection>(
            QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(0),
            RequestLimits{kLong, aCancelLimit});
    }

    Result Read(milliseconds aLimit) {
        return bounded_->Read(buffer_.data(), kSize, &size_, aLimit);
    }

    std::unique_ptr<BoundedConnection> bounded_;
    std::vector<unsigned char> buffer_ = std::vector<unsigned char>(kSize, 0xEE);
    unsigned long size_ = 0;
};

// Sends a read instead of each I/O-control request with this code, so that the driver's faults of
// reads are faults of it.
class FaultyRequest final : public QvKit::Request {
public:
    FaultyRequest(std::unique_ptr<Request> aRequest, unsigned long aCode)
        : request_(std::move(aRequest)), code_(aCode) {}

    unsigned char* GetBuffer() override { return request_->GetBuffer(); }
    std::size_t GetCapacity() const override { return request_->GetCapacity(); }
    void Read(std::size_t aSize) override { request_->Read(aSize); }
    void Write(std::size_t aSize) override { request_->Write(aSize); }
    void Control(unsigned long aCode, std::size_t aInSize, std::size_t aOutSize) override {
        if (aCode == code_) return request_->Read(GetCapacity());
        request_->Control(aCode, aInSize, aOutSize);
    }
    bool WaitFor(milliseconds aLimit, const QvKit::StopSignal* aStop,
                 const QvKit::StopSignal* aOther) override {
        return request_->WaitFor(aLimit, aStop, aOther);
    }
    void Cancel() override { request_->Cancel(); }
    Outcome Take() override { return request_->Take(); }

private:
    const std::unique_ptr<Request> request_;
    const unsigned long code_;
};

class FaultyChannel final : public QvKit::Channel {
public:
    FaultyChannel(std::unique_ptr<Channel> aChannel, unsigned long aCode)
        : channel_(std::move(aChannel)), code_(aCode) {}

    std::unique_ptr<QvKit::Request> MakeRequest(std::size_t aCapacity) override {
        return std::make_unique<FaultyRequest>(channel_->MakeRequest(aCapacity), code_);
    }
    void CancelAll() override { channel_->CancelAll(); }

private:
    const std::unique_ptr<Channel> channel_;
    const unsigned long code_;
};

// A device that does not answer one of the requests for parameters.
class KitUnresponsiveDeviceTest : public QvTests::SampleDeviceTest {
protected:
    void Open(unsigned long aCode, milliseconds aLimit) {
        const QvKit::DeviceAddress address = QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(0);
        device_ = std::make_unique<QvKit::Device>(
            address, std::make_unique<FaultyChannel>(QvKit::OpenChannel(address, kShort), aCode),
            RequestLimits{aLimit, kShort, &stop_});
    }

    // Expects that the call fails in this way.
    static void ExpectError(ErrorKind aKind, const testing::Matcher<std::string>& aMessage,
                            const std::function<void()>& aCall) {
        const auto error = ErrorOf(aCall);
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(aKind, error->GetKind());
        EXPECT_THAT(std::string(error->what()), aMessage);
    }

    const QvKit::StopSignal stop_;
    std::unique_ptr<QvKit::Device> device_;
};

TEST_F(KitUnresponsiveDeviceTest, LoadingTimesOut) {
    Open(IOCTL_PARAMETERS_GET, kShort);
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);

    ExpectError(ErrorKind::TimedOut,
                "cannot load the device's parameters: IoControl 0x222000 timed out after 20 ms",
                [this] { device_->LoadParameters(); });
}

TEST_F(KitUnresponsiveDeviceTest, ADriverThatIgnoresCancellingIsNotWaitedForEither) {
    Open(IOCTL_PARAMETERS_GET, kShort);
    Set(QV_SAMPLE_ID_FAULT_IGNORE_CANCEL, 300);

    ExpectError(ErrorKind::TimedOut,
                testing::EndsWith("after 20 ms; the driver ignores that it was cancelled"),
                [this] { device_->LoadParameters(); });
    while (CountGivenUpRequests() > 0) std::this_thread::yield();
}

TEST_F(KitUnresponsiveDeviceTest, AStopSignalEndsLoadingFromAnotherThread) {
    Open(IOCTL_PARAMETERS_GET, kNoLimit);
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);
    std::thread other([this] { stop_.Request(); });

    ExpectError(ErrorKind::Cancelled, testing::EndsWith(" was cancelled"),
                [this] { device_->LoadParameters(); });
    other.join();
}

TEST_F(KitUnresponsiveDeviceTest, AfterAStopSignalNothingIsSent) {
    Open(IOCTL_PARAMETERS_GET, kNoLimit);
    stop_.Request();

    ExpectError(ErrorKind::Cancelled,
                "cannot load the device's parameters: IoControl 0x222004 was cancelled",
                [this] { device_->LoadParameters(); });
}

TEST_F(KitUnresponsiveDeviceTest, CancelEndsLoadingFromAnotherThread) {
    Open(IOCTL_PARAMETERS_GET, kNoLimit);
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);
    std::atomic<bool> isEnded{false};
    std::thread other([&] {
        while (!isEnded) device_->Cancel();
    });

    ExpectError(ErrorKind::Cancelled, testing::EndsWith(" was cancelled"),
                [this] { device_->LoadParameters(); });
    isEnded = true;
    other.join();
}

TEST_F(KitUnresponsiveDeviceTest, OfAChangeItIsNotKnownWhetherItWasTaken) {
    Open(IOCTL_PARAMETERS_SET, kShort);
    QvKit::DeviceParameters& parameters = device_->LoadParameters();
    ASSERT_THAT(parameters.GetRepository().GetByID(QV_SAMPLE_ID_GAIN)->SetInt(7),
                IsBareCode(Code::Success));
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);

    ExpectError(ErrorKind::TimedOut,
                "it is not known whether the device took the change: IoControl 0x222008 timed out "
                "after 20 ms",
                [&] { parameters.Apply(); });
}

TEST_F(KitUnresponsiveDeviceTest, AStopSignalEndsTheSearchForAParameter) {
    stop_.Request();
    RequestLimits limits;
    limits.stop = &stop_;

    ExpectError(ErrorKind::Cancelled, testing::EndsWith(" was cancelled"), [&] {
        (void)QvKit::FindByParameter(QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE), "Gain", "6",
                                     limits);
    });
}

// Parameters

TEST_F(KitBoundedDeviceTest, ParametersLoadAndApplyAsOverAPlainConnection) {
    Open(kLong);
    DeviceParameterRepository parameters;
    ASSERT_THAT(parameters.Connect(bounded_.get()), IsBareCode(Code::Success));
    DeviceParameterRepository plain;
    ASSERT_THAT(plain.Connect(&connection_), IsBareCode(Code::Success));
    ASSERT_EQ(plain.GetCount(), parameters.GetCount());
    for (unsigned int index = 0; index < plain.GetCount(); ++index) {
        const Parameter* const expected = plain.GetByIndex(index);
        const Parameter* const found = parameters.GetByIndex(index);
        EXPECT_STREQ(expected->GetName().GetAscii(), found->GetName().GetAscii());
        EXPECT_STREQ(expected->GetDescription().GetAscii(), found->GetDescription().GetAscii());
        EXPECT_EQ(expected->GetDefaultInt(), found->GetDefaultInt());
    }

    ASSERT_THAT(parameters.GetByID(QV_SAMPLE_ID_GAIN)->SetInt(33), IsBareCode(Code::Success));
    EXPECT_THAT(parameters.Apply(), IsBareCode(Code::Success));
    EXPECT_THAT(plain.Refresh(), IsBareCode(Code::Success));
    EXPECT_EQ(33, plain.GetByID(QV_SAMPLE_ID_GAIN)->GetInt());
}

TEST_F(KitBoundedDeviceTest, WhatTheDriverRefusesIsRefusedInTheSameWords) {
    Open(kLong);
    const auto apply = [](DeviceConnection& aConnection) {
        DeviceParameterRepository parameters;
        EXPECT_THAT(parameters.Connect(&aConnection), IsBareCode(Code::Success));
        const QvUserLib::String label(std::string(65, 'l').c_str());
        EXPECT_THAT(parameters.GetByID(QV_SAMPLE_ID_LABEL)->SetString(label),
                    IsBareCode(Code::Success));
        return parameters.Apply();
    };
    const std::vector<std::string> plain = QvTests::LoggedErrorsWithoutLines(
        [&] { EXPECT_THAT(apply(connection_), IsBareCode(206)); });

    EXPECT_EQ(plain, QvTests::LoggedErrorsWithoutLines(
                         [&] { EXPECT_THAT(apply(*bounded_), IsBareCode(206)); }));
    EXPECT_THAT(plain, testing::SizeIs(1));
}

TEST_F(KitBoundedDeviceTest, AReadThatFailsDoesSoInTheSameWords) {
    Open(kLong);
    const auto read = [this](DeviceConnection& aConnection) {
        Set(QV_SAMPLE_ID_FAULT_FAIL_READS, 1);
        return QvTests::LoggedErrorsWithoutLines([&] {
            EXPECT_THAT(aConnection.Read(buffer_.data(), kSize, &size_, nullptr),
                        IsBareCode(ERROR_IO_DEVICE));
        });
    };
    for (const long long delay : {0, 20}) {
        SCOPED_TRACE(delay);
        Set(QV_SAMPLE_ID_FAULT_DELAY, delay);
        EXPECT_EQ(read(connection_), read(*bounded_));
    }
}

TEST_F(KitBoundedDeviceTest, TheKitsErrorOfAClosedConnectionIsOfTheDevice) {
    Open(kLong);
    DeviceParameterRepository repository;
    ASSERT_THAT(repository.Connect(bounded_.get()), IsBareCode(Code::Success));
    QvKit::DeviceParameters parameters(repository);
    (void)bounded_->Close();

    const auto error = ErrorOf([&] { parameters.Refresh(); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::DeviceFailed, error->GetKind());
    EXPECT_STREQ("cannot read the device's parameters: Connect first", error->what());
}

// Time

TEST_F(KitBoundedDeviceTest, AHeldReadTimesOutAndTheDeviceGoesOn) {
    Open(kLong);
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);

    EXPECT_THAT(Read(kShort), IsBareCode(BoundedConnection::kTimedOut));
    EXPECT_EQ("Read of 4096 bytes timed out after 20 ms", LastErrorText());

    Set(QV_SAMPLE_ID_FAULT_HOLD, 0);
    EXPECT_THAT(Read(kLong), IsBareCode(Code::Success));
    EXPECT_EQ(kSize, size_);
}

TEST_F(KitBoundedDeviceTest, CancellingFromAnotherThreadEndsAHeldRead) {
    Open(kLong);
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);
    std::atomic<bool> isEnded{false};
    std::thread other([&] {
        while (!isEnded) bounded_->Cancel();
    });

    EXPECT_THAT(Read(kNoLimit), IsBareCode(BoundedConnection::kCancelled));

    isEnded = true;
    other.join();
}

// Ignored cancelling

TEST_F(KitBoundedDeviceTest, AReadThatIgnoresCancellingIsGivenUpAndFreedWhenItEnds) {
    Open(kShort);
    Set(QV_SAMPLE_ID_FAULT_IGNORE_CANCEL, 300);

    EXPECT_THAT(Read(kShort), IsBareCode(BoundedConnection::kTimedOut));

    EXPECT_EQ("Read of 4096 bytes timed out after 20 ms; the driver ignores that it was cancelled",
              LastErrorText());
    EXPECT_EQ(1u, bounded_->GetGivenUp());
    EXPECT_EQ(1u, CountGivenUpRequests());
    while (CountGivenUpRequests() > 0) std::this_thread::yield();
    // The driver has filled the memory of its request by now.
    EXPECT_THAT(buffer_, testing::Each(0xEE));
}

TEST_F(KitBoundedDeviceTest, AReadThatIgnoresCancellingAndEndsInTimeIsASuccess) {
    Open(kLong);
    Set(QV_SAMPLE_ID_FAULT_IGNORE_CANCEL, 100);

    EXPECT_THAT(Read(kShort), IsBareCode(Code::Success));

    EXPECT_EQ(kSize, size_);
    EXPECT_THAT(buffer_, testing::Each(QV_SAMPLE_LATE_BYTE));
    EXPECT_EQ(0u, bounded_->GetGivenUp());
}

TEST_F(KitBoundedDeviceTest, ClosingWithRequestsThatWereGivenUpLeavesThemToTheirDriver) {
    Open(kShort);
    Set(QV_SAMPLE_ID_FAULT_IGNORE_CANCEL, 300);
    EXPECT_THAT(Read(kShort), IsBareCode(BoundedConnection::kTimedOut));

    EXPECT_THAT(bounded_->Close(), IsBareCode(Code::Success));

    while (CountGivenUpRequests() > 0) std::this_thread::yield();
    EXPECT_THAT(buffer_, testing::Each(0xEE));
}

}  // namespace
