// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Logs what the tool does and how it fails, with the library's logger.

#ifndef QVCTL_ACTIVITYLOG_H
#define QVCTL_ACTIVITYLOG_H

#include <memory>
#include <string>

#include "QvUserLib/Logger.h"

namespace Qvctl {

struct LogOptions {
    std::string config;  // Empty for what the library finds by itself.
    QvUserLib::PriorityLevel level = QvUserLib::PriorityLevel::Info;
    bool asked = false;  // Whether any option of the log was given.
};

// The level of this name, in upper or lower case. Throws `QvKit::Error` for wrong usage.
QvUserLib::PriorityLevel ParseLogLevel(const std::string& aText);

class ActivityLog {
public:
    // `aVerb` precedes each message. Throws `QvKit::Error` when the configuration is
    // missing.
    ActivityLog(const LogOptions& aOptions, const std::string& aVerb);

    // Whether log4cxx is there and configured.
    bool IsOn();

    // Leaves out the levels below the one that was asked for.
    void Write(QvUserLib::PriorityLevel aLevel, const std::string& aText);

private:
    QvUserLib::PriorityLevel level_;
    std::string verb_;
    std::unique_ptr<QvUserLib::Logger> logger_;
};

}  // namespace Qvctl

#endif
