// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A system whose devices a test plugs in and out.

#ifndef QVTESTS_SCRIPTEDDEVICESYSTEM_H
#define QVTESTS_SCRIPTEDDEVICESYSTEM_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "DeviceSystem.h"
#include "QvKit/Error.h"

namespace QvTests {

constexpr GUID kScriptedClass = {
    0x11223344, 0x5566, 0x7788, {0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff, 0x00}};

class ScriptedDeviceSystem {
public:
    /// What a watch is given. This object has to outlive the watch.
    QvKit::DeviceSystem Get() {
        QvKit::DeviceSystem system;
        system.registerNotification = [this](CM_NOTIFY_FILTER* aFilter, void* aContext,
                                             PCM_NOTIFY_CALLBACK aCallback,
                                             HCMNOTIFICATION* aNotification) -> CONFIGRET {
            if (registrationResult != CR_SUCCESS) return registrationResult;
            const std::lock_guard<std::mutex> guard(notifying_);
            filter = *aFilter;
            callback_ = aCallback;
            context_ = aContext;
            *aNotification = reinterpret_cast<HCMNOTIFICATION>(this);
            return CR_SUCCESS;
        };
        // Like the system's it waits for a notice that is being taken.
        system.unregisterNotification = [this](HCMNOTIFICATION) -> CONFIGRET {
            const std::lock_guard<std::mutex> guard(notifying_);
            callback_ = nullptr;
            ++unregistrations;
            return CR_SUCCESS;
        };
        system.list = [this](const GUID*) { return List(); };
        system.describe = [this](const QvKit::DeviceInterface& aInterface) {
            return descriptions.at(aInterface.path);
        };
        return system;
    }

    void Plug(const std::wstring& aPath) {
        PlugUnnoticed(aPath);
        Notify(CM_NOTIFY_ACTION_DEVICEINTERFACEARRIVAL, aPath);
    }
    void Unplug(const std::wstring& aPath) {
        UnplugUnnoticed(aPath);
        Notify(CM_NOTIFY_ACTION_DEVICEINTERFACEREMOVAL, aPath);
    }

    /// Without a notice.
    void PlugUnnoticed(const std::wstring& aPath) {
        const std::lock_guard<std::mutex> guard(lock_);
        present_.push_back(aPath);
    }
    void UnplugUnnoticed(const std::wstring& aPath) {
        const std::lock_guard<std::mutex> guard(lock_);
        present_.erase(std::remove(present_.begin(), present_.end(), aPath), present_.end());
    }

    /// A notice, whatever is there.
    void Notify(CM_NOTIFY_ACTION aAction, const std::wstring& aPath) {
        const std::size_t size = (aPath.size() + 1) * sizeof(wchar_t);
        std::vector<unsigned char> bytes(sizeof(CM_NOTIFY_EVENT_DATA) + size);
        auto* const data = reinterpret_cast<CM_NOTIFY_EVENT_DATA*>(bytes.data());
        data->FilterType = CM_NOTIFY_FILTER_TYPE_DEVICEINTERFACE;
        data->u.DeviceInterface.ClassGuid = kScriptedClass;
        std::memcpy(data->u.DeviceInterface.SymbolicLink, aPath.c_str(), size);
        const std::lock_guard<std::mutex> guard(notifying_);
        if (callback_ == nullptr) return;
        callback_(reinterpret_cast<HCMNOTIFICATION>(this), context_, aAction, data,
                  static_cast<DWORD>(bytes.size()));
    }

    // To be set before a watch begins.
    CONFIGRET registrationResult = CR_SUCCESS;
    bool isListFailing = false;
    std::function<void()> beforeList;  ///< Called once, before the first list is made.
    std::function<void()> afterList;   ///< Called once, afterwards and before it is returned.
    std::map<std::wstring, QvKit::DeviceDescription> descriptions;  ///< By path.

    // What the watch did.
    CM_NOTIFY_FILTER filter = {};
    int unregistrations = 0;

private:
    std::vector<QvKit::DeviceInterface> List() {
        if (isListFailing) {
            throw QvKit::Error(QvKit::ErrorKind::SystemFailed, "there is no list");
        }
        if (const auto before = std::exchange(beforeList, nullptr)) before();
        std::vector<QvKit::DeviceInterface> list;
        {
            const std::lock_guard<std::mutex> guard(lock_);
            for (const std::wstring& path : present_) list.push_back({kScriptedClass, path});
        }
        if (const auto after = std::exchange(afterList, nullptr)) after();
        return list;
    }

    std::mutex notifying_;  // Guards the callback, and is held while it runs.
    PCM_NOTIFY_CALLBACK callback_ = nullptr;
    void* context_ = nullptr;
    std::mutex lock_;  // Guards what follows.
    std::vector<std::wstring> present_;
};

}  // namespace QvTests

#endif
