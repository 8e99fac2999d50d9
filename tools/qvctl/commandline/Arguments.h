// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a verb takes on the command line.

#ifndef QVCTL_COMMANDLINE_ARGUMENTS_H
#define QVCTL_COMMANDLINE_ARGUMENTS_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace Qvctl {

// An option or an argument that has been added. The parser owns it.
class Argument {
public:
    explicit Argument(CLI::Option* aOption) : option_(aOption) {}

    // Refuses a command line without it.
    Argument Require() const;

    // Refuses a command line with both of them.
    Argument Exclude(const Argument& aOther) const;

private:
    CLI::Option* option_;
};

// Adds options and arguments to the parser, which stores what it reads in variables. They have to
// live until the command line has been read. Verbs see no more of the parser, as its headers take
// seconds to compile.
//
// A form is what the help shows: "--size BYTES" for an option and its value, "FILE" or "NAME ..."
// for an argument that has no option.
class Arguments {
public:
    explicit Arguments(CLI::App& aParser) : parser_(aParser) {}

    // An option without a value.
    Argument AddFlag(const std::string& aName, bool& aIsGiven, const std::string& aSummary);

    Argument Add(const std::string& aForm, std::string& aText, const std::string& aSummary);

    // As many texts as there are.
    Argument Add(const std::string& aForm, std::vector<std::string>& aTexts,
                 const std::string& aSummary);

    // `aParse` turns the text into the value. It throws `QvKit::Error`; one of wrong usage becomes
    // a mistake in this option.
    template <typename Value, typename Parse>
    Argument Add(const std::string& aForm, Value& aValue, Parse aParse,
                 const std::string& aSummary) {
        return AddStore(
            aForm, [&aValue, aParse](const std::string& aText) { aValue = aParse(aText); },
            aSummary);
    }

    // An option whose value may be left out; the text is empty then.
    Argument AddWithOptionalValue(const std::string& aForm, std::optional<std::string>& aText,
                                  const std::string& aSummary);

private:
    using Store = std::function<void(const std::string&)>;

    Argument AddStore(const std::string& aForm, const Store& aStore, const std::string& aSummary);

    CLI::App& parser_;
};

}  // namespace Qvctl

#endif
