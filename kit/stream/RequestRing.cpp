// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/RequestRing.h"

namespace QvKit {

RequestRing::RequestRing(Channel& aChannel, unsigned int aDepth, std::size_t aSize) {
    requests_.reserve(aDepth);
    for (unsigned int index = 0; index < aDepth; ++index) {
        requests_.push_back(aChannel.MakeRequest(aSize));
    }
}

void RequestRing::Read() {
    Request& request = Advance();
    request.Read(request.GetCapacity());
}

void RequestRing::Write(std::size_t aSize) { Advance().Write(aSize); }

RequestRing::Outcome RequestRing::TakeOldest() {
    Request& request = *requests_[oldest_];
    oldest_ = (oldest_ + 1) % static_cast<unsigned int>(requests_.size());
    --pending_;
    const Request::Outcome outcome = request.Take();
    return {outcome.error, request.GetBuffer(), outcome.size};
}

void RequestRing::CancelAll() {
    const auto count = static_cast<unsigned int>(requests_.size());
    for (unsigned int index = 0; index < pending_; ++index) {
        requests_[(oldest_ + index) % count]->Cancel();
    }
}

Request& RequestRing::Advance() {
    Request& request = *requests_[next_];
    next_ = (next_ + 1) % static_cast<unsigned int>(requests_.size());
    ++pending_;
    return request;
}

}  // namespace QvKit
