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

Texts NamesOf(const std::vector<VerbDescription>& aVerbs) {
    Texts names;
    for (const VerbDescription& verb : aVerbs) names.push_back(verb.name);
    return names;
}

// What an argument or the value of an option may be: "file", "name", "assignment", "device", words
// to choose from, or an empty text when nothing can be offered.
std::string KindOf(const OptionDescription& aOption, const ProgramDescription& aProgram) {
    if (aOption.name == "--device") return "device";
    if (aOption.name == "--log-level") return "fatal error warn info debug";
    if (aOption.name == "VERB") return Join(NamesOf(aProgram.verbs), " ");
    if (aOption.IsFile()) return "file";
    if (aOption.name == "NAME") return "name";
    if (aOption.name == "ASSIGNMENT") return "assignment";
    return Join(aOption.GetChoices(), " ");
}

std::string KindOfFirst(const VerbDescription& aVerb, const ProgramDescription& aProgram) {
    return aVerb.arguments.empty() ? std::string() : KindOf(aVerb.arguments.front(), aProgram);
}

// The last argument may be repeated.
std::string KindOfFurther(const VerbDescription& aVerb, const ProgramDescription& aProgram) {
    return aVerb.arguments.empty() ? std::string() : KindOf(aVerb.arguments.back(), aProgram);
}

Texts FirstWords(const ProgramDescription& aProgram) {
    Texts words = NamesOf(aProgram.verbs);
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

# _qvctl_parameters WHAT [NAME]: prints names, settable names, or the entries of a parameter.
_qvctl_parameters() {
    "${COMP_WORDS[0]}" show --all --json 2>/dev/null | what=$1 wanted=${2-} awk '
        function text() { sub(/^[^"]*"(name": ")?/, ""); sub(/",?\r?$/, ""); return $0 }
        /^ *"name": / { name = text(); if (ENVIRON["what"] == "names") print name }
        /^ *"readOnly": false/ && ENVIRON["what"] == "settable" { print name }
        inside && /^ *\]/ { exit }
        inside { print text() }
        /^ *"entries": \[/ && ENVIRON["what"] == "entries" { inside = name == ENVIRON["wanted"] }'
}

# _qvctl_offer_lines ENDING: offers the lines of the input, quoted: a driver may call its parameters
# anything, and compgen -W would expand them.
_qvctl_offer_lines() {
    local line
    while IFS= read -r line; do
        if [[ "$line" == "$current"* ]]; then COMPREPLY+=("$(printf %q "$line")$1"); fi
    done
}

# _qvctl_offer_assignment: before the equals sign a name, behind it an entry. Bash takes the sign as
# a word of its own.
_qvctl_offer_assignment() {
    local name=
    if [[ "$current" == "=" ]]; then
        name=$previous current=
    elif [[ "$previous" == "=" ]]; then
        name=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    if [[ -n "$name" ]]; then
        _qvctl_offer_lines "" < <(_qvctl_parameters entries "$name")
    else
        compopt -o nospace 2>/dev/null
        _qvctl_offer_lines = < <(_qvctl_parameters settable)
    fi
}

# _qvctl_offer KIND: offers what the word may be.
_qvctl_offer() {
    case "$1" in
        file)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
        name)
            _qvctl_offer_lines "" < <(_qvctl_parameters names) ;;
        assignment)
            _qvctl_offer_assignment ;;
        device)
            _qvctl_offer_lines "" < <("${COMP_WORDS[0]}" list 2>/dev/null | cut -d " " -f 1) ;;
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
        'device' { (& qvctl list --json 2>$null | ConvertFrom-Json).devices.index | ForEach-Object { "$_" } }
        'name' { (& qvctl show --all --json 2>$null | ConvertFrom-Json).parameters.name }
        'assignment' {
            $parameters = (& qvctl show --all --json 2>$null | ConvertFrom-Json).parameters |
                Where-Object { -not $_.marks.readOnly }
            if ($word.Contains('=')) {
                $name = $word.Split('=')[0]
                ($parameters | Where-Object { $_.name -ceq $name }).entries |
                    ForEach-Object { "$name=$_" }
            } else {
                $parameters.name | ForEach-Object { "$_=" }
            }
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
                      KindOf(option, aProgram) + "\"; return ;;\n";
        }
        verbs += "        " + verb.name + ")\n            options=\"" +
                 Join(NamesOf(verb.options), " ") + "\"\n            first=\"" +
                 KindOfFirst(verb, aProgram) + "\" further=\"" + KindOfFurther(verb, aProgram) +
                 "\" ;;\n";
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
            values.push_back(Quoted(option.name) + " = " + Quoted(KindOf(option, aProgram)));
        }
        text += "    " + Quoted(verb.name) +
                " = @{\n        Options = " + QuotedList(NamesOf(verb.options)) +
                "\n        First = " + Quoted(KindOfFirst(verb, aProgram)) +
                "\n        Further = " + Quoted(KindOfFurther(verb, aProgram)) +
                "\n        Values = @{ " + Join(values, "; ") + " }\n    }\n";
    }
    return text + "}\n" + kPowerShellTail;
}

}  // namespace Qvctl
