// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/ProfileArguments.h"

#include "commandline/ArgumentValues.h"

namespace Qvctl {

void AddProfileArguments(Arguments& aArguments, std::string& aFile, QvKit::ProfileChoice& aChoice) {
    aArguments.Add("FILE", aFile, &ParseFileName, "The file, as save writes it").Require();
    aArguments.Add("--only NAME...", aChoice.only, "Load only these parameters of the file");
    aArguments.AddFlag("--ignore-missing", aChoice.isMissingIgnored,
                       "Pass over parameters that the device lacks");
}

}  // namespace Qvctl
