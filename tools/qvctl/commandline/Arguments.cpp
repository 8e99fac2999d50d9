// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/Arguments.h"

#include <CLI/CLI.hpp>

#include "QvKit/Error.h"

namespace Qvctl {
namespace {

std::string NameIn(const std::string& aForm) { return aForm.substr(0, aForm.find(' ')); }

// Makes the help show the value as the form does.
CLI::Option* Label(CLI::Option* aOption, const std::string& aForm) {
    const std::size_t blank = aForm.find(' ');
    // A blank hides CLI11's type label.
    return aOption->option_text(blank == std::string::npos ? " " : aForm.substr(blank + 1));
}

CLI::Option* AddOption(CLI::App& aParser, const std::string& aForm,
                       const std::function<void(const std::string&)>& aStore,
                       const std::string& aSummary) {
    const std::string name = NameIn(aForm);
    const CLI::callback_t store = [name, aStore](const CLI::results_t& aTexts) {
        try {
            aStore(aTexts.front());
        } catch (const QvKit::Error& error) {
            if (error.GetKind() != QvKit::ErrorKind::WrongUse) throw;
            throw CLI::ValidationError(name, error.what());
        }
        return true;
    };
    return Label(aParser.add_option(name, store, aSummary), aForm);
}

}  // namespace

Argument Argument::Require() const { return Argument(option_->required()); }

Argument Argument::Exclude(const Argument& aOther) const {
    return Argument(option_->excludes(aOther.option_));
}

Argument Arguments::AddFlag(const std::string& aName, bool& aIsGiven, const std::string& aSummary) {
    return Argument(parser_.add_flag(aName, aIsGiven, aSummary));
}

Argument Arguments::Add(const std::string& aForm, std::string& aText, const std::string& aSummary) {
    return Argument(Label(parser_.add_option(NameIn(aForm), aText, aSummary), aForm));
}

Argument Arguments::Add(const std::string& aForm, std::vector<std::string>& aTexts,
                        const std::string& aSummary) {
    return Argument(Label(parser_.add_option(NameIn(aForm), aTexts, aSummary), aForm));
}

Argument Arguments::AddWithOptionalValue(const std::string& aForm,
                                         std::optional<std::string>& aText,
                                         const std::string& aSummary) {
    const Store store = [&aText](const std::string& aValue) { aText = aValue; };
    return Argument(AddOption(parser_, aForm, store, aSummary)->expected(0, 1));
}

Argument Arguments::AddStore(const std::string& aForm, const Store& aStore,
                             const std::string& aSummary) {
    return Argument(AddOption(parser_, aForm, aStore, aSummary));
}

}  // namespace Qvctl
