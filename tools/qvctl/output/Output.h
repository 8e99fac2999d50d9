// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Standard output and standard error, in UTF-8.

#ifndef QVCTL_OUTPUT_OUTPUT_H
#define QVCTL_OUTPUT_OUTPUT_H

#include <cstddef>
#include <string_view>

namespace Qvctl {

// A console gets UTF-16, so that its code page does not matter; a file or pipe gets the bytes as
// they are, without translation of line ends.
class Output {
public:
    enum Stream { Standard, Error };
    enum Colour { Red, Yellow, Green };

    explicit Output(Stream aStream);

    void Write(std::string_view aText);

    // One line; the line feed is added.
    void WriteLine(std::string_view aText);

    // A text in a colour, if this is a console. The environment variable NO_COLOR, set and not
    // empty, keeps colours out.
    void WriteColoured(Colour aColour, std::string_view aText);

    // Whether this is a console, where a line can be written over.
    bool IsTerminal() const { return isConsole_; }

    // How many columns a line may have: those of the console, else 80.
    std::size_t GetWidth() const;

    // Whether something could not be written, as on a full disk.
    bool HasFailed() const { return failed_; }

private:
    bool WriteToConsole(std::string_view aText);
    bool WriteBytes(std::string_view aText);

    void* handle_;
    bool isConsole_;
    bool isColoured_;
    bool failed_;
};

}  // namespace Qvctl

#endif
