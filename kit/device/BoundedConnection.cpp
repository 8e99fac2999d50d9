// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/BoundedConnection.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <list>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "LibraryCall.h"
#include "QvKit/Clock.h"
#include "QvUserLib/ErrorLog.h"
#include "SlimLock.h"

namespace QvKit {

using QvUserLib::Code;
using QvUserLib::Result;
using std::chrono::milliseconds;

namespace {

constexpr std::size_t kKeptRequests = 8;
constexpr std::size_t kKeptBytes = std::size_t{1} << 20;

// How much longer than its requests `Close` waits for calls to end, and the longest limit to which
// that can be added.
constexpr milliseconds kCloseMargin = std::chrono::seconds(1);
constexpr milliseconds kLongestCancel = std::chrono::hours(24);

// Failures that a plain connection has too are reported as its own.
constexpr char kPlainSource[] = ".\\DeviceConnection";
constexpr char kSource[] = ".\\BoundedConnection";

Result Fail(unsigned long aCode, const char* aSource, unsigned long aLine,
            const std::string& aMessage) {
    // Without a file the log only remembers the message, and that is enough.
    (void)QvUserLib::ErrorLog::GetErrorLog().WriteError(Result(aCode), aSource, aLine, "%s",
                                                        aMessage.c_str());
    return {aCode};
}

// Why a call ended that the device did not end.
enum class Cause : unsigned long {
    TimedOut = BoundedConnection::kTimedOut,
    Cancelled = BoundedConnection::kCancelled,
    Closed = BoundedConnection::kClosed
};

std::string CauseText(Cause aCause, milliseconds aLimit) {
    if (aCause == Cause::Cancelled) return " was cancelled";
    if (aCause == Cause::Closed) return " ended: the connection was closed";
    return " timed out after " + std::to_string(aLimit.count()) + " ms";
}

// A request with what belongs to it for its whole life.
struct Slot {
    std::unique_ptr<Request> request;
    StopSignal stop;  // Wakes the call that waits for the request.
    // Why it was woken; `TimedOut` if it was not. Guarded by the lock of the list.
    Cause cause = Cause::TimedOut;
};

// The bits of a control code that say how its buffers reach the driver; 0 if by copies.
constexpr unsigned long kMethodBits = 3;

// To spare new memory for each request that is a little larger than the last one.
std::size_t RoundUp(std::size_t aSize) {
    std::size_t rounded = 256;
    while (rounded < aSize && rounded < kKeptBytes) rounded *= 2;
    return std::max(rounded, aSize);
}

void CopyBytes(void* aTo, const void* aFrom, std::size_t aSize) {
    if (aSize > 0) std::memcpy(aTo, aFrom, aSize);
}

}  // namespace

// What a caller asks for.
struct BoundedConnection::Demand {
    enum class Kind { Control, Read, Write };

    bool IsValid() const;
    std::string ToText() const;

    // Whether the driver works on the memory for output itself, which may then be input as well.
    bool IsOutputShared() const { return kind == Kind::Control && (code & kMethodBits) != 0; }

    // Of the request's memory.
    std::size_t OutputOffset() const;
    std::size_t MemorySize() const;
    void Submit(Request& aRequest) const;

    // Hands over what the device has returned, as a plain connection does.
    Result Deliver(Request& aRequest, const Request::Outcome& aOutcome, unsigned long* aInfo) const;

    Kind kind;
    unsigned long code;
    const void* in;
    std::size_t inSize;
    void* out;
    std::size_t outSize;
};

bool BoundedConnection::Demand::IsValid() const {
    switch (kind) {
        case Kind::Read:
            return out != nullptr && outSize != 0;
        case Kind::Write:
            return in != nullptr && inSize != 0;
        default:
            return (in != nullptr || inSize == 0) && (out != nullptr || outSize == 0);
    }
}

std::string BoundedConnection::Demand::ToText() const {
    switch (kind) {
        case Kind::Read:
            return "Read of " + std::to_string(outSize) + " bytes";
        case Kind::Write:
            return "Write of " + std::to_string(inSize) + " bytes";
        default: {
            char text[32];
            std::snprintf(text, sizeof text, "IoControl 0x%lx", code);
            return text;
        }
    }
}

std::size_t BoundedConnection::Demand::OutputOffset() const {
    return kind == Kind::Control ? Request::GetOutputOffset(inSize) : 0;
}

std::size_t BoundedConnection::Demand::MemorySize() const {
    return std::max<std::size_t>({1, inSize, OutputOffset() + outSize});
}

void BoundedConnection::Demand::Submit(Request& aRequest) const {
    unsigned char* const bytes = aRequest.GetBuffer();
    CopyBytes(bytes, in, inSize);
    if (IsOutputShared()) CopyBytes(bytes + OutputOffset(), out, outSize);
    switch (kind) {
        case Kind::Read:
            return aRequest.Read(outSize);
        case Kind::Write:
            return aRequest.Write(inSize);
        default:
            return aRequest.Control(code, inSize, outSize);
    }
}

Result BoundedConnection::Demand::Deliver(Request& aRequest, const Request::Outcome& aOutcome,
                                          unsigned long* aInfo) const {
    const std::size_t size = IsOutputShared() ? outSize : std::min(aOutcome.size, outSize);
    CopyBytes(out, aRequest.GetBuffer() + OutputOffset(), size);
    const bool isControl = kind == Kind::Control;
    // The system leaves the count of a control request alone that failed.
    if (aOutcome.error == ERROR_SUCCESS || aOutcome.size > 0 || !isControl) {
        *aInfo = static_cast<unsigned long>(aOutcome.size);
    }
    if (aOutcome.error == ERROR_SUCCESS) return {Code::Success};
    if (isControl) {
        return Fail(aOutcome.error, kPlainSource, __LINE__, "DeviceIoControl failed");
    }
    if (aOutcome.isRefused) return {aOutcome.error};
    return Fail(aOutcome.error, kPlainSource, __LINE__, "GetOverlappedResult failed");
}

// What calls share. Each holds it, so that one that destruction wakes still ends well.
class BoundedConnection::State {
public:
    State(std::unique_ptr<Channel> aChannel, RequestLimits aLimits)
        : limit(aLimits.request),
          stop_(aLimits.stop),
          closeLimit_(std::min<milliseconds>(aLimits.cancel, kLongestCancel) + kCloseMargin),
          channel_(std::move(aChannel)) {}

    // The outcome of a request; nothing when the connection is closed.
    std::optional<Result> Run(const Demand& aDemand, unsigned long* aInfo, milliseconds aLimit);
    void WakeCalls(Cause aCause);
    bool IsOpen();
    bool Close();

    std::atomic<milliseconds> limit;
    std::atomic<std::size_t> givenUp{0};

private:
    using Slots = std::list<Slot>;

    struct Ending {
        ~Ending() { state.End(slot); }
        State& state;
        Slots::iterator slot;
    };

    // A slot for a call, with a request of at least so much memory; nothing when it is closed.
    std::optional<Slots::iterator> Begin(std::size_t aSize);
    void End(Slots::iterator aSlot);
    bool IsStopped() const { return stop_ != nullptr && stop_->IsRequested(); }

    Cause GetCause(Slots::iterator aSlot);
    static Result FailBy(const Demand& aDemand, Cause aCause, milliseconds aLimit,
                         unsigned long* aInfo, const char* aRemark = "");
    std::optional<Slots::iterator> TakeSlot(std::size_t aSize);

    // The lock is held. A signal that was requested stays so.
    bool IsWorthKeeping(const Slot& aSlot) const;

    // The lock is held.
    void WakeActive(Cause aCause);

    const StopSignal* const stop_;
    const milliseconds closeLimit_;
    SlimLock lock_;  // Guards what follows, except that a call uses its slot's request without it.
    bool isOpen_ = true;
    std::unique_ptr<Channel> channel_;  // Stays while a call runs.
    Slots idle_;
    Slots active_;
};

std::optional<Result> BoundedConnection::State::Run(const Demand& aDemand, unsigned long* aInfo,
                                                    milliseconds aLimit) {
    const std::optional<Slots::iterator> slot = Begin(aDemand.MemorySize());
    if (!slot) return std::nullopt;
    const Ending ending{*this, *slot};
    Request& request = *(*slot)->request;
    if (IsStopped()) return FailBy(aDemand, Cause::Cancelled, aLimit, aInfo);

    aDemand.Submit(request);
    const bool isInTime = request.WaitFor(aLimit, &(*slot)->stop, stop_);
    if (!isInTime) request.Cancel();
    const Request::Outcome outcome = request.Take();
    if (outcome.isGivenUp) ++givenUp;
    if (isInTime || outcome.error != ERROR_OPERATION_ABORTED) {
        return aDemand.Deliver(request, outcome, aInfo);
    }
    return FailBy(aDemand, GetCause(*slot), aLimit, aInfo,
                  outcome.isGivenUp ? "; the driver ignores that it was cancelled" : "");
}

void BoundedConnection::State::WakeCalls(Cause aCause) {
    const std::lock_guard<SlimLock> guard(lock_);
    WakeActive(aCause);
}

bool BoundedConnection::State::IsOpen() {
    const std::lock_guard<SlimLock> guard(lock_);
    return isOpen_;
}

bool BoundedConnection::State::Close() {
    Slots idle;
    std::unique_ptr<Channel> channel;
    const Stopwatch stopwatch;
    std::unique_lock<SlimLock> guard(lock_);
    if (!isOpen_) return false;
    isOpen_ = false;
    idle.swap(idle_);
    WakeActive(Cause::Closed);
    while (!active_.empty() && stopwatch.GetTime() < closeLimit_) {
        // What counts is looked at again.
        (void)lock_.WaitForWake(std::chrono::ceil<milliseconds>(closeLimit_ - stopwatch.GetTime()));
    }
    // A call that is stuck inside the system still needs it.
    if (active_.empty()) channel = std::move(channel_);
    guard.unlock();
    return true;
}

auto BoundedConnection::State::Begin(std::size_t aSize) -> std::optional<Slots::iterator> {
    const std::optional<Slots::iterator> slot = TakeSlot(aSize);
    if (!slot) return std::nullopt;
    std::unique_ptr<Request>& request = (*slot)->request;
    if (request != nullptr && request->GetCapacity() >= aSize) return slot;
    try {
        request.reset();
        request = channel_->MakeRequest(RoundUp(aSize));
    } catch (...) {
        End(*slot);
        throw;
    }
    return slot;
}

void BoundedConnection::State::End(Slots::iterator aSlot) {
    {
        const std::lock_guard<SlimLock> guard(lock_);
        if (IsWorthKeeping(*aSlot)) {
            idle_.splice(idle_.begin(), active_, aSlot);
            return;
        }
    }
    // It counts as active until its request no longer keeps the device open.
    aSlot->request.reset();
    const std::lock_guard<SlimLock> guard(lock_);
    active_.erase(aSlot);
    lock_.WakeAll();
}

Cause BoundedConnection::State::GetCause(Slots::iterator aSlot) {
    const std::lock_guard<SlimLock> guard(lock_);
    const bool isOfStop = aSlot->cause == Cause::TimedOut && IsStopped();
    return isOfStop ? Cause::Cancelled : aSlot->cause;
}

Result BoundedConnection::State::FailBy(const Demand& aDemand, Cause aCause, milliseconds aLimit,
                                        unsigned long* aInfo, const char* aRemark) {
    if (aDemand.kind != Demand::Kind::Control) *aInfo = 0;
    return Fail(static_cast<unsigned long>(aCause), kSource, __LINE__,
                aDemand.ToText() + CauseText(aCause, aLimit) + aRemark);
}

auto BoundedConnection::State::TakeSlot(std::size_t aSize) -> std::optional<Slots::iterator> {
    {
        const std::lock_guard<SlimLock> guard(lock_);
        if (!isOpen_) return std::nullopt;
        auto slot = std::find_if(idle_.begin(), idle_.end(), [aSize](const Slot& aSlot) {
            return aSlot.request->GetCapacity() >= aSize;
        });
        if (slot == idle_.end()) slot = idle_.begin();
        if (slot != idle_.end()) {
            active_.splice(active_.begin(), idle_, slot);
            return slot;
        }
    }
    Slots made(1);
    const std::lock_guard<SlimLock> guard(lock_);
    if (!isOpen_) return std::nullopt;
    active_.splice(active_.begin(), made);
    return active_.begin();
}

bool BoundedConnection::State::IsWorthKeeping(const Slot& aSlot) const {
    return isOpen_ && aSlot.cause == Cause::TimedOut && aSlot.request != nullptr &&
           aSlot.request->GetCapacity() <= kKeptBytes && idle_.size() < kKeptRequests;
}

void BoundedConnection::State::WakeActive(Cause aCause) {
    for (Slot& slot : active_) {
        if (slot.cause != Cause::TimedOut) continue;
        slot.cause = aCause;
        slot.stop.Request();
    }
}

BoundedConnection::BoundedConnection(const DeviceAddress& aDevice, RequestLimits aLimits)
    : BoundedConnection(OpenChannel(aDevice, aLimits.cancel), aLimits) {}

BoundedConnection::BoundedConnection(std::unique_ptr<Channel> aChannel, RequestLimits aLimits)
    : state_(std::make_shared<State>(std::move(aChannel), aLimits)) {}

BoundedConnection::~BoundedConnection() {
    (void)Close();  // It may be closed already.
}

Result BoundedConnection::IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize,
                                    void* aOut, unsigned int aOutSize, unsigned long* aInfo,
                                    OVERLAPPED* aOverlapped) {
    return Execute({Demand::Kind::Control, aCode, aIn, aInSize, aOut, aOutSize}, aInfo, aOverlapped,
                   GetLimit());
}

Result BoundedConnection::IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize,
                                    void* aOut, unsigned int aOutSize, unsigned long* aInfo,
                                    milliseconds aLimit) {
    return Execute({Demand::Kind::Control, aCode, aIn, aInSize, aOut, aOutSize}, aInfo, nullptr,
                   aLimit);
}

Result BoundedConnection::Read(void* aOut, unsigned int aSize, unsigned long* aInfo,
                               void* aOverlapped) {
    return Execute({Demand::Kind::Read, 0, nullptr, 0, aOut, aSize}, aInfo, aOverlapped,
                   GetLimit());
}

Result BoundedConnection::Read(void* aOut, unsigned int aSize, unsigned long* aInfo,
                               milliseconds aLimit) {
    return Execute({Demand::Kind::Read, 0, nullptr, 0, aOut, aSize}, aInfo, nullptr, aLimit);
}

Result BoundedConnection::Write(const void* aData, unsigned int aSize, unsigned long* aInfo,
                                void* aOverlapped) {
    return Execute({Demand::Kind::Write, 0, aData, aSize, nullptr, 0}, aInfo, aOverlapped,
                   GetLimit());
}

Result BoundedConnection::Write(const void* aData, unsigned int aSize, unsigned long* aInfo,
                                milliseconds aLimit) {
    return Execute({Demand::Kind::Write, 0, aData, aSize, nullptr, 0}, aInfo, nullptr, aLimit);
}

Result BoundedConnection::Execute(const Demand& aDemand, unsigned long* aInfo,
                                  const void* aOverlapped, milliseconds aLimit) {
    const std::shared_ptr<State> state = state_;
    if (!aDemand.IsValid() || aInfo == nullptr) return Refuse(aDemand, aInfo);
    if (aOverlapped != nullptr) {
        if (!state->IsOpen()) return Refuse(aDemand, aInfo);
        return Fail(Code::NotSupported, kSource, __LINE__,
                    "A bounded connection waits for its requests: it takes no OVERLAPPED");
    }
    try {
        if (const auto result = state->Run(aDemand, aInfo, aLimit)) return *result;
    } catch (const Error& error) {
        return Fail(error.GetCode().value_or(Code::SystemCallFailed), kSource, __LINE__,
                    error.what());
    } catch (const std::bad_alloc&) {
        return Fail(Code::OutOfMemory, kSource, __LINE__, "Not enough memory");
    }
    return Refuse(aDemand, aInfo);
}

Result BoundedConnection::Refuse(const Demand& aDemand, unsigned long* aInfo) {
    const auto inSize = static_cast<unsigned int>(aDemand.inSize);
    const auto outSize = static_cast<unsigned int>(aDemand.outSize);
    switch (aDemand.kind) {
        case Demand::Kind::Read:
            return unconnected_.Read(aDemand.out, outSize, aInfo, nullptr);
        case Demand::Kind::Write:
            return unconnected_.Write(aDemand.in, inSize, aInfo, nullptr);
        default:
            return unconnected_.IoControl(aDemand.code, aDemand.in, inSize, aDemand.out, outSize,
                                          aInfo, nullptr);
    }
}

milliseconds BoundedConnection::GetLimit() const { return state_->limit; }

void BoundedConnection::SetLimit(milliseconds aLimit) { state_->limit = aLimit; }

void BoundedConnection::Cancel() { state_->WakeCalls(Cause::Cancelled); }

Result BoundedConnection::Close() {
    return {static_cast<unsigned long>(state_->Close() ? Code::Success : Code::NotSet)};
}

bool BoundedConnection::IsConnected() const { return state_->IsOpen(); }

std::size_t BoundedConnection::GetGivenUp() const { return state_->givenUp; }

ErrorKind KindOfFailure(const Result& aResult) {
    switch (aResult.GetCode()) {
        case BoundedConnection::kTimedOut:
            return ErrorKind::TimedOut;
        case BoundedConnection::kCancelled:
            return ErrorKind::Cancelled;
        case BoundedConnection::kClosed:
            return ErrorKind::Closed;
        default:
            return ErrorKind::DeviceFailed;
    }
}

Error RequestError(const std::string& aWhat, const Result& aResult) {
    const LibraryReason reason = CaptureReason(aResult);
    const ErrorKind kind = KindOfFailure(aResult);
    if (!reason.isLogged) return SystemError(kind, aWhat, aResult.GetCode());
    return Error(kind, aWhat + ": " + reason.text, aResult.GetCode(), reason.text);
}

}  // namespace QvKit
