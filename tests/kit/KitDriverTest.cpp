// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Reading INFs, and installing drivers of root-enumerated devices: a copy of the sample driver
// under names of its own, so that the devices of other tests stay as they are.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "ImportPatch.h"
#include "KernelObjects.h"
#include "KitTestSupport.h"
#include "ProgramRun.h"
#include "QvKit/DriverInstallation.h"
#include "QvKit/DriverPackage.h"
#include "TestSupport.h"

#include <cfgmgr32.h>
#include <setupapi.h>

namespace {

using QvKit::DriverInstallation;
using QvKit::DriverPackage;
using QvKit::ErrorKind;
using QvKit::InstallationSettings;
using QvKit::RootDevice;
using QvTests::ErrorOf;
using QvTests::ImportPatch;
using QvTests::MessageOf;
using QvTests::ReadBytes;
using QvTests::WriteBytes;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr char kId[] = "ROOT\\QVKITTEST";

std::string Replaced(std::string aText, const std::string& aOld, const std::string& aNew) {
    EXPECT_NE(std::string::npos, aText.find(aOld)) << aOld;
    for (std::size_t at = 0; (at = aText.find(aOld, at)) != std::string::npos; at += aNew.size())
        aText.replace(at, aOld.size(), aNew);
    return aText;
}

// An INF with its driver in a directory of the test.
class KitDriverTest : public testing::Test {
protected:
    KitDriverTest() {
        std::string inf = ReadBytes(QvTests::OwnDirectory() + "\\QvSampleDriver.inf");
        inf = Replaced(inf, "QvSampleDriver", "QvKitTest");
        inf = Replaced(inf, "QvSample", "QvKitTest");
        // A display name belongs to one service.
        inf = Replaced(inf, "QvUserLib", "QvKitTest");
        inf = Replaced(inf, "ROOT\\QVSAMPLE", kId);
        text_ = Replaced(inf, "{d47c90a1-5be8", "{d47c90a1-0001");
        WriteInf(text_);
        QvTests::CopyOwnFile("QvSampleDriver.sys", sys_);
        // An earlier test may have left another one.
        ::DeleteFileA(Read().installedFile.c_str());
    }
    ~KitDriverTest() override { (void)Remove(QvKit::ListRootDevices(kId)); }

    void WriteInf(const std::string& aText) const { WriteBytes(inf_, aText); }

    // The INF with one part of it replaced.
    void EditInf(const std::string& aOld, const std::string& aNew) const {
        WriteInf(Replaced(text_, aOld, aNew));
    }

    DriverPackage Read(const std::string& aHardwareId = std::string()) const {
        return QvKit::ReadDriverPackage(inf_, aHardwareId);
    }

    DriverInstallation Install(std::size_t aDevices) const {
        InstallationSettings settings;
        settings.devices = aDevices;
        return QvKit::InstallDriver(Read(), settings);
    }

    // The driver's file cannot be loaded.
    DriverInstallation InstallBroken() const {
        WriteBytes(sys_, "no driver");
        InstallationSettings settings;
        settings.startLimit = std::chrono::milliseconds(300);
        return QvKit::InstallDriver(Read(), settings);
    }

    static DriverInstallation Remove(const std::vector<RootDevice>& aDevices) {
        std::vector<std::string> ids;
        ids.reserve(aDevices.size());
        for (const RootDevice& device : aDevices) ids.push_back(device.instanceId);
        return QvKit::RemoveRootDevices(ids);
    }

    QvTests::TemporaryDirectory directory_;
    std::string inf_ = directory_.File("QvKitTest.inf");
    std::string sys_ = directory_.File("QvKitTest.sys");
    std::string text_;
};

// The INF

TEST_F(KitDriverTest, TheInfSaysEverythingAboutTheDriver) {
    const DriverPackage package = Read();

    EXPECT_EQ(inf_, package.inf);
    EXPECT_EQ(kId, package.hardwareId);
    EXPECT_EQ("QvKitTest", package.className);
    EXPECT_THAT(package.classId, StartsWith("{d47c90a1-0001-"));
    EXPECT_EQ("QvKitTest", package.service);
    EXPECT_EQ(sys_, package.driverFile);
    EXPECT_THAT(package.installedFile, EndsWith("\\drivers\\QvKitTest.sys"));
}

TEST_F(KitDriverTest, AHardwareIdIsFoundWhateverItsCase) {
    EXPECT_EQ(kId, Read("root\\qvKitTest").hardwareId);
}

TEST_F(KitDriverTest, OneOfSeveralHardwareIdsHasToBeChosen) {
    const std::string line = "QvKitTest.Install,ROOT\\QVKITTEST";
    EditInf(line, line + "\r\n%DeviceName% = QvKitTest.Install,ROOT\\OTHER");

    EXPECT_EQ("ROOT\\OTHER", Read("ROOT\\OTHER").hardwareId);
    EXPECT_THAT(MessageOf([&] { (void)Read(); }),
                EndsWith("names several hardware ids, so that one has to be chosen: "
                         "ROOT\\QVKITTEST, ROOT\\OTHER"));
}

TEST_F(KitDriverTest, AnInfWithoutTheDeviceIsAWrongArgument) {
    const struct {
        std::string inf;
        std::string id;
        std::string message;
    } kCases[] = {
        {"no sections", "", "is not an INF: error "},
        {text_, "ROOT\\OTHER", "does not name the hardware id 'ROOT\\OTHER', but ROOT\\QVKITTEST"},
        {Replaced(text_, "ROOT\\", "PCI\\"), "", "is for no root-enumerated device of 64-bit"},
        {Replaced(text_, "NTamd64", "NTx86"), kId, "is for no root-enumerated device of 64-bit"},
    };
    for (const auto& one : kCases) {
        SCOPED_TRACE(one.message);
        WriteInf(one.inf);
        const auto error = ErrorOf([&] { (void)Read(one.id); });
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(ErrorKind::WrongUse, error->GetKind());
        EXPECT_THAT(error->what(), AllOf(StartsWith("'" + inf_ + "' "), HasSubstr(one.message)));
    }
}

TEST_F(KitDriverTest, AMissingPartOfAnInfIsNamed) {
    EXPECT_THAT(MessageOf([&] { (void)QvKit::ReadDriverPackage(inf_ + "x"); }),
                StartsWith("cannot find '" + inf_ + "x': error 2"));
    EditInf("AddService", "NoService");
    EXPECT_THAT(MessageOf([&] { (void)Read(); }),
                EndsWith("has no AddService of the device's driver in "
                         "[QvKitTest.Install.NT.Services]"));
    EditInf("ClassGuid ", "NoGuid ");
    EXPECT_THAT(MessageOf([&] { (void)Read(); }), EndsWith("has no ClassGuid in [Version]"));
}

TEST_F(KitDriverTest, TheInfSaysWhereTheDriversFileIs) {
    EditInf("1 = %DiskName%", "1 = %DiskName%,,,\\x64");
    EXPECT_EQ(directory_.Path() + "\\x64\\QvKitTest.sys", Read().driverFile);

    EditInf("[QvKitTest.CopyFiles]\r\nQvKitTest.sys",
            "[QvKitTest.CopyFiles]\r\nQvKitTest.sys,renamed.sys");
    EXPECT_EQ(directory_.File("renamed.sys"), Read().driverFile);
}

// Installing

TEST_F(KitDriverTest, DevicesAreCreatedAndStarted) {
    const DriverInstallation done = Install(2);

    EXPECT_FALSE(done.error.has_value());
    ASSERT_THAT(done.devices, SizeIs(2));
    for (const RootDevice& device : done.devices) {
        EXPECT_TRUE(device.isStarted);
        EXPECT_THAT(device.instanceId, StartsWith("ROOT\\QVKITTEST\\"));
        EXPECT_EQ("QvKitTest", device.service);
        ASSERT_THAT(device.interfaces, SizeIs(1));
        EXPECT_THAT(device.interfaces[0], StartsWith("\\\\?\\root#qvkittest#"));
        EXPECT_EQ("", device.problem);
    }
    EXPECT_FALSE(done.hasReplacedDriver);
}

TEST_F(KitDriverTest, OnlyMissingDevicesAreCreated) {
    const std::string first = Install(1).devices.at(0).instanceId;

    const DriverInstallation done = Install(2);

    ASSERT_THAT(done.devices, SizeIs(2));
    EXPECT_EQ(first, done.devices[0].instanceId);
    EXPECT_THAT(done.removed, IsEmpty());
    EXPECT_THAT(Install(1).devices, SizeIs(2));
}

TEST_F(KitDriverTest, ADifferentDriverFileReplacesTheInstalledOne) {
    (void)Install(2);
    WriteBytes(sys_, ReadBytes(sys_) + "newer");

    const DriverInstallation done = Install(1);

    EXPECT_TRUE(done.hasReplacedDriver);
    EXPECT_FALSE(done.error.has_value());
    EXPECT_THAT(done.removed, SizeIs(2));
    EXPECT_THAT(done.devices, SizeIs(2));
    EXPECT_THAT(ReadBytes(Read().installedFile), EndsWith("newer"));
}

TEST_F(KitDriverTest, NothingIsChangedWithoutTheDriversFile) {
    EXPECT_TRUE(::DeleteFileA(sys_.c_str()));

    EXPECT_THAT(MessageOf([&] { (void)Install(1); }),
                StartsWith("cannot open '" + sys_ + "': error 2"));
    EXPECT_THAT(QvKit::ListRootDevices(kId), IsEmpty());
}

TEST_F(KitDriverTest, NoDevicesAreAWrongArgument) {
    const auto error = ErrorOf([&] { (void)Install(0); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::WrongUse, error->GetKind());
}

BOOL WINAPI RefuseToUpdate(HWND, LPCWSTR, LPCWSTR, DWORD, PBOOL) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST_F(KitDriverTest, DevicesOfAFailedInstallationAreTakenBack) {
    const ImportPatch refusal("UpdateDriverForPlugAndPlayDevicesW", &RefuseToUpdate, nullptr);

    EXPECT_THAT(MessageOf([&] { (void)Install(2); }),
                AllOf(StartsWith("cannot install the driver: error 5"),
                      EndsWith("; run this program as administrator")));
    EXPECT_THAT(QvKit::ListRootDevices(kId), IsEmpty());
}

BOOL WINAPI RefuseToRemove(DI_FUNCTION aFunction, HDEVINFO aSet, PSP_DEVINFO_DATA aDevice) {
    ::SetLastError(ERROR_BUSY);
    if (aFunction == DIF_REMOVE) return FALSE;
    return ::SetupDiRegisterDeviceInfo(aSet, aDevice, 0, nullptr, nullptr, nullptr);
}

TEST_F(KitDriverTest, ADeviceThatCannotBeTakenBackIsNamed) {
    const ImportPatch update("UpdateDriverForPlugAndPlayDevicesW", &RefuseToUpdate, nullptr);
    const ImportPatch remove("SetupDiCallClassInstaller", &RefuseToRemove, nullptr);

    EXPECT_THAT(MessageOf([&] { (void)Install(1); }),
                AllOf(StartsWith("cannot install the driver: error 5"),
                      HasSubstr(" stays: cannot remove the device: error 170")));
}

TEST_F(KitDriverTest, OneInstallationRunsAtATime) {
    InstallationSettings settings;
    settings.turnLimit = std::chrono::milliseconds(1);
    const QvTests::Handle other(::CreateMutexW(nullptr, TRUE, L"Global\\QvKitDriverSetup"));
    std::string message;

    // A mutex does not keep its own thread out.
    std::thread([&] {
        message = MessageOf([&] { (void)QvKit::InstallDriver(Read(), settings); });
    }).join();

    EXPECT_EQ("another installation is running", message);
    ::ReleaseMutex(other.Get());
}

// Devices that do not start

TEST_F(KitDriverTest, ADriverThatDoesNotLoadIsTheReason) {
    const DriverInstallation done = InstallBroken();

    ASSERT_TRUE(done.error.has_value());
    EXPECT_EQ(ErrorKind::DeviceFailed, done.error->GetKind());
    EXPECT_THAT(done.error->what(),
                StartsWith("only 0 of 1 devices have started; ROOT\\QVKITTEST"));
    ASSERT_THAT(done.devices, SizeIs(1));
    EXPECT_FALSE(done.devices[0].isStarted);
    EXPECT_THAT(done.devices[0].problem, StartsWith("its driver 'QvKitTest' is not loaded"));
}

TEST_F(KitDriverTest, AMissingDriverFileIsTheReason) {
    (void)InstallBroken();
    EXPECT_TRUE(::DeleteFileA(Read().installedFile.c_str()));

    EXPECT_THAT(QvKit::ListRootDevices(kId).at(0).problem,
                AllOf(StartsWith("its driver's file '"), EndsWith("QvKitTest.sys' is missing")));
}

TEST_F(KitDriverTest, AMissingServiceIsTheReason) {
    (void)InstallBroken();
    const SC_HANDLE manager = ::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    const SC_HANDLE service = ::OpenServiceW(manager, L"QvKitTest", DELETE);
    EXPECT_TRUE(::DeleteService(service));
    ::CloseServiceHandle(service);
    ::CloseServiceHandle(manager);

    EXPECT_EQ("its driver's service 'QvKitTest' is missing",
              QvKit::ListRootDevices(kId).at(0).problem);
}

CONFIGRET WINAPI ReportUnsigned(PULONG aStatus, PULONG aProblem, DEVINST, ULONG) {
    *aStatus = DN_HAS_PROBLEM;
    *aProblem = CM_PROB_UNSIGNED_DRIVER;
    return CR_SUCCESS;
}

TEST_F(KitDriverTest, TheSystemsProblemCodeIsTheReasonInWords) {
    (void)InstallBroken();
    const ImportPatch status("CM_Get_DevNode_Status", &ReportUnsigned, nullptr);

    EXPECT_THAT(QvKit::ListRootDevices(kId).at(0).problem,
                StartsWith("problem 52: its driver is not signed for this machine"));
}

// Removing

TEST_F(KitDriverTest, TheDriverGoesWithItsLastDevice) {
    const std::vector<RootDevice> devices = Install(2).devices;
    const std::string installed = Read().installedFile;

    EXPECT_THAT(Remove({devices.at(0)}).removed, SizeIs(1));
    EXPECT_TRUE(QvTests::FileExists(installed));
    EXPECT_TRUE(QvKit::ListRootDevices(kId).at(0).isStarted);

    EXPECT_THAT(Remove({devices.at(1)}).removed, SizeIs(1));
    EXPECT_FALSE(QvTests::FileExists(installed));
    EXPECT_THAT(QvKit::ListRootDevices(kId), IsEmpty());
}

TEST_F(KitDriverTest, NothingIsRemovedWhenOneOfTheDevicesIsNotThere) {
    RootDevice nowhere;
    nowhere.instanceId = "ROOT\\NOWHERE\\0000";
    const RootDevice device = Install(1).devices.at(0);

    const auto error = ErrorOf([&] { (void)Remove({device, nowhere}); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::NoSuchDevice, error->GetKind());
    EXPECT_THAT(error->what(), StartsWith("there is no device 'ROOT\\NOWHERE\\0000': error 0xe0"));
    EXPECT_THAT(QvKit::ListRootDevices(kId), SizeIs(1));
}

BOOL WINAPI NameAnInfOfWindows(HDEVINFO, PSP_DEVINFO_DATA, const DEVPROPKEY*, DEVPROPTYPE*,
                               PBYTE aBuffer, DWORD aSize, PDWORD, DWORD) {
    static const wchar_t kInf[] = L"basicdisplay.inf";
    EXPECT_GE(aSize, sizeof kInf);
    std::memcpy(aBuffer, kInf, sizeof kInf);
    return TRUE;
}

TEST_F(KitDriverTest, ADeviceOfWindowsItselfIsNotRemoved) {
    const RootDevice device = Install(1).devices.at(0);
    {
        const ImportPatch inf("SetupDiGetDevicePropertyW", &NameAnInfOfWindows, nullptr);
        EXPECT_EQ("the driver of '" + device.instanceId + "' is a part of Windows",
                  MessageOf([&] { (void)Remove({device}); }));
    }
    EXPECT_THAT(QvKit::ListRootDevices(kId), SizeIs(1));
}

}  // namespace
