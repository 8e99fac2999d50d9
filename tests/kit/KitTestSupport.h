// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the tests of the kit share.

#ifndef QVTESTS_KITTESTSUPPORT_H
#define QVTESTS_KITTESTSUPPORT_H

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "QvKit/Clock.h"
#include "QvKit/DeviceList.h"
#include "QvKit/Error.h"

namespace QvTests {

/// Text that only UTF-8 and UTF-16 can hold: the code page 1252 has no such characters.
constexpr char kJapanese[] = "\xE6\x97\xA5\xE6\x9C\xAC";
constexpr char kChinese[] = "\xE4\xB8\xAD\xE5\x9B\xBD";
/// Text beyond ASCII that the code page has.
constexpr char kSize[] =
    "Gr\xC3\xB6\xC3\x9F"
    "e";

/// The error that a call throws; nothing when it throws none.
inline std::optional<QvKit::Error> ErrorOf(const std::function<void()>& aCall) {
    try {
        aCall();
    } catch (const QvKit::Error& error) {
        return error;
    }
    return std::nullopt;
}

/// Its message; empty when it throws none.
inline std::string MessageOf(const std::function<void()>& aCall) {
    const std::optional<QvKit::Error> error = ErrorOf(aCall);
    return error ? error->what() : std::string();
}

/// The address of what has this name, such as a pipe.
inline QvKit::DeviceAddress AddressOf(const std::string& aName) {
    return QvKit::DeviceAddress{aName, aName, /*isListed=*/false};
}

/// A clock that stands still unless the test moves it.
class ManualClock final : public QvKit::Clock {
public:
    std::chrono::nanoseconds GetTime() const override { return now; }
    std::chrono::nanoseconds now{1000};
};

}  // namespace QvTests

#endif
