// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Device interfaces that exist only for the library.

#ifndef QVTESTS_FAKESETUPAPI_H
#define QVTESTS_FAKESETUPAPI_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "ImportPatch.h"

#include <setupapi.h>

namespace QvTests {

/// As long as the object lives, the library finds its device interfaces here instead of in the
/// system. Whatever the calls state beside their real subject is checked.
class FakeSetupApi {
public:
    FakeSetupApi() { active_ = this; }
    ~FakeSetupApi() { active_ = nullptr; }

    FakeSetupApi(const FakeSetupApi&) = delete;
    FakeSetupApi& operator=(const FakeSetupApi&) = delete;

    /// The symbolic links of the interfaces that are present.
    std::vector<std::string> links;
    bool refusesClass = false;
    bool refusesDetail = false;

    /// What was called, as in "open 1", "enumerate 0", "detail 8192", "destroy 1". Sets are
    /// numbered from 1.
    std::vector<std::string> calls;
    /// The interface class of the last call that stated one.
    const void* interfaceClass = nullptr;

private:
    static HDEVINFO WINAPI Open(const GUID* aClass, PCSTR aEnumerator, HWND aParent, DWORD aFlags) {
        EXPECT_EQ(nullptr, aEnumerator);
        EXPECT_EQ(nullptr, aParent);
        EXPECT_EQ(0x12u, aFlags);
        active_->interfaceClass = aClass;
        if (active_->refusesClass) {
            active_->calls.emplace_back("refuse");
            return INVALID_HANDLE_VALUE;
        }
        ++active_->lastSet_;
        active_->calls.push_back("open " + std::to_string(active_->lastSet_));
        return reinterpret_cast<HDEVINFO>(static_cast<ULONG_PTR>(active_->lastSet_));
    }

    static BOOL WINAPI Enumerate(HDEVINFO aSet, PSP_DEVINFO_DATA aDevice, const GUID* aClass,
                                 DWORD aIndex, PSP_DEVICE_INTERFACE_DATA aData) {
        active_->CheckSet(aSet);
        EXPECT_EQ(nullptr, aDevice);
        EXPECT_EQ(32u, aData->cbSize);
        active_->interfaceClass = aClass;
        active_->calls.push_back("enumerate " + std::to_string(aIndex));
        if (aIndex >= active_->links.size()) {
            ::SetLastError(ERROR_NO_MORE_ITEMS);
            return FALSE;
        }
        aData->Reserved = aIndex;
        return TRUE;
    }

    static BOOL WINAPI GetDetail(HDEVINFO aSet, PSP_DEVICE_INTERFACE_DATA aData,
                                 PSP_DEVICE_INTERFACE_DETAIL_DATA_A aDetail, DWORD aSize,
                                 PDWORD aRequired, PSP_DEVINFO_DATA aDevice) {
        active_->CheckSet(aSet);
        EXPECT_EQ(8u, aDetail->cbSize);
        EXPECT_EQ(nullptr, aRequired);
        EXPECT_EQ(nullptr, aDevice);
        active_->calls.push_back("detail " + std::to_string(aSize));
        const std::string& link = active_->links.at(aData->Reserved);
        const std::size_t size =
            offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_A, DevicePath) + link.size() + 1;
        if (active_->refusesDetail || size > aSize) {
            ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return FALSE;
        }
        std::memcpy(aDetail->DevicePath, link.c_str(), link.size() + 1);
        return TRUE;
    }

    static BOOL WINAPI Destroy(HDEVINFO aSet) {
        active_->CheckSet(aSet);
        active_->calls.push_back("destroy " + std::to_string(reinterpret_cast<ULONG_PTR>(aSet)));
        return TRUE;
    }

    void CheckSet(HDEVINFO aSet) const {
        EXPECT_EQ(lastSet_, reinterpret_cast<ULONG_PTR>(aSet));
        const std::string destroyed = "destroy " + std::to_string(lastSet_);
        EXPECT_EQ(0, std::count(calls.begin(), calls.end(), destroyed));
    }

    inline static FakeSetupApi* active_ = nullptr;

    ImportPatch open_{"SetupDiGetClassDevsA", &Open};
    ImportPatch enumerate_{"SetupDiEnumDeviceInterfaces", &Enumerate};
    ImportPatch getDetail_{"SetupDiGetDeviceInterfaceDetailA", &GetDetail};
    ImportPatch destroy_{"SetupDiDestroyDeviceInfoList", &Destroy};
    ULONG_PTR lastSet_ = 0;
};

}  // namespace QvTests

#endif
