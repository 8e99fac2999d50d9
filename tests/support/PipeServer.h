// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The other end of a connection: a named pipe, which reads, writes and controls like a device.

#ifndef QVTESTS_PIPESERVER_H
#define QVTESTS_PIPESERVER_H

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "KernelObjects.h"

namespace QvTests {

/// A duplex message pipe under a name of its own, for one client. Servers of one name, each made
/// with the number of them, take one client after the other.
class PipeServer {
public:
    /// @param aSuffix  Ends the name.
    explicit PipeServer(const std::string& aSuffix = "", unsigned long aBufferSize = 4096)
        : PipeServer(aSuffix, aBufferSize, NewName()) {}

    /// @param aName  The name without its end.
    PipeServer(const std::string& aSuffix, unsigned long aBufferSize, const std::string& aName,
               unsigned long aServers = 1)
        : name_(aName + aSuffix),
          handle_(::CreateNamedPipeA(name_.c_str(), PIPE_ACCESS_DUPLEX,
                                     PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
                                     aServers, aBufferSize, aBufferSize,
                                     /*nDefaultTimeOut=*/0, nullptr)) {
        EXPECT_TRUE(handle_.IsValid()) << name_;
    }

    /// A name that no other server has.
    static std::string NewName() {
        static std::atomic<int> count{0};
        return R"(\\.\pipe\qvt-)" + std::to_string(::GetCurrentProcessId()) + "-" +
               std::to_string(++count) + "-";
    }

    const char* Name() const { return name_.c_str(); }

    /// Whether a client has the pipe open.
    bool HasClient() const {
        return ::PeekNamedPipe(handle_.Get(), nullptr, 0, nullptr, nullptr, nullptr) != FALSE;
    }

    /// Waits until a client has opened the pipe.
    void AwaitClient() const {
        EXPECT_TRUE(::ConnectNamedPipe(handle_.Get(), nullptr) ||
                    ::GetLastError() == ERROR_PIPE_CONNECTED);
    }

    void Write(const std::string& aData) const { EXPECT_TRUE(TryWrite(aData)) << ::GetLastError(); }

    /// Whether the message was written. It is not if the client has closed the pipe.
    bool TryWrite(const std::string& aData) const {
        DWORD written = 0;
        return ::WriteFile(handle_.Get(), aData.data(), static_cast<DWORD>(aData.size()), &written,
                           nullptr) != FALSE &&
               written == aData.size();
    }

    /// Waits until the client has read all that was written.
    void AwaitReader() const { EXPECT_TRUE(::FlushFileBuffers(handle_.Get())); }

    /// The next message, which is waited for.
    std::string Read() const {
        std::string data(65536, '\0');
        DWORD read = 0;
        EXPECT_TRUE(
            ::ReadFile(handle_.Get(), &data[0], static_cast<DWORD>(data.size()), &read, nullptr));
        data.resize(read);
        return data;
    }

    void Close() { handle_.Close(); }

private:
    std::string name_;
    Handle handle_;
};

}  // namespace QvTests

#endif
