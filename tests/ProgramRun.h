// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Programs of this project as processes of their own.

#ifndef QVTESTS_PROGRAMRUN_H
#define QVTESTS_PROGRAMRUN_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

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
    explicit OutputFile(const std::string& aPath) : path_(aPath) {
        SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
        handle_ = ::CreateFileA(aPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                &inheritable, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        EXPECT_NE(INVALID_HANDLE_VALUE, handle_);
    }
    ~OutputFile() { ::CloseHandle(handle_); }

    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    HANDLE Handle() const { return handle_; }
    std::string Content() const { return ReadBytes(path_); }

private:
    std::string path_;
    HANDLE handle_;
};

/// What a program left behind.
struct Outcome {
    unsigned long exitCode = 0xFFFFFFFF;
    std::string out;
    std::string err;
};

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
        ::CloseHandle(process.hThread);
        process_ = process.hProcess;
    }
    ~StartedProgram() {
        if (process_ == nullptr) return;
        Kill();
        ::CloseHandle(process_);
    }

    StartedProgram(const StartedProgram&) = delete;
    StartedProgram& operator=(const StartedProgram&) = delete;

    bool IsRunning() const { return ::WaitForSingleObject(process_, 0) == WAIT_TIMEOUT; }

    /// Ends it wherever it is, and waits until it is gone.
    void Kill() const {
        ::TerminateProcess(process_, 99);
        ::WaitForSingleObject(process_, INFINITE);
    }

    unsigned long WaitForExitCode() const {
        DWORD exitCode = 0xFFFFFFFF;
        ::WaitForSingleObject(process_, INFINITE);
        ::GetExitCodeProcess(process_, &exitCode);
        return exitCode;
    }

private:
    HANDLE process_ = nullptr;
};

/// Runs the program beside the test program, with arguments as `CommandLineOf` takes them, and
/// waits for its end.
inline Outcome RunProgram(const std::wstring& aFile, const std::vector<std::string>& aArguments) {
    const std::wstring program = PathBeside(aFile);
    std::wstring commandLine = CommandLineOf(program, aArguments);

    const TemporaryDirectory directory;
    const OutputFile out(directory.File("out"));
    const OutputFile err(directory.File("err"));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out.Handle();
    startup.hStdError = err.Handle();
    PROCESS_INFORMATION process = {};
    Outcome outcome;
    if (!::CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr,
                          /*bInheritHandles=*/TRUE, CREATE_SUSPENDED, nullptr, nullptr, &startup,
                          &process)) {
        ADD_FAILURE() << "the program does not start: " << ::GetLastError();
        return outcome;
    }
    RunNoLongerThanThisProgram(process);
    ::WaitForSingleObject(process.hProcess, INFINITE);
    ::GetExitCodeProcess(process.hProcess, &outcome.exitCode);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    outcome.out = out.Content();
    outcome.err = err.Content();
    return outcome;
}

}  // namespace QvTests

#endif
