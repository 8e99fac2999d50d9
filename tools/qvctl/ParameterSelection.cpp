// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ParameterSelection.h"

#include <set>

#include "LibraryError.h"
#include "Spelling.h"
#include "Utf8.h"

namespace Qvctl {

using QvUserLib::Parameter;
using QvUserLib::ParameterRepository;
using QvUserLib::Result;

Parameter* FindParameter(ParameterRepository& aParameters, const std::string& aName) {
    const QvUserLib::String name = LibraryText(aName);
    if (!aParameters.HasByName(name)) return nullptr;

    Parameter* const found = aParameters.GetByIndex(aParameters.GetIndexByName(name));
    // The repository compares in the code page, where unlike characters may look alike.
    return Utf8Of(found->GetName()) == aName ? found : nullptr;
}

std::vector<Parameter*> GetAllParameters(ParameterRepository& aParameters) {
    std::vector<Parameter*> all;
    all.reserve(aParameters.GetCount());
    for (unsigned long index = 0; index < aParameters.GetCount(); ++index) {
        all.push_back(aParameters.GetByIndex(index));
    }
    return all;
}

std::vector<Parameter*> GetNamedParameters(ParameterRepository& aParameters,
                                           const std::vector<std::string>& aNames) {
    std::vector<Parameter*> named;
    std::vector<Refusal> refusals;
    for (const std::string& name : aNames) {
        Parameter* const found = FindParameter(aParameters, name);
        // Changes nothing, but makes the library say that there is no such parameter.
        const Result result = found->SetEnabled(found->IsEnabled());
        if (result.IsFailure()) {
            refusals.push_back(Refusal{name, std::nullopt, ReasonFor(result),
                                       SuggestName(aParameters, name), result.GetCode()});
        }
        named.push_back(found);
    }
    if (!refusals.empty()) throw Failure(refusals, std::string());
    return named;
}

std::string SuggestName(ParameterRepository& aParameters, const std::string& aName) {
    std::vector<std::string> names;
    for (const Parameter* parameter : GetAllParameters(aParameters)) {
        names.push_back(Utf8Of(parameter->GetName()));
    }
    const std::string nearest = NearestWord(aName, names);
    return nearest.empty() ? nearest : "did you mean " + Printable(nearest) + "?";
}

void RequireDistinctNames(const std::vector<std::string>& aNames) {
    std::set<std::string> seen;
    for (const std::string& name : aNames) {
        if (name.empty()) throw Failure(ExitCode::WrongUsage, "a parameter's name is empty");
        if (!seen.insert(name).second) {
            throw Failure(ExitCode::WrongUsage, "'" + name + "' is given more than once");
        }
    }
}

}  // namespace Qvctl
