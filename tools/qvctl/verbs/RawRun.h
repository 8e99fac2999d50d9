// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// One request of any kind to any device, and its report.

#ifndef QVCTL_VERBS_RAWRUN_H
#define QVCTL_VERBS_RAWRUN_H

#include <functional>
#include <optional>
#include <string>

#include "Context.h"
#include "QvKit/ControlCode.h"
#include "QvKit/RawRequest.h"
#include "commandline/Arguments.h"

namespace Qvctl {

struct RawRequest {
    std::function<QvKit::RawAnswer(QvKit::BoundedConnection&)> send;
    std::optional<QvKit::ControlCode> code;  // Of an I/O-control request.
    bool isWrite = false;                    // Whether nothing comes back.
    std::string outFile;                     // For what comes back; empty for a dump.
};

// Adds the option --out-file.
void AddOutFileOption(Arguments& aArguments, std::string& aOutFile);

// Sends the request to the device that the options name. Throws `QvKit::Error`.
Outcome RunRawRequest(const Context& aContext, const RawRequest& aRequest);

}  // namespace Qvctl

#endif
