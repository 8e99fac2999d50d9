// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Finding, opening and using devices with the kit, on the devices of the sample driver.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "KitTestSupport.h"
#include "LoggedErrors.h"
#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvKit/QvKit.h"
#include "SampleDevice.h"
#include "UniqueHandle.h"

namespace {

using QvKit::Device;
using QvKit::DeviceAddress;
using QvKit::Error;
using QvKit::ErrorKind;
using QvTests::AddressOf;
using QvTests::ErrorOf;
using QvTests::kJapanese;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr GUID kUnknownInterface = {
    0x0f6b1f2e, 0x8f0a, 0x4f53, {0x9a, 0x64, 0x1c, 0x2f, 0x7e, 0x5d, 0x9b, 0x30}};

DeviceAddress FirstDevice() { return QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(0); }

using KitDeviceTest = QvTests::SampleDeviceTest;

// Finding

TEST_F(KitDeviceTest, DevicesOfAnInterfaceAreListedWithTheirPaths) {
    const std::vector<DeviceAddress> devices = QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE);

    ASSERT_THAT(devices, SizeIs(2));
    EXPECT_THAT(devices[0].path, StartsWith("\\\\?\\"));
    EXPECT_EQ(devices[0].path, devices[0].link);
    EXPECT_TRUE(devices[0].isListed);
    EXPECT_NE(devices[0].path, devices[1].path);
}

TEST_F(KitDeviceTest, AnInterfaceThatNobodyHasIsAnEmptyList) {
    EXPECT_THAT(QvKit::ListDevices(kUnknownInterface), IsEmpty());
}

TEST_F(KitDeviceTest, KnownDevicesAreCounted) {
    const std::size_t known = QvKit::CountKnownDevices(GUID_DEVINTERFACE_QVSAMPLE);
    EXPECT_GE(known, 2u);
    EXPECT_LT(known, 1000u);
    EXPECT_EQ(0u, QvKit::CountKnownDevices(kUnknownInterface));
}

TEST(KitDeviceListTest, APathWithCharactersThatTheCodePageLacksIsNoDevice) {
    const std::string path = std::string("\\\\.\\") + kJapanese;

    const auto error = ErrorOf([&] { (void)QvKit::MakeAddress(path); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::NoSuchDevice, error->GetKind());
    EXPECT_EQ("there is no device '" + path + "'", error->what());
}

// Opening

TEST_F(KitDeviceTest, AnOpenDeviceHasItsParameters) {
    Device device(FirstDevice());

    const QvKit::Snapshot snapshot = device.LoadParameters().GetSnapshot();

    EXPECT_EQ(FirstDevice().path, device.GetAddress().path);
    ASSERT_NE(nullptr, snapshot.Find("Gain"));
    EXPECT_EQ("dB", snapshot.Find("Gain")->unit);
}

TEST_F(KitDeviceTest, AChangeReachesTheDevice) {
    Device device(FirstDevice());
    QvKit::Change change(device.LoadParameters());
    change.Set("Gain", "7");

    EXPECT_FALSE(change.Send().error.has_value());

    EXPECT_EQ(QvKit::Value(7LL),
              Device(FirstDevice()).LoadParameters().GetSnapshot().Find("Gain")->value);
}

TEST_F(KitDeviceTest, ATextHasTheLimitOfTheDriversRecord) {
    Device device(FirstDevice());
    const QvKit::Snapshot snapshot = device.LoadParameters().GetSnapshot();

    EXPECT_EQ(64, snapshot.Find("Label")->maximum);
    EXPECT_EQ(216, snapshot.Find("Notes")->maximum);
}

TEST_F(KitDeviceTest, ARefusalByTheDriverHasTheSystemsCodeAndWords) {
    Device device(FirstDevice());
    QvKit::DeviceParameters& parameters = device.LoadParameters();
    // The library does not know the limit of this label.
    QvUserLib::Parameter& label = *parameters.GetRepository().GetByID(QV_SAMPLE_ID_LABEL);
    ASSERT_THAT(label.SetString(std::string(65, 'l').c_str()), QvTests::HasCode(0));

    const auto error = ErrorOf([&] { parameters.Apply(); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::DeviceFailed, error->GetKind());
    EXPECT_EQ(206u, error->GetCode());
    EXPECT_THAT(error->what(), StartsWith("the device refused the change: DeviceIoControl failed "
                                          "(error 206"));
}

void ExpectFailedOpening(const DeviceAddress& aAddress, ErrorKind aKind, unsigned long aCode,
                         const std::string& aBeginning) {
    const auto error = ErrorOf([&] { Device(aAddress).LoadParameters(); });
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(aKind, error->GetKind());
    EXPECT_EQ(aCode, error->GetCode());
    EXPECT_THAT(error->what(), StartsWith(aBeginning + ": error " + std::to_string(aCode)));
}

TEST_F(KitDeviceTest, APathOfNothingIsNoDevice) {
    ExpectFailedOpening(QvKit::MakeAddress("\\\\?\\root#nowhere#0"), ErrorKind::NoSuchDevice, 2,
                        "there is no device '\\\\?\\root#nowhere#0'");
}

TEST_F(KitDeviceTest, AListedDeviceThatIsNotThereWasRemoved) {
    DeviceAddress address = QvKit::MakeAddress("\\\\?\\root#nowhere#0");
    address.isListed = true;

    ExpectFailedOpening(address, ErrorKind::DeviceGone, 2,
                        "the device '\\\\?\\root#nowhere#0' was removed");
}

TEST(KitOpeningTest, ADeviceThatDoesNotOpenIsInTheErrorLog) {
    EXPECT_THAT(QvTests::LoggedErrorsWithoutLines(
                    [] { (void)ErrorOf([] { Device(AddressOf("\\\\.\\no such device")); }); }),
                testing::ElementsAre(testing::HasSubstr("CreateFile failed")));
}

TEST(KitOpeningTest, WhatAnotherProgramHasForItselfIsInUse) {
    const QvTests::TemporaryDirectory directory;
    const std::string file = directory.File("locked");
    const QvBaseLib::KernelHandle lock(::CreateFileA(file.c_str(), GENERIC_WRITE, /*dwShareMode=*/0,
                                                     nullptr, CREATE_NEW, 0, nullptr));

    ExpectFailedOpening(AddressOf(file), ErrorKind::DeviceInUse, ERROR_SHARING_VIOLATION,
                        "another program has the device '" + file + "' for itself");
}

TEST(KitOpeningTest, AFileIsNoDevice) {
    const QvTests::TemporaryDirectory directory;
    const std::string file = directory.File("file");
    QvTests::WriteBytes(file, "x");

    const auto error = ErrorOf([&] { Device(AddressOf(file)).LoadParameters(); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::NoSuchDevice, error->GetKind());
    EXPECT_THAT(error->what(), StartsWith("'" + file + "' is a file, a directory or a disk: "));
}

TEST(KitOpeningTest, ADirectoryIsNoDevice) {
    const QvTests::TemporaryDirectory directory;

    ExpectFailedOpening(AddressOf(directory.Path()), ErrorKind::NoSuchDevice, ERROR_ACCESS_DENIED,
                        "'" + directory.Path() + "' is a file, a directory or a disk");
}

// No device of this machine fails in these ways.
TEST(KitOpeningTest, TheSystemsErrorTellsWhatIsWrong) {
    struct {
        unsigned long code;
        ErrorKind kind;
        const char* message;
    } const cases[] = {
        {3, ErrorKind::NoSuchDevice, "there is no device '\\\\.\\X': error 3"},
        {5, ErrorKind::AccessDenied, "no access to the device '\\\\.\\X': error 5"},
        {31, ErrorKind::DeviceFailed, "cannot open the device '\\\\.\\X': error 31"},
        {123, ErrorKind::NoSuchDevice, "'\\\\.\\X' is no path of a device: error 123"},
        {161, ErrorKind::NoSuchDevice, "'\\\\.\\X' is no path of a device: error 161"},
        {170, ErrorKind::DeviceInUse,
         "another program has the device '\\\\.\\X' for itself: error 170"},
        {433, ErrorKind::NoSuchDevice, "there is no device '\\\\.\\X': error 433"},
    };
    for (const auto& oneCase : cases) {
        const Error error = QvKit::ExplainOpening(AddressOf("\\\\.\\X"), oneCase.code);

        EXPECT_EQ(oneCase.kind, error.GetKind()) << oneCase.code;
        EXPECT_EQ(oneCase.code, error.GetCode());
        EXPECT_THAT(error.what(), StartsWith(oneCase.message));
    }
}

TEST_F(KitDeviceTest, WhatHasNoParametersIsAFailureWithTheSystemsWords) {
    const auto error = ErrorOf([] { Device(AddressOf("\\\\.\\NUL")).LoadParameters(); });

    ASSERT_TRUE(error.has_value());
    EXPECT_THAT(error->what(), StartsWith("cannot load the device's parameters: DeviceIoControl "
                                          "failed (error "));
    EXPECT_EQ("DeviceIoControl failed", error->GetReason());
}

// Channels

TEST_F(KitDeviceTest, AControlRequestReturnsTheDriversOutput) {
    const auto channel = QvKit::OpenChannel(FirstDevice());
    const auto request = channel->MakeRequest(QV_PARAMETER_RECORD_SIZE);

    request->Control(IOCTL_PARAMETERS_GET_SIZE, 0, 0);
    const QvKit::Request::Outcome size = request->Take();
    EXPECT_EQ(0u, size.error);
    EXPECT_EQ(0u, size.size % QV_PARAMETER_RECORD_SIZE);
    EXPECT_GT(size.size, 0u);

    const auto all = channel->MakeRequest(size.size);
    all->Control(IOCTL_PARAMETERS_GET, 0, size.size);
    EXPECT_EQ(size.size, all->Take().size);
}

TEST_F(KitDeviceTest, AStreamOfRawBytesNeedsNoFormat) {
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    const auto channel = QvKit::OpenChannel(FirstDevice());
    const QvKit::RawFormat format;
    const QvKit::StopSignal stop;
    QvKit::StreamSettings settings;
    settings.packets = 20;
    QvKit::StreamReader reader(*channel, format, settings, stop);

    reader.Start();
    EXPECT_TRUE(reader.WaitFor(QvKit::kNoLimit));

    EXPECT_FALSE(reader.GetError().has_value());
    EXPECT_EQ(20u, reader.GetAccount().GetPackets());
    EXPECT_GT(reader.GetAccount().GetBytes(), 0u);
}

TEST_F(KitDeviceTest, ReadsOfASilentDriverAreCancelled) {
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);
    const auto channel = QvKit::OpenChannel(FirstDevice());
    const auto request = channel->MakeRequest(4096);
    request->Read(4096);
    EXPECT_FALSE(request->WaitFor(std::chrono::milliseconds(1), nullptr));

    request->Cancel();

    EXPECT_EQ(995u, request->Take().error);
}

// Removal

TEST_F(KitDeviceTest, OfADeviceThatIsGoneAFailedRequestIsExplained) {
    const DeviceAddress gone = QvKit::MakeAddress("\\\\?\\root#nowhere#0");

    const Error error = QvKit::ExplainRemoval(
        gone, QvKit::SystemError(ErrorKind::DeviceFailed, "reading failed", 995));

    EXPECT_EQ(ErrorKind::DeviceGone, error.GetKind());
    EXPECT_THAT(error.what(), StartsWith("the device has been removed: reading failed: error 995"));
    EXPECT_EQ(995u, error.GetCode());
}

TEST_F(KitDeviceTest, OfADeviceThatIsThereAnErrorStaysAsItIs) {
    const Error aborted = QvKit::SystemError(ErrorKind::DeviceFailed, "reading failed", 995);

    EXPECT_STREQ(aborted.what(), QvKit::ExplainRemoval(FirstDevice(), aborted).what());
}

TEST_F(KitDeviceTest, AnErrorThatIsNoSignOfRemovalStaysAsItIs) {
    const DeviceAddress gone = QvKit::MakeAddress("\\\\?\\root#nowhere#0");
    const Error full = QvKit::SystemError(ErrorKind::SystemFailed, "cannot write", 112);
    const Error own(ErrorKind::DeviceFailed, "took too little");

    EXPECT_EQ(ErrorKind::SystemFailed, QvKit::ExplainRemoval(gone, full).GetKind());
    EXPECT_STREQ("took too little", QvKit::ExplainRemoval(gone, own).what());
}

}  // namespace
