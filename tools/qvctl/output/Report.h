// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a verb found out.

#ifndef QVCTL_OUTPUT_REPORT_H
#define QVCTL_OUTPUT_REPORT_H

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>

#include "QvKit/Error.h"
#include "output/Output.h"

namespace Qvctl {

// The same facts in two forms. The printer chooses one.
class Report {
public:
    virtual ~Report() = default;

    virtual void WriteText(Output& aOut) const = 0;

    // The names of the members stay as they are; new ones may be added.
    virtual nlohmann::ordered_json ToJson() const = 0;
};

// How a verb ended.
struct Outcome {
    std::unique_ptr<const Report> report;  // Null when there is nothing to report.
    std::optional<QvKit::Error> error;     // Why it was no success, in spite of the report.
};

// Prints reports in the form that the user asked for. This is the only place that knows the form.
class Printer {
public:
    // It prints the text form, unless `UseJson` is called.
    explicit Printer(Output& aOut) : out_(&aOut) {}

    void UseJson() { isJson_ = true; }
    bool IsJson() const { return isJson_; }

    // Prints to another output from now on.
    void PrintTo(Output& aOut) { out_ = &aOut; }

    // Prints how a verb ended. In the JSON form the error is a member of the report.
    void Print(const Outcome& aOutcome) const;

    // A part of a report that takes its time: the text form shows it at once, and the whole leaves
    // it out; the JSON form has it in the whole.
    void PrintPart(const Report& aPart) const;

    // Begins a series of reports without an end. In the JSON form each, also an error, is an object
    // on a line of its own from now on.
    void BeginSeries() { isSeries_ = true; }
    void PrintNext(const Report& aReport) const;

private:
    Output* out_;
    bool isJson_ = false;
    bool isSeries_ = false;
};

}  // namespace Qvctl

#endif
