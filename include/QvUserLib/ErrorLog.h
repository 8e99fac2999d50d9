// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_ERRORLOG_H
#define QVUSERLIB_ERRORLOG_H

#include <cstddef>

#include "QvUserLib/Log.h"
#include "QvUserLib/String.h"

namespace QvUserLib {

/// Memory for a result. Whoever has it makes and destroys the result.
union UnmadeResult {
    UnmadeResult() {}
    ~UnmadeResult() {}
    Result value;  ///< Once it has been made.
};

/// The process-wide error log. Every failing operation of the library reports here, whether a file
/// is open or not. The last 64 errors stay in memory with the thread that reported them, so each
/// thread can get its own last error as text.
///
/// A line of the file reads `TIME [0xCODE] [0xTHREAD] FILE(LINE) TAG - MESSAGE`, where CODE is the
/// result's low 16 bits (0xffff for 259) and TAG is `ERR ` or `INFO`. A line is composed of at most
/// 1023 characters. Writing it cuts it to 511 characters and turns `%%` into `%`; any other percent
/// sign stays as it is.
///
/// All operations may be called from any thread, except the inherited `Write` and three-argument
/// `Open`, which take no lock.
class QVUSERLIB_API ErrorLog : public Log {
public:
    /// The log that the library reports to. It exists as long as the library is loaded.
    static ErrorLog& GetErrorLog();

    ErrorLog();
    ~ErrorLog() override;

    /// Closes the file, if one is open. The errors in memory stay. Always succeeds.
    Result Close() override;

    using Log::Open;

    /// Starts a new file. An existing file is first copied to its name with `.bak` appended (cut to
    /// 259 characters), replacing an earlier copy. If that fails, the new file is started all the
    /// same, and the old one is lost.
    ///
    /// @retval AlreadyOpen     A file is open; it stays as it is.
    /// @retval CannotOpenFile  The file cannot be opened.
    virtual Result Open(const char* aPath);

    /// Records an error, and writes its line when a file is open.
    ///
    /// @param aResult  The outcome that is reported.
    /// @param aFile    The source file, or another label for the place that reports.
    /// @param aLine    The line in it.
    /// @param aFormat  The message. A null or empty one records nothing and succeeds.
    /// @retval NotSet  No file is open; the error was recorded in memory.
    /// @return otherwise what `Log::Write` reports for the line.
    QVBASELIB_PRINTF(5, 6)
    Result WriteError(Result aResult, const char* aFile, unsigned long aLine, const char* aFormat,
                      ...);

    /// As `WriteError`, with the arguments as a `va_list`. If that is null, the format itself is
    /// the message.
    QVBASELIB_PRINTF(5, 0)
    Result WriteErrorArg(Result aResult, const char* aFile, unsigned long aLine,
                         const char* aFormat, char*& aArguments);

    /// Writes a line of information. It does not count as an error and is not kept in memory. Does
    /// nothing and succeeds when no file is open or the format is null or empty.
    ///
    /// @return what `Log::Write` reports for the line.
    QVBASELIB_PRINTF(5, 6)
    Result WriteInfo(Result aResult, const char* aFile, unsigned long aLine, const char* aFormat,
                     ...);

    /// As `WriteInfo`, with the arguments as a `va_list`. If that is null, the format itself is the
    /// message.
    ///
    /// @retval FileNotOpen  No file is open.
    QVBASELIB_PRINTF(5, 0)
    Result WriteInfoArg(Result aResult, const char* aFile, unsigned long aLine, const char* aFormat,
                        char*& aArguments);

    /// Stores the message of the calling thread's last error in `aText`, and returns its result.
    ///
    /// A message that is exactly `~Error propagation` only marks an error on its way to the caller
    /// and is skipped. If the thread has no other message, its oldest one is used. A thread that
    /// has reported nothing gets the newest error of any thread. If there is no error at all, the
    /// text is empty and the result is a success.
    Result GetLastError(String& aText);

    /// Writes the errors in memory to the file, newest first, with the time of this call. Succeeds
    /// without doing anything when no file is open or nothing was recorded.
    ///
    /// @return what `Log::Write` reports for the last line tried; a failure ends the dump.
    Result DumpLastError();

private:
    struct Record {
        UnmadeResult result;
        char message[1024];
        char file[1024];
        unsigned long line;
        unsigned long thread;
    };

    Result WriteLine(const char* aLine);
    void AddRecord(const Result& aResult, const char* aFile, unsigned long aLine,
                   const char* aMessage, std::size_t aLength);

    static const unsigned int kRecordCount = 64;

    // These fields and their order are part of the binary interface. The gate guards the file, from
    // opening to closing, and all other fields.
    Record records_[kRecordCount];
    unsigned long newest_;
    bool hasEntries_;
    Gate gate_;
};

}  // namespace QvUserLib

#endif
