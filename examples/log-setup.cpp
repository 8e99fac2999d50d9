// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A program's log and the error log, each in its own file. Usage: log-setup FOLDER

#include <cstdio>
#include <string>

#include "QvUserLib/QvUserLib.h"

namespace {

/// Prints a file's lines, each from the first mark on, which leaves out the time of day.
void ShowFile(const char* aTitle, const std::string& aPath, const char* aMark) {
    std::printf("%s:\n", aTitle);
    std::FILE* const file = std::fopen(aPath.c_str(), "r");
    if (file == nullptr) return;
    char line[1024];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        const std::string text(line);
        const std::size_t start = text.find(aMark);
        std::printf("  %s", text.c_str() + (start == std::string::npos ? 0 : start));
    }
    (void)std::fclose(file);  // It was only read.
}

}  // namespace

int main(int aCount, char** aArguments) {
    if (aCount != 2) {
        std::fprintf(stderr, "Usage: log-setup FOLDER\n");
        return 2;
    }
    const std::string folder = aArguments[1];
    const std::string errorPath = folder + "\\errors.log";
    const std::string logPath = folder + "\\program.log";

    // The library reports to the error log: always in memory, and to a file once one is open. The
    // file of the last run is kept, with .bak appended.
    QvUserLib::ErrorLog& errors = QvUserLib::ErrorLog::GetErrorLog();
    if (errors.Open(errorPath.c_str()).IsFailure()) return 1;
    (void)errors.SetAutoFlush(true);  // Nothing is lost in a crash. Returns the old setting.

    // The program's own log. New lines are appended. If the file has a megabyte or more when it is
    // opened, it is cut to its last quarter.
    QvUserLib::Log log;
    if (log.Open(logPath.c_str(), "a", 1024 * 1024).IsFailure()) return 1;
    if (log.Write("Started with %d argument", aCount - 1).IsFailure()) return 1;

    QvUserLib::Parameter gain("Gain", 1);
    gain.InitInteger(6, 0, 60);
    const QvUserLib::Result refused = gain.SetInt(61);
    QvUserLib::String message;
    (void)errors.GetLastError(message);  // The result is the one above.
    if (log.Write("Gain: %s (code 0x%lx)", message.GetAscii(), refused.GetCode()).IsFailure()) {
        return 1;
    }

    // A program reports its own errors in the same way.
    const QvUserLib::Result own(QvUserLib::Code::NotSupported);
    if (errors.WriteError(own, "log-setup", 55, "No colour %s", "mauve").IsFailure()) return 1;

    if (log.Close().IsFailure() || errors.Close().IsFailure()) return 1;
    ShowFile("The program's log", logPath, "Started");
    ShowFile("The error log", errorPath, "ERR");
}
