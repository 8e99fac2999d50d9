// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the system knows of real devices: those of the sample driver, and others.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ImportPatch.h"
#include "KitTestSupport.h"
#include "PluggedDevices.h"
#include "QvKit/QvKit.h"
#include "SampleDevice.h"

// The system's own constants: this order makes them definitions.
#include <initguid.h>

#include <devpkey.h>

// mingw-w64's headers lack it.
extern "C" WINSETUPAPI BOOL WINAPI SetupDiSetDevicePropertyW(HDEVINFO, SP_DEVINFO_DATA*,
                                                             const DEVPROPKEY*, DEVPROPTYPE,
                                                             const BYTE*, DWORD, DWORD);

namespace QvTests {
namespace {

using QvKit::DeviceInformation;
using QvKit::ErrorKind;
using QvKit::ReadDeviceInformation;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr char kFirst[] = "ROOT\\QVSAMPLE\\0000";

std::string PathOf(std::size_t aIndex) {
    return QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(aIndex).path;
}

// A device of the sample driver for which a test may write down what the system knows.
class KitRealDeviceTest : public SampleDeviceTest {
protected:
    KitRealDeviceTest() {
        set_.Reset(::SetupDiCreateDeviceInfoList(nullptr, nullptr));
        entry_.cbSize = sizeof entry_;
        EXPECT_TRUE(::SetupDiOpenDeviceInfoW(set_.Get(), Widen(id_).c_str(), nullptr, 0, &entry_));
    }

    bool Set(const DEVPROPKEY& aKey, DEVPROPTYPE aType, const void* aData, std::size_t aSize) {
        return ::SetupDiSetDevicePropertyW(set_.Get(), &entry_, &aKey, aType,
                                           static_cast<const BYTE*>(aData),
                                           static_cast<DWORD>(aSize), 0) != FALSE;
    }

    bool SetText(const DEVPROPKEY& aKey, const std::wstring& aText) {
        return Set(aKey, DEVPROP_TYPE_STRING, aText.c_str(), (aText.size() + 1) * sizeof(wchar_t));
    }

    void SetOld(DWORD aProperty, const std::wstring& aText) {
        EXPECT_TRUE(::SetupDiSetDeviceRegistryPropertyW(
            set_.Get(), &entry_, aProperty, reinterpret_cast<const BYTE*>(aText.c_str()),
            static_cast<DWORD>((aText.size() + 1) * sizeof(wchar_t))));
    }

    const PluggedDevices devices_{1};
    const std::string id_ = QvKit::FindInstanceId(devices_.GetPaths().at(0));
    QvBaseLib::UniqueDeviceSet set_;
    SP_DEVINFO_DATA entry_ = {};
};

TEST(KitDeviceFactsTest, ADeviceOfTheSampleDriverIsKnown) {
    const DeviceInformation device = ReadDeviceInformation(kFirst);

    EXPECT_EQ(kFirst, device.instanceId);
    EXPECT_EQ("QvUserLib sample device", device.description);
    EXPECT_EQ("QvSample", device.setupClass);
    EXPECT_THAT(device.hardwareIds, ElementsAre("ROOT\\QVSAMPLE"));
    EXPECT_EQ(true, device.isPresent);
    EXPECT_FALSE(device.problem);
}

TEST(KitDeviceFactsTest, TheSampleDriverIsKnownByItsFile) {
    const QvKit::DriverInformation driver = ReadDeviceInformation(kFirst).driver;

    EXPECT_EQ("QvSampleDriver", driver.service);
    EXPECT_THAT(driver.file, EndsWith("\\drivers\\QvSampleDriver.sys"));
    EXPECT_EQ("QvUserLib contributors", driver.provider);
    EXPECT_THAT(driver.version, Not(IsEmpty()));
    EXPECT_EQ(QvKit::ReadFileVersion(OwnDirectory() + "\\QvSampleDriver.sys").version,
              driver.version);
    EXPECT_EQ(driver.version, QvKit::ReadDriverInformation(kFirst).version);
}

// What the service says of its driver's file.
std::wstring theImage;

BOOL WINAPI TellTheImage(SC_HANDLE, QUERY_SERVICE_CONFIGW* aConfig, DWORD aSize, DWORD* aNeeded) {
    *aNeeded = sizeof *aConfig;
    if (aSize < sizeof *aConfig) return FALSE;
    *aConfig = {};
    aConfig->lpBinaryPathName = theImage.data();
    return TRUE;
}

TEST(KitDeviceFactsTest, TheDriversFileIsFoundHoweverTheServiceNamesIt) {
    const std::string file = ReadDeviceInformation(kFirst).driver.file;
    const ImportPatch service("QueryServiceConfigW", &TellTheImage, nullptr);
    ASSERT_TRUE(service.IsActive());
    const std::wstring windows = Widen(file.substr(0, file.find("\\system32")));
    const std::wstring below = L"system32\\drivers\\QvSampleDriver.sys";
    for (const std::wstring& image :
         {std::wstring(), below, L"\\SystemRoot\\" + below, L"%SystemRoot%\\" + below,
          L"\\??\\" + windows + L"\\" + below, windows + L"\\" + below}) {
        theImage = image;

        const QvKit::DriverInformation driver = QvKit::ReadDriverInformation(kFirst);

        EXPECT_STRCASEEQ(file.c_str(), driver.file.c_str()) << testing::PrintToString(image);
        EXPECT_THAT(driver.version, Not(IsEmpty()));
    }
}

TEST(KitDeviceFactsTest, ADriversFileThatIsMissingHasNoVersion) {
    const ImportPatch service("QueryServiceConfigW", &TellTheImage, nullptr);
    theImage = L"Z:\\nowhere\\missing.sys";

    const QvKit::DriverInformation driver = QvKit::ReadDriverInformation(kFirst);

    EXPECT_EQ("Z:\\nowhere\\missing.sys", driver.file);
    EXPECT_THAT(driver.version, IsEmpty());
    EXPECT_THAT(driver.provider, IsEmpty());
}

TEST(KitDeviceFactsTest, TheInterfacesAreThoseThatProgramsOpen) {
    const DeviceInformation device = ReadDeviceInformation(kFirst);

    ASSERT_THAT(device.interfaces, SizeIs(1));
    EXPECT_EQ(PathOf(0), device.interfaces[0].path);
    EXPECT_EQ(QV_SAMPLE_INTERFACE_TEXT, device.interfaces[0].interfaceClass);
    EXPECT_TRUE(device.interfaces[0].isActive);
}

TEST(KitDeviceFactsTest, UpperAndLowerCaseAreOneDevice) {
    EXPECT_EQ(kFirst, ReadDeviceInformation("root\\QvSample\\0000").instanceId);
}

TEST(KitDeviceFactsTest, ADeviceNeedsNoInterface) {
    const std::vector<QvKit::RootDevice> devices = QvKit::ListRootDevices();
    const auto other = std::find_if(devices.begin(), devices.end(),
                                    [](const auto& aDevice) { return aDevice.interfaces.empty(); });
    if (other == devices.end()) GTEST_SKIP() << "each root-enumerated device has an interface";

    const DeviceInformation device = ReadDeviceInformation(other->instanceId);

    EXPECT_EQ(other->instanceId, device.instanceId);
    EXPECT_EQ(other->service, device.driver.service);
    EXPECT_THAT(device.interfaces, IsEmpty());
}

TEST(KitDeviceFactsTest, OtherTextsAreNoDevices) {
    for (const std::string& text :
         {std::string(), std::string("\\"), std::string("\\\\"), std::string("ROOT"),
          std::string("ROOT\\QVSAMPLE"), std::string("ROOT\\QVSAMPLE\\"),
          std::string("\\QVSAMPLE\\0000"), std::string("ROOT\\\\0000"),
          std::string("ROOT\\QVSAMPLE\\0000\\Device Parameters"),
          std::string("ROOT\\QVSAMPLE\\..\\QVSAMPLE\\0000"), std::string("ROOT/QVSAMPLE/0000"),
          std::string("ROOT\\QVSAMPLE\\0000\0", 19), std::string("ROOT\\QVSAMPLE\\*"),
          "ROOT\\QVSAMPLE\\" + std::string(100000, '0'), std::string("\xFF\\\xFF\\\xFF")}) {
        SCOPED_TRACE(text.substr(0, 50));
        const auto error = ErrorOf([&] { ReadDeviceInformation(text); });

        ASSERT_TRUE(error);
        EXPECT_EQ(ErrorKind::NoSuchDevice, error->GetKind());
        EXPECT_THAT(QvKit::ReadDriverInformation(text).service, IsEmpty());
    }
}

TEST(KitDeviceFactsTest, APathLeadsToItsDeviceInAnySpelling) {
    std::string path = PathOf(0);
    EXPECT_EQ(kFirst, QvKit::FindInstanceId(path));

    path[2] = '.';
    path.replace(path.find("qvsample"), 8, "QvSample");
    EXPECT_EQ(kFirst, QvKit::FindInstanceId(path));
}

TEST(KitDeviceFactsTest, OtherPathsLeadToNoDevice) {
    for (const char* path : {"", "\\\\?\\", "\\\\.\\NUL", "\\\\.\\COM1", "\\\\?\\root#qvsample"}) {
        const auto error = ErrorOf([&] { QvKit::FindInstanceId(path); });

        ASSERT_TRUE(error) << path;
        EXPECT_EQ(ErrorKind::NoSuchDevice, error->GetKind());
    }
}

TEST(KitDeviceFactsTest, TheSampleDevicesAreAmongThoseThatArePresent) {
    const std::vector<QvKit::MachineClass> classes = QvKit::ListPresentDevices();

    const auto found = std::find_if(classes.begin(), classes.end(), [](const auto& aClass) {
        return aClass.interfaceClass == QV_SAMPLE_INTERFACE_TEXT;
    });
    ASSERT_NE(classes.end(), found);
    ASSERT_THAT(found->devices, SizeIs(2));
    EXPECT_EQ(PathOf(1), found->devices[1].path);
    EXPECT_EQ("ROOT\\QVSAMPLE\\0001", found->devices[1].instanceId);
    EXPECT_EQ("QvUserLib sample device", found->devices[1].name);
}

TEST(KitDeviceFactsTest, WineCannotRestartDevices) {
    if (::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr)
        GTEST_SKIP() << "Windows restarts the device";

    EXPECT_EQ("cannot restart 'ROOT\\QVSAMPLE\\0000': this system cannot restart devices",
              MessageOf([] { QvKit::RestartDevice("root\\qvsample\\0000"); }));
}

BOOL WINAPI TakeRequest(HDEVINFO, SP_DEVINFO_DATA*, SP_CLASSINSTALL_HEADER*, DWORD) { return TRUE; }
BOOL WINAPI DoRequest(DI_FUNCTION, HDEVINFO, SP_DEVINFO_DATA*) { return TRUE; }

BOOL WINAPI AskForRestart(HDEVINFO, SP_DEVINFO_DATA*, SP_DEVINSTALL_PARAMS_W* aParameters) {
    aParameters->Flags |= DI_NEEDREBOOT;
    return TRUE;
}

TEST(KitDeviceFactsTest, ADeviceThatTheSystemCannotStopIsInUse) {
    const ImportPatch request("SetupDiSetClassInstallParamsW", &TakeRequest, nullptr);
    const ImportPatch call("SetupDiCallClassInstaller", &DoRequest, nullptr);
    const ImportPatch parameters("SetupDiGetDeviceInstallParamsW", &AskForRestart, nullptr);
    ASSERT_TRUE(request.IsActive() && call.IsActive() && parameters.IsActive());

    EXPECT_THAT(MessageOf([] { QvKit::RestartDevice(kFirst); }),
                HasSubstr("it cannot be stopped now"));
}

TEST_F(KitRealDeviceTest, PropertiesOfTheSystemAreRead) {
    constexpr DWORD kProblem = 10;
    const FILETIME day = {0, 0x01D00000};
    ASSERT_TRUE(SetText(DEVPKEY_Device_DriverVersion, L"7.8.9.10"));
    ASSERT_TRUE(SetText(DEVPKEY_Device_DriverProvider, L"Somebody"));
    ASSERT_TRUE(Set(DEVPKEY_Device_DriverDate, DEVPROP_TYPE_FILETIME, &day, sizeof day));
    ASSERT_TRUE(Set(DEVPKEY_Device_ProblemCode, DEVPROP_TYPE_UINT32, &kProblem, sizeof kProblem));
    ASSERT_TRUE(SetText(DEVPKEY_Device_Parent, Widen(kFirst)));
    SetOld(SPDRP_FRIENDLYNAME, L"Bench 2");
    SetOld(SPDRP_LOCATION_INFORMATION, L"Slot 7");

    const DeviceInformation device = ReadDeviceInformation(id_);

    EXPECT_EQ("7.8.9.10", device.driver.version);
    EXPECT_EQ("Somebody", device.driver.provider);
    EXPECT_EQ("2014-11-14", device.driver.date);
    EXPECT_EQ("problem 10: its driver failed to start it", device.problemText);
    EXPECT_EQ("Bench 2", device.friendlyName);
    EXPECT_EQ("Slot 7", device.location);
    ASSERT_THAT(device.parents, Not(IsEmpty()));
    EXPECT_EQ(kFirst, device.parents[0]);
}

TEST_F(KitRealDeviceTest, LongPropertiesAreReadAsAWhole) {
    const std::wstring name(20000, L'x');
    SetOld(SPDRP_FRIENDLYNAME, name);

    EXPECT_EQ(std::string(20000, 'x'), ReadDeviceInformation(id_).friendlyName);
}

TEST_F(KitRealDeviceTest, PropertiesBeyondAnyMeasureAreLeftOut) {
    SetOld(SPDRP_FRIENDLYNAME, std::wstring(1000000, L'x'));

    EXPECT_THAT(ReadDeviceInformation(id_).friendlyName, IsEmpty());
}

TEST_F(KitRealDeviceTest, ADeviceThatWasThereOnceIsListed) {
    const DEVPROP_BOOLEAN isPresent = DEVPROP_FALSE;
    if (!Set(DEVPKEY_Device_IsPresent, DEVPROP_TYPE_BOOLEAN, &isPresent, sizeof isPresent))
        GTEST_SKIP() << "Windows knows better";

    const std::vector<QvKit::MachineDevice> absent = QvKit::ListAbsentDevices();

    EXPECT_THAT(absent, Contains(Field(&QvKit::MachineDevice::instanceId, id_)));
    EXPECT_THAT(absent, Not(Contains(Field(&QvKit::MachineDevice::instanceId, kFirst))));
    EXPECT_EQ(false, ReadDeviceInformation(id_).isPresent);
    EXPECT_EQ("the device '" + id_ + "' is not present",
              MessageOf([&] { QvKit::RestartDevice(id_); }));
}

}  // namespace
}  // namespace QvTests
