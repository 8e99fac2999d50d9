// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVBENCH_SYNTHETICDRIVER_H
#define QVBENCH_SYNTHETICDRIVER_H

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "QvBaseLib/DeviceParameter.h"
#include "QvUserLib/DeviceConnection.h"

namespace QvBench {

/// A driver that answers from memory, so that only the library's own work is measured.
class SyntheticDriver : public QvUserLib::DeviceConnection {
public:
    using DeviceConnection::IoControl;

    /// @param aIsMixed  Whether the records are integers, enumerations and strings in turn, instead
    ///                  of integers only.
    SyntheticDriver(unsigned long aCount, bool aIsMixed) : records_(aCount) {
        for (unsigned long id = 0; id < aCount; ++id) Fill(records_[id], id, aIsMixed ? id % 3 : 0);
    }

    QvUserLib::Result IoControl(unsigned long aCode, const void* /*aIn*/, unsigned int /*aInSize*/,
                                void* aOut, unsigned int aOutSize, unsigned long* aInfo,
                                _OVERLAPPED* /*aOverlapped*/) override {
        *aInfo = 0;
        if (aCode == IOCTL_PARAMETERS_GET) {
            std::memcpy(aOut, records_.data(), aOutSize);
            *aInfo = aOutSize;
        } else if (aCode == IOCTL_PARAMETERS_GET_SIZE) {
            *aInfo = static_cast<unsigned long>(records_.size() * sizeof records_[0]);
        }
        return QvUserLib::Result(QvUserLib::Code::Success);
    }

private:
    static void Fill(QvBaseLib::DeviceParameter& aRecord, unsigned long aId, unsigned long aKind) {
        const std::wstring name = L"Channel " + std::to_wstring(aId) + L" level";
        const std::string description = "What channel " + std::to_string(aId) + " triggers at";
        aRecord.InitCommon(aId, name.c_str(), description.c_str());
        if (aKind == 0) {
            aRecord.InitDWord(0, 1000000, 1000, "mV");
        } else if (aKind == 1) {
            static constexpr wchar_t kNames[] = L"Continuous\0Triggered\0Standby\0";
            aRecord.InitEnum(3, kNames, 1);
        } else {
            aRecord.InitString(L"Bench 7, north side");
        }
    }

    std::vector<QvBaseLib::DeviceParameter> records_;
};

}  // namespace QvBench

#endif
