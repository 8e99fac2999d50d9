// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What every verb gets: the options that all of them share, and where its output goes.

#ifndef QVCTL_CONTEXT_H
#define QVCTL_CONTEXT_H

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "ActivityLog.h"
#include "DeviceChoice.h"
#include "QvKit/Channel.h"
#include "QvKit/Device.h"
#include "WindowsApi.h"
#include "output/Output.h"
#include "output/Report.h"

namespace Qvctl {

struct Options {
    DeviceChoice device;
    GUID interfaceClass;
    std::string errorLog;  // Empty for none.
    LogOptions log;
    bool json;
    bool verbose;
    std::optional<std::chrono::milliseconds> timeout;  // For an answer of the device.
    std::optional<std::chrono::milliseconds> wait;     // For the arrival of the device.
};

struct Context {
    const Options& options;
    Printer& printer;
    Output& out;
    Output& err;
    // Requested by Ctrl-C; null for verbs that use no device, which Ctrl-C ends as always.
    const QvKit::StopSignal* stop = nullptr;
    ActivityLog* log = nullptr;  // Null when no log was asked for.

    // Writes to the log what is going on, and to standard error for a user who asked for it.
    void Note(const std::string& aText) const;

    // How long requests may take, unless the options say otherwise; until Ctrl-C at the most.
    QvKit::RequestLimits GetLimits() const;

    // The device that the options name. Waits for it if they say so. Throws `QvKit::Error`.
    ChosenDevice FindDevice() const;

    // Opens it. Throws `QvKit::Error`.
    std::unique_ptr<QvKit::Device> OpenDevice(const ChosenDevice& aDevice) const;

    // Opens it for other requests than those for parameters. Throws `QvKit::Error`.
    std::unique_ptr<QvKit::Channel> OpenChannel(const ChosenDevice& aDevice) const;

    // Loads its parameters. Throws `QvKit::Error`.
    QvKit::DeviceParameters& LoadParameters(QvKit::Device& aDevice) const;

    // Opens it, copies its parameters, and closes it again. Throws `QvKit::Error`.
    QvKit::Snapshot ReadParameters(const ChosenDevice& aDevice) const;
};

}  // namespace Qvctl

#endif
