// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The program works with UTF-16, as Windows does; its command line and its output are UTF-8.

#ifndef QVSAMPLE_WIDETEXT_H
#define QVSAMPLE_WIDETEXT_H

#include <string>
#include <vector>

namespace QvSampleSetup {

std::string ToUtf8(const std::wstring& aText);
std::wstring ToWide(const std::string& aText);

// The process's arguments without the program's name.
std::vector<std::string> CommandLineArguments();

// Shows UTF-8 on the console for as long as the object lives.
class Utf8Console {
public:
    Utf8Console();
    ~Utf8Console();
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;

private:
    unsigned int oldCodePage_;
};

}  // namespace QvSampleSetup

#endif
