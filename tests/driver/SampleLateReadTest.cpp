// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The fault of reads that ignore cancelling.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "KernelObjects.h"
#include "SampleDevice.h"

namespace QvTests {
namespace {

using QvUserLib::Code;
using QvUserLib::DeviceConnection;

class SampleLateReadTest : public SampleDeviceTest {
protected:
    void Send() {
        DeviceConnection other;
        ASSERT_THAT(other.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), HasCode(Code::Success));
        handle_.Reset(other.ReleaseHandle());
        record_.hEvent = event_.Get();
        ASSERT_FALSE(::ReadFile(handle_.Get(), bytes_.data(), static_cast<DWORD>(bytes_.size()),
                                nullptr, &record_));
        ASSERT_EQ(static_cast<DWORD>(ERROR_IO_PENDING), ::GetLastError());
    }

    DWORD Finish(BOOL aWait) {
        const BOOL done = ::GetOverlappedResult(handle_.Get(), &record_, &size_, aWait);
        return done ? ERROR_SUCCESS : ::GetLastError();
    }

    Handle handle_;
    Event event_;
    OVERLAPPED record_ = {};
    std::vector<unsigned char> bytes_ = std::vector<unsigned char>(100);
    DWORD size_ = 0;
};

TEST_F(SampleLateReadTest, CancellingDoesNotEndItAndItsTimeDoes) {
    Set(QV_SAMPLE_ID_FAULT_IGNORE_CANCEL, 200);
    Send();

    EXPECT_TRUE(::CancelIoEx(handle_.Get(), &record_));

    EXPECT_EQ(static_cast<DWORD>(ERROR_IO_INCOMPLETE), Finish(FALSE));
    EXPECT_EQ(static_cast<DWORD>(ERROR_SUCCESS), Finish(TRUE));
    EXPECT_EQ(100u, size_);
    EXPECT_THAT(bytes_, testing::Each(QV_SAMPLE_LATE_BYTE));
}

TEST_F(SampleLateReadTest, ClosingTheHandleDoesNotEndIt) {
    Set(QV_SAMPLE_ID_FAULT_IGNORE_CANCEL, 200);
    Send();

    handle_.Close();

    EXPECT_FALSE(event_.IsSet());
    event_.Wait();
    EXPECT_THAT(bytes_, testing::Each(QV_SAMPLE_LATE_BYTE));
}

TEST_F(SampleLateReadTest, OtherReadsOvertakeItAndNoPacketIsLost) {
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    Set(QV_SAMPLE_ID_FAULT_IGNORE_CANCEL, 300);
    Send();
    Set(QV_SAMPLE_ID_FAULT_IGNORE_CANCEL, 0);

    std::vector<unsigned char> packet(4096);
    unsigned long size = 0;
    EXPECT_THAT(connection_.Read(packet.data(), 4096, &size, nullptr), HasCode(Code::Success));

    EXPECT_EQ(0u, packet[8]);  // The first byte of the sequence.
    EXPECT_FALSE(event_.IsSet());
    EXPECT_EQ(static_cast<DWORD>(ERROR_SUCCESS), Finish(TRUE));
}

}  // namespace
}  // namespace QvTests
