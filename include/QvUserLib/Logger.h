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

/// A named logger of log4cxx, or an empty one where log4cxx cannot be had: then every operation
/// does nothing, so that a program never fails for want of logging.
///
/// log4cxx is bound when the first `Logger` of the process is constructed. It is looked for at
/// `log4cxx\x64\Release\log4cxx.dll` beside `QvUserLib64.dll` and configured from the properties
/// file that the environment variable `QV_LOG_CONFIG` names, or else from `log4cxx\default.logcfg`
/// beside `QvUserLib64.dll`. When that fails, all loggers of the process are empty: it is not tried
/// again. The destructor of the last logger closes log4cxx and unloads it, and a later logger sets
/// it up anew.
///
/// Construct and destroy loggers on one thread at a time: the first and the last change `PATH` for
/// the whole process while they work. `Log`, `LogResult` and `IsPriorityEnabled` may be called on
/// any thread while the object lives.
///
/// A logger of static lifetime in a DLL may be the last one when that DLL is unloaded or the
/// process ends. Threads cannot be waited for there, so log4cxx then stays loaded; as the process
/// ends it is left alone, and what is logged by then is dropped.
class QVUSERLIB_API Logger {
public:
    /// Fetches the log4cxx logger of this name (ANSI code page; null counts as empty), which is the
    /// same for all objects of one name. A text that log4cxx throws goes to standard output, and
    /// the logger is empty.
    explicit Logger(const char* aName);
    ~Logger();

    /// Logs where the other one does from now on. Both objects count as users of log4cxx if they
    /// did before: do not assign from or to an empty logger, or log4cxx stays loaded or goes too
    /// early.
    Logger& operator=(const Logger& aOther);

    Logger(const Logger&) = delete;

    /// Logs `aPrefix`, a blank and the expanded text at a level, cut to 1023 characters in all. A
    /// text that log4cxx throws goes to standard output.
    ///
    /// @param aLevel   The level; the configuration says from which one on messages are kept.
    /// @param aFile    Not used.
    /// @param aLine    Not used.
    /// @param aPrefix  In the ANSI code page, as is the text. Null counts as empty.
    /// @param aFormat  The text, expanded as by `printf`. Null counts as empty.
    QVBASELIB_PRINTF(6, 7)
    void Log(PriorityLevel aLevel, const char* aFile, unsigned long aLine, const char* aPrefix,
             const char* aFormat, ...);

    /// As `Log` at the level `Error`, and makes a result of it, whether or not it was logged.
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

    // This field is part of the binary interface: log4cxx's own logger, which log4cxx owns, or
    // null.
    void* logger_;
};

}  // namespace QvUserLib

#endif
