// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// How the tool reports an error: its exit code, its lines and its JSON.

#ifndef QVCTL_OUTPUT_ERRORREPORT_H
#define QVCTL_OUTPUT_ERRORREPORT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "QvKit/Error.h"

namespace Qvctl {

// What the process returns.
enum class ExitCode {
    Done = 0,
    Failed = 1,
    WrongUsage = 2,
    NoSuchDevice = 3,
    TimedOut = 4,
    Interrupted = 130
};

ExitCode ExitCodeOf(QvKit::ErrorKind aKind);

// The message in lines, one for each refusal.
std::vector<std::string> LinesOf(const QvKit::Error& aError);

// The member "error" of the JSON output.
nlohmann::ordered_json ToJson(const QvKit::Error& aError);

// What is wrong with the command line.
QvKit::Error WrongUsage(const std::string& aMessage);

}  // namespace Qvctl

#endif
