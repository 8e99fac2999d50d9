// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The project's tools as processes of their own.

#ifndef QVTESTS_TOOLPROCESS_H
#define QVTESTS_TOOLPROCESS_H

#include <gtest/gtest.h>

#include <future>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "WindowsApi.h"

namespace QvTests {

inline std::wstring Widen(const std::string& aUtf8) {
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, aUtf8.c_str(), -1, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, aUtf8.c_str(), -1, text.data(), size);
    text.pop_back();
    return text;
}

inline std::vector<std::string> LinesOf(const std::string& aText) {
    std::vector<std::string> lines;
    std::istringstream text(aText);
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
}

/// One end for the tool, the other one for the test.
class Pipe {
public:
    Pipe() {
        SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
        EXPECT_TRUE(::CreatePipe(&read_, &write_, &inheritable, 0));
        EXPECT_TRUE(::SetHandleInformation(read_, HANDLE_FLAG_INHERIT, 0));
    }
    ~Pipe() {
        CloseWriteEnd();
        ::CloseHandle(read_);
    }

    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    HANDLE WriteEnd() const { return write_; }

    void CloseWriteEnd() {
        if (write_ != nullptr) ::CloseHandle(write_);
        write_ = nullptr;
    }

    /// Adds what comes next; false at the end.
    bool ReadMore(std::string& aText) const {
        char buffer[4096];
        DWORD size = 0;
        if (!::ReadFile(read_, buffer, sizeof buffer, &size, nullptr) || size == 0) return false;
        aText.append(buffer, size);
        return true;
    }

private:
    HANDLE read_ = nullptr;
    HANDLE write_ = nullptr;
};

/// How a tool ended, and what it printed.
struct Outcome {
    unsigned long exitCode = 0xFFFFFFFF;
    std::string out;
    std::string err;

    nlohmann::json Json() const { return nlohmann::json::parse(out); }
};

/// The path of a tool that lies beside this program: "qvctl", for one.
inline std::wstring ToolPath(const std::string& aTool) {
    wchar_t path[MAX_PATH];
    const std::wstring self(path, ::GetModuleFileNameW(nullptr, path, MAX_PATH));
    return self.substr(0, self.rfind(L'\\') + 1) + Widen(aTool) + L".exe";
}

/// @param aArguments  In UTF-8 and without quotation marks.
inline std::wstring CommandLineOf(const std::wstring& aPath,
                                  const std::vector<std::string>& aArguments) {
    std::wstring commandLine = L"\"" + aPath + L"\"";
    for (const std::string& argument : aArguments) commandLine += L" \"" + Widen(argument) + L"\"";
    return commandLine;
}

/// Runs a tool whose output does not matter, and gives its exit code. What the tool has the system
/// start gets nothing of this program: it would keep the other end of a pipe open.
inline unsigned long RunTool(const std::string& aTool, const std::vector<std::string>& aArguments) {
    const std::wstring tool = ToolPath(aTool);
    std::wstring commandLine = CommandLineOf(tool, aArguments);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    EXPECT_TRUE(::CreateProcessW(tool.c_str(), commandLine.data(), nullptr, nullptr,
                                 /*bInheritHandles=*/FALSE, DETACHED_PROCESS, nullptr, nullptr,
                                 &startup, &process));
    ::WaitForSingleObject(process.hProcess, INFINITE);
    unsigned long exitCode = 0xFFFFFFFF;
    ::GetExitCodeProcess(process.hProcess, &exitCode);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return exitCode;
}

/// Runs a tool and takes what it prints.
class ToolProcess {
public:
    ToolProcess(const std::string& aTool, const std::vector<std::string>& aArguments,
                DWORD aFlags = 0) {
        const std::wstring tool = ToolPath(aTool);
        std::wstring commandLine = CommandLineOf(tool, aArguments);
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = out_.WriteEnd();
        startup.hStdError = err_.WriteEnd();
        if (!::CreateProcessW(tool.c_str(), commandLine.data(), nullptr, nullptr,
                              /*bInheritHandles=*/TRUE, aFlags, nullptr, nullptr, &startup,
                              &process_)) {
            ADD_FAILURE() << aTool << ".exe does not start: " << ::GetLastError();
        }
        out_.CloseWriteEnd();
        err_.CloseWriteEnd();
        output_ = std::async(std::launch::async, [this] {
            std::string all;
            while (out_.ReadMore(all)) continue;
            return all;
        });
    }
    ~ToolProcess() {
        (void)Wait();
        ::CloseHandle(process_.hThread);
        ::CloseHandle(process_.hProcess);
    }

    ToolProcess(const ToolProcess&) = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    unsigned long Id() const { return process_.dwProcessId; }

    /// Waits until the tool has printed this on standard error.
    void AwaitError(const std::string& aText) {
        while (errors_.find(aText) == std::string::npos) {
            if (!err_.ReadMore(errors_)) {
                FAIL() << "the tool ended without \"" << aText << "\": " << errors_;
            }
        }
    }

    Outcome Wait() {
        if (!output_.valid()) return outcome_;
        while (err_.ReadMore(errors_)) continue;
        outcome_.err = errors_;
        outcome_.out = output_.get();
        ::WaitForSingleObject(process_.hProcess, INFINITE);
        ::GetExitCodeProcess(process_.hProcess, &outcome_.exitCode);
        return outcome_;
    }

private:
    Pipe out_;
    Pipe err_;
    PROCESS_INFORMATION process_ = {};
    std::future<std::string> output_;
    std::string errors_;
    Outcome outcome_;
};

inline Outcome Qvctl(const std::vector<std::string>& aArguments) {
    return ToolProcess("qvctl", aArguments).Wait();
}

}  // namespace QvTests

#endif
