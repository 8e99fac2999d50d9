// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <utility>

#include "QvKit/Text.h"
#include "digest/DigestProgress.h"
#include "digest/FileDigest.h"
#include "output/ErrorReport.h"
#include "output/Printable.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

using QvKit::Refusal;

FileDigest DigestWithProgress(const Context& aContext, const std::string& aPath) {
    aContext.Note("reading " + aPath);
    QvUserLib::Progress progress;
    DigestProgress display(aContext);
    return DigestFile(aPath, progress, [&] { display.Show(progress); });
}

Refusal CannotRead(const std::string& aPath, unsigned long aCode) {
    Refusal refusal;
    refusal.name = aPath;
    refusal.reason = "cannot be read (" + QvKit::SystemErrorText(aCode) + ")";
    refusal.code = aCode;
    return refusal;
}

std::vector<std::string> ReadList(const std::string& aPath) {
    std::ifstream file(std::filesystem::path(QvKit::FromUtf8(aPath)), std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
    }
    if (!file.eof()) {
        throw QvKit::Error(QvKit::ErrorKind::SystemFailed, "cannot read the list '" + aPath + "'");
    }
    return lines;
}

// Files and their digests. The text of each file is shown as soon as it is there.
class DigestReport final : public Report {
public:
    void Add(const std::string& aPath, const std::string& aDigest) {
        json_.push_back({{"file", aPath}, {"md5", aDigest}});
    }
    bool IsEmpty() const { return json_.empty(); }

    void WriteText(Output&) const override {}
    nlohmann::ordered_json ToJson() const override { return {{"files", json_}}; }

private:
    nlohmann::ordered_json json_ = nlohmann::ordered_json::array();
};

class LineReport final : public Report {
public:
    explicit LineReport(std::string aLine) : line_(std::move(aLine)) {}

    void WriteText(Output& aOut) const override { aOut.WriteLine(line_); }
    nlohmann::ordered_json ToJson() const override { return line_; }

private:
    std::string line_;
};

Outcome Finish(std::unique_ptr<DigestReport> aReport, std::vector<Refusal> aRefusals) {
    if (!aRefusals.empty()) throw QvKit::Error(std::move(aRefusals));
    return {std::move(aReport), {}};
}

// The word of md5sum for a file of a list. Adds it to the report or to the refusals.
std::string Compare(const DigestLine& aLine, const FileDigest& aFound, DigestReport& aReport,
                    std::vector<Refusal>& aRefusals) {
    if (aFound.digest.empty()) {
        aRefusals.push_back(CannotRead(aLine.path, aFound.code));
        return "FAILED open or read";
    }
    if (aFound.digest != aLine.digest) {
        Refusal refusal;
        refusal.name = aLine.path;
        refusal.reason = "has another digest";
        aRefusals.push_back(refusal);
        return "FAILED";
    }
    aReport.Add(aLine.path, aFound.digest);
    return "OK";
}

class Md5Verb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("FILE ...", files_, "The files");
        aArguments.Add("--check LIST", list_,
                       "Check the files of this list instead of printing\ndigests");
    }
    Outcome Run(const Context& aContext) override {
        if (files_.empty() == list_.empty()) {
            throw WrongUsage("either files or --check LIST are needed; see \"qvctl md5 --help\"");
        }
        return list_.empty() ? PrintDigests(aContext) : CheckDigests(aContext);
    }

private:
    Outcome PrintDigests(const Context& aContext) const {
        auto report = std::make_unique<DigestReport>();
        std::vector<Refusal> refusals;
        for (const std::string& file : files_) {
            const FileDigest found = DigestWithProgress(aContext, file);
            if (found.digest.empty()) {
                refusals.push_back(CannotRead(file, found.code));
                continue;
            }
            report->Add(file, found.digest);
            aContext.printer.PrintPart(
                LineReport(FormatDigestLine(DigestLine{found.digest, file})));
        }
        return Finish(std::move(report), std::move(refusals));
    }

    Outcome CheckDigests(const Context& aContext) const {
        auto report = std::make_unique<DigestReport>();
        std::vector<Refusal> refusals;
        std::size_t malformed = 0;
        for (const std::string& text : ReadList(list_)) {
            const std::optional<DigestLine> line = ParseDigestLine(text);
            if (!line) {
                ++malformed;
                continue;
            }
            const FileDigest found = DigestWithProgress(aContext, line->path);
            const std::string word = Compare(*line, found, *report, refusals);
            aContext.printer.PrintPart(LineReport(Printable(line->path) + ": " + word));
        }
        if (report->IsEmpty() && refusals.empty()) {
            throw QvKit::Error(QvKit::ErrorKind::SystemFailed,
                               "'" + list_ + "' has no line with a digest and a name");
        }
        if (malformed > 0) {
            aContext.err.WriteLine("qvctl: " + std::to_string(malformed) + " line(s) of '" +
                                   Printable(list_) + "' passed over: no digest and name");
        }
        return Finish(std::move(report), std::move(refusals));
    }

    std::vector<std::string> files_;
    std::string list_;
};

}  // namespace

std::unique_ptr<Verb> MakeMd5Verb() { return std::make_unique<Md5Verb>(); }

}  // namespace Qvctl
