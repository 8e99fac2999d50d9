// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "sample/SampleSerialNumber.h"

#include "QvSample/QvSampleDevice.h"

namespace Qvctl {

std::optional<std::string> SerialNumberOf(const GUID& aInterface,
                                          const QvKit::Snapshot& aSnapshot) {
    if (!::IsEqualGUID(aInterface, GUID_DEVINTERFACE_QVSAMPLE)) return std::nullopt;
    for (const QvKit::Setting& setting : aSnapshot.GetSettings()) {
        if (setting.id == QV_SAMPLE_ID_SERIAL_NUMBER) return setting.ToText(setting.value);
    }
    return std::nullopt;
}

}  // namespace Qvctl
