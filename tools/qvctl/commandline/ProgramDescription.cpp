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
    const auto optionOf = [&](const VerbDescription& aVerb) {
        const auto found = std::find_if(
            aVerb.options.begin(), aVerb.options.end(),
            [&](const OptionDescription& aOther) { return aOther.name == aOption.name; });
        return found == aVerb.options.end() ? nullptr : &*found;
    };
    const OptionDescription* const first = optionOf(verbs.front());
    return first != nullptr && first->summary == aOption.summary &&
           std::all_of(verbs.begin(), verbs.end(), optionOf);
}

}  // namespace Qvctl
