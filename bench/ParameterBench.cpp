// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <string>

#include "Comparison.h"
#include "QvUserLib/Parameter.h"
#include "QvUserLib/String.h"

namespace QvBench {

namespace {

using QvUserLib::Parameter;
using QvUserLib::String;

// What a program would write without the library. Out of line, like the library's operations.
struct PlainSetting {
    [[gnu::noinline]] bool SetInt(long long aValue) {
        if (aValue < min || aValue > max) return false;
        changed = value != aValue;
        value = aValue;
        return true;
    }
    [[gnu::noinline]] long long GetInt() const { return value; }
    [[gnu::noinline]] bool SetText(const std::string& aText) {
        changed = text != aText;
        text = aText;
        return true;
    }

    long long value = 5;
    long long min = 0;
    long long max = 1000;
    std::string text;
    bool changed = false;
};

// Each iteration is one call. The values alternate, so that each call changes the value.

void OursSetInt(benchmark::State& aState) {
    Parameter gain("Gain", 1);
    gain.InitInteger(5, 0, 1000);
    long long value = 0;
    Repeat(aState, [&] {
        value ^= 1;
        Must(gain.SetInt(value));
    });
}

void BareSetInt(benchmark::State& aState) {
    PlainSetting gain;
    long long value = 0;
    Repeat(aState, [&] {
        value ^= 1;
        Must(gain.SetInt(value), "refused");
    });
}

void OursGetInt(benchmark::State& aState) {
    Parameter gain("Gain", 1);
    gain.InitInteger(5, 0, 1000);
    Repeat(aState, [&] { benchmark::DoNotOptimize(gain.GetInt()); });
}

void BareGetInt(benchmark::State& aState) {
    const PlainSetting gain;
    Repeat(aState, [&] { benchmark::DoNotOptimize(gain.GetInt()); });
}

constexpr const char* kTexts[] = {"Bench 7, north side", "Bench 8, south side"};

void OursSetString(benchmark::State& aState) {
    Parameter label("Label", 1);
    label.InitString("");
    const String texts[] = {kTexts[0], kTexts[1]};
    int next = 0;
    Repeat(aState, [&] {
        next ^= 1;
        Must(label.SetString(texts[next]));
    });
}

void BareSetString(benchmark::State& aState) {
    PlainSetting label;
    const std::string texts[] = {kTexts[0], kTexts[1]};
    int next = 0;
    Repeat(aState, [&] {
        next ^= 1;
        Must(label.SetText(texts[next]), "refused");
    });
}

}  // namespace

void AddParameterRows(Table& aTable) {
    constexpr double kExtraNs = 3;
    constexpr char kPlain[] = "plain struct with a range check";
    aTable.Add({"Parameter::SetInt", kPlain, OursSetInt, BareSetInt, 0, kExtraNs});
    aTable.Add({"Parameter::GetInt", kPlain, OursGetInt, BareGetInt, 0, kExtraNs});
    aTable.Add({"Parameter::SetString", "plain struct", OursSetString, BareSetString, 0});
}

}  // namespace QvBench
