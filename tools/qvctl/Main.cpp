// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <exception>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "ActivityLog.h"
#include "CommandLine.h"
#include "Failure.h"
#include "LibraryError.h"
#include "Output.h"
#include "Utf8.h"
#include "WindowsApi.h"

// After WindowsApi.h, which it needs.
#include <shellapi.h>

namespace Qvctl {
namespace {

// From the system's own command line: the runtime's arguments went through the code page.
std::vector<std::string> GetArguments() {
    int count = 0;
    wchar_t** const texts = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    if (texts == nullptr) throw std::bad_alloc();
    const std::vector<std::wstring> wide(texts + 1, texts + count);
    ::LocalFree(texts);

    std::vector<std::string> arguments;
    for (const std::wstring& text : wide) {
        if (!IsWellFormed(text)) {
            throw Failure(ExitCode::WrongUsage,
                          "'" + ToUtf8(text) + "' is not well-formed Unicode text");
        }
        arguments.push_back(ToUtf8(text));
    }
    return arguments;
}

// Where what is done is logged, if that was asked for.
using OptionalLog = std::optional<ActivityLog>;

void Execute(const std::vector<std::string>& aArguments, Output& aOut, Output& aErr,
             OptionalLog& aLog) {
    const Verbs verbs = MakeAllVerbs();
    const Command command = ParseCommandLine(aArguments, verbs);
    if (command.verb == nullptr) {
        aOut.Write(command.text);
        return;
    }
    if (!command.options.errorLog.empty()) OpenErrorLog(command.options.errorLog);
    Context context{command.options, aOut, aErr};
    if (command.options.log.asked) {
        aLog.emplace(command.options.log, command.verb->GetName());
        context.log = &*aLog;
        if (!aLog->IsOn()) context.Note("logging is off: log4cxx is not there or not configured");
        aLog->Write(QvUserLib::PriorityLevel::Info, "begins");
    }
    command.verb->Run(context);
    if (aLog) aLog->Write(QvUserLib::PriorityLevel::Info, "is done");
}

ExitCode Report(const Failure& aFailure, bool aJson, Output& aOut, Output& aErr,
                OptionalLog& aLog) {
    for (const std::string& line : aFailure.GetLines()) {
        if (aLog) aLog->Write(QvUserLib::PriorityLevel::Error, line);
        aErr.WriteColoured(Output::Red, "qvctl:");
        aErr.WriteLine(" " + Printable(line));
    }
    if (aJson && !aFailure.IsInReport()) {
        nlohmann::ordered_json json;
        json["error"] = aFailure.ToJson();
        aOut.WriteLine(json.dump(2));
    }
    return aFailure.GetExitCode();
}

ExitCode Run() {
    Output out(Output::Standard);
    Output err(Output::Error);
    OptionalLog log;
    bool json = false;
    try {
        const std::vector<std::string> arguments = GetArguments();
        json = AsksForJson(arguments);
        Execute(arguments, out, err, log);
    } catch (const Failure& failure) {
        return Report(failure, json, out, err, log);
    } catch (const std::exception& exception) {
        return Report(Failure(ExitCode::Failed, exception.what()), json, out, err, log);
    }
    if (!out.HasFailed()) return ExitCode::Done;
    return Report(Failure(ExitCode::Failed, "the output cannot be written"), false, out, err, log);
}

}  // namespace
}  // namespace Qvctl

int main() { return static_cast<int>(Qvctl::Run()); }
