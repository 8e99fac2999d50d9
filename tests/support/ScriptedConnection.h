// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A connection without a device: it plays drivers, well-behaved and misbehaving ones.

#ifndef QVTESTS_SCRIPTEDCONNECTION_H
#define QVTESTS_SCRIPTEDCONNECTION_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <optional>
#include <vector>

#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvUserLib/DeviceConnection.h"

namespace QvTests {

using Record = QV_PARAMETER_RECORD;

/// One request as the driver saw it.
struct Request {
    unsigned long code;
    bool hasInput;
    std::vector<unsigned char> input;
    bool hasOutput;
    unsigned int outputSize;
    bool hasInfo;
    bool isOverlapped;

    /// The input as whole records.
    std::vector<Record> Records() const {
        std::vector<Record> records(input.size() / sizeof(Record));
        if (!records.empty()) {
            std::memcpy(records.data(), input.data(), records.size() * sizeof(Record));
        }
        return records;
    }
};

/// Answers every request at once, by the members below. The form of requests that states how many
/// bytes have to come back fails the test: parameters are not asked for with it.
class ScriptedConnection : public QvUserLib::DeviceConnection {
public:
    QvUserLib::Result IoControl(unsigned long aCode, const void*, unsigned int, void*, unsigned int,
                                unsigned long) override {
        ADD_FAILURE() << "request " << aCode << " states an expected size";
        return QvUserLib::Result(1);
    }

    QvUserLib::Result IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize,
                                void* aOut, unsigned int aOutSize, unsigned long* aInfo,
                                _OVERLAPPED* aOverlapped) override {
        const auto* const input = static_cast<const unsigned char*>(aIn);
        requests.push_back({aCode, aIn != nullptr,
                            std::vector<unsigned char>(input, input + aInSize), aOut != nullptr,
                            aOutSize, aInfo != nullptr, aOverlapped != nullptr});
        if (onRequest) onRequest();
        switch (aCode) {
            case 0x222004:
                *aInfo = claimedSize.value_or(
                    static_cast<unsigned long>(records.size() * sizeof(Record)));
                return sizeResult;
            case 0x222000:
                *aInfo = claimedAnswer.value_or(Answer(aOut, aOutSize));
                return getResult;
            case 0x222008:
                if (onSet) onSet();
                *aInfo = 0;
                return setResult;
            default:
                return QvUserLib::Result(1);
        }
    }

    /// What the driver holds.
    std::vector<Record> records;
    /// What it says its size is, unless that is the truth.
    std::optional<unsigned long> claimedSize;
    /// How many bytes it says it answered, unless that is the truth.
    std::optional<unsigned long> claimedAnswer;
    /// Whether it answers by filling the whole buffer with this byte, rather than with its records.
    std::optional<unsigned char> filler;
    /// Whether it leaves the buffer alone.
    bool fillsNothing = false;

    QvUserLib::Result sizeResult = 0;
    QvUserLib::Result getResult = 0;
    QvUserLib::Result setResult = 0;

    /// Runs before each request is answered; the request is the last one of `requests`.
    std::function<void()> onRequest;

    /// Runs while records are being received.
    std::function<void()> onSet;

    std::vector<Request> requests;

private:
    unsigned long Answer(void* aOut, unsigned int aOutSize) const {
        if (aOutSize == 0 || fillsNothing) return 0;
        if (filler) {
            std::memset(aOut, *filler, aOutSize);
            return aOutSize;
        }
        const auto size = std::min<std::size_t>(aOutSize, records.size() * sizeof(Record));
        if (size > 0) std::memcpy(aOut, records.data(), size);
        return static_cast<unsigned long>(size);
    }
};

}  // namespace QvTests

#endif
