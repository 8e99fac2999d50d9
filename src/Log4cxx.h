// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_LOG4CXX_H
#define QVUSERLIB_SRC_LOG4CXX_H

#include <string>

// The one way in which the library reaches log4cxx, whose DLL is loaded on demand. 8-bit texts are
// in the ANSI code page. Nothing throws: what log4cxx throws is printed to standard output.
//
// Loggers are log4cxx's own objects, valid from Bind to Unbind. After Unbind nothing here calls
// into log4cxx any more, so a logger that was kept too long does no harm.
namespace QvUserLib {
namespace Log4cxx {

// Loads the log4cxx.dll with this full path and binds everything that is imported from it, even if
// the process has another DLL of that name. False when it cannot be loaded, lacks one of the
// functions, or this library was built without log4cxx.
bool Bind(const std::string& aPath);

// Shuts log4cxx down, with its threads, and unloads it. False when that was not possible.
bool Unbind();

// Whether Unbind may be called here. Not inside the system's loader: no thread can end while this
// thread is there, so it would wait forever. Not when the process is ending either.
bool CanUnbind();

// Configures log4cxx from a properties file. False when log4cxx threw. It does not throw for a file
// that it cannot read or understand: it reports that on standard error.
bool Configure(const std::wstring& aPath);

// Null when log4cxx threw or is not bound.
void* GetLogger(const char* aName);

bool IsEnabled(void* aLogger, int aLevel);
void Log(void* aLogger, int aLevel, const char* aText);
void LogError(void* aLogger, const char* aText);

}  // namespace Log4cxx
}  // namespace QvUserLib

#endif
