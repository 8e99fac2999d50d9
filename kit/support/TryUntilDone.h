// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the kit's own threads do when memory runs out.

#ifndef QVKIT_SUPPORT_TRYUNTILDONE_H
#define QVKIT_SUPPORT_TRYUNTILDONE_H

#include <chrono>
#include <new>
#include <thread>

#include "QvKit/Error.h"

namespace QvKit {

// Returns what the function returns, which is called again as long as it lacks memory or the system
// fails it. A thread of the kit has nobody to report that to, and an exception that leaves it would
// end the process. A call that throws must not have changed anything.
template <typename Function>
auto TryUntilDone(const Function& aFunction) {
    constexpr std::chrono::milliseconds kPause(10);
    for (;; std::this_thread::sleep_for(kPause)) {
        try {
            return aFunction();
        } catch (const std::bad_alloc&) {
        } catch (const Error&) {
        }
    }
}

}  // namespace QvKit

#endif
