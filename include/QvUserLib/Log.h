// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_LOG_H
#define QVUSERLIB_LOG_H

#include <atomic>
#include <cstddef>
#include <cstdio>

#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/Export.h"

#ifdef _MSC_VER
#pragma warning(push)
// The standard library's types in the private part are the same on both sides of the DLL.
#pragma warning(disable : 4251)
#endif

namespace QvUserLib {

/// A plain text log file with an optional cap on its size.
///
/// Use one object from one thread at a time; `ErrorLog` adds a lock.
class QVUSERLIB_API Log {
public:
    Log();

    /// Closes the file.
    virtual ~Log();

    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    /// Opens a file and closes the one that was open. Child processes do not inherit it.
    ///
    /// @param aPath     The path, in the ANSI code page.
    /// @param aMode     The mode, as for the C library's `fopen`: "a" appends, "w" starts a new
    ///                  file.
    /// @param aMaxSize  The cap in bytes; 0 or less for none. It is checked only on opening: while
    ///                  open, a file grows without limit. A file that has reached the cap keeps
    ///                  only the last quarter of its bytes: `size / 4` of them from offset
    ///                  `size * 3 / 4`, unchanged even when the mode translates line ends. For this
    ///                  the file is deleted and opened again in the same mode. So use a cap only
    ///                  with a mode that creates files: "r" and "r+" fail, and the file is gone.
    ///                  The file stays whole when there is no memory for its last quarter, or when
    ///                  it cannot be read or deleted.
    /// @retval CannotOpenFile  The file cannot be opened, or cannot be opened again after it was
    ///                         deleted, or the path or the mode is null or empty. A file that was
    ///                         open stays open.
    /// @retval ShortWrite      The file is open, but the kept bytes could not all be written.
    virtual Result Open(const char* aPath, const char* aMode, int aMaxSize);

    /// Flushes and closes the file, if one is open. Always succeeds.
    virtual Result Close();

    /// Writes one line: the expanded text, cut to 511 characters, and a line feed. A null or empty
    /// format writes nothing and succeeds.
    ///
    /// @retval FileNotOpen  No file is open.
    /// @retval ShortWrite   Not all characters could be written.
    QVBASELIB_PRINTF(2, 3) virtual Result Write(const char* aFormat, ...);

    /// Sets whether every line is flushed to the system, and returns the earlier setting. Off at
    /// first.
    bool SetAutoFlush(bool aOn);
    /// Whether every line is flushed to the system.
    bool IsAutoFlush();

    /// Whether a file is open.
    bool IsOpened();

protected:
    /// Writes `aLength` characters and a line feed, which it stores in the buffer after them.
    ///
    /// @return as `Write`.
    Result WriteText(char* aText, std::size_t aLength);

private:
    // These fields and their order are part of the binary interface. They are atomic because
    // ErrorLog reads them outside its lock, so that reporting costs little while no file is open.
    std::atomic<std::FILE*> file_;
    std::atomic<bool> autoFlush_;
};

}  // namespace QvUserLib

#ifdef _MSC_VER
#pragma warning(pop)
#endif

#endif
