// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Finding the sample driver's devices and exchanging requests with them.

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvUserLib/DeviceEnumerator.h"
#include "SampleDevice.h"

namespace QvTests {
namespace {

constexpr GUID kUnusedClass = {
    0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x66, 0x66, 0x77, 0x77}};
constexpr unsigned long kUnknownCode = 0x222FFC;

// An OVERLAPPED with an event of its own.
class Overlapped : public OVERLAPPED {
public:
    Overlapped() : OVERLAPPED() { hEvent = ::CreateEventA(nullptr, TRUE, FALSE, nullptr); }
    ~Overlapped() { ::CloseHandle(hEvent); }

    Overlapped(const Overlapped&) = delete;
    Overlapped& operator=(const Overlapped&) = delete;
};

// The link's bytes, as the enumerator hands them over.
std::string LinkText(const String& aLink) {
    return reinterpret_cast<const char*>(aLink.GetUnicode());
}

std::vector<std::string> PresentLinks(DeviceEnumerator& aEnumerator) {
    std::vector<std::string> links;
    String link;
    while (aEnumerator.GetSymLink(static_cast<unsigned int>(links.size()), &link).IsSuccess()) {
        links.push_back(LinkText(link));
    }
    return links;
}

class SampleEnumerationTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_THAT(enumerator_.Enumerate(&GUID_DEVINTERFACE_QVSAMPLE), HasCode(Code::Success));
    }

    DeviceEnumerator enumerator_;
};

TEST_F(SampleEnumerationTest, ListsTheDevicesOfTheClass) {
    const std::vector<std::string> links = PresentLinks(enumerator_);

    ASSERT_GE(links.size(), 2U);
    EXPECT_NE(links[0], links[1]);
    for (std::string link : links) {
        std::transform(link.begin(), link.end(), link.begin(), ::tolower);
        EXPECT_THAT(link, ::testing::StartsWith("\\\\?\\root#"));
        EXPECT_THAT(link, ::testing::EndsWith(QV_SAMPLE_INTERFACE_TEXT));
    }
}

TEST_F(SampleEnumerationTest, LinkOpensTheDevice) {
    String link;
    ASSERT_THAT(enumerator_.GetSymLink(0, &link), HasCode(Code::Success));

    DeviceConnection connection;
    EXPECT_THAT(connection.Connect(LinkText(link).c_str()), HasCode(Code::Success));
    EXPECT_TRUE(connection.IsConnected());
}

TEST_F(SampleEnumerationTest, LinkStandsInPairsInTheUtf16Form) {
    String link;
    ASSERT_THAT(enumerator_.GetSymLink(0, &link), HasCode(Code::Success));

    const std::string text = LinkText(link);
    EXPECT_EQ((text.size() + 1) / 2, link.GetLength());
    EXPECT_EQ(text[0] | text[1] << 8, link.GetUnicode()[0]);
}

TEST_F(SampleEnumerationTest, IndexPastTheEndIsNoSuchDeviceAndTheListStaysOpen) {
    const auto count = static_cast<unsigned int>(PresentLinks(enumerator_).size());
    String link;

    const ErrorWatch watch;
    EXPECT_THAT(enumerator_.GetSymLink(count, &link), IsBareCode(Code::NoSuchDevice));
    EXPECT_TRUE(watch.IsQuiet());
    EXPECT_THAT(enumerator_.GetSymLink(0, &link), HasCode(Code::Success));
}

TEST_F(SampleEnumerationTest, MissingOutputIsRefused) {
    EXPECT_THAT(enumerator_.GetSymLink(0, nullptr), IsBareCode(Code::InvalidArgument));
}

TEST_F(SampleEnumerationTest, SecondEnumerateReplacesTheList) {
    String link;
    ASSERT_THAT(enumerator_.Enumerate(&kUnusedClass), HasCode(Code::Success));
    EXPECT_THAT(enumerator_.GetSymLink(0, &link), HasCode(Code::NoSuchDevice));

    ASSERT_THAT(enumerator_.Enumerate(&GUID_DEVINTERFACE_QVSAMPLE), HasCode(Code::Success));
    EXPECT_THAT(enumerator_.GetSymLink(0, &link), HasCode(Code::Success));
}

TEST_F(SampleEnumerationTest, FailingSecondEnumerateClosesTheList) {
    String link;
    EXPECT_THAT(enumerator_.Enumerate(nullptr), IsBareCode(Code::InvalidArgument));
    EXPECT_THAT(enumerator_.GetSymLink(0, &link), IsBareCode(Code::NotAllowed));
}

TEST(SampleConnectionTest, ConnectsByClassAndIndex) {
    for (const unsigned int index : {0U, 1U}) {
        SCOPED_TRACE(index);
        DeviceConnection connection;
        EXPECT_THAT(connection.Connect(GUID_DEVINTERFACE_QVSAMPLE, index), HasCode(Code::Success));
        EXPECT_TRUE(connection.IsConnected());
    }
}

TEST(SampleConnectionTest, MissingIndexOrClassIsNoSuchDevice) {
    DeviceConnection connection;
    const ErrorWatch watch;

    EXPECT_THAT(connection.Connect(GUID_DEVINTERFACE_QVSAMPLE, 1000),
                IsBareCode(Code::NoSuchDevice));
    EXPECT_THAT(connection.Connect(kUnusedClass, 0), IsBareCode(Code::NoSuchDevice));
    EXPECT_TRUE(watch.IsQuiet());
    EXPECT_FALSE(connection.IsConnected());
}

using SampleRequestTest = SampleLoopBackTest;

TEST_F(SampleRequestTest, WaitedIoControlPassesAnAnswerOfTheExpectedSize) {
    std::vector<unsigned char> block(QV_SAMPLE_PARAMETER_COUNT * QV_PARAMETER_RECORD_SIZE);
    const auto size = static_cast<unsigned int>(block.size());

    EXPECT_THAT(connection_.IoControl(IOCTL_PARAMETERS_GET, nullptr, 0, block.data(), size, size),
                HasCode(Code::Success));
}

TEST_F(SampleRequestTest, WaitedIoControlRefusesAShorterAnswer) {
    std::vector<unsigned char> block(QV_SAMPLE_PARAMETER_COUNT * QV_PARAMETER_RECORD_SIZE);
    const auto size = static_cast<unsigned int>(block.size());

    EXPECT_THAT(
        connection_.IoControl(IOCTL_PARAMETERS_GET, nullptr, 0, block.data(), size, size + 1UL),
        IsBareCode(Code::UnexpectedSize));
    EXPECT_EQ("The driver did not return the expected size of data", LastErrorText());
}

TEST_F(SampleRequestTest, SizeIsTheByteCountOfAnAnswerWithoutData) {
    unsigned long size = 0;
    EXPECT_THAT(
        connection_.IoControl(IOCTL_PARAMETERS_GET_SIZE, nullptr, 0, nullptr, 0, &size, nullptr),
        HasCode(Code::Success));
    EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT * QV_PARAMETER_RECORD_SIZE, size);
}

TEST_F(SampleRequestTest, DriversRefusalIsPassedOnAndLogged) {
    unsigned long size = 0;
    EXPECT_THAT(connection_.IoControl(kUnknownCode, nullptr, 0, nullptr, 0, &size, nullptr),
                IsBareCode(ERROR_INVALID_FUNCTION));
    EXPECT_EQ("DeviceIoControl failed", LastErrorText());
}

TEST_F(SampleRequestTest, IoControlOnTheCallersOverlappedGivesItsByteCount) {
    Overlapped overlapped;
    unsigned long size = 0;
    const Result sent = connection_.IoControl(IOCTL_PARAMETERS_GET_SIZE, nullptr, 0, nullptr, 0,
                                              &size, &overlapped);

    EXPECT_THAT(sent.GetCode(), ::testing::AnyOf(Code::Success, Code::Pending));
    EXPECT_THAT(connection_.GetOverlappedResult(&overlapped, &size, true), HasCode(Code::Success));
    EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT * QV_PARAMETER_RECORD_SIZE, size);
}

TEST_F(SampleRequestTest, WrittenBytesAreReadBack) {
    char read[16] = {};
    unsigned long size = 0;
    ASSERT_THAT(connection_.Write("packet", 6, &size, nullptr), HasCode(Code::Success));
    EXPECT_EQ(6U, size);

    EXPECT_THAT(connection_.Read(read, sizeof read, &size, nullptr), HasCode(Code::Success));
    EXPECT_EQ("packet", std::string(read, size));
}

TEST_F(SampleRequestTest, ReadOnTheCallersOverlappedIsPendingUntilThereAreBytes) {
    Overlapped overlapped;
    char read[16] = {};
    unsigned long size = 0;
    const ErrorWatch watch;
    ASSERT_THAT(connection_.Read(read, sizeof read, &size, &overlapped), IsBareCode(Code::Pending));
    EXPECT_TRUE(watch.IsQuiet());
    EXPECT_THAT(connection_.GetOverlappedResult(&overlapped, &size, false),
                IsBareCode(ERROR_IO_INCOMPLETE));
    EXPECT_EQ("GetOverlappedResult failed", LastErrorText());

    ASSERT_THAT(connection_.Write("bytes", 5, &size, nullptr), HasCode(Code::Success));
    EXPECT_THAT(connection_.GetOverlappedResult(&overlapped, &size, true), HasCode(Code::Success));
    EXPECT_EQ("bytes", std::string(read, size));
}

TEST_F(SampleRequestTest, WaitedReadReturnsWhenAnotherThreadHasWritten) {
    std::thread writer([this] {
        unsigned long written = 0;
        EXPECT_THAT(connection_.Write("late", 4, &written, nullptr), HasCode(Code::Success));
    });
    char read[16] = {};
    unsigned long size = 0;
    EXPECT_THAT(connection_.Read(read, sizeof read, &size, nullptr), HasCode(Code::Success));
    writer.join();
    EXPECT_EQ("late", std::string(read, size));
}

TEST_F(SampleRequestTest, CancelledReadEndsAloneWithTheSystemsCode) {
    Overlapped first;
    Overlapped second;
    char read[2][16] = {};
    unsigned long size = 0;
    ASSERT_THAT(connection_.Read(read[0], sizeof read[0], &size, &first), HasCode(Code::Pending));
    ASSERT_THAT(connection_.Read(read[1], sizeof read[1], &size, &second), HasCode(Code::Pending));

    const HANDLE handle = connection_.ReleaseHandle();
    EXPECT_TRUE(::CancelIoEx(handle, &first));
    EXPECT_FALSE(::GetOverlappedResult(handle, &first, &size, TRUE));
    EXPECT_EQ(static_cast<DWORD>(ERROR_OPERATION_ABORTED), ::GetLastError());

    DeviceConnection writer;
    ASSERT_THAT(writer.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), HasCode(Code::Success));
    ASSERT_THAT(writer.Write("x", 1, &size, nullptr), HasCode(Code::Success));
    EXPECT_TRUE(::GetOverlappedResult(handle, &second, &size, TRUE));
    EXPECT_EQ('x', read[1][0]);
    ::CloseHandle(handle);
}

TEST_F(SampleRequestTest, RefusedWriteGivesTheSystemsCodeWithoutALogLine) {
    const std::vector<char> tooMuch(QV_PARAMETER_RECORD_SIZE * 1024, 'x');
    unsigned long size = 0;
    const ErrorWatch watch;
    EXPECT_THAT(connection_.Write(tooMuch.data(), static_cast<unsigned int>(tooMuch.size()), &size,
                                  nullptr),
                IsBareCode(ERROR_INVALID_USER_BUFFER));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(SampleRequestTest, RefusedOverlappedRequestReportsItsRefusalOnCompletion) {
    const std::vector<char> tooMuch(QV_PARAMETER_RECORD_SIZE * 1024, 'x');
    Overlapped overlapped;
    unsigned long size = 0;
    ASSERT_THAT(connection_.Write(tooMuch.data(), static_cast<unsigned int>(tooMuch.size()), &size,
                                  &overlapped),
                HasCode(ERROR_INVALID_USER_BUFFER));

    EXPECT_THAT(connection_.GetOverlappedResult(&overlapped, &size, true),
                HasCode(ERROR_INVALID_USER_BUFFER));
}

TEST_F(SampleRequestTest, ClosingEndsPendingReads) {
    Overlapped overlapped;
    char read[16] = {};
    unsigned long size = 0;
    ASSERT_THAT(connection_.Read(read, sizeof read, &size, &overlapped), HasCode(Code::Pending));

    ASSERT_THAT(connection_.Close(), HasCode(Code::Success));
    EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(overlapped.hEvent, INFINITE));
    EXPECT_THAT(connection_.Close(), IsBareCode(Code::NotSet));
}

TEST_F(SampleRequestTest, ReleasedHandleStaysOpen) {
    const HANDLE handle = connection_.ReleaseHandle();
    EXPECT_FALSE(connection_.IsConnected());
    EXPECT_THAT(connection_.Close(), IsBareCode(Code::NotSet));

    DWORD size = 0;
    EXPECT_TRUE(::DeviceIoControl(handle, IOCTL_PARAMETERS_GET_SIZE, nullptr, 0, nullptr, 0, &size,
                                  nullptr));
    ::CloseHandle(handle);
}

}  // namespace
}  // namespace QvTests
