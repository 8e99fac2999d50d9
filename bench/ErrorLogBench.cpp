// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <cstring>
#include <memory>
#include <mutex>

#include "Comparison.h"
#include "QvUserLib/ErrorLog.h"
#include "QvUserLib/Parameter.h"
#include "QvUserLib/ParameterRepository.h"
#include "TemporaryFile.h"

namespace QvBench {

namespace {

using QvUserLib::ErrorLog;
using QvUserLib::Parameter;
using QvUserLib::ParameterRepository;
using QvUserLib::Result;

constexpr char kSource[] = ".\\Parameter";
constexpr int kLine = 293;
constexpr char kOutOfRange[] = "Value does not fit in the range";
constexpr unsigned long kCode = 0x12;

// How many errors both we and the alternative keep in memory.
constexpr std::size_t kKept = 64;

// An iteration is one value that the range check refuses, from the setter to the record in memory.
// No file is open.

void OursRefusedChange(benchmark::State& aState) {
    Parameter gain("Gain", 1);
    gain.InitInteger(5, 0, 10);
    Repeat(aState, [&] { Must(gain.SetInt(11).GetCode() == kCode, "not refused"); });
}

void BareRefusedChange(benchmark::State& aState) {
    spdlog::logger logger("bench", std::make_shared<spdlog::sinks::null_sink_mt>());
    logger.set_level(spdlog::level::off);
    logger.enable_backtrace(kKept);
    Repeat(aState, [&] {
        logger.log(spdlog::source_loc{kSource, kLine, ""}, spdlog::level::err, kOutOfRange);
    });
}

// An iteration is one refusal with a plain text as its message, from the public operation to the
// record in memory.

void OursPlainMessage(benchmark::State& aState) {
    ParameterRepository repository("Empty", 1);
    Repeat(aState, [&] { Must(repository.Add(nullptr).GetCode() == kCode, "not refused"); });
}

void BarePlainMessage(benchmark::State& aState) {
    static constexpr char kText[] = "Error allocating memory for the parameter";
    CRITICAL_SECTION section;
    ::InitializeCriticalSection(&section);
    char text[1024];
    Repeat(aState, [&] {
        ::EnterCriticalSection(&section);
        benchmark::DoNotOptimize(std::memcpy(text, kText, sizeof kText));
        benchmark::ClobberMemory();
        ::LeaveCriticalSection(&section);
    });
    ::DeleteCriticalSection(&section);
}

// Opens a file for the log of the process as long as the object exists.
class OpenErrorLog {
public:
    explicit OpenErrorLog(bool aFlushes) {
        Must(log.Open(file_.Path().c_str()));
        (void)log.SetAutoFlush(aFlushes);
    }
    ~OpenErrorLog() {
        (void)log.SetAutoFlush(false);
        Must(log.Close());
    }

    OpenErrorLog(const OpenErrorLog&) = delete;
    OpenErrorLog& operator=(const OpenErrorLog&) = delete;

    ErrorLog& log = ErrorLog::GetErrorLog();

private:
    TemporaryFile file_;
};

// The alternative, with the same lines in its file.
class FileLogger {
public:
    explicit FileLogger(bool aFlushes)
        : logger_("bench",
                  std::make_shared<spdlog::sinks::basic_file_sink_mt>(file_.Path(), true)) {
        logger_.set_pattern("%c %v");
        if (aFlushes) logger_.flush_on(spdlog::level::trace);
    }

    void Write() {
        logger_.error("[0x{:x}] [0x{:x}] {}({}) {} - {}", kCode, ::GetCurrentThreadId(), kSource,
                      kLine, "ERR ", kOutOfRange);
    }

private:
    TemporaryFile file_;
    spdlog::logger logger_;
};

// An iteration is one line with time, code, thread, source and message, on each of the threads.
// Other threads wait where the measuring starts until the first has opened the file.

Body OursLine(bool aFlushes) {
    return [=](benchmark::State& aState) {
        static std::unique_ptr<OpenErrorLog> open;
        if (aState.thread_index() == 0) open = std::make_unique<OpenErrorLog>(aFlushes);
        ErrorLog& log = ErrorLog::GetErrorLog();
        Repeat(aState,
               [&] { Must(log.WriteError(Result(kCode), kSource, kLine, "%s", kOutOfRange)); });
        if (aState.thread_index() == 0) open.reset();
    };
}

Body BareLine(bool aFlushes) {
    return [=](benchmark::State& aState) {
        static std::unique_ptr<FileLogger> logger;
        if (aState.thread_index() == 0) logger = std::make_unique<FileLogger>(aFlushes);
        Repeat(aState, [&] { logger->Write(); });
        if (aState.thread_index() == 0) logger.reset();
    };
}

void OursThreadsClosed(benchmark::State& aState) {
    Parameter gain("Gain", 1);
    gain.InitInteger(5, 0, 10);
    Repeat(aState, [&] { Must(gain.SetInt(11).GetCode() == kCode, "not refused"); });
}

void BareThreadsClosed(benchmark::State& aState) {
    static std::unique_ptr<spdlog::logger> logger;
    if (aState.thread_index() == 0) {
        logger = std::make_unique<spdlog::logger>("bench",
                                                  std::make_shared<spdlog::sinks::null_sink_mt>());
        logger->set_level(spdlog::level::off);
        logger->enable_backtrace(kKept);
    }
    Repeat(aState, [&] {
        logger->log(spdlog::source_loc{kSource, kLine, ""}, spdlog::level::err, kOutOfRange);
    });
    if (aState.thread_index() == 0) logger.reset();
}

}  // namespace

void AddErrorLogRows(Table& aTable) {
    constexpr int kThreads = 8;
    aTable.Add({"Refused change, log closed", "spdlog's backtrace ring", OursRefusedChange,
                BareRefusedChange, 0.5});
    aTable.Add({"Plain message, log closed", "memcpy in a critical section", OursPlainMessage,
                BarePlainMessage, 3.0});
    aTable.Add({"Error line to a file", "spdlog's basic file logger", OursLine(false),
                BareLine(false), 1.0});
    aTable.Add({"Error line to a file, flushed", "spdlog's basic file logger, flushed",
                OursLine(true), BareLine(true), 1.0});
    aTable.Add({"8 threads: error line to a file", "spdlog's multi-threaded file logger",
                OursLine(false), BareLine(false), 1.0, 0, kThreads});
    aTable.Add({"8 threads: refused change, log closed", "spdlog's backtrace ring",
                OursThreadsClosed, BareThreadsClosed, 1.0, 0, kThreads});
}

}  // namespace QvBench
