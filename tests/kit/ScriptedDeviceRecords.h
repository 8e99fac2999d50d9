// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A system whose devices, and what it knows of them, a test writes down.

#ifndef QVTESTS_SCRIPTEDDEVICERECORDS_H
#define QVTESTS_SCRIPTEDDEVICERECORDS_H

#include <cstring>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "DeviceRecords.h"

namespace QvTests {

/// The device that tests are about.
constexpr wchar_t kMeterId[] = L"USB\\METER\\7";
constexpr char kMeterName[] = "USB\\METER\\7";

/// Of a device that works.
constexpr QvKit::NodeStatus kWorking = {/*isTold=*/true, /*isStarted=*/true, /*problem=*/0};

/// Exactly these bytes.
template <typename Value>
QvKit::PropertyData DataOf(DEVPROPTYPE aType, const Value& aValue) {
    QvKit::PropertyData data{aType, std::vector<unsigned char>(sizeof aValue)};
    std::memcpy(data.bytes.data(), &aValue, sizeof aValue);
    return data;
}

/// Exactly these characters, with no terminator but those among them.
inline QvKit::PropertyData RawText(const std::wstring& aText,
                                   DEVPROPTYPE aType = DEVPROP_TYPE_STRING) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(aText.data());
    return {aType, std::vector<unsigned char>(bytes, bytes + aText.size() * sizeof(wchar_t))};
}

inline QvKit::PropertyData Text(const std::wstring& aText) { return RawText(aText + L'\0'); }

inline QvKit::PropertyData Texts(const std::vector<std::wstring>& aTexts) {
    std::wstring all;
    for (const std::wstring& text : aTexts) all += text + L'\0';
    return RawText(all + L'\0', DEVPROP_TYPE_STRING_LIST);
}

struct ScriptedDevice {
    std::map<DWORD, QvKit::PropertyData> oldProperties;
    std::map<std::pair<unsigned long, unsigned long>, QvKit::PropertyData> newProperties;
    std::map<std::wstring, QvKit::PropertyData> driverValues;
    std::optional<QvKit::NodeStatus> status = QvKit::NodeStatus();
    std::wstring parent;

    void Set(const DEVPROPKEY& aKey, QvKit::PropertyData aData) {
        newProperties[{aKey.fmtid.Data1, aKey.pid}] = std::move(aData);
    }
};

class ScriptedDeviceRecords final : public QvKit::DeviceRecords {
public:
    std::map<std::wstring, ScriptedDevice> devices;
    std::vector<QvKit::KnownInterface> interfaces;
    std::map<std::wstring, std::wstring> driverFiles;  ///< By service.
    std::map<std::wstring, QvKit::FileVersion> versions;
    std::function<QvKit::RestartAnswer()> restart;
    std::function<void()> afterList;  ///< Called after each list of interfaces.

    std::vector<std::wstring> ListDevices() const override {
        std::vector<std::wstring> ids;
        for (const auto& device : devices) ids.push_back(device.first);
        return ids;
    }
    std::vector<QvKit::KnownInterface> ListInterfaces(bool aArePresent) const override {
        std::vector<QvKit::KnownInterface> list;
        for (const QvKit::KnownInterface& one : interfaces) {
            if (one.isActive || !aArePresent) list.push_back(one);
        }
        if (afterList) afterList();
        return list;
    }
    std::wstring Find(const std::wstring& aId) const override {
        return devices.count(aId) != 0 ? aId : std::wstring();
    }
    std::optional<QvKit::PropertyData> ReadOld(const std::wstring& aId,
                                               DWORD aProperty) const override {
        return Look(aId, &ScriptedDevice::oldProperties, aProperty);
    }
    std::optional<QvKit::PropertyData> ReadNew(const std::wstring& aId,
                                               const DEVPROPKEY& aKey) const override {
        return Look(aId, &ScriptedDevice::newProperties,
                    std::make_pair(aKey.fmtid.Data1, aKey.pid));
    }
    std::optional<QvKit::PropertyData> ReadDriverValue(const std::wstring& aId,
                                                       const wchar_t* aName) const override {
        return Look(aId, &ScriptedDevice::driverValues, std::wstring(aName));
    }
    std::optional<QvKit::NodeStatus> ReadStatus(const std::wstring& aId) const override {
        const auto found = devices.find(aId);
        return found == devices.end() ? std::nullopt : found->second.status;
    }
    std::wstring FindParent(const std::wstring& aId) const override {
        const auto found = devices.find(aId);
        return found == devices.end() ? std::wstring() : found->second.parent;
    }
    std::wstring FindDriverFile(const std::wstring& aService) const override {
        const auto found = driverFiles.find(aService);
        return found == driverFiles.end() ? std::wstring() : found->second;
    }
    QvKit::FileVersion ReadVersion(const std::wstring& aFile) const override {
        const auto found = versions.find(aFile);
        return found == versions.end() ? QvKit::FileVersion() : found->second;
    }
    QvKit::RestartAnswer Restart(const std::wstring&) const override { return restart(); }

private:
    template <typename Key>
    std::optional<QvKit::PropertyData> Look(
        const std::wstring& aId, std::map<Key, QvKit::PropertyData> ScriptedDevice::* aIn,
        const Key& aKey) const {
        const auto device = devices.find(aId);
        if (device == devices.end()) return std::nullopt;
        const auto& properties = device->second.*aIn;
        const auto found = properties.find(aKey);
        return found == properties.end() ? std::nullopt : std::make_optional(found->second);
    }
};

}  // namespace QvTests

#endif
