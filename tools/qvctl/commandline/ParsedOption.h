// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Options whose text a function of ours reads.

#ifndef QVCTL_COMMANDLINE_PARSEDOPTION_H
#define QVCTL_COMMANDLINE_PARSEDOPTION_H

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "QvKit/Error.h"

namespace Qvctl {

// Adds an option whose text `aParse` turns into `aValue`. Its `QvKit::Error` of wrong usage becomes
// the parser's; others end the parsing.
template <typename Value>
CLI::Option* AddParsedOption(CLI::App& aCommand, const std::string& aName,
                             std::optional<Value>& aValue, Value (*aParse)(const std::string&),
                             const std::string& aSummary) {
    const CLI::callback_t read = [aName, &aValue, aParse](const CLI::results_t& aTexts) {
        try {
            aValue = aParse(aTexts.front());
        } catch (const QvKit::Error& error) {
            if (error.GetKind() != QvKit::ErrorKind::WrongUse) throw;
            throw CLI::ValidationError(aName, error.what());
        }
        return true;
    };
    return aCommand.add_option(aName, read, aSummary);
}

}  // namespace Qvctl

#endif
