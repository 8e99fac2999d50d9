// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Lists the devices of an interface class, and how many parameters each has.

#include <cstdio>

#include "QvSample/QvSampleDevice.h"
#include "QvUserLib/QvUserLib.h"

namespace {

/// Loads the parameters of one device to count them.
bool CountParameters(const char* aLink, unsigned long* aCount) {
    QvUserLib::DeviceConnection device;
    QvUserLib::DeviceParameterRepository parameters;
    if (device.Connect(aLink).IsFailure() || parameters.Connect(&device).IsFailure()) return false;
    *aCount = parameters.GetCount();
    return true;
}

}  // namespace

int main() {
    QvUserLib::DeviceEnumerator devices;
    if (devices.Enumerate(&GUID_DEVINTERFACE_QVSAMPLE).IsFailure()) return 1;

    unsigned int index = 0;
    QvUserLib::String link;
    for (; devices.GetSymLink(index, &link).IsSuccess(); ++index) {
        // The 8-bit characters of a link are in the bytes of the UTF-16 form.
        const char* const path = reinterpret_cast<const char*>(link.GetUnicode());
        unsigned long count = 0;
        if (CountParameters(path, &count)) {
            std::printf("%u  %s  %lu parameters\n", index, path, count);
        } else {
            std::printf("%u  %s  cannot be opened or read\n", index, path);
        }
    }
    if (index == 0) std::puts("No device is present.");
    return index == 0 ? 3 : 0;
}
