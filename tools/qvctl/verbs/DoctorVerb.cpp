// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "doctor/Doctor.h"
#include "doctor/Inspection.h"
#include "output/Printable.h"
#include "output/TextTable.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

struct VerdictLook {
    const char* text;
    Output::Colour colour;
};

VerdictLook LookOf(Verdict aVerdict) {
    if (aVerdict == Verdict::Ok) return {"ok", Output::Green};
    if (aVerdict == Verdict::Warning) return {"warning", Output::Yellow};
    return {"problem", Output::Red};
}

std::string Padded(std::string aText, std::size_t aWidth) {
    aText.resize(aWidth, ' ');
    return aText;
}

// A console would break lines anywhere; what reads from a file or a pipe gets whole ones.
std::vector<std::string> LinesFor(const Output& aOut, const std::string& aText,
                                  std::size_t aIndent) {
    const std::string text = Printable(aText);
    if (!aOut.IsTerminal()) return {text};
    // The last column stays free: some consoles go to the next line once it is written to.
    return Wrap(text, aOut.GetWidth() - aIndent - 1);
}

void Print(Output& aOut, const Check& aCheck) {
    constexpr std::size_t kVerdictWidth = 9;
    constexpr std::size_t kNameWidth = 12;
    constexpr std::size_t kArrowWidth = 3;
    constexpr std::size_t kIndent = kVerdictWidth + kNameWidth;
    const VerdictLook look = LookOf(aCheck.verdict);
    aOut.WriteColoured(look.colour, Padded(look.text, kVerdictWidth));
    std::string margin = Padded(aCheck.name, kNameWidth);
    for (const std::string& line : LinesFor(aOut, aCheck.found, kIndent)) {
        aOut.WriteLine(margin + line);
        margin = std::string(kIndent, ' ');
    }
    if (aCheck.advice.empty()) return;
    margin += "-> ";
    for (const std::string& line : LinesFor(aOut, aCheck.advice, kIndent + kArrowWidth)) {
        aOut.WriteLine(margin + line);
        margin = std::string(kIndent + kArrowWidth, ' ');
    }
}

nlohmann::ordered_json CheckToJson(const Check& aCheck) {
    nlohmann::ordered_json json;
    json["name"] = aCheck.name;
    json["verdict"] = LookOf(aCheck.verdict).text;
    json["found"] = aCheck.found;
    json["advice"] = nullptr;
    if (!aCheck.advice.empty()) json["advice"] = aCheck.advice;
    return json;
}

class DoctorReport final : public Report {
public:
    explicit DoctorReport(std::vector<Check> aChecks) : checks_(std::move(aChecks)) {}

    void WriteText(Output& aOut) const override {
        for (const Check& check : checks_) Print(aOut, check);
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["checks"] = nlohmann::ordered_json::array();
        for (const Check& check : checks_) json["checks"].push_back(CheckToJson(check));
        json["error"] = nullptr;
        return json;
    }

private:
    std::vector<Check> checks_;
};

class DoctorVerb final : public Verb {
public:
    Outcome Run(const Context& aContext) override {
        std::vector<Check> checks = Judge(Inspect(aContext));
        const auto problems = std::count_if(checks.begin(), checks.end(), [](const Check& aCheck) {
            return aCheck.verdict == Verdict::Problem;
        });
        Outcome outcome{std::make_unique<DoctorReport>(std::move(checks)), std::nullopt};
        if (problems > 0) {
            outcome.error = QvKit::Error(QvKit::ErrorKind::SystemFailed,
                                         "problems found: " + std::to_string(problems));
        }
        return outcome;
    }
};

}  // namespace

std::unique_ptr<Verb> MakeDoctorVerb() { return std::make_unique<DoctorVerb>(); }

}  // namespace Qvctl
