// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Runs of the tool that a test takes part in while they last.

#ifndef QVTESTS_TOOLPROCESS_H
#define QVTESTS_TOOLPROCESS_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "ProgramRun.h"
#include "WindowsApi.h"

namespace QvTests {

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
        HANDLE read = nullptr;
        HANDLE write = nullptr;
        EXPECT_TRUE(::CreatePipe(&read, &write, &inheritable, 0));
        read_.Reset(read);
        write_.Reset(write);
        EXPECT_TRUE(::SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0));
    }

    HANDLE ReadEnd() const { return read_.Get(); }
    HANDLE WriteEnd() const { return write_.Get(); }

    void CloseWriteEnd() { write_.Close(); }

    /// Adds what comes next; false at the end.
    bool ReadMore(std::string& aText) const {
        char buffer[4096];
        DWORD size = 0;
        if (!::ReadFile(read_.Get(), buffer, sizeof buffer, &size, nullptr) || size == 0)
            return false;
        aText.append(buffer, size);
        return true;
    }

private:
    Handle read_;
    Handle write_;
};

/// What a run of the tool left behind.
struct ToolOutcome : Outcome {
    nlohmann::json Json() const { return nlohmann::json::parse(out); }
};

/// Runs the tool and takes what it prints.
class ToolProcess {
public:
    explicit ToolProcess(const std::vector<std::string>& aArguments, DWORD aFlags = 0) {
        const std::wstring tool = PathBeside(L"qvctl.exe");
        std::wstring commandLine = CommandLineOf(tool, aArguments);
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = out_.WriteEnd();
        startup.hStdError = err_.WriteEnd();
        if (!::CreateProcessW(tool.c_str(), commandLine.data(), nullptr, nullptr,
                              /*bInheritHandles=*/TRUE, CREATE_SUSPENDED | aFlags, nullptr, nullptr,
                              &startup, &process_)) {
            ADD_FAILURE() << "qvctl.exe does not start: " << ::GetLastError();
        }
        RunNoLongerThanThisProgram(process_);
        handle_.Reset(process_.hProcess);
        thread_.Reset(process_.hThread);
        out_.CloseWriteEnd();
        err_.CloseWriteEnd();
        output_ = std::async(std::launch::async, [this] {
            std::string all;
            while (out_.ReadMore(all)) continue;
            return all;
        });
    }
    ~ToolProcess() { (void)Wait(); }

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

    ToolOutcome Wait() {
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
    Handle handle_;
    Handle thread_;
    std::future<std::string> output_;
    std::string errors_;
    ToolOutcome outcome_;
};

inline ToolOutcome Qvctl(const std::vector<std::string>& aArguments) {
    return {RunProgram(L"qvctl.exe", aArguments)};
}

/// Has the tool refuse the arguments, with this on standard error and nothing on standard output.
inline void ExpectWrongUsage(const std::vector<std::string>& aArguments,
                             const testing::Matcher<std::string>& aMessage) {
    const ToolOutcome outcome = Qvctl(aArguments);

    EXPECT_EQ(2u, outcome.exitCode);
    EXPECT_THAT(outcome.out, testing::IsEmpty());
    EXPECT_THAT(outcome.err, aMessage);
}

}  // namespace QvTests

#endif
