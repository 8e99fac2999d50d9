// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What an action writes to the error log's file.

#ifndef QVTESTS_LOGGEDERRORS_H
#define QVTESTS_LOGGEDERRORS_H

#include <functional>
#include <regex>
#include <string>
#include <vector>

#include "QvUserLib/ErrorLog.h"
#include "TestSupport.h"

namespace QvTests {

/// The lines without time and thread, as in `[0x12] .\Parameter(123) ERR  - message`.
inline std::vector<std::string> LoggedErrors(const std::function<void()>& aAction) {
    QvUserLib::ErrorLog& log = QvUserLib::ErrorLog::GetErrorLog();
    const TemporaryDirectory directory;
    EXPECT_THAT(log.Open(directory.File("errors.log").c_str()), IsBareCode(0));
    aAction();
    EXPECT_THAT(log.Close(), IsBareCode(0));

    const std::regex line(R"(.{24} (\[0x[0-9a-f]+\]) \[0x[0-9a-f]+\] (.*))");
    std::vector<std::string> lines;
    for (const std::string& text : ReadLines(directory.File("errors.log"))) {
        std::smatch parts;
        const bool matches = std::regex_match(text, parts, line);
        EXPECT_TRUE(matches) << text;
        if (matches) lines.push_back(parts[1].str() + " " + parts[2].str());
    }
    return lines;
}

/// The same with every line number replaced by `#`.
inline std::vector<std::string> LoggedErrorsWithoutLines(const std::function<void()>& aAction) {
    std::vector<std::string> lines = LoggedErrors(aAction);
    for (std::string& line : lines) {
        line = std::regex_replace(line, std::regex(R"(\([1-9][0-9]*\) ERR )"), "(#) ERR ");
    }
    return lines;
}

}  // namespace QvTests

#endif
