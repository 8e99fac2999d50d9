// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Programs of this project as processes of their own.

#ifndef QVTESTS_PROGRAMRUN_H
#define QVTESTS_PROGRAMRUN_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "KernelObjects.h"
#include "TestSupport.h"
#include "WindowsApi.h"

namespace QvTests {

inline std::wstring Widen(const std::string& aUtf8) {
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, aUtf8.c_str(), -1, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, aUtf8.c_str(), -1, text.data(), size);
    text.pop_back();
    return text;
}

/// A file that takes what a program writes. A pipe would stay open for as long as any process that
/// the program started, which may be one of the system's own.
class OutputFile {
public:
    explicit OutputFile(const std::string& aPath) : path_(aPath), handle_(Create(aPath)) {
        EXPECT_TRUE(handle_.IsValid());
    }

    HANDLE GetHandle() const { return handle_.Get(); }
    std::string Content() const { return ReadBytes(path_); }

private:
    static HANDLE Create(const std::string& aPath) {
        SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
        return ::CreateFileA(aPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                             &inheritable, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    }

    std::string path_;
    Handle handle_;
};

/// What a program left behind.
struct Outcome {
    unsigned long exitCode = 0xFFFFFFFF;
    std::string out;
    std::string err;
};

/// The directory that this test program lies in.
inline std::string OwnDirectory() {
    char path[MAX_PATH];
    const std::string self(path, ::GetModuleFileNameA(nullptr, path, MAX_PATH));
    return self.substr(0, self.rfind('\\'));
}

/// Copies a file of this test program's directory.
inline void CopyOwnFile(const std::string& aFile, const std::string& aTo) {
    const std::string from = OwnDirectory() + "\\" + aFile;
    EXPECT_TRUE(::CopyFileA(from.c_str(), aTo.c_str(), /*bFailIfExists=*/TRUE)) << from;
}

/// Copies a program of this test program's directory into another one, with the DLLs of the library
/// and of the compiler, but without log4cxx.
inline void CopyProgramTo(const std::string& aProgram, const std::string& aDirectory) {
    for (const std::string& file :
         {aProgram, std::string("QvUserLib64.dll"), std::string("QvBaseLib64.dll")}) {
        CopyOwnFile(file, aDirectory + "\\" + file);
    }
    for (const char* const file :
         {"libgcc_s_seh-1.dll", "libssp-0.dll", "libstdc++-6.dll", "libwinpthread-1.dll"}) {
        const std::string from = OwnDirectory() + "\\" + file;
        if (::GetFileAttributesA(from.c_str()) == INVALID_FILE_ATTRIBUTES) continue;
        CopyOwnFile(file, aDirectory + "\\" + file);
    }
}

/// The path of a file beside the test program.
inline std::wstring PathBeside(const std::wstring& aFile) {
    wchar_t path[MAX_PATH];
    const std::wstring self(path, ::GetModuleFileNameW(nullptr, path, MAX_PATH));
    return self.substr(0, self.rfind(L'\\') + 1) + aFile;
}

/// @param aArguments  In UTF-8 and without quotation marks.
inline std::wstring CommandLineOf(const std::wstring& aProgram,
                                  const std::vector<std::string>& aArguments) {
    std::wstring commandLine = L"\"" + aProgram + L"\"";
    for (const std::string& argument : aArguments) commandLine += L" \"" + Widen(argument) + L"\"";
    return commandLine;
}

/// Lets a process run that was started with CREATE_SUSPENDED, and has the system end it when this
/// program ends, however that happens: a test that hangs and is killed leaves nothing behind that
/// goes on using the device.
inline void RunNoLongerThanThisProgram(const PROCESS_INFORMATION& aProcess) {
    static const HANDLE job = [] {
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        // What the program starts in turn may be one of the system's own, and stays.
        limits.BasicLimitInformation.LimitFlags =
            JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE | JOB_OBJECT_LIMIT_SILENT_BREAKAWAY_OK;
        const HANDLE created = ::CreateJobObjectW(nullptr, nullptr);
        EXPECT_TRUE(::SetInformationJobObject(created, JobObjectExtendedLimitInformation, &limits,
                                              sizeof limits));
        return created;
    }();
    EXPECT_TRUE(::AssignProcessToJobObject(job, aProcess.hProcess)) << ::GetLastError();
    ::ResumeThread(aProcess.hThread);
}

/// A program beside the test program that runs on its own, and is ended with the object at the
/// latest.
class StartedProgram {
public:
    StartedProgram(const std::wstring& aFile, const std::vector<std::string>& aArguments) {
        std::wstring commandLine = CommandLineOf(PathBeside(aFile), aArguments);
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process = {};
        if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr,
                              /*bInheritHandles=*/FALSE, CREATE_SUSPENDED, nullptr, nullptr,
                              &startup, &process)) {
            ADD_FAILURE() << "the program does not start: " << ::GetLastError();
            return;
        }
        RunNoLongerThanThisProgram(process);
        const Handle thread(process.hThread);
        process_.Reset(process.hProcess);
    }
    ~StartedProgram() {
        if (process_.IsValid()) Kill();
    }

    StartedProgram(const StartedProgram&) = delete;
    StartedProgram& operator=(const StartedProgram&) = delete;

    bool IsRunning() const { return ::WaitForSingleObject(process_.Get(), 0) == WAIT_TIMEOUT; }

    /// Ends it wherever it is, and waits until it is gone.
    void Kill() const {
        ::TerminateProcess(process_.Get(), 99);
        ::WaitForSingleObject(process_.Get(), INFINITE);
    }

    unsigned long WaitForExitCode() const {
        DWORD exitCode = 0xFFFFFFFF;
        ::WaitForSingleObject(process_.Get(), INFINITE);
        ::GetExitCodeProcess(process_.Get(), &exitCode);
        return exitCode;
    }

private:
    Handle process_;
};

/// Runs the program with this path, with arguments as `CommandLineOf` takes them and in this
/// process's environment, and waits for its end.
inline Outcome RunPath(const std::wstring& aPath, const std::vector<std::string>& aArguments) {
    std::wstring commandLine = CommandLineOf(aPath, aArguments);

    const TemporaryDirectory directory;
    const OutputFile out(directory.File("out"));
    const OutputFile err(directory.File("err"));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out.GetHandle();
    startup.hStdError = err.GetHandle();
    PROCESS_INFORMATION information = {};
    Outcome outcome;
    BOOL isStarted = FALSE;
    // Once in some thousand times Wine does not start a program.
    for (int attempt = 0; attempt < 2 && !isStarted; ++attempt) {
        isStarted = ::CreateProcessW(aPath.c_str(), commandLine.data(), nullptr, nullptr,
                                     /*bInheritHandles=*/TRUE, CREATE_SUSPENDED, nullptr, nullptr,
                                     &startup, &information);
    }
    if (!isStarted) {
        ADD_FAILURE() << "the program does not start: " << ::GetLastError();
        return outcome;
    }
    const Handle process(information.hProcess);
    const Handle thread(information.hThread);
    RunNoLongerThanThisProgram(information);
    ::WaitForSingleObject(process.Get(), INFINITE);
    ::GetExitCodeProcess(process.Get(), &outcome.exitCode);
    outcome.out = out.Content();
    outcome.err = err.Content();
    return outcome;
}

inline Outcome RunProgram(const std::string& aPath, const std::vector<std::string>& aArguments) {
    return RunPath(Widen(aPath), aArguments);
}

/// Runs the program beside the test program.
inline Outcome RunProgram(const wchar_t* aFile, const std::vector<std::string>& aArguments) {
    return RunPath(PathBeside(aFile), aArguments);
}

}  // namespace QvTests

#endif
