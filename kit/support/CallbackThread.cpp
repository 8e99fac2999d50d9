// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "CallbackThread.h"

#include <string>
#include <system_error>
#include <utility>

#include "QvKit/Error.h"

namespace QvKit {

CallbackThread::~CallbackThread() {
    if (!thread_.joinable()) return;
    if (IsCurrent()) {
        thread_.detach();
    } else {
        thread_.join();
    }
}

void CallbackThread::Start(std::function<void()> aWork) {
    std::promise<void> begin;
    std::promise<void> end;
    end_ = end.get_future().share();
    id_ = std::make_shared<std::atomic<std::thread::id>>();
    try {
        thread_ = std::thread([id = id_, canBegin = begin.get_future(), end = std::move(end),
                               work = std::move(aWork)]() mutable {
            *id = std::this_thread::get_id();
            canBegin.wait();
            work();
            // What the work owns goes before anybody learns that it has ended.
            work = nullptr;
            end.set_value();
        });
    } catch (const std::system_error& error) {
        end_ = std::shared_future<void>();
        throw Error(ErrorKind::SystemFailed, std::string("cannot start a thread: ") + error.what());
    }
    // The last thing that is done here: from now on the work may destroy this object.
    begin.set_value();
}

void CallbackThread::Wait() const {
    if (end_.valid() && !IsCurrent()) end_.wait();
}

bool CallbackThread::IsCurrent() const {
    return id_ != nullptr && *id_ == std::this_thread::get_id();
}

}  // namespace QvKit
