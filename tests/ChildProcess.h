// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Runs a program and collects what it prints.

#ifndef QVTESTS_CHILDPROCESS_H
#define QVTESTS_CHILDPROCESS_H

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <vector>

#include "KernelObjects.h"
#include "WindowsApi.h"

namespace QvTests {

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

/// One end for a program, which inherits it, and one for the test.
class OutputPipe {
public:
    OutputPipe() : OutputPipe(Create()) {}

    HANDLE WriteEnd() const { return write_.Get(); }

    // The program's own handle keeps the pipe open then.
    void CloseWriteEnd() { write_.Close(); }

    std::string ReadToEnd() const {
        std::string all;
        char buffer[4096];
        DWORD size = 0;
        while (::ReadFile(read_.Get(), buffer, sizeof buffer, &size, nullptr) && size > 0) {
            all.append(buffer, size);
        }
        return all;
    }

private:
    struct Ends {
        HANDLE read;
        HANDLE write;
    };
    static Ends Create() {
        SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
        Ends ends = {};
        EXPECT_TRUE(::CreatePipe(&ends.read, &ends.write, &inheritable, 0));
        EXPECT_TRUE(::SetHandleInformation(ends.read, HANDLE_FLAG_INHERIT, 0));
        return ends;
    }
    explicit OutputPipe(const Ends& aEnds) : read_(aEnds.read), write_(aEnds.write) {}

    Handle read_;
    Handle write_;
};

/// Runs a program with arguments that hold no quotation marks, in this process's environment, and
/// waits for its end, without limit but for the test's own.
inline Outcome RunProgram(const std::string& aProgram, const std::vector<std::string>& aArguments) {
    std::string commandLine = "\"" + aProgram + "\"";
    for (const std::string& argument : aArguments) commandLine += " \"" + argument + "\"";

    OutputPipe out;
    OutputPipe err;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out.WriteEnd();
    startup.hStdError = err.WriteEnd();
    PROCESS_INFORMATION information = {};
    Outcome outcome;
    if (!::CreateProcessA(aProgram.c_str(), commandLine.data(), nullptr, nullptr,
                          /*bInheritHandles=*/TRUE, 0, nullptr, nullptr, &startup, &information)) {
        ADD_FAILURE() << aProgram << " does not start: " << ::GetLastError();
        return outcome;
    }
    const Handle process(information.hProcess);
    const Handle thread(information.hThread);
    out.CloseWriteEnd();
    err.CloseWriteEnd();
    std::future<std::string> errors =
        std::async(std::launch::async, [&err] { return err.ReadToEnd(); });
    outcome.out = out.ReadToEnd();
    outcome.err = errors.get();
    ::WaitForSingleObject(process.Get(), INFINITE);
    ::GetExitCodeProcess(process.Get(), &outcome.exitCode);
    return outcome;
}

}  // namespace QvTests

#endif
