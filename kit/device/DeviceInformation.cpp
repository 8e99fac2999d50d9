// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DeviceInformation.h"

#include <algorithm>
#include <utility>

#include "DevicePresence.h"
#include "DeviceRecords.h"
#include "ProblemCodes.h"
#include "QvKit/Guid.h"
#include "QvKit/Text.h"
#include "WideTexts.h"

namespace QvKit {
namespace {

// DEVPKEY_Device_ProblemCode and DEVPKEY_Device_Parent, which mingw-w64's headers only declare.
constexpr GUID kNodeProperties = {
    0x4340a6c5, 0x93fa, 0x4706, {0x97, 0x2c, 0x7b, 0x64, 0x80, 0x08, 0xa5, 0xa7}};
constexpr DEVPROPKEY kProblemCode = {kNodeProperties, 3};
constexpr DEVPROPKEY kParent = {kNodeProperties, 8};

// DEVPKEY_Device_DriverDate, DEVPKEY_Device_DriverVersion and DEVPKEY_Device_DriverProvider.
constexpr GUID kDriverProperties = {
    0xa8b865dd, 0x2e3d, 0x4094, {0xad, 0x97, 0xe5, 0x93, 0xa7, 0x0c, 0x75, 0xd6}};
constexpr DEVPROPKEY kDriverDate = {kDriverProperties, 2};
constexpr DEVPROPKEY kDriverVersion = {kDriverProperties, 3};
constexpr DEVPROPKEY kDriverProvider = {kDriverProperties, 9};

std::string First(std::string aText, const std::string& aOther) {
    return aText.empty() ? aOther : aText;
}

// Asks for the facts of one device.
class Reader {
public:
    Reader(const DeviceRecords& aRecords, std::wstring aId)
        : records_(aRecords), id_(std::move(aId)) {}

    std::string Text(DWORD aProperty) const;
    std::vector<std::string> Texts(DWORD aProperty) const;
    DriverInformation ReadDriver() const;

    // The tree is less deep than this, unless it is damaged.
    std::vector<std::string> ReadParents() const;
    std::optional<unsigned long> ReadProblem() const;

private:
    std::string DriverText(const DEVPROPKEY& aKey, const wchar_t* aValue) const;
    std::wstring ParentOf(const std::wstring& aId) const;

    const DeviceRecords& records_;
    const std::wstring id_;
};

std::string Reader::Text(DWORD aProperty) const {
    return ToUtf8(TextIn(records_.ReadOld(id_, aProperty)));
}

std::vector<std::string> Reader::Texts(DWORD aProperty) const {
    std::vector<std::string> texts;
    for (const std::wstring& text : TextsIn(records_.ReadOld(id_, aProperty)))
        texts.push_back(ToUtf8(text));
    return texts;
}

DriverInformation Reader::ReadDriver() const {
    DriverInformation driver;
    const std::wstring service = TextIn(records_.ReadOld(id_, SPDRP_SERVICE));
    FileVersion file;
    if (!service.empty()) {
        const std::wstring path = records_.FindDriverFile(service);
        driver.service = ToUtf8(service);
        driver.file = ToUtf8(path);
        if (!path.empty()) file = records_.ReadVersion(path);
    }
    driver.provider = First(DriverText(kDriverProvider, L"ProviderName"), file.company);
    driver.version = First(DriverText(kDriverVersion, L"DriverVersion"), file.version);
    driver.date = First(DateIn(records_.ReadNew(id_, kDriverDate)),
                        DateIn(records_.ReadDriverValue(id_, L"DriverDateData")));
    return driver;
}

std::vector<std::string> Reader::ReadParents() const {
    constexpr std::size_t kMost = 64;
    std::vector<std::string> parents;
    for (std::wstring id = ParentOf(id_); !id.empty() && parents.size() < kMost;
         id = ParentOf(id)) {
        const std::string parent = ToUtf8(id);
        if (std::find(parents.begin(), parents.end(), parent) != parents.end()) break;
        parents.push_back(parent);
    }
    return parents;
}

std::optional<unsigned long> Reader::ReadProblem() const {
    std::optional<unsigned long> problem = NumberIn(records_.ReadNew(id_, kProblemCode));
    if (!problem) {
        const std::optional<NodeStatus> status = records_.ReadStatus(id_);
        if (status) problem = status->problem;
    }
    return problem && *problem != 0 ? problem : std::nullopt;
}

std::string Reader::DriverText(const DEVPROPKEY& aKey, const wchar_t* aValue) const {
    return First(ToUtf8(TextIn(records_.ReadNew(id_, aKey))),
                 ToUtf8(TextIn(records_.ReadDriverValue(id_, aValue))));
}

std::wstring Reader::ParentOf(const std::wstring& aId) const {
    const std::wstring parent = TextIn(records_.ReadNew(aId, kParent));
    return parent.empty() ? records_.FindParent(aId) : parent;
}

std::vector<InterfaceInformation> InterfacesOf(const std::wstring& aId,
                                               const std::vector<KnownInterface>& aKnown) {
    std::vector<InterfaceInformation> interfaces;
    for (const KnownInterface& known : aKnown) {
        if (!IsSameText(known.instanceId, aId)) continue;
        const std::string interfaceClass = GuidToText(known.interfaceClass);
        interfaces.push_back({interfaceClass, InterfaceClassName(interfaceClass),
                              ToUtf8(known.path), known.isActive});
    }
    return interfaces;
}

Error NoSuchDevice(const std::string& aName) {
    return Error(ErrorKind::NoSuchDevice, "there is no device '" + aName + "'");
}

}  // namespace

DeviceInformation ReadDeviceInformation(const std::string& aInstanceId) {
    return ReadDeviceInformation(aInstanceId, DeviceRecords::OfSystem());
}

DeviceInformation ReadDeviceInformation(const std::string& aInstanceId,
                                        const DeviceRecords& aRecords) {
    const std::wstring id = aRecords.Find(FromUtf8(aInstanceId));
    if (id.empty()) throw NoSuchDevice(aInstanceId);
    const std::vector<KnownInterface> known = aRecords.ListInterfaces(/*aArePresent=*/false);
    const Reader reader(aRecords, id);

    DeviceInformation information;
    information.instanceId = ToUtf8(id);
    information.friendlyName = reader.Text(SPDRP_FRIENDLYNAME);
    information.description = reader.Text(SPDRP_DEVICEDESC);
    information.manufacturer = reader.Text(SPDRP_MFG);
    information.setupClass = reader.Text(SPDRP_CLASS);
    information.setupClassId = reader.Text(SPDRP_CLASSGUID);
    information.hardwareIds = reader.Texts(SPDRP_HARDWAREID);
    information.compatibleIds = reader.Texts(SPDRP_COMPATIBLEIDS);
    information.location = reader.Text(SPDRP_LOCATION_INFORMATION);
    information.locationPaths = reader.Texts(SPDRP_LOCATION_PATHS);
    information.parents = reader.ReadParents();
    information.isPresent = IsPresent(aRecords, id, known);
    information.problem = reader.ReadProblem();
    if (information.problem) information.problemText = ProblemText(*information.problem);
    information.driver = reader.ReadDriver();
    information.interfaces = InterfacesOf(id, known);

    // What was read of a device that has vanished meanwhile is not whole.
    if (aRecords.Find(id).empty()) {
        throw Error(ErrorKind::DeviceGone, "the device '" + aInstanceId + "' was removed");
    }
    return information;
}

DriverInformation ReadDriverInformation(const std::string& aInstanceId) {
    return Reader(DeviceRecords::OfSystem(), FromUtf8(aInstanceId)).ReadDriver();
}

std::string FindInstanceId(const std::string& aPath) {
    constexpr std::size_t kPrefix = 4;  // It has two forms.
    const std::wstring wanted = FromUtf8(aPath);
    if (wanted.size() > kPrefix) {
        for (const KnownInterface& known :
             DeviceRecords::OfSystem().ListInterfaces(/*aArePresent=*/false)) {
            const bool isIt = known.path.size() > kPrefix &&
                              IsSameText(known.path.substr(kPrefix), wanted.substr(kPrefix));
            if (isIt && !known.instanceId.empty()) return ToUtf8(known.instanceId);
        }
    }
    throw NoSuchDevice(aPath);
}

}  // namespace QvKit
