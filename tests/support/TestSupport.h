// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the tests share: matchers for results, the error log as the tests see it, and files of
// their own.

#ifndef QVTESTS_TESTSUPPORT_H
#define QVTESTS_TESTSUPPORT_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "LibraryNames.h"
#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/ErrorLog.h"
#include "QvUserLib/String.h"

namespace QvBaseLib {

// GoogleTest prints results with this.
inline void PrintTo(const Result& aResult, std::ostream* aOut) {
    *aOut << "Result " << aResult.GetCode();
    if (aResult.GetDescription() != nullptr) *aOut << " \"" << aResult.GetDescription() << "\"";
}

}  // namespace QvBaseLib

namespace QvTests {

/// The result has exactly this code.
MATCHER_P(HasCode, aCode, "") { return arg.GetCode() == static_cast<unsigned long>(aCode); }

/// The result has exactly this code, and no text of its own.
MATCHER_P(IsBareCode, aCode, "") {
    return arg.GetCode() == static_cast<unsigned long>(aCode) && arg.GetDescription() == nullptr;
}

/// The message of this thread's last error.
inline std::string LastErrorText() {
    QvUserLib::String text;
    (void)QvUserLib::ErrorLog::GetErrorLog().GetLastError(text);  // Only the text is asked for.
    return text.GetAscii();
}

/// Tells whether this thread reported an error since the object was made.
class ErrorWatch {
public:
    ErrorWatch() {
        // Without an open file this records the error and says NotSet.
        (void)QvUserLib::ErrorLog::GetErrorLog().WriteError(QvUserLib::Result(0), "test", 0, "%s",
                                                            kMarker);
    }
    bool IsQuiet() const { return LastErrorText() == kMarker; }

private:
    static constexpr char kMarker[] = "nothing reported since this marker";
};

/// A new empty directory in the system's temporary folder, removed with all files in it.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();

    TemporaryDirectory(const TemporaryDirectory&) = delete;

    const std::string& Path() const { return path_; }
    std::string File(const std::string& aName) const { return path_ + "\\" + aName; }

private:
    const std::string path_;
};

/// The exact bytes of a file; fails the test when there is none.
std::string ReadBytes(const std::string& aPath);
void WriteBytes(const std::string& aPath, const std::string& aBytes);
bool FileExists(const std::string& aPath);

/// The lines of a text file, without their ends.
std::vector<std::string> ReadLines(const std::string& aPath);

/// A slot of an object's virtual table, counted from 0 and with the two destructor entries of the
/// Itanium ABI in places 0 and 1 where the destructor comes first.
inline void* VirtualSlot(const void* aObject, std::size_t aSlot) {
    // Volatile: the call goes through the table, whatever the compiler knows about the object.
    return (*static_cast<void* const volatile* const volatile*>(aObject))[aSlot];
}

}  // namespace QvTests

#endif
