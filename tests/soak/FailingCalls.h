// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Makes the n-th call of an imported function fail.

#ifndef QVTESTS_FAILINGCALLS_H
#define QVTESTS_FAILINGCALLS_H

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "CallSites.h"
#include "ImportPatch.h"

namespace QvTests {

/// Our DLLs. The kit is one for this test, so that its calls are told from those of the test.
constexpr char kKitDll[] = "QvKitForTests.dll";
constexpr const char* kOurDlls[] = {"QvUserLib64.dll", "QvBaseLib64.dll", kKitDll};
/// Calls for them.
constexpr char kRuntimeDll[] = "libstdc++-6.dll";

/// What a successful call leaves with the library, to be given back by another.
enum class Effect { None, Takes, GivesBack };

/// What a failing call does beside failing.
enum class Failure {
    AtOnce,    // Nothing.
    AfterWork  // All that it would do otherwise. What gives something back has to, and a request
               // that is pending has to be over before its buffers go.
};

/// One imported function that fails on request. Calls are counted only while the object is armed,
/// and only those of our own DLLs, be it by way of the C++ runtime's.
class FailingCall {
public:
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;
    virtual ~FailingCall() = default;

    /// Whether there are calls to be counted. There are none where the library's objects are part
    /// of the program.
    static bool IsPossible() { return ::GetModuleHandleA("QvUserLib64.dll") != nullptr; }

    const std::string& Name() const { return name_; }

    /// Has the `aCall`-th call from now on fail, from 1.
    void Arm(long aCall) {
        count_ = 0;
        struckAt_ = nullptr;
        strikeAt_ = aCall;
        armed_ = this;
    }
    static void Disarm() {
        armed_ = nullptr;
        isWatching_ = false;
    }

    /// Has all functions note whether our DLLs call them from now on, and none fail.
    static void Watch() { isWatching_ = true; }
    bool WasCalled() const { return !sites_.empty(); }
    void ForgetCalls() { sites_.clear(); }
    /// Where the calls came from that were watched.
    const std::vector<const void*>& Sites() const { return sites_; }

    /// The system's error that a failing call leaves behind.
    unsigned long SystemError() const { return systemError_; }

    /// Where the call came from that failed since; null when none did.
    const void* StruckAt() const { return struckAt_; }

    /// The name of the function in which such a place lies.
    static std::string Describe(const void* aSite) {
        const ModuleSymbols* const module = ModuleOf(aSite);
        return module != nullptr ? module->Describe(aSite) : "nowhere";
    }

    /// How much was taken and not given back yet since the program began, by all functions.
    static long Outstanding() { return outstanding_; }

protected:
    FailingCall(const char* aName, unsigned long aError) : name_(aName), systemError_(aError) {
        (void)Symbols();  // Read now, while nothing is redirected yet.
    }

    /// Whether this call is the one to fail. `aCaller` is where it returns to.
    bool Strikes(const void* aCaller) {
        if (!isWatching_ && armed_ != this) return false;
        const void* const site = SiteOf(aCaller);
        if (site == nullptr || (isOnlyKits_ && !Symbols().kit.Contains(site))) return false;
        if (isWatching_) {
            const std::lock_guard<std::mutex> guard(sitesMutex_);
            sites_.push_back(site);
        }
        if (armed_ != this || ++count_ != strikeAt_) return false;
        struckAt_ = site;
        return true;
    }

    static void Count(Effect aEffect, const void* aCaller) {
        if (aEffect == Effect::None || !IsOurs(aCaller)) return;
        if (aEffect == Effect::Takes) ++outstanding_;
        if (aEffect == Effect::GivesBack) --outstanding_;
    }

private:
    friend class KitsCallsOnly;

    struct Modules {
        std::vector<ModuleSymbols> ours{std::begin(kOurDlls), std::end(kOurDlls)};
        ModuleSymbols kit{kKitDll};
        ModuleSymbols runtime{kRuntimeDll};
    };

    static const Modules& Symbols() {
        static const Modules kModules;
        return kModules;
    }

    static const ModuleSymbols* ModuleOf(const void* aAddress) {
        for (const ModuleSymbols& module : Symbols().ours) {
            if (module.Contains(aAddress)) return &module;
        }
        return nullptr;
    }

    static bool IsOurs(const void* aAddress) { return ModuleOf(aAddress) != nullptr; }

    // The place in our code that the call came from. Null when it is not ours.
    static const void* SiteOf(const void* aCaller) {
        if (IsOurs(aCaller)) return aCaller;
        if (!Symbols().runtime.Contains(aCaller)) return nullptr;
        void* frames[24] = {};
        const unsigned count =
            ::RtlCaptureStackBackTrace(0, static_cast<DWORD>(std::size(frames)), frames, nullptr);
        bool isBelow = false;
        for (unsigned index = 0; index < count; ++index) {
            isBelow = isBelow || frames[index] == aCaller;
            if (!isBelow || Symbols().runtime.Contains(frames[index])) continue;
            return IsOurs(frames[index]) ? frames[index] : nullptr;
        }
        return nullptr;
    }

    inline static std::atomic<FailingCall*> armed_{nullptr};
    inline static std::atomic<bool> isWatching_{false};
    inline static std::atomic<bool> isOnlyKits_{false};
    inline static std::atomic<long> outstanding_{0};

    std::string name_;
    unsigned long systemError_;
    std::mutex sitesMutex_;  // Several threads may call while they are watched.
    std::vector<const void*> sites_;
    std::atomic<long> count_{0};
    std::atomic<long> strikeAt_{0};
    std::atomic<const void*> struckAt_{nullptr};
};

/// Lets calls of the library pass uncounted for as long as it lives: their failures have scenarios
/// of their own.
class KitsCallsOnly {
public:
    KitsCallsOnly() { FailingCall::isOnlyKits_ = true; }
    ~KitsCallsOnly() { FailingCall::isOnlyKits_ = false; }

    KitsCallsOnly(const KitsCallsOnly&) = delete;
    KitsCallsOnly& operator=(const KitsCallsOnly&) = delete;
};

/// A function of one type. `Tag` keeps functions of the same type apart.
template <int Tag, typename Return, typename... Arguments>
class TypedFailingCall : public FailingCall {
public:
    TypedFailingCall(const char* aName, Return aFailed, unsigned long aError, Effect aEffect,
                     Failure aFailure)
        : FailingCall(aName, aError), failed_(aFailed), effect_(aEffect), failure_(aFailure) {
        active_ = this;
        for (const char* const dll : kOurDlls) Redirect(dll);
        Redirect(kRuntimeDll);
    }
    ~TypedFailingCall() override { active_ = nullptr; }

    TypedFailingCall(const TypedFailingCall&) = delete;
    TypedFailingCall& operator=(const TypedFailingCall&) = delete;

private:
    using Function = Return(Arguments...);

    static Return Run(Arguments... aArguments) {
        TypedFailingCall& self = *active_;
        const void* const caller = __builtin_return_address(0);
        const bool strikes = self.Strikes(caller);
        if (strikes && self.failure_ == Failure::AtOnce) return self.Fail();
        const Return returned = self.original_(aArguments...);
        if (returned != self.failed_) Count(self.effect_, caller);
        return strikes ? self.Fail() : returned;
    }

    void Redirect(const char* aDll) {
        patches_.push_back(std::make_unique<ImportPatch>(Name().c_str(), &Run, aDll));
        if (original_ == nullptr && patches_.back()->IsActive()) {
            original_ = patches_.back()->template Original<Function>();
        }
    }

    Return Fail() const {
        ::SetLastError(SystemError());
        errno = ENOMEM;
        return failed_;
    }

    inline static TypedFailingCall* active_ = nullptr;

    Return failed_;
    Effect effect_;
    Failure failure_;
    Function* original_ = nullptr;
    std::vector<std::unique_ptr<ImportPatch>> patches_;
};

/// `aFunction` only lends its type. A failing call returns `aFailed` and leaves `aError` behind as
/// the system's error code.
template <int Tag, typename Failed, typename Return, typename... Arguments>
std::unique_ptr<FailingCall> MakeFailingCall(const char* aName, Return (*)(Arguments...),
                                             Failed aFailed, unsigned long aError = 0,
                                             Effect aEffect = Effect::None,
                                             Failure aFailure = Failure::AtOnce) {
    return std::make_unique<TypedFailingCall<Tag, Return, Arguments...>>(
        aName, static_cast<Return>(aFailed), aError, aEffect, aFailure);
}

}  // namespace QvTests

#endif
