// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Context.h"

namespace Qvctl {

void Context::Note(const std::string& aText) const {
    if (log != nullptr) log->Write(QvUserLib::PriorityLevel::Debug, aText);
    if (options.verbose) err.WriteLine("qvctl: " + aText);
}

ChosenDevice Context::FindDevice() const {
    return Qvctl::FindDevice(options.interfaceClass, options.device);
}

std::unique_ptr<QvKit::Device> Context::OpenDevice(const ChosenDevice& aDevice) const {
    Note("opening " + aDevice.address.path);
    try {
        return std::make_unique<QvKit::Device>(aDevice.address);
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
