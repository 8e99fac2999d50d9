// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/ProfileArguments.h"

#include "commandline/ArgumentChecks.h"

namespace Qvctl {

void AddProfileArguments(CLI::App& aCommand, std::string& aFile, QvKit::ProfileChoice& aChoice) {
    aCommand.add_option("FILE", aFile, "The file, as save writes it")
        ->option_text(" ")
        ->required()
        ->check(CheckFileName());
    aCommand.add_option("--only", aChoice.only, "Load only these parameters of the file")
        ->option_text("NAME...");
    aCommand.add_flag("--ignore-missing", aChoice.isMissingIgnored,
                      "Pass over parameters that the device lacks");
}

}  // namespace Qvctl
