// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <charconv>
#include <functional>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "QvUserLib/String.h"
#include "commandline/Duration.h"
#include "output/ErrorReport.h"
#include "output/Printable.h"
#include "output/SettingJson.h"
#include "verbs/DeviceWait.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

using QvKit::DeviceAddress;
using QvKit::DeviceEvent;
using QvKit::Error;
using QvKit::ErrorKind;

// In lower case, without \\?\ or \\.\ in front: what all spellings of a path share.
std::string PlainPath(const DeviceAddress& aDevice) {
    constexpr std::size_t kPrefix = 4;
    const std::string path = QvUserLib::String(aDevice.link.c_str()).ToLower();
    return path.substr(std::min(kPrefix, path.size()));
}

// Any path of the device with this instance ID.
DeviceAddress AddressOfInstance(std::string aInstanceId) {
    std::replace(aInstanceId.begin(), aInstanceId.end(), '\\', '#');
    return QvKit::MakeAddress("\\\\?\\" + aInstanceId + "#");
}

DeviceAddress ToAddress(const DeviceChoice& aChoice) {
    if (aChoice.kind == DeviceChoice::Path) return QvKit::MakeAddress(aChoice.text);
    if (aChoice.kind == DeviceChoice::InstanceId) return AddressOfInstance(aChoice.text);
    throw WrongUsage("wait: --device takes a number, a path or an instance ID");
}

// Its number, if it was chosen by that.
std::optional<unsigned int> ToIndex(const DeviceChoice& aChoice) {
    if (aChoice.kind != DeviceChoice::Index) return std::nullopt;
    unsigned int index = 0;
    const char* const end = aChoice.text.data() + aChoice.text.size();
    const std::errc error = std::from_chars(aChoice.text.data(), end, index).ec;
    // No list is so long.
    return error == std::errc() ? index : std::numeric_limits<unsigned int>::max();
}

// What is waited for, and the device with which it happened.
class Expectation {
public:
    Expectation(bool aIsArrival, const DeviceChoice& aChoice)
        : isArrival_(aIsArrival),
          isInstance_(aChoice.kind == DeviceChoice::InstanceId),
          name_(aChoice.text),
          index_(ToIndex(aChoice)) {
        if (!index_) device_ = ChosenDevice{index_, ToAddress(aChoice)};
    }

    // Whether it is so at the beginning.
    bool IsMetBy(const std::vector<DeviceAddress>& aPresent) {
        count_ = aPresent.size();
        if (!index_) isPresent_ = std::any_of(aPresent.begin(), aPresent.end(), Recognizer());
        if (index_ && *index_ < count_) {
            isPresent_ = true;
            device_ = ChosenDevice{index_, aPresent[*index_]};
        }
        return isPresent_ == isArrival_;
    }

    bool IsMetBy(const DeviceEvent& aEvent) {
        const bool hasArrived = aEvent.kind == DeviceEvent::Kind::Arrival;
        if (aEvent.kind == DeviceEvent::Kind::Present) return false;
        count_ = hasArrived ? count_ + 1 : count_ - 1;
        if (hasArrived != isArrival_) return false;
        if (device_) return Recognizer()(aEvent.device);
        if (count_ <= *index_) return false;
        device_ = ChosenDevice{index_, aEvent.device};
        return true;
    }

    const char* GetName() const { return isArrival_ ? "arrival" : "removal"; }

    // The device that has come or gone; nothing when it was not there from the beginning.
    std::optional<ChosenDevice> GetDevice() const {
        return isArrival_ || isPresent_ ? device_ : std::nullopt;
    }

    Error NotWithin(std::chrono::milliseconds aLimit) const {
        std::string message = device_
                                  ? "'" + (index_ ? device_->address.path : name_) + "' has not "
                                  : "no device has ";
        message += isArrival_ ? "come" : "gone";
        return Error(ErrorKind::TimedOut,
                     message + " within " + std::to_string(aLimit.count()) + " ms");
    }

private:
    // Recognizes the device, and keeps the path under which it is known.
    std::function<bool(const DeviceAddress&)> Recognizer() {
        const std::string wanted = device_ ? PlainPath(device_->address) : std::string();
        return [this, wanted](const DeviceAddress& aOther) {
            const std::string path = PlainPath(aOther);
            if (!isInstance_) return path == wanted;
            const bool isIt = path.rfind(wanted, 0) == 0;
            if (isIt && device_) device_->address = aOther;
            return isIt;
        };
    }

    bool isArrival_;
    bool isInstance_;
    std::string name_;
    std::optional<unsigned int> index_;
    std::optional<ChosenDevice> device_;
    std::size_t count_ = 0;
    bool isPresent_ = false;
};

class WaitReport final : public Report {
public:
    explicit WaitReport(const Expectation& aExpectation)
        : event_(aExpectation.GetName()), device_(aExpectation.GetDevice()) {}

    void WriteText(Output& aOut) const override {
        if (device_) aOut.WriteLine(Printable(device_->address.path));
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["event"] = event_;
        json["device"] = nullptr;
        if (device_) json["device"] = Qvctl::ToJson(*device_);
        return json;
    }

private:
    const char* event_;
    std::optional<ChosenDevice> device_;
};

std::string ParseEvent(const std::string& aText) {
    if (aText == "arrival" || aText == "removal") return aText;
    throw WrongUsage("'" + aText + "' is neither arrival nor removal");
}

class WaitVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("--for arrival|removal", event_, &ParseEvent, "What to wait for").Require();
        aArguments.Add("--timeout DURATION", limit_, &ParseDuration,
                       "How long to wait; without it until Ctrl-C");
    }
    Outcome Run(const Context& aContext) override {
        const DeviceChoice& choice = aContext.options.device;
        const std::chrono::milliseconds limit = limit_.value_or(QvKit::kNoLimit);
        Expectation expectation(event_ == "arrival", choice);
        // A path may be of any class.
        const bool isInTime = WaitForDevices(
            aContext,
            choice.kind == DeviceChoice::Index ? &aContext.options.interfaceClass : nullptr, limit,
            [&](const auto& aPresent) { return expectation.IsMetBy(aPresent); },
            [&](const DeviceEvent& aEvent) { return expectation.IsMetBy(aEvent); });
        if (!isInTime) throw expectation.NotWithin(limit);
        return {std::make_unique<WaitReport>(expectation), {}};
    }

private:
    std::string event_;
    std::optional<std::chrono::milliseconds> limit_;
};

}  // namespace

std::unique_ptr<Verb> MakeWaitVerb() { return std::make_unique<WaitVerb>(); }

}  // namespace Qvctl
