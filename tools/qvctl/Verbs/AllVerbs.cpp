// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/CompletionVerb.h"
#include "Verbs/DoctorVerb.h"
#include "Verbs/GetVerb.h"
#include "Verbs/ListVerb.h"
#include "Verbs/ManualVerb.h"
#include "Verbs/Md5Verb.h"
#include "Verbs/ResetVerb.h"
#include "Verbs/SetVerb.h"
#include "Verbs/ShowVerb.h"
#include "Verbs/StreamVerb.h"
#include "Verbs/Verb.h"
#include "Verbs/VersionVerb.h"
#include "Verbs/WatchVerb.h"
#include "Verbs/WriteVerb.h"

namespace Qvctl {

void Verb::AddArguments(CLI::App&) {}

Verbs MakeAllVerbs() {
    Verbs verbs;
    verbs.push_back(std::make_unique<ListVerb>());
    verbs.push_back(std::make_unique<ShowVerb>());
    verbs.push_back(std::make_unique<GetVerb>());
    verbs.push_back(std::make_unique<SetVerb>());
    verbs.push_back(std::make_unique<ResetVerb>());
    verbs.push_back(std::make_unique<WatchVerb>());
    verbs.push_back(std::make_unique<StreamVerb>());
    verbs.push_back(std::make_unique<WriteVerb>());
    verbs.push_back(std::make_unique<Md5Verb>());
    verbs.push_back(std::make_unique<DoctorVerb>());
    verbs.push_back(std::make_unique<VersionVerb>());
    verbs.push_back(std::make_unique<CompletionVerb>());
    verbs.push_back(std::make_unique<ManualVerb>());
    return verbs;
}

}  // namespace Qvctl
