// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include "Comparison.h"
#include "DirectLogger.h"
#include "QvUserLib/Logger.h"
#include "TemporaryFile.h"

namespace QvBench {

namespace {

using QvUserLib::Logger;
using QvUserLib::PriorityLevel;

constexpr char kName[] = "bench";

// Both ways log to the same file, with the same log4cxx. QV_LOG_CONFIG must be set before the first
// logger is made.
class Loggers {
public:
    Loggers() {
        std::ofstream config(config_.Path());
        config << "log4j.rootLogger=INFO, File\n"
                  "log4j.appender.File=org.apache.log4j.FileAppender\n"
                  "log4j.appender.File.File="
               << ForwardSlashes(file_.Path())
               << "\nlog4j.appender.File.layout=org.apache.log4j.PatternLayout\n"
                  "log4j.appender.File.layout.ConversionPattern=%m%n\n";
        config.close();
        ::_putenv(("QV_LOG_CONFIG=" + config_.Path()).c_str());
        ours = std::make_unique<Logger>(kName);
        Must(ours->IsPriorityEnabled(PriorityLevel::Info), "log4cxx is not there");

        // log4cxx is loaded already, so this finds it.
        module_ = ::LoadLibraryA("QvBenchDirect.dll");
        Must(module_ != nullptr, "QvBenchDirect.dll cannot be loaded");
        direct = reinterpret_cast<DirectLogger*>(
            reinterpret_cast<void*>(::GetProcAddress(module_, "QvBenchLogDirectly")));
    }
    ~Loggers() {
        ::FreeLibrary(module_);
        ours.reset();
    }

    Loggers(const Loggers&) = delete;
    Loggers& operator=(const Loggers&) = delete;

    std::unique_ptr<Logger> ours;
    DirectLogger* direct;

private:
    // A backslash escapes in properties files.
    static std::string ForwardSlashes(std::string aPath) {
        for (char& character : aPath) {
            if (character == '\\') character = '/';
        }
        return aPath;
    }

    TemporaryFile config_;
    TemporaryFile file_;
    HMODULE module_;
};

// An iteration is one call with a prefix and a number.

Body Ours(PriorityLevel aLevel) {
    return [=](benchmark::State& aState) {
        Loggers loggers;
        Repeat(aState, [&] {
            loggers.ours->Log(aLevel, __FILE__, __LINE__, "Stream", "packet %d is late", 7);
        });
    };
}

Body Bare(PriorityLevel aLevel) {
    return [=](benchmark::State& aState) {
        Loggers loggers;
        Repeat(aState, [&] {
            loggers.direct(kName, static_cast<int>(aLevel), "%s packet %d is late", "Stream", 7);
        });
    };
}

}  // namespace

void AddLoggerRows(Table& aTable) {
    constexpr double kGoal = 1.05;
    aTable.Add({"Logger::Log, level off", "log4cxx", Ours(PriorityLevel::Debug),
                Bare(PriorityLevel::Debug), kGoal});
    aTable.Add({"Logger::Log, level on", "log4cxx", Ours(PriorityLevel::Info),
                Bare(PriorityLevel::Info), kGoal});
}

}  // namespace QvBench
