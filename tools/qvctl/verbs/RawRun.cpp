// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/RawRun.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "commandline/ArgumentValues.h"
#include "output/HexDump.h"
#include "output/OutFile.h"
#include "output/Printable.h"
#include "output/Quantity.h"
#include "output/Rows.h"
#include "output/SettingJson.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;
using QvKit::ControlCode;
using QvKit::RawAnswer;

std::string Hexadecimal(const ControlCode& aCode) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lx", aCode.ToNumber());
    return text;
}

ordered_json CodeToJson(const ControlCode& aCode) {
    ordered_json json;
    json["number"] = aCode.ToNumber();
    json["hex"] = Hexadecimal(aCode);
    json["deviceType"] = aCode.deviceType;
    json["function"] = aCode.function;
    json["method"] = NameOf(aCode.method);
    json["access"] = NameOf(aCode.access);
    return json;
}

class RawReport final : public Report {
public:
    RawReport(ChosenDevice aDevice, const RawRequest& aRequest, RawAnswer aAnswer)
        : device_(std::move(aDevice)),
          code_(aRequest.code),
          isWrite_(aRequest.isWrite),
          outFile_(aRequest.outFile),
          answer_(std::move(aAnswer)) {}

    void WriteText(Output& aOut) const override {
        std::vector<Row> rows;
        if (code_) rows.emplace_back("code", Hexadecimal(*code_) + ": " + code_->ToText());
        std::string size = std::to_string(answer_.size);
        if (!isWrite_ && answer_.size > answer_.bytes.size()) {
            size += " counted by the device, " + std::to_string(answer_.bytes.size()) + " returned";
        }
        rows.emplace_back("bytes", size);
        rows.emplace_back("time", DurationText(static_cast<std::uint64_t>(answer_.time.count())));
        if (!outFile_.empty()) rows.emplace_back("file", Printable(outFile_));
        WriteRows(aOut, rows);
        if (outFile_.empty()) aOut.Write(HexDump(answer_.bytes));
    }

    ordered_json ToJson() const override {
        ordered_json json;
        json["device"] = Qvctl::ToJson(device_);
        if (code_) json["code"] = CodeToJson(*code_);
        json["bytes"] = answer_.size;
        json["seconds"] = std::chrono::duration<double>(answer_.time).count();
        if (!isWrite_) {
            json["data"] = nullptr;
            if (outFile_.empty()) json["data"] = ToHex(answer_.bytes);
            json["outFile"] = nullptr;
            if (!outFile_.empty()) json["outFile"] = outFile_;
        }
        json["error"] = nullptr;
        return json;
    }

private:
    ChosenDevice device_;
    std::optional<ControlCode> code_;
    bool isWrite_;
    std::string outFile_;
    RawAnswer answer_;
};

}  // namespace

void AddOutFileOption(Arguments& aArguments, std::string& aOutFile) {
    aArguments.Add("--out-file FILE", aOutFile, &ParseFileName,
                   "Write what comes back to this file; - for\nstandard output");
}

Outcome RunRawRequest(const Context& aContext, const RawRequest& aRequest) {
    if (aRequest.outFile == kStandardOutput) aContext.printer.PrintTo(aContext.err);
    const ChosenDevice device = aContext.FindDevice();
    QvKit::BoundedConnection connection(aContext.OpenChannel(device), aContext.GetLimits());
    // Before anything is sent: what comes back may not come again.
    const std::unique_ptr<QvKit::PacketFile> file = OpenOutFile(aRequest.outFile);
    aContext.Note("sending the request");
    RawAnswer answer = aRequest.send(connection);
    std::optional<QvKit::Error> error = answer.error;
    if (error) error = QvKit::ExplainRemoval(device.address, *error);
    if (error && answer.size == 0) throw QvKit::Error(*error);
    if (file != nullptr) file->Append(answer.bytes.data(), answer.bytes.size());
    return {std::make_unique<RawReport>(device, aRequest, std::move(answer)), error};
}

}  // namespace Qvctl
