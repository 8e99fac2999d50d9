// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_LOGGER_H
#define QVUSERLIB_LOGGER_H

#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/Export.h"

namespace QvUserLib {

/// The levels of log4cxx, with its numbers. A number that log4cxx does not know counts as its
/// default level, `Debug`.
enum class PriorityLevel : int {
    Off = 2147483647,
    Fatal = 50000,
    Error = 40000,
    Warn = 30000,
    Info = 20000,
    Debug = 10000,
    Trace = 5000,
    All = -2147483647 - 1
};

/// A named logger of log4cxx, or an empty one if log4cxx could not be set up. An empty logger does
/// nothing, so a program does not fail because logging is not available.
///
/// The first `Logger` of the process sets log4cxx up. It loads the file
/// `log4cxx\x64\Release\log4cxx.dll` beside `QvUserLib64.dll`, and no other DLL of that name. It
/// configures log4cxx from the properties file that the environment variable `QV_LOG_CONFIG` names.
/// If there is no such file, it takes `log4cxx\default.logcfg` beside `QvUserLib64.dll`. If the DLL
/// cannot be loaded, if there is neither file, or if log4cxx throws, all loggers of the process are
/// empty: the library does not try again. A file that log4cxx cannot read or understand counts as
/// configured: log4cxx reports it on standard error, and the loggers may log nothing.
///
/// The destructor of the last logger calls `LogManager::shutdown` of log4cxx and unloads it; a
/// later logger sets it up again. If the program itself uses the same log4cxx, that also closes the
/// program's appenders. Such a program keeps one `Logger` for as long as it logs.
///
/// Construct and destroy loggers on one thread at a time. The first and the last logger change
/// `PATH` for the whole process while they work. If the DLL is there but cannot be loaded, `PATH`
/// stays changed. `Log`, `LogResult` and `IsPriorityEnabled` may be called on any thread while the
/// object lives.
///
/// A logger of static lifetime in a DLL may be the last one when that DLL is unloaded or the
/// process ends. It cannot wait for log4cxx's threads there, so log4cxx stays loaded. Messages that
/// are logged while the process ends are dropped.
class QVUSERLIB_API Logger {
public:
    /// Fetches the log4cxx logger of this name (ANSI code page; null counts as empty). All objects
    /// of one name share it. If log4cxx throws, the text goes to standard output, and the logger is
    /// empty.
    explicit Logger(const char* aName);
    ~Logger();

    /// Logs from now on where the other one does. The number of loggers that keep log4cxx loaded
    /// does not change, but the destructor of a logger that is not empty lowers it. So do not
    /// assign from or to an empty logger: log4cxx would stay loaded, or would be unloaded too
    /// early.
    Logger& operator=(const Logger& aOther);

    Logger(const Logger&) = delete;

    /// Logs `aPrefix`, a blank and the expanded text at a level, cut to 1023 characters in all. If
    /// log4cxx throws, the text of the exception goes to standard output.
    ///
    /// @param aLevel   The level; the configuration says from which level on messages are kept.
    /// @param aFile    Not used.
    /// @param aLine    Not used.
    /// @param aPrefix  In the ANSI code page, as is the text. Null counts as empty.
    /// @param aFormat  The text, expanded as by `printf`. Null counts as empty.
    QVBASELIB_PRINTF(6, 7)
    void Log(PriorityLevel aLevel, const char* aFile, unsigned long aLine, const char* aPrefix,
             const char* aFormat, ...);

    /// Logs like `Log` at the level `Error`, and returns the text in a result, whether or not it
    /// was logged.
    ///
    /// @return a result with the code `aCode` and the text as its description.
    QVBASELIB_PRINTF(6, 7)
    Result LogResult(unsigned long aCode, const char* aFile, unsigned long aLine,
                     const char* aPrefix, const char* aFormat, ...);

    /// Whether the configuration lets this logger log at a level; false for an empty logger.
    bool IsPriorityEnabled(PriorityLevel aLevel);

private:
    static bool Init();
    static bool SetEnv();
    static void ResetEnv();
    static bool LoadImports();
    static void UnloadImports();

    // This field is part of the binary interface: a logger that log4cxx owns, or null.
    void* logger_;
};

}  // namespace QvUserLib

#endif
