// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Watch.h"

namespace QvKit {

Watch::Watch(DeviceParameters& aParameters, const std::vector<std::string>& aNames)
    : parameters_(aParameters) {
    const Snapshot snapshot = aParameters.GetSnapshot();
    known_ = aNames.empty() ? snapshot.GetSettings() : snapshot.Select(aNames);
}

std::vector<Watch::Difference> Watch::Look() {
    parameters_.Refresh();
    const Snapshot now = parameters_.GetSnapshot();
    std::vector<Difference> differences;
    for (Setting& known : known_) {
        const Setting* const setting = now.Find(known.name);
        if (setting == nullptr) {
            throw Error(ErrorKind::DeviceFailed, known.name + ": the device has it no longer");
        }
        if (setting->value == known.value) continue;
        differences.push_back(Difference{known.value, *setting});
        known = *setting;
    }
    return differences;
}

}  // namespace QvKit
