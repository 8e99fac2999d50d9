// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/RawRequest.h"

#include <algorithm>
#include <string>

#include "LibraryCall.h"
#include "QvKit/Clock.h"

namespace QvKit {
namespace {

using QvUserLib::Result;

// `aSend` takes the memory for output, its size and where to count, and sends the request.
template <typename Send>
RawAnswer Execute(const char* aWhat, std::size_t aOutputSize, const Send& aSend) {
    RawAnswer answer;
    answer.bytes.resize(aOutputSize);
    unsigned long count = 0;
    const Stopwatch stopwatch;
    const Result result = aSend(answer.bytes.empty() ? nullptr : answer.bytes.data(),
                                static_cast<unsigned int>(aOutputSize), &count);
    answer.time = stopwatch.GetTime();
    answer.size = count;
    answer.bytes.resize(std::min<std::size_t>(count, aOutputSize));
    if (result.IsSuccess()) return answer;

    const ErrorKind kind = KindOfFailure(result);
    if (kind == ErrorKind::DeviceFailed) {
        answer.error = SystemError(kind, std::string(aWhat) + " failed", result.GetCode());
    } else {
        answer.error = Error(kind, CaptureReason(result).text, result.GetCode());
    }
    return answer;
}

const void* DataOf(const std::vector<unsigned char>& aBytes) {
    return aBytes.empty() ? nullptr : aBytes.data();
}

}  // namespace

RawAnswer SendControl(BoundedConnection& aConnection, unsigned long aCode,
                      const std::vector<unsigned char>& aInput, std::size_t aOutputSize) {
    return Execute("the I/O-control request", aOutputSize,
                   [&](void* aOut, unsigned int aSize, unsigned long* aCount) {
                       return aConnection.IoControl(aCode, DataOf(aInput),
                                                    static_cast<unsigned int>(aInput.size()), aOut,
                                                    aSize, aCount, nullptr);
                   });
}

RawAnswer ReadBytes(BoundedConnection& aConnection, std::size_t aSize) {
    return Execute("reading from the device", aSize,
                   [&](void* aOut, unsigned int aOutSize, unsigned long* aCount) {
                       return aConnection.Read(aOut, aOutSize, aCount, nullptr);
                   });
}

RawAnswer WriteBytes(BoundedConnection& aConnection, const std::vector<unsigned char>& aBytes) {
    return Execute("writing to the device", /*aOutputSize=*/0,
                   [&](void*, unsigned int, unsigned long* aCount) {
                       return aConnection.Write(DataOf(aBytes),
                                                static_cast<unsigned int>(aBytes.size()), aCount,
                                                nullptr);
                   });
}

}  // namespace QvKit
