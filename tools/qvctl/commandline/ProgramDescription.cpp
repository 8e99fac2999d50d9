// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/ProgramDescription.h"

#include <algorithm>
#include <sstream>

namespace Qvctl {

std::vector<std::string> OptionDescription::GetChoices() const {
    std::vector<std::string> choices;
    const bool isWords =
        value.find('|') != std::string::npos &&
        value.find_first_not_of("abcdefghijklmnopqrstuvwxyz|") == std::string::npos;
    if (!isWords) return choices;
    std::istringstream words(value);
    for (std::string word; std::getline(words, word, '|');) choices.push_back(word);
    return choices;
}

bool OptionDescription::IsFile() const {
    return name == "FILE" || value == "FILE" || value == "LIST";
}

bool ProgramDescription::IsShared(const OptionDescription& aOption) const {
    return std::any_of(sharedOptions.begin(), sharedOptions.end(),
                       [&](const OptionDescription& aOther) {
                           return aOther.name == aOption.name && aOther.summary == aOption.summary;
                       });
}

bool HasOption(const std::vector<OptionDescription>& aOptions, const std::string& aName) {
    return std::any_of(aOptions.begin(), aOptions.end(),
                       [&](const OptionDescription& aOption) { return aOption.name == aName; });
}

}  // namespace Qvctl
