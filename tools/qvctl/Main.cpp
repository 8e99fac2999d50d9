// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "ActivityLog.h"
#include "CtrlC.h"
#include "LibraryLog.h"
#include "QvKit/BoundedConnection.h"
#include "QvKit/Text.h"
#include "commandline/CommandLine.h"
#include "common/CommandLineArguments.h"
#include "output/ErrorReport.h"
#include "output/Printable.h"

namespace Qvctl {
namespace {

using QvKit::Error;
using QvKit::ErrorKind;

std::vector<std::string> GetArguments() {
    std::vector<std::string> arguments;
    for (const std::wstring& text : QvTools::GetCommandLineArguments()) {
        if (!QvKit::IsWellFormed(text)) {
            throw WrongUsage("'" + QvKit::ToUtf8(text) + "' is not well-formed Unicode text");
        }
        arguments.push_back(QvKit::ToUtf8(text));
    }
    return arguments;
}

// The error, and what the user did or may try if this program ended a request.
Error ForTheUser(const Error& aError) {
    const std::optional<unsigned long>& code = aError.GetCode();
    if (code == QvKit::BoundedConnection::kTimedOut && aError.GetKind() == ErrorKind::TimedOut) {
        return Error(ErrorKind::TimedOut,
                     aError.what() + std::string("; try a longer --timeout, or \"qvctl doctor\""),
                     code);
    }
    if (code == QvKit::BoundedConnection::kCancelled && aError.GetKind() == ErrorKind::Cancelled) {
        return Error(ErrorKind::Cancelled, std::string("interrupted: ") + aError.what(), code);
    }
    return aError;
}

// One run of the tool, from its arguments to its exit code.
class Run {
public:
    ExitCode Execute() {
        Outcome outcome = TryToObey();
        if (outcome.error) {
            outcome.error = ForTheUser(*outcome.error);
            ReportError(*outcome.error);
        }
        printer_.Print(outcome);
        if (outcome.error) return ExitCodeOf(outcome.error->GetKind());
        if (!out_.HasFailed()) return ExitCode::Done;
        const Error error(ErrorKind::SystemFailed, "the output cannot be written");
        ReportError(error);
        return ExitCodeOf(error.GetKind());
    }

private:
    Outcome TryToObey() {
        try {
            const std::vector<std::string> arguments = GetArguments();
            if (AsksForJson(arguments)) printer_.UseJson();
            return Obey(arguments);
        } catch (const Error& error) {
            return {nullptr, error};
        } catch (const std::exception& exception) {
            return {nullptr, Error(ErrorKind::SystemFailed, exception.what())};
        }
    }

    Outcome Obey(const std::vector<std::string>& aArguments) {
        const Verbs verbs = MakeAllVerbs();
        const Command command = ParseCommandLine(aArguments, verbs);
        if (command.verb == nullptr) {
            out_.Write(command.text);
            return {};
        }
        if (!command.options.errorLog.empty()) libraryLog_.emplace(command.options.errorLog);
        Context context{command.options, printer_, out_, err_};
        if (command.options.log.asked) {
            log_.emplace(command.options.log, command.verb->name);
            context.log = &*log_;
            if (!log_->IsOn()) {
                context.Note("logging is off: log4cxx is not there or not configured");
            }
            log_->Write(QvUserLib::PriorityLevel::Info, "begins");
        }
        std::optional<CtrlC> ctrlC;
        if (command.verb->options & (DeviceOption | TimeoutOption)) {
            context.stop = &ctrlC.emplace().GetStopSignal();
        }
        Outcome outcome = command.verb->verb->Run(context);
        if (log_ && !outcome.error) log_->Write(QvUserLib::PriorityLevel::Info, "is done");
        return outcome;
    }

    void ReportError(const Error& aError) {
        if (libraryLog_) libraryLog_->Record(aError);
        for (const std::string& line : LinesOf(aError)) {
            if (log_) log_->Write(QvUserLib::PriorityLevel::Error, line);
            err_.WriteColoured(Output::Red, "qvctl:");
            err_.WriteLine(" " + Printable(line));
        }
    }

    Output out_{Output::Standard};
    Output err_{Output::Error};
    Printer printer_{out_};
    std::optional<LibraryLog> libraryLog_;
    std::optional<ActivityLog> log_;
};

}  // namespace
}  // namespace Qvctl

int main() { return static_cast<int>(Qvctl::Run().Execute()); }
