// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <memory>

#include "Comparison.h"
#include "QvUserLib/Log.h"
#include "TemporaryFile.h"

namespace QvBench {

namespace {

using QvUserLib::Log;

constexpr char kPlain[] = "The device was opened and all of its parameters were loaded";

// The compiler must not see the format as a literal: it would warn of one without arguments.
const char* Plain() { return kPlain; }

class OpenLog {
public:
    explicit OpenLog(bool aFlushes) {
        Must(log.Open(file_.Path().c_str(), "w", 0));
        (void)log.SetAutoFlush(aFlushes);
    }
    ~OpenLog() { Must(log.Close()); }

    OpenLog(const OpenLog&) = delete;
    OpenLog& operator=(const OpenLog&) = delete;

    Log log;

private:
    TemporaryFile file_;
};

class FileLogger {
public:
    explicit FileLogger(bool aFlushes)
        : logger("bench", std::make_shared<spdlog::sinks::basic_file_sink_st>(file_.Path(), true)) {
        logger.set_pattern("%v");
        if (aFlushes) logger.flush_on(spdlog::level::trace);
    }

private:
    TemporaryFile file_;

public:
    spdlog::logger logger;
};

// An iteration is one line.

Body OursPlain(bool aFlushes) {
    return [=](benchmark::State& aState) {
        OpenLog open(aFlushes);
        Repeat(aState, [&] { Must(open.log.Write("%s", Plain())); });
    };
}

Body BarePlain(bool aFlushes) {
    return [=](benchmark::State& aState) {
        FileLogger file(aFlushes);
        Repeat(aState, [&] { file.logger.info("{}", Plain()); });
    };
}

void OursNumbers(benchmark::State& aState) {
    OpenLog open(false);
    int number = 0;
    Repeat(aState, [&] {
        ++number;
        Must(open.log.Write("packet %d of %s: %lu bytes", number, "channel 7", 64UL));
    });
}

void BareNumbers(benchmark::State& aState) {
    FileLogger file(false);
    int number = 0;
    Repeat(aState, [&] {
        ++number;
        file.logger.info("packet {} of {}: {} bytes", number, "channel 7", 64UL);
    });
}

}  // namespace

void AddLogRows(Table& aTable) {
    constexpr char kBasic[] = "spdlog's basic file logger";
    aTable.Add({"Log::Write, a text", kBasic, OursPlain(false), BarePlain(false), 1.0});
    aTable.Add({"Log::Write, a text, flushed", kBasic, OursPlain(true), BarePlain(true), 1.0});
    aTable.Add({"Log::Write, text and numbers", kBasic, OursNumbers, BareNumbers, 1.0});
}

}  // namespace QvBench
