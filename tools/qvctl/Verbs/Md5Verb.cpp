// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/Md5Verb.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <utility>

#include "DigestProgress.h"
#include "Failure.h"
#include "FileDigest.h"
#include "LibraryError.h"
#include "Utf8.h"

namespace Qvctl {
namespace {

FileDigest DigestWithProgress(const Context& aContext, const std::string& aPath) {
    aContext.Note("reading " + aPath);
    QvUserLib::Progress progress;
    DigestProgress display(aContext);
    return DigestFile(aPath, progress, [&] { display.Show(progress); });
}

std::string ReasonOf(unsigned long aCode) {
    const std::string text = SystemText(aCode);
    return "cannot be read (error " + std::to_string(aCode) +
           (text.empty() ? ")" : ": " + text + ")");
}

std::vector<std::string> ReadList(const std::string& aPath) {
    std::ifstream file(std::filesystem::path(FromUtf8(aPath)), std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
    }
    if (!file.eof()) throw Failure(ExitCode::Failed, "cannot read the list '" + aPath + "'");
    return lines;
}

// What became of the files of a list.
class CheckReport {
public:
    explicit CheckReport(const Context& aContext) : context_(aContext) {
        json_["files"] = nlohmann::ordered_json::array();
    }

    void Add(const DigestLine& aLine, const FileDigest& aFound) {
        if (aFound.digest.empty()) {
            Refuse(aLine.path, "FAILED open or read", ReasonOf(aFound.code), aFound.code);
        } else if (aFound.digest != aLine.digest) {
            Refuse(aLine.path, "FAILED", "has another digest", /*aCode=*/0);
        } else {
            json_["files"].push_back({{"file", aLine.path}, {"md5", aFound.digest}});
            Tell(aLine.path, "OK");
        }
    }

    void AddMalformedLine() { ++malformed_; }

    // Throws `Failure` unless all files are as the list says.
    void Finish(const std::string& aList) {
        if (json_["files"].empty() && refusals_.empty()) {
            throw Failure(ExitCode::Failed, "'" + aList + "' has no line with a digest and a name");
        }
        if (malformed_ > 0) {
            context_.err.WriteLine("qvctl: " + std::to_string(malformed_) + " line(s) of '" +
                                   Printable(aList) + "' passed over: no digest and name");
        }
        if (!refusals_.empty()) throw Failure(std::move(refusals_), std::string());
        if (context_.options.json) context_.out.WriteLine(json_.dump(2));
    }

private:
    void Refuse(const std::string& aPath, const char* aWord, const std::string& aReason,
                unsigned long aCode) {
        Tell(aPath, aWord);
        refusals_.push_back(Refusal{aPath, std::nullopt, aReason, std::string(), aCode});
    }

    void Tell(const std::string& aPath, const std::string& aWord) const {
        if (!context_.options.json) context_.out.WriteLine(Printable(aPath) + ": " + aWord);
    }

    const Context& context_;
    nlohmann::ordered_json json_;
    std::vector<Refusal> refusals_;
    std::size_t malformed_ = 0;
};

}  // namespace

std::string Md5Verb::GetName() const { return "md5"; }

std::string Md5Verb::GetSummary() const { return "Print or check MD5 digests of files"; }

std::string Md5Verb::GetDetails() const {
    return "Digests are printed and read in the format of md5sum. Large files show their\n"
           "progress on a console. No device is needed.\n"
           "\n"
           "Examples:\n"
           "  qvctl md5 firmware.bin settings.json > firmware.md5\n"
           "  qvctl md5 --check firmware.md5";
}

void Md5Verb::AddArguments(CLI::App& aCommand) {
    aCommand.add_option("FILE", files_, "The files")->option_text("...");
    aCommand
        .add_option("--check", list_, "Check the files of this list instead of printing\ndigests")
        ->option_text("LIST");
}

void Md5Verb::Run(const Context& aContext) {
    if (files_.empty() == list_.empty()) {
        throw Failure(ExitCode::WrongUsage,
                      "either files or --check LIST are needed; see \"qvctl md5 --help\"");
    }
    if (list_.empty()) {
        PrintDigests(aContext);
    } else {
        CheckDigests(aContext);
    }
}

void Md5Verb::PrintDigests(const Context& aContext) const {
    std::vector<Refusal> refusals;
    nlohmann::ordered_json json;
    json["files"] = nlohmann::ordered_json::array();
    for (const std::string& file : files_) {
        const FileDigest found = DigestWithProgress(aContext, file);
        if (found.digest.empty()) {
            refusals.push_back(
                Refusal{file, std::nullopt, ReasonOf(found.code), std::string(), found.code});
            continue;
        }
        json["files"].push_back({{"file", file}, {"md5", found.digest}});
        if (!aContext.options.json) {
            aContext.out.WriteLine(FormatDigestLine(DigestLine{found.digest, file}));
        }
    }
    if (aContext.options.json && refusals.empty()) aContext.out.WriteLine(json.dump(2));
    if (!refusals.empty()) throw Failure(std::move(refusals), std::string());
}

void Md5Verb::CheckDigests(const Context& aContext) const {
    CheckReport report(aContext);
    for (const std::string& text : ReadList(list_)) {
        const std::optional<DigestLine> line = ParseDigestLine(text);
        if (!line) {
            report.AddMalformedLine();
            continue;
        }
        report.Add(*line, DigestWithProgress(aContext, line->path));
    }
    report.Finish(list_);
}

}  // namespace Qvctl
