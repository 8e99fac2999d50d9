// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Context.h"

#include "verbs/DeviceWait.h"

namespace Qvctl {
namespace {

// Short enough for Ctrl-C to end the tool within a second, whatever the driver does.
constexpr std::chrono::milliseconds kCancelLimit(500);

constexpr std::chrono::milliseconds kTimeout = std::chrono::seconds(10);

}  // namespace

void Context::Note(const std::string& aText) const {
    if (log != nullptr) log->Write(QvUserLib::PriorityLevel::Debug, aText);
    if (options.verbose) err.WriteLine("qvctl: " + aText);
}

QvKit::RequestLimits Context::GetLimits() const {
    return {options.timeout.value_or(kTimeout), kCancelLimit, stop};
}

ChosenDevice Context::FindDevice() const {
    if (options.wait) return AwaitDevice(*this, *options.wait);
    return Qvctl::FindDevice(options.interfaceClass, options.device, GetLimits());
}

std::unique_ptr<QvKit::Channel> Context::OpenChannel(const ChosenDevice& aDevice) const {
    Note("opening " + aDevice.address.path);
    return QvKit::OpenChannel(aDevice.address, kCancelLimit);
}

std::unique_ptr<QvKit::Device> Context::OpenDevice(const ChosenDevice& aDevice) const {
    Note("opening " + aDevice.address.path);
    try {
        return std::make_unique<QvKit::Device>(aDevice.address, GetLimits());
    } catch (const QvKit::Error& error) {
        // The doctor looks at devices that are listed.
        if (!aDevice.address.isListed) throw;
        throw QvKit::Error(error.GetKind(),
                           std::string(error.what()) + "; \"qvctl doctor\" tells what to do",
                           error.GetCode());
    }
}

QvKit::DeviceParameters& Context::LoadParameters(QvKit::Device& aDevice) const {
    QvKit::DeviceParameters& parameters = aDevice.LoadParameters();
    const std::size_t count = parameters.GetSnapshot().GetSettings().size();
    Note(std::to_string(count) + " parameters loaded");
    return parameters;
}

QvKit::Snapshot Context::ReadParameters(const ChosenDevice& aDevice) const {
    return LoadParameters(*OpenDevice(aDevice)).GetSnapshot();
}

}  // namespace Qvctl
