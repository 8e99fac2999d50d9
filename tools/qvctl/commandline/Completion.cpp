// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/Completion.h"

#include <vector>

namespace Qvctl {
namespace {

using Texts = std::vector<std::string>;

std::string Join(const Texts& aTexts, const std::string& aSeparator) {
    std::string joined;
    for (const std::string& text : aTexts) {
        if (!joined.empty()) joined += aSeparator;
        joined += text;
    }
    return joined;
}

Texts NamesOf(const std::vector<OptionDescription>& aOptions) {
    Texts names;
    for (const OptionDescription& option : aOptions) names.push_back(option.name);
    return names;
}

// What an argument or the value of an option may be: "file", "name", "assignment", words to choose
// from, or an empty text when nothing can be offered.
std::string KindOf(const OptionDescription& aOption) {
    if (aOption.IsFile()) return "file";
    if (aOption.name == "NAME") return "name";
    if (aOption.name == "ASSIGNMENT") return "assignment";
    return Join(aOption.GetChoices(), " ");
}

std::string KindOfFirst(const VerbDescription& aVerb) {
    return aVerb.arguments.empty() ? std::string() : KindOf(aVerb.arguments.front());
}

// The last argument may be repeated.
std::string KindOfFurther(const VerbDescription& aVerb) {
    return aVerb.arguments.empty() ? std::string() : KindOf(aVerb.arguments.back());
}

Texts FirstWords(const ProgramDescription& aProgram) {
    Texts words;
    for (const VerbDescription& verb : aProgram.verbs) words.push_back(verb.name);
    for (const OptionDescription& option : aProgram.options) words.push_back(option.name);
    return words;
}

// In PowerShell's single quotation marks.
std::string Quoted(const std::string& aText) {
    std::string quoted = "'";
    for (const char character : aText) {
        quoted += character;
        if (character == '\'') quoted += character;
    }
    return quoted + "'";
}

std::string QuotedList(const Texts& aTexts) {
    Texts quoted;
    for (const std::string& text : aTexts) quoted.push_back(Quoted(text));
    return "@(" + Join(quoted, ", ") + ")";
}

constexpr char kBashHead[] =
    R"script(# Completes the command line of qvctl in bash. In ~/.bashrc:  source <(qvctl completion bash)

_qvctl_parameters() {
    "${COMP_WORDS[0]}" show --all --json 2>/dev/null | sed -n 's/^ *"name": "\(.*\)",\{0,1\}$/\1/p'
}

# _qvctl_offer_parameters ENDING: offers their names, quoted: a driver may call them anything, and
# compgen -W would expand them.
_qvctl_offer_parameters() {
    local name
    while IFS= read -r name; do
        if [[ "$name" == "$current"* ]]; then COMPREPLY+=("$(printf %q "$name")$1"); fi
    done < <(_qvctl_parameters)
}

# _qvctl_offer KIND: offers what the word may be.
_qvctl_offer() {
    case "$1" in
        file)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
        name)
            _qvctl_offer_parameters "" ;;
        assignment)
            compopt -o nospace 2>/dev/null
            _qvctl_offer_parameters = ;;
        *)
            mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current") ;;
    esac
}

_qvctl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local verb=${COMP_WORDS[1]-} options= first= further=
    COMPREPLY=()
)script";

constexpr char kBashTail[] =
    R"script(    if [[ "$current" == -* ]]; then
        _qvctl_offer "$options"
    elif ((COMP_CWORD == 2)); then
        _qvctl_offer "$first"
    else
        _qvctl_offer "$further"
    fi
}
complete -F _qvctl qvctl qvctl.exe
)script";

constexpr char kPowerShellTail[] =
    R"script(
Register-ArgumentCompleter -Native -CommandName qvctl, qvctl.exe -ScriptBlock {
    param($word, $command, $position)

    $before = @($command.CommandElements | Where-Object { $_.Extent.EndOffset -lt $position } |
        ForEach-Object { $_.ToString() })
    if ($before.Count -le 1) {
        $kind = $firstWords -join ' '
    } else {
        $verb = $verbs[$before[1]]
        if (-not $verb) { return }
        if ($verb.Values.ContainsKey($before[-1])) { $kind = $verb.Values[$before[-1]] }
        elseif ($word.StartsWith('-')) { $kind = $verb.Options -join ' ' }
        elseif ($before.Count -eq 2) { $kind = $verb.First }
        else { $kind = $verb.Further }
    }
    $offered = switch ($kind) {
        'file' { return }
        'name' { (& qvctl show --all --json 2>$null | ConvertFrom-Json).parameters.name }
        'assignment' {
            (& qvctl show --all --json 2>$null | ConvertFrom-Json).parameters.name |
                ForEach-Object { "$_=" }
        }
        default { $kind -split ' ' }
    }
    $offered | Where-Object { $_ -and $_.StartsWith($word) } | ForEach-Object {
        # A driver may call its parameters anything.
        $text = if ($_ -match '^[\w.|=-]+$') { $_ } else { "'" + $_.Replace("'", "''") + "'" }
        [System.Management.Automation.CompletionResult]::new($text, $_, 'ParameterValue', $_)
    }
}.GetNewClosure()
)script";

}  // namespace

std::string BashCompletion(const ProgramDescription& aProgram) {
    std::string text = kBashHead;
    text += "    if ((COMP_CWORD == 1)); then\n        _qvctl_offer \"" +
            Join(FirstWords(aProgram), " ") + "\"\n        return\n    fi\n";

    std::string values;
    std::string verbs;
    for (const VerbDescription& verb : aProgram.verbs) {
        for (const OptionDescription& option : verb.options) {
            if (option.value.empty()) continue;
            values += "        \"" + verb.name + " " + option.name + "\") _qvctl_offer \"" +
                      KindOf(option) + "\"; return ;;\n";
        }
        verbs += "        " + verb.name + ")\n            options=\"" +
                 Join(NamesOf(verb.options), " ") + "\"\n            first=\"" + KindOfFirst(verb) +
                 "\" further=\"" + KindOfFurther(verb) + "\" ;;\n";
    }
    return text + "    case \"$verb $previous\" in\n" + values + "    esac\n" +
           "    case \"$verb\" in\n" + verbs + "    esac\n" + kBashTail;
}

std::string PowerShellCompletion(const ProgramDescription& aProgram) {
    std::string text =
        "# Completes the command line of qvctl in PowerShell. In the profile:\n"
        "#   qvctl completion powershell | Out-String | Invoke-Expression\n\n";
    text += "$firstWords = " + QuotedList(FirstWords(aProgram)) + "\n$verbs = @{\n";
    for (const VerbDescription& verb : aProgram.verbs) {
        Texts values;
        for (const OptionDescription& option : verb.options) {
            if (option.value.empty()) continue;
            values.push_back(Quoted(option.name) + " = " + Quoted(KindOf(option)));
        }
        text += "    " + Quoted(verb.name) +
                " = @{\n        Options = " + QuotedList(NamesOf(verb.options)) +
                "\n        First = " + Quoted(KindOfFirst(verb)) +
                "\n        Further = " + Quoted(KindOfFurther(verb)) + "\n        Values = @{ " +
                Join(values, "; ") + " }\n    }\n";
    }
    return text + "}\n" + kPowerShellTail;
}

}  // namespace Qvctl
