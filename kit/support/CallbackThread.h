// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A thread that calls functions of the program, which may end it.

#ifndef QVKIT_SUPPORT_CALLBACKTHREAD_H
#define QVKIT_SUPPORT_CALLBACKTHREAD_H

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <thread>

namespace QvKit {

class CallbackThread {
public:
    CallbackThread() = default;
    // Waits for the end of the work. Destroyed by the work itself, it returns at once, and the
    // thread ends on its own.
    ~CallbackThread();

    CallbackThread(const CallbackThread&) = delete;
    CallbackThread& operator=(const CallbackThread&) = delete;

    // Runs the work, once. It has to own all that it needs, as it may outlive this object.
    //
    // Throws `Error`: `ErrorKind::SystemFailed` when the system has no thread left.
    void Start(std::function<void()> aWork);

    // Waits for the end of the work, on any thread but its own: there it returns at once.
    void Wait() const;

private:
    bool IsCurrent() const;

    std::thread thread_;
    std::shared_ptr<std::atomic<std::thread::id>> id_;
    std::shared_future<void> end_;
};

}  // namespace QvKit

#endif
