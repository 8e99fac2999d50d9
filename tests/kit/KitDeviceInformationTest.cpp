// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the kit makes of the system's answers about devices, with scripted answers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "KitTestSupport.h"
#include "QvKit/DeviceInformation.h"
#include "QvKit/DeviceInventory.h"
#include "QvKit/Guid.h"
#include "ScriptedDeviceRecords.h"

// The system's own constants: this order makes them definitions.
#include <initguid.h>

#include <devpkey.h>
#include <ntddkbd.h>
#include <ntddmou.h>
#include <poclass.h>
#include <usbiodef.h>
#include <winioctl.h>

namespace QvTests {
namespace {

using QvKit::DeviceInformation;
using QvKit::ErrorKind;
using QvKit::ReadDeviceInformation;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr GUID kClass = {
    0x11223344, 0x5566, 0x7788, {0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff, 0x00}};

// 1601-01-01 and so many days.
FILETIME Day(unsigned long long aDays) {
    const unsigned long long ticks = aDays * 24 * 60 * 60 * 10000000;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// One device, of which the system knows nothing at first.
class KitDeviceInformationTest : public testing::Test {
protected:
    DeviceInformation Read() const { return ReadDeviceInformation(kMeterName, records_); }

    void AddInterface(const std::wstring& aPath, bool aIsActive, const GUID& aClass = kClass) {
        records_.interfaces.push_back({aClass, aPath, kMeterId, aIsActive});
    }

    void AddDriverFile() {
        device_.oldProperties = {{SPDRP_SERVICE, Text(L"Meter")}};
        records_.driverFiles[L"Meter"] = L"C:\\meter.sys";
        records_.versions[L"C:\\meter.sys"] = {"1.0.0", "File"};
    }

    void AddDriverKey() {
        device_.driverValues = {{L"ProviderName", Text(L"Registry")},
                                {L"DriverVersion", Text(L"2.0.0.0")},
                                {L"DriverDateData", DataOf(DEVPROP_TYPE_BINARY, Day(1))}};
    }

    void ExpectDriver(const char* aProvider, const char* aVersion, const char* aDate) const {
        const QvKit::DriverInformation driver = Read().driver;
        EXPECT_EQ(aProvider, driver.provider);
        EXPECT_EQ(aVersion, driver.version);
        EXPECT_EQ(aDate, driver.date);
    }

    ScriptedDeviceRecords records_;
    ScriptedDevice& device_ = records_.devices[kMeterId];
};

TEST_F(KitDeviceInformationTest, EachFactIsReadFromItsProperty) {
    device_.oldProperties = {
        {SPDRP_FRIENDLYNAME, Text(L"Meter on bench 2")},
        {SPDRP_DEVICEDESC, Text(L"Meter")},
        {SPDRP_MFG, Text(L"Meter works")},
        {SPDRP_CLASS, Text(L"Meters")},
        {SPDRP_CLASSGUID, Text(L"{00000000-0000-0000-0000-000000000001}")},
        {SPDRP_HARDWAREID, Texts({L"USB\\A&REV_1", L"USB\\A"})},
        {SPDRP_COMPATIBLEIDS, Texts({L"USB\\Class_FF"})},
        {SPDRP_LOCATION_INFORMATION, Text(L"Port 3")},
        {SPDRP_LOCATION_PATHS, Texts({L"PCIROOT(0)#USB(3)"})},
    };

    const DeviceInformation device = Read();

    EXPECT_EQ(kMeterName, device.instanceId);
    EXPECT_EQ("Meter on bench 2", device.friendlyName);
    EXPECT_EQ("Meter", device.description);
    EXPECT_EQ("Meter works", device.manufacturer);
    EXPECT_EQ("Meters", device.setupClass);
    EXPECT_EQ("{00000000-0000-0000-0000-000000000001}", device.setupClassId);
    EXPECT_THAT(device.hardwareIds, ElementsAre("USB\\A&REV_1", "USB\\A"));
    EXPECT_THAT(device.compatibleIds, ElementsAre("USB\\Class_FF"));
    EXPECT_EQ("Port 3", device.location);
    EXPECT_THAT(device.locationPaths, ElementsAre("PCIROOT(0)#USB(3)"));
}

TEST_F(KitDeviceInformationTest, WhatTheSystemDoesNotKnowIsEmpty) {
    const DeviceInformation device = Read();

    for (const std::string& text :
         {device.friendlyName, device.description, device.manufacturer, device.setupClass,
          device.setupClassId, device.location, device.problemText, device.driver.service,
          device.driver.file, device.driver.provider, device.driver.version, device.driver.date}) {
        EXPECT_THAT(text, IsEmpty());
    }
    EXPECT_THAT(device.hardwareIds, IsEmpty());
    EXPECT_THAT(device.parents, IsEmpty());
    EXPECT_THAT(device.interfaces, IsEmpty());
    EXPECT_FALSE(device.isPresent);
    EXPECT_FALSE(device.problem);
}

TEST_F(KitDeviceInformationTest, TheDriverIsReadFromTheDevicesPropertiesFirst) {
    device_.Set(DEVPKEY_Device_DriverProvider, Text(L"Property"));
    device_.Set(DEVPKEY_Device_DriverVersion, Text(L"3.0.0.0"));
    device_.Set(DEVPKEY_Device_DriverDate, DataOf(DEVPROP_TYPE_FILETIME, Day(155267)));
    AddDriverKey();

    ExpectDriver("Property", "3.0.0.0", "2026-02-09");
}

TEST_F(KitDeviceInformationTest, TheDriversRegistryKeyComesNext) {
    AddDriverFile();
    AddDriverKey();

    ExpectDriver("Registry", "2.0.0.0", "1601-01-02");
}

TEST_F(KitDeviceInformationTest, TheDriversFileComesLast) {
    AddDriverFile();

    const DeviceInformation device = Read();

    EXPECT_EQ("Meter", device.driver.service);
    EXPECT_EQ("C:\\meter.sys", device.driver.file);
    EXPECT_EQ("File", device.driver.provider);
    EXPECT_EQ("1.0.0", device.driver.version);
    EXPECT_THAT(device.driver.date, IsEmpty());
}

TEST_F(KitDeviceInformationTest, AProblemIsPutIntoWords) {
    device_.Set(DEVPKEY_Device_ProblemCode, DataOf(DEVPROP_TYPE_UINT32, DWORD{28}));

    EXPECT_EQ(28u, Read().problem);
    EXPECT_EQ("problem 28: no driver is installed", Read().problemText);
}

TEST_F(KitDeviceInformationTest, WithoutThePropertyTheProblemIsThatOfTheStatus) {
    device_.status = {/*isTold=*/true, /*isStarted=*/false, /*problem=*/10};

    EXPECT_EQ("problem 10: its driver failed to start it", Read().problemText);
}

TEST_F(KitDeviceInformationTest, ProblemZeroIsNone) {
    device_.Set(DEVPKEY_Device_ProblemCode, DataOf(DEVPROP_TYPE_UINT32, DWORD{0}));

    EXPECT_FALSE(Read().problem);
}

TEST_F(KitDeviceInformationTest, ThePropertyTellsWhetherADeviceIsPresent) {
    device_.status = kWorking;
    device_.Set(DEVPKEY_Device_IsPresent, DataOf(DEVPROP_TYPE_BOOLEAN, DEVPROP_FALSE));
    EXPECT_EQ(false, Read().isPresent);

    device_.Set(DEVPKEY_Device_IsPresent, DataOf(DEVPROP_TYPE_BOOLEAN, DEVPROP_TRUE));
    EXPECT_EQ(true, Read().isPresent);
}

TEST_F(KitDeviceInformationTest, WithoutThePropertyTheStatusTellsWhetherADeviceIsPresent) {
    device_.status = kWorking;
    EXPECT_EQ(true, Read().isPresent);

    device_.status = std::nullopt;
    EXPECT_EQ(false, Read().isPresent);
}

TEST_F(KitDeviceInformationTest, OtherwiseADeviceIsPresentIfProgramsCanOpenIt) {
    AddInterface(L"\\\\?\\a", /*aIsActive=*/false);
    EXPECT_EQ(false, Read().isPresent);

    AddInterface(L"\\\\?\\b", /*aIsActive=*/true);
    EXPECT_EQ(true, Read().isPresent);
}

TEST_F(KitDeviceInformationTest, InterfacesOfAllClassesAreListed) {
    records_.interfaces.push_back({kClass, L"\\\\?\\other", L"USB\\OTHER\\1", true});
    AddInterface(L"\\\\?\\a", /*aIsActive=*/true);
    AddInterface(L"\\\\?\\b", /*aIsActive=*/false, GUID_DEVINTERFACE_DISK);
    records_.interfaces.back().instanceId = L"usb\\meter\\7";

    const std::vector<QvKit::InterfaceInformation> interfaces = Read().interfaces;

    ASSERT_THAT(interfaces, SizeIs(2));
    EXPECT_EQ("\\\\?\\a", interfaces[0].path);
    EXPECT_EQ("{11223344-5566-7788-99aa-bbccddeeff00}", interfaces[0].interfaceClass);
    EXPECT_THAT(interfaces[0].className, IsEmpty());
    EXPECT_TRUE(interfaces[0].isActive);
    EXPECT_EQ("disk", interfaces[1].className);
    EXPECT_FALSE(interfaces[1].isActive);
}

TEST_F(KitDeviceInformationTest, ParentsAreListedFromTheNearestOn) {
    device_.Set(DEVPKEY_Device_Parent, Text(L"USB\\HUB\\1"));
    records_.devices[L"USB\\HUB\\1"].parent = L"HTREE\\ROOT\\0";

    EXPECT_THAT(Read().parents, ElementsAre("USB\\HUB\\1", "HTREE\\ROOT\\0"));
}

TEST_F(KitDeviceInformationTest, ACircleOfParentsEnds) {
    device_.parent = L"USB\\HUB\\1";
    records_.devices[L"USB\\HUB\\1"].parent = L"USB\\HUB\\2";
    records_.devices[L"USB\\HUB\\2"].parent = L"USB\\HUB\\1";

    EXPECT_THAT(Read().parents, ElementsAre("USB\\HUB\\1", "USB\\HUB\\2"));
}

TEST_F(KitDeviceInformationTest, AnEndlessChainOfParentsIsCut) {
    std::wstring id = kMeterId;
    for (int level = 0; level < 100; ++level) {
        const std::wstring parent = L"USB\\HUB\\" + std::to_wstring(level);
        records_.devices[id].parent = parent;
        id = parent;
    }

    EXPECT_THAT(Read().parents, SizeIs(64));
}

// Data that no installer should have written.

TEST_F(KitDeviceInformationTest, ATextMayLackItsTerminator) {
    device_.oldProperties = {{SPDRP_DEVICEDESC, RawText(L"Meter")}};

    EXPECT_EQ("Meter", Read().description);
}

TEST_F(KitDeviceInformationTest, ATextEndsAtItsFirstZero) {
    device_.oldProperties = {{SPDRP_DEVICEDESC, RawText(std::wstring(L"Meter\0rest", 10))}};

    EXPECT_EQ("Meter", Read().description);
}

TEST_F(KitDeviceInformationTest, AnOddByteIsNoCharacter) {
    QvKit::PropertyData data = RawText(L"Meter");
    data.bytes.push_back('x');
    device_.oldProperties = {{SPDRP_DEVICEDESC, data},
                             {SPDRP_MFG, DataOf(DEVPROP_TYPE_STRING, 'x')}};

    EXPECT_EQ("Meter", Read().description);
    EXPECT_THAT(Read().manufacturer, IsEmpty());
}

TEST_F(KitDeviceInformationTest, DataOfAnotherTypeIsNoText) {
    device_.oldProperties = {{SPDRP_DEVICEDESC, RawText(L"Meter", DEVPROP_TYPE_BINARY)},
                             {SPDRP_HARDWAREID, DataOf(DEVPROP_TYPE_UINT32, DWORD{0x410041})}};

    EXPECT_THAT(Read().description, IsEmpty());
    EXPECT_THAT(Read().hardwareIds, IsEmpty());
}

TEST_F(KitDeviceInformationTest, AListMayLackItsTerminators) {
    device_.oldProperties = {
        {SPDRP_HARDWAREID, RawText(std::wstring(L"a\0b", 3), DEVPROP_TYPE_STRING_LIST)}};

    EXPECT_THAT(Read().hardwareIds, ElementsAre("a", "b"));
}

TEST_F(KitDeviceInformationTest, AListEndsAtAnEmptyText) {
    device_.oldProperties = {
        {SPDRP_HARDWAREID, RawText(std::wstring(L"a\0\0b\0", 5), DEVPROP_TYPE_STRING_LIST)},
        {SPDRP_COMPATIBLEIDS, RawText(std::wstring(4, L'\0'), DEVPROP_TYPE_STRING_LIST)}};

    EXPECT_THAT(Read().hardwareIds, ElementsAre("a"));
    EXPECT_THAT(Read().compatibleIds, IsEmpty());
}

TEST_F(KitDeviceInformationTest, AHugeListIsReadAsAWhole) {
    constexpr std::size_t kCount = 100000;
    device_.oldProperties = {{SPDRP_HARDWAREID, Texts(std::vector<std::wstring>(kCount, L"id"))}};

    EXPECT_THAT(Read().hardwareIds, SizeIs(kCount));
}

TEST_F(KitDeviceInformationTest, HalfOfACharacterIsReplaced) {
    device_.oldProperties = {{SPDRP_DEVICEDESC, Text(std::wstring(1, wchar_t{0xD800}))}};

    EXPECT_EQ("\xEF\xBF\xBD", Read().description);
}

TEST_F(KitDeviceInformationTest, ValuesOfAnotherSizeAreNotKnown) {
    device_.Set(DEVPKEY_Device_ProblemCode, DataOf(DEVPROP_TYPE_UINT32, 'x'));
    device_.Set(DEVPKEY_Device_IsPresent, DataOf(DEVPROP_TYPE_BOOLEAN, DWORD{1}));
    device_.Set(DEVPKEY_Device_DriverDate, DataOf(DEVPROP_TYPE_FILETIME, DWORD{1}));

    EXPECT_FALSE(Read().problem);
    EXPECT_FALSE(Read().isPresent);
    EXPECT_THAT(Read().driver.date, IsEmpty());
}

TEST_F(KitDeviceInformationTest, ATimeThatIsNoneHasNoDate) {
    for (const FILETIME time : {FILETIME{0, 0}, FILETIME{0xFFFFFFFF, 0xFFFFFFFF}}) {
        device_.Set(DEVPKEY_Device_DriverDate, DataOf(DEVPROP_TYPE_FILETIME, time));

        EXPECT_THAT(Read().driver.date, IsEmpty());
    }
}

// Devices that come and go

TEST_F(KitDeviceInformationTest, ADeviceThatIsNotThereIsAnError) {
    const auto error = ErrorOf([&] { ReadDeviceInformation("USB\\X\\1", records_); });

    ASSERT_TRUE(error);
    EXPECT_EQ(ErrorKind::NoSuchDevice, error->GetKind());
    EXPECT_STREQ("there is no device 'USB\\X\\1'", error->what());
}

TEST_F(KitDeviceInformationTest, ADeviceThatVanishesMeanwhileIsAnError) {
    records_.afterList = [this] { records_.devices.clear(); };

    const auto error = ErrorOf([&] { Read(); });

    ASSERT_TRUE(error);
    EXPECT_EQ(ErrorKind::DeviceGone, error->GetKind());
}

// Lists

using KitDeviceInventoryTest = KitDeviceInformationTest;

TEST_F(KitDeviceInventoryTest, PresentDevicesStandInEachOfTheirClasses) {
    device_.oldProperties = {{SPDRP_DEVICEDESC, Text(L"Meter")}};
    AddInterface(L"\\\\?\\a", /*aIsActive=*/true);
    AddInterface(L"\\\\?\\b", /*aIsActive=*/true, GUID_DEVINTERFACE_DISK);
    AddInterface(L"\\\\?\\c", /*aIsActive=*/true);
    AddInterface(L"\\\\?\\d", /*aIsActive=*/false);

    const std::vector<QvKit::MachineClass> classes = QvKit::ListPresentDevices(records_);

    ASSERT_THAT(classes, SizeIs(2));
    EXPECT_EQ("{11223344-5566-7788-99aa-bbccddeeff00}", classes[0].interfaceClass);
    ASSERT_THAT(classes[0].devices, SizeIs(2));
    EXPECT_EQ("\\\\?\\c", classes[0].devices[1].path);
    EXPECT_EQ("Meter", classes[0].devices[1].name);
    EXPECT_EQ(kMeterName, classes[0].devices[1].instanceId);
    EXPECT_EQ("disk", classes[1].name);
    ASSERT_THAT(classes[1].devices, SizeIs(1));
}

TEST_F(KitDeviceInventoryTest, AFriendlyNameGoesBeforeADescription) {
    device_.oldProperties = {{SPDRP_DEVICEDESC, Text(L"Meter")},
                             {SPDRP_FRIENDLYNAME, Text(L"Meter on bench 2")}};
    AddInterface(L"\\\\?\\a", /*aIsActive=*/true);

    EXPECT_EQ("Meter on bench 2", QvKit::ListPresentDevices(records_)[0].devices[0].name);
}

TEST_F(KitDeviceInventoryTest, AbsentDevicesAreThoseThatTheSystemTellsToBe) {
    device_.status = std::nullopt;
    device_.oldProperties = {{SPDRP_DEVICEDESC, Text(L"Meter")}};
    records_.devices[L"USB\\PRESENT\\1"].status = kWorking;
    records_.devices[L"USB\\NOTTOLD\\1"].status = QvKit::NodeStatus();

    const std::vector<QvKit::MachineDevice> devices = QvKit::ListAbsentDevices(records_);

    ASSERT_THAT(devices, SizeIs(1));
    EXPECT_EQ(kMeterName, devices[0].instanceId);
    EXPECT_EQ("Meter", devices[0].name);
}

TEST_F(KitDeviceInventoryTest, WithoutDevicesTheListsAreEmpty) {
    records_.devices.clear();

    EXPECT_THAT(QvKit::ListPresentDevices(records_), IsEmpty());
    EXPECT_THAT(QvKit::ListAbsentDevices(records_), IsEmpty());
}

TEST_F(KitDeviceInventoryTest, WellKnownClassesHaveNames) {
    const std::pair<const GUID&, const char*> classes[] = {
        {GUID_DEVINTERFACE_DISK, "disk"},
        {GUID_DEVINTERFACE_CDROM, "CD-ROM drive"},
        {GUID_DEVINTERFACE_PARTITION, "partition"},
        {GUID_DEVINTERFACE_TAPE, "tape drive"},
        {GUID_DEVINTERFACE_VOLUME, "volume"},
        {GUID_DEVINTERFACE_FLOPPY, "floppy drive"},
        {GUID_DEVINTERFACE_STORAGEPORT, "storage controller"},
        {GUID_DEVINTERFACE_COMPORT, "COM port"},
        {GUID_DEVINTERFACE_KEYBOARD, "keyboard"},
        {GUID_DEVINTERFACE_MOUSE, "mouse"},
        {GUID_DEVINTERFACE_USB_DEVICE, "USB device"},
        {GUID_DEVINTERFACE_USB_HUB, "USB hub"},
        {GUID_DEVINTERFACE_USB_HOST_CONTROLLER, "USB host controller"},
        {GUID_CLASS_INPUT, "HID device"},
        {GUID_DEVICE_BATTERY, "battery"},
        {GUID_DEVICE_PROCESSOR, "processor"},
        {GUID_DEVICE_THERMAL_ZONE, "thermal zone"},
        {GUID_DEVICE_LID, "lid"},
        {GUID_DEVICE_SYS_BUTTON, "system button"},
    };
    for (const auto& [id, name] : classes) {
        EXPECT_EQ(name, QvKit::InterfaceClassName(QvKit::GuidToText(id)));
    }
    EXPECT_THAT(QvKit::InterfaceClassName(QvKit::GuidToText(kClass)), IsEmpty());
}

}  // namespace
}  // namespace QvTests
