// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ActivityLog.h"

#include <stdlib.h>

#include <algorithm>
#include <optional>

#include "QvKit/Error.h"
#include "QvKit/Text.h"
#include "WindowsApi.h"
#include "output/ErrorReport.h"

namespace Qvctl {
namespace {

using QvUserLib::PriorityLevel;

constexpr struct {
    const char* name;
    PriorityLevel level;
} kLevels[] = {
    {"off", PriorityLevel::Off},     {"fatal", PriorityLevel::Fatal},
    {"error", PriorityLevel::Error}, {"warn", PriorityLevel::Warn},
    {"info", PriorityLevel::Info},   {"debug", PriorityLevel::Debug},
    {"trace", PriorityLevel::Trace}, {"all", PriorityLevel::All},
};

// The library takes the file's name from its environment variable.
void UseConfig(const std::string& aPath) {
    const std::optional<std::string> path = QvKit::ToAnsi(aPath);
    if (!path || ::GetFileAttributesA(path->c_str()) == INVALID_FILE_ATTRIBUTES) {
        throw QvKit::Error(QvKit::ErrorKind::SystemFailed,
                           "there is no log configuration '" + aPath + "'");
    }
    ::_putenv(("QV_LOG_CONFIG=" + *path).c_str());
}

}  // namespace

PriorityLevel ParseLogLevel(const std::string& aText) {
    std::string text = aText;
    std::transform(text.begin(), text.end(), text.begin(), [](char aCharacter) {
        const bool isUpper = aCharacter >= 'A' && aCharacter <= 'Z';
        return static_cast<char>(isUpper ? aCharacter - 'A' + 'a' : aCharacter);
    });
    std::string names;
    for (const auto& one : kLevels) {
        if (text == one.name) return one.level;
        names += (names.empty() ? "" : ", ") + std::string(one.name);
    }
    throw WrongUsage("'" + aText + "' is no log level; there are " + names);
}

ActivityLog::ActivityLog(const LogOptions& aOptions, const std::string& aVerb)
    : level_(aOptions.level), verb_(aVerb) {
    if (!aOptions.config.empty()) UseConfig(aOptions.config);
    logger_ = std::make_unique<QvUserLib::Logger>("qvctl");
}

bool ActivityLog::IsOn() {
    // Every configuration lets the highest level through.
    return logger_->IsPriorityEnabled(PriorityLevel::Off);
}

void ActivityLog::Write(PriorityLevel aLevel, const std::string& aText) {
    if (aLevel < level_) return;
    logger_->Log(aLevel, "qvctl", 0, verb_.c_str(), "%s", QvKit::ToLibraryText(aText).GetAscii());
}

}  // namespace Qvctl
