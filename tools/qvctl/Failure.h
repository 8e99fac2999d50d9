// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// How a verb ends when it does not succeed, and what the user and calling programs are told.

#ifndef QVCTL_FAILURE_H
#define QVCTL_FAILURE_H

#include <exception>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace Qvctl {

// What the process returns.
enum class ExitCode { Done = 0, Failed = 1, WrongUsage = 2, NoSuchDevice = 3, Interrupted = 130 };

// One parameter that could not be found or did not take its value.
struct Refusal {
    std::string name;
    std::optional<std::string> value;  // As the user gave it; nothing when none was given.
    std::string reason;                // In the library's words, where it is the one who refuses.
    std::string hint;                  // What would do instead; empty when nothing can be said.
    unsigned long code;                // Of the result.
};

class Failure : public std::exception {
public:
    Failure(ExitCode aExitCode, const std::string& aMessage);

    // A failure that the library or the system reported, with its code.
    Failure(ExitCode aExitCode, const std::string& aMessage, unsigned long aCode);

    // What was asked about these parameters, at least one, was refused. `aConsequence` says what
    // became of the rest; it may be empty.
    Failure(std::vector<Refusal> aRefusals, const std::string& aConsequence);

    ExitCode GetExitCode() const { return exitCode_; }

    // Of the library or the system, if one of them reported the failure.
    const std::optional<unsigned long>& GetCode() const { return code_; }

    // For people, each of one line.
    const std::vector<std::string>& GetLines() const { return lines_; }

    // All of them in one.
    const char* what() const noexcept override { return message_.c_str(); }

    // The member "error" of the JSON output.
    nlohmann::ordered_json ToJson() const;

    // This failure as one whose JSON stands in the verb's own output already.
    Failure InReport() const;
    bool IsInReport() const { return isInReport_; }

private:
    const char* GetKind() const;

    ExitCode exitCode_;
    std::vector<std::string> lines_;
    std::string message_;
    std::optional<unsigned long> code_;
    std::vector<Refusal> refusals_;
    bool isInReport_ = false;
};

}  // namespace Qvctl

#endif
