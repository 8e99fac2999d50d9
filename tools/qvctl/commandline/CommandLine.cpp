// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "Environment.h"
#include "InterfaceId.h"
#include "QvKit/Guid.h"
#include "QvKit/Spelling.h"
#include "commandline/Arguments.h"
#include "commandline/Duration.h"
#include "output/ErrorReport.h"

namespace Qvctl {
namespace {

constexpr char kSummary[] =
    "Lists devices, shows and changes their parameters, and moves their data.";

constexpr char kDetails[] =
    "\"qvctl VERB --help\" shows the options of a verb. Messages go to standard error.\n"
    "A DURATION is such as 500ms, 30s or 2min; a number alone is in ms.\n"
    "\n"
    "Exit codes:\n"
    "  0    done\n"
    "  1    refused, failed or, with --verify, lost\n"
    "  2    wrong usage\n"
    "  3    no such device\n"
    "  4    not in time\n"
    "  130  stopped by Ctrl-C";

std::string VariableOr(const wchar_t* aName, const std::string& aDefault) {
    const std::string value = EnvironmentVariable(aName);
    return value.empty() ? aDefault : value;
}

// The options as the user wrote them.
struct OptionTexts {
    std::string device = VariableOr(L"QVCTL_DEVICE", "0");
    std::string interfaceClass =
        VariableOr(L"QVCTL_INTERFACE", QvKit::GuidToText(SampleInterface()));
    std::string errorLog;
    std::string logConfig;
    std::string logLevel;
    bool json = false;
    bool verbose = false;
    std::optional<std::chrono::milliseconds> timeout;
    std::optional<std::chrono::milliseconds> wait;
};

void AddSharedOptions(Arguments& aArguments, unsigned aWhich, OptionTexts& aTexts) {
    if (aWhich & DeviceOption) {
        aArguments.Add("--device DEVICE", aTexts.device,
                       "The device: its number in the list (by default\n0), its path, its "
                       "instance ID, or NAME=VALUE of\na parameter that no other device has");
    }
    if (aWhich & InterfaceOption) {
        aArguments.Add("--interface GUID", aTexts.interfaceClass,
                       "The interface class of the devices; the\nsample driver's by default");
    }
    if (aWhich & TimeoutOption) {
        aArguments.Add("--timeout DURATION", aTexts.timeout, &ParseDuration,
                       "How long each answer of the device may take;\n10s by default");
    }
    if (aWhich & WaitOption) {
        aArguments.Add("--wait DURATION", aTexts.wait, &ParseDuration,
                       "How long to wait for the device to arrive; not\nat all by default");
    }
    if (aWhich & JsonOption) {
        aArguments.AddFlag("--json", aTexts.json, "Print JSON, failures included");
    }
    if (aWhich & VerboseOption) {
        aArguments.AddFlag("--verbose", aTexts.verbose, "Report each step on standard error");
    }
    aArguments.Add(
        "--error-log FILE", aTexts.errorLog,
        "Write the library's error log to this file; an\nearlier one is kept as FILE.bak");
    aArguments.Add("--log-config FILE", aTexts.logConfig,
                   "Log what is done with log4cxx, as this properties\nfile says");
    aArguments.Add("--log-level LEVEL", aTexts.logLevel,
                   "Log from this level on: fatal, error, warn, info\n(by default), debug; without "
                   "--log-config as the\nlibrary's default configuration says");
}

void AddAllSharedOptions(CLI::App& aParser, OptionTexts& aTexts) {
    Arguments arguments(aParser);
    AddSharedOptions(arguments, ~0U, aTexts);
}

void AddVerb(CLI::App& aProgram, const NamedVerb& aVerb, OptionTexts& aTexts) {
    CLI::App* const command = aProgram.add_subcommand(aVerb.name, aVerb.summary);
    command->group("Verbs");
    command->footer(aVerb.details);
    Arguments arguments(*command);
    aVerb.verb->AddArguments(arguments);
    AddSharedOptions(arguments, aVerb.options, aTexts);
}

LogOptions UnderstandLog(const OptionTexts& aTexts) {
    LogOptions log;
    log.config = aTexts.logConfig;
    if (!aTexts.logLevel.empty()) log.level = ParseLogLevel(aTexts.logLevel);
    log.asked = !aTexts.logConfig.empty() || !aTexts.logLevel.empty();
    return log;
}

Options Understand(const OptionTexts& aTexts) {
    return Options{ParseDeviceChoice(aTexts.device),
                   ParseInterface(aTexts.interfaceClass),
                   aTexts.errorLog,
                   UnderstandLog(aTexts),
                   aTexts.json,
                   aTexts.verbose,
                   aTexts.timeout,
                   aTexts.wait};
}

std::vector<std::string> NamesOf(const std::vector<const CLI::App*>& aCommands) {
    std::vector<std::string> names;
    names.reserve(aCommands.size());
    for (const CLI::App* command : aCommands) names.push_back(command->get_name());
    return names;
}

std::vector<std::string> NamesOf(const std::vector<const CLI::Option*>& aOptions) {
    std::vector<std::string> names;
    for (const CLI::Option* option : aOptions) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
}

// " (did you mean show?)", or nothing.
std::string Suggestion(const std::string& aWord, const std::vector<std::string>& aKnown) {
    const std::string nearest = QvKit::FindNearestWord(aWord, aKnown);
    return nearest.empty() ? nearest : " (did you mean " + nearest + "?)";
}

QvKit::Error NoSuchVerb(const std::string& aVerb, const CLI::App& aProgram) {
    return WrongUsage("there is no verb '" + aVerb + "'" +
                      Suggestion(aVerb, NamesOf(aProgram.get_subcommands(nullptr))) +
                      "; see \"qvctl --help\"");
}

bool IsOption(const std::string& aWord) { return aWord.rfind('-', 0) == 0; }

// Whether other verbs have this option.
bool IsSharedOption(const std::string& aName) {
    CLI::App shared;
    OptionTexts texts;
    AddAllSharedOptions(shared, texts);
    return shared.get_option_no_throw(aName) != nullptr;
}

// What is wrong with the arguments of a verb, in the parser's words where they are plain enough.
std::string MistakeIn(const CLI::App& aCommand, const CLI::ParseError& aError) {
    std::string message = aError.what();
    std::replace(message.begin(), message.end(), '\n', ' ');
    if (aError.get_exit_code() == static_cast<int>(CLI::ExitCodes::ArgumentMismatch)) {
        const std::string option = message.substr(0, message.find(':'));
        const bool isMissing = message.find("missing") != std::string::npos;
        return option + (isMissing ? ": a value is missing" : " is given more than once");
    }
    const std::vector<std::string> unexpected = aCommand.remaining();
    if (unexpected.empty()) return message;
    const std::string& word = unexpected.front();
    if (!IsOption(word)) return "'" + word + "' is an argument too many";
    const std::string name = word.substr(0, word.find('='));
    if (IsSharedOption(name)) return name + " has no effect on " + aCommand.get_name();
    return "there is no option '" + word + "'" + Suggestion(word, NamesOf(aCommand.get_options()));
}

QvKit::Error ExplainMistake(const CLI::App& aProgram, const std::vector<std::string>& aArguments,
                            const CLI::ParseError& aError) {
    const std::vector<CLI::App*> commands = aProgram.get_subcommands();
    std::string message;
    if (aArguments.empty()) {
        message = "a verb is missing";
    } else if (IsOption(aArguments.front())) {
        message = "options follow the verb, but '" + aArguments.front() + "' comes first";
    } else if (commands.empty()) {
        return NoSuchVerb(aArguments.front(), aProgram);
    } else {
        message = MistakeIn(*commands.front(), aError);
    }
    const std::string verb = commands.empty() ? std::string() : commands.front()->get_name() + " ";
    return WrongUsage(message + "; see \"qvctl " + verb + "--help\"");
}

Verbs::const_iterator FindVerb(const Verbs& aVerbs, const std::string& aName) {
    return std::find_if(aVerbs.begin(), aVerbs.end(),
                        [&](const NamedVerb& aVerb) { return aVerb.name == aName; });
}

// Sets up the parser. It stores what it reads in the verbs and the texts.
void SetUp(CLI::App& aProgram, const Verbs& aVerbs, OptionTexts& aTexts) {
    // An argument that begins with a slash is a name or a value like any other.
    aProgram.allow_windows_style_options(false);
    aProgram.require_subcommand(1);
    aProgram.set_version_flag("--version", "qvctl " QVCTL_VERSION);
    aProgram.footer(kDetails);
    aProgram.get_formatter()->column_width(26);
    aProgram.get_formatter()->label("SUBCOMMAND", "VERB ...");
    aProgram.get_formatter()->label("Positionals", "Arguments");
    for (const NamedVerb& verb : aVerbs) AddVerb(aProgram, verb, aTexts);
}

OptionDescription Describe(const CLI::Option& aOption) {
    OptionDescription description;
    description.isRequired = aOption.get_required();
    if (aOption.get_positional()) {
        description.name = aOption.get_name(/*positional=*/true);
    } else {
        description.name = "--" + aOption.get_lnames().front();
    }
    description.value = aOption.get_option_text();
    // A blank hides CLI11's type label.
    if (description.value == " ") description.value.clear();
    description.summary = aOption.get_description();
    // The line breaks are those of the help.
    std::replace(description.summary.begin(), description.summary.end(), '\n', ' ');
    return description;
}

}  // namespace

ProgramDescription DescribeProgram(const Verbs& aVerbs) {
    CLI::App program(kSummary, "qvctl");
    OptionTexts texts;
    SetUp(program, aVerbs, texts);

    ProgramDescription description;
    description.summary = kSummary;
    description.details = kDetails;
    for (const CLI::Option* option : std::as_const(program).get_options()) {
        description.options.push_back(Describe(*option));
    }
    CLI::App shared;
    AddAllSharedOptions(shared, texts);
    for (const CLI::Option* option : std::as_const(shared).get_options()) {
        description.sharedOptions.push_back(Describe(*option));
    }
    for (const NamedVerb& verb : aVerbs) {
        const CLI::App& command = *program.get_subcommand(verb.name);
        VerbDescription verbDescription{verb.name, verb.summary, verb.details, {}, {}};
        for (const CLI::Option* option : command.get_options()) {
            auto& list =
                option->get_positional() ? verbDescription.arguments : verbDescription.options;
            list.push_back(Describe(*option));
        }
        description.verbs.push_back(std::move(verbDescription));
    }
    return description;
}

std::string HelpText(const Verbs& aVerbs, const std::string& aVerb) {
    CLI::App program(kSummary, "qvctl");
    OptionTexts texts;
    SetUp(program, aVerbs, texts);
    if (aVerb.empty()) return program.help();
    if (FindVerb(aVerbs, aVerb) == aVerbs.end()) throw NoSuchVerb(aVerb, program);
    return program.get_subcommand(aVerb)->help(program.get_name());
}

Command ParseCommandLine(const std::vector<std::string>& aArguments, const Verbs& aVerbs) {
    CLI::App program(kSummary, "qvctl");
    OptionTexts texts;
    SetUp(program, aVerbs, texts);

    try {
        program.parse(std::vector<std::string>(aArguments.rbegin(), aArguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return Command{nullptr, program.help(), Options()};
    } catch (const CLI::CallForVersion& version) {
        return Command{nullptr, std::string(version.what()) + "\n", Options()};
    } catch (const CLI::ParseError& error) {
        throw ExplainMistake(program, aArguments, error);
    }

    const std::string name = program.get_subcommands().front()->get_name();
    return Command{&*FindVerb(aVerbs, name), std::string(), Understand(texts)};
}

bool AsksForJson(const std::vector<std::string>& aArguments) {
    return std::find(aArguments.begin(), aArguments.end(), "--json") != aArguments.end();
}

}  // namespace Qvctl
