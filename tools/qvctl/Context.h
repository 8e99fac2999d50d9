// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What every verb is given: the options that all of them share, and where its output goes.

#ifndef QVCTL_CONTEXT_H
#define QVCTL_CONTEXT_H

#include <string>

#include "ActivityLog.h"
#include "DeviceList.h"
#include "Output.h"
#include "WindowsApi.h"

namespace Qvctl {

struct Options {
    DeviceChoice device;
    GUID interfaceClass;
    std::string errorLog;  // Empty for none.
    LogOptions log;
    bool json;
    bool verbose;
};

struct Context {
    const Options& options;
    Output& out;
    Output& err;
    ActivityLog* log = nullptr;  // Null when no log was asked for.

    // Tells what is going on, to those who asked for it.
    void Note(const std::string& aText) const {
        if (log != nullptr) log->Write(QvUserLib::PriorityLevel::Debug, aText);
        if (options.verbose) err.WriteLine("qvctl: " + aText);
    }
};

}  // namespace Qvctl

#endif
