// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_ERRORLOG_H
#define QVUSERLIB_ERRORLOG_H

#include <cstddef>

#include "QvUserLib/Log.h"
#include "QvUserLib/String.h"

namespace QvUserLib {

/// The process-wide error log. Every failing operation of the library reports here, whether a file
/// is open or not: the last 64 errors stay in memory with the thread that reported them, so any
/// thread can ask for its own last error as text.
///
/// A line of the file reads `TIME [0xCODE] [0xTHREAD] FILE(LINE) TAG - MESSAGE`, where CODE is the
/// result's low 16 bits (0xffff for 259) and TAG is `ERR ` or `INFO`. A line is cut to 1023
/// characters when it is composed. It then passes `Log::Write` as a format, which cuts it to 511
/// characters and turns `%%` into `%`; any other percent sign stays as it is.
///
/// All operations may be called from any thread. Only the inherited three-argument `Open`, and
/// `Write`, take no lock.
class QVUSERLIB_API ErrorLog : public Log {
public:
    /// The log that the library reports to. It lives from the loading of the library to its
    /// unloading.
    static ErrorLog& GetErrorLog();

    ErrorLog();
    ~ErrorLog() override;

    /// Closes the file, if one is open. The errors in memory stay. Always succeeds.
    Result Close() override;

    using Log::Open;

    /// Starts a new file. A file that is there is first copied to its name with `.bak` appended
    /// (cut to 259 characters), which replaces an earlier copy. When that cannot be done the new
    /// file is started all the same, and the earlier one is gone.
    ///
    /// @retval AlreadyOpen     A file is open; it stays as it is.
    /// @retval CannotOpenFile  The file cannot be opened.
    virtual Result Open(const char* aPath);

    /// Records an error, and writes its line when a file is open.
    ///
    /// @param aResult  The outcome that is reported.
    /// @param aFile    The source file, or another label, of the reporter.
    /// @param aLine    The line in it.
    /// @param aFormat  The message. A null or empty one records nothing and succeeds.
    /// @retval NotSet  No file is open; the error was recorded in memory.
    /// @return otherwise what `Log::Write` reports for the line.
    QVBASELIB_PRINTF(5, 6)
    Result WriteError(Result aResult, const char* aFile, unsigned long aLine, const char* aFormat,
                      ...);

    /// As `WriteError`, with the arguments as a `va_list`. With a null one the format is the
    /// message as it stands.
    QVBASELIB_PRINTF(5, 0)
    Result WriteErrorArg(Result aResult, const char* aFile, unsigned long aLine,
                         const char* aFormat, char*& aArguments);

    /// Writes a line of information. It is not an error and is not kept in memory. Without an open
    /// file this does nothing and succeeds, and so does a null or empty format.
    ///
    /// @return what `Log::Write` reports for the line.
    QVBASELIB_PRINTF(5, 6)
    Result WriteInfo(Result aResult, const char* aFile, unsigned long aLine, const char* aFormat,
                     ...);

    /// As `WriteInfo`, with the arguments as a `va_list`. With a null one the format is the message
    /// as it stands.
    ///
    /// @retval FileNotOpen  No file is open.
    QVBASELIB_PRINTF(5, 0)
    Result WriteInfoArg(Result aResult, const char* aFile, unsigned long aLine, const char* aFormat,
                        char*& aArguments);

    /// Gives the calling thread's last error: its message in `aText`, its result as the returned
    /// one.
    ///
    /// Messages that read exactly `~Error propagation` only mark an error on its way to the caller
    /// and are passed over; when the thread has nothing else, the oldest of them is the answer. A
    /// thread that has reported nothing gets the newest error of any thread. With no error at all
    /// the text is empty and the result a success.
    Result GetLastError(String& aText);

    /// Writes the errors in memory to the file, newest first, with the time of this call. Succeeds
    /// without doing anything when no file is open or nothing was recorded.
    ///
    /// @return what `Log::Write` reports for the last line that was tried; a failure ends the dump.
    Result DumpLastError();

private:
    struct Record {
        Result result;
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
