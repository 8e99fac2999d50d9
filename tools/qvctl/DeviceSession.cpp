// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceSession.h"

#include "Failure.h"
#include "LibraryError.h"

namespace Qvctl {
namespace {

// A path that does not open is no device; one from the list is there, and something else is wrong.
Failure CannotOpen(const Device& aDevice, const QvUserLib::Result& aResult) {
    const std::string reason = ReasonFor(aResult);
    if (!aDevice.index) {
        return Failure(ExitCode::NoSuchDevice,
                       "there is no device '" + aDevice.path + "': " + reason, aResult.GetCode());
    }
    return Failure(ExitCode::Failed, "cannot open '" + aDevice.path + "': " + reason,
                   aResult.GetCode());
}

}  // namespace

DeviceSession::DeviceSession(const Context& aContext)
    : device_(FindDevice(aContext.options.interfaceClass, aContext.options.device)) {
    aContext.Note("opening " + device_.path);
    const QvUserLib::Result opened = connection_.Connect(device_.link.c_str());
    if (opened.IsFailure()) throw CannotOpen(device_, opened);

    const QvUserLib::Result loaded = parameters_.Connect(&connection_);
    if (loaded.IsFailure()) throw DriverFailure("cannot load the device's parameters", loaded);
    aContext.Note(std::to_string(parameters_.GetCount()) + " parameters loaded");
}

}  // namespace Qvctl
