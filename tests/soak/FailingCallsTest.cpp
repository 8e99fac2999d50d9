// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Every system call and allocation of the library and the kit fails once, wherever it is made: the
// first, the second, the third call of each imported function, until the scenario passes without a
// failure.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "AllocationCounter.h"
#include "CallScenarios.h"
#include "FailingFunctions.h"
#include "ImportTable.h"
#include "SampleDevice.h"
#include "TableFile.h"

namespace QvTests {
namespace {

// A failure after which the operation still succeeds.
struct HarmlessFailure {
    bool IsOf(const FailingFunction& aFunction) const { return aFunction.call->Name() == function; }
    bool IsIn(const Scenario& aScenario) const {
        return scenario == "*" || scenario == aScenario.name ||
               scenario == std::string(aScenario.name) + "?";
    }
    bool MustHappen() const { return scenario.back() != '?'; }
    bool IsAt(const std::string& aPlace) const {
        std::istringstream all(places);
        for (std::string place; all >> place;) {
            if (place == "*" || place == aPlace) return true;
        }
        return false;
    }

    std::string function;
    std::string scenario;
    std::string places;
};

std::vector<HarmlessFailure> ReadHarmlessFailures() {
    std::vector<HarmlessFailure> failures;
    for (const auto& row : ReadTable(QVTEST_SOAK "/harmless-failures.tsv", 4)) {
        failures.push_back({row[0], row[1], row[2]});
    }
    return failures;
}

// The function of ours in which a failing call was made.
std::string PlaceOf(const FailingFunction& aFunction) {
    const std::string place = FailingCall::Describe(aFunction.call->StruckAt());
    return place.substr(0, place.rfind('+'));
}

// How often something came of the failures of one function at one place.
using Outcomes = std::map<std::string, int>;

// The functions that can fail, and the table of harmless failures.
class FailureTest : public SampleDeviceTest {
protected:
    void SetUp() override {
        if (!FailingCall::IsPossible()) GTEST_SKIP() << "the library is part of the program";
        SampleDeviceTest::SetUp();
        functions_ = MakeFailingFunctions();
        harmless_ = ReadHarmlessFailures();
    }

    // Notes which functions the scenario calls. The first run is for what is made only once.
    void RunUnhindered(const Scenario& aScenario) {
        for (int time = 0; time < 2; ++time) {
            for (const FailingFunction& function : functions_) function.call->ForgetCalls();
            Attempt attempt;
            aScenario.run(attempt);
            ASSERT_TRUE(attempt.HasSucceeded()) << aScenario.name;
        }
    }

    AllocationCounter counter_;  // Before the functions, which pass their calls on to it.
    std::vector<FailingFunction> functions_;
    std::vector<HarmlessFailure> harmless_;
};

class FailingCallsTest : public FailureTest, public testing::WithParamInterface<Scenario> {
protected:
    // Fails every call of the function in the scenario, one at a time.
    void FailInTurn(const FailingFunction& aFunction) {
        std::map<const void*, int> tried;
        const std::vector<const void*> sites = aFunction.call->Sites();
        const int most = GetParam().mostOfAPlace;
        for (std::size_t number = 1;; ++number) {
            const bool isCounted = most > 0 && number <= sites.size();
            if (isCounted && ++tried[sites[number - 1]] > most) continue;
            SCOPED_TRACE("call " + std::to_string(number) + " of " + aFunction.call->Name());
            const Attempt attempt = RunWithoutLoss(aFunction, static_cast<long>(number));
            if (aFunction.call->StruckAt() == nullptr) {
                EXPECT_LT(1u, number) << "the call that was seen is not made again";
                EXPECT_TRUE(attempt.HasSucceeded());
                break;
            }
            CheckOutcome(aFunction, attempt);
        }
    }

    // What is lost every time is lost for good; once may be something that is made only now.
    Attempt RunWithoutLoss(const FailingFunction& aFunction, long aNumber) {
        std::optional<Attempt> attempt;
        long blocks = 0;
        long others = 0;
        for (int time = 0; time < 2; ++time) {
            blocks = counter_.Live();
            others = FailingCall::Outstanding();
            attempt.emplace(*aFunction.call, aNumber);
            GetParam().run(*attempt);
            blocks = counter_.Live() - blocks;
            others = FailingCall::Outstanding() - others;
            if (blocks == 0 && others == 0) break;
        }
        EXPECT_EQ(0, blocks) << "blocks of memory lost";
        EXPECT_EQ(0, others) << "handles, files or sets lost";
        return *attempt;
    }

    void CheckOutcome(const FailingFunction& aFunction, const Attempt& aAttempt) {
        const std::string place = FailingCall::Describe(aFunction.call->StruckAt());
        Outcomes& outcomes = table_[aFunction.call->Name()][place];
        const unsigned long code = aAttempt.ResultCode();
        if (aAttempt.HasThrown()) {
            EXPECT_TRUE(GetParam().mayThrow) << "std::bad_alloc in " << place;
            ++outcomes["bad_alloc"];
        } else if (aAttempt.GetKitError()) {
            CheckKitError(*aAttempt.GetKitError(), aFunction);
            ++outcomes[std::string("'") + aAttempt.GetKitError()->message + "'"];
        } else if (code == Code::Success) {
            EXPECT_TRUE(IsHarmless(aFunction)) << "goes on after a failure in " << place;
            ++outcomes["went on"];
        } else {
            EXPECT_THAT(aFunction.codes, testing::Contains(code));
            char text[16];
            std::snprintf(text, sizeof text, "code 0x%lx", code);
            ++outcomes[text];
        }
    }

    // The error has a reason, and the code of the call that failed, if it has any.
    static void CheckKitError(const KitError& aError, const FailingFunction& aFunction) {
        EXPECT_STRNE("", aError.message);
        EXPECT_NE(QvKit::ErrorKind::WrongUse, aError.kind) << aError.message;
        std::vector<unsigned long> codes = aFunction.codes;
        codes.push_back(aFunction.call->SystemError());
        if (!aError.code) return;
        EXPECT_THAT(codes, testing::Contains(*aError.code)) << aError.message;
    }

    bool IsHarmless(const FailingFunction& aFunction) const {
        const std::string place = PlaceOf(aFunction);
        return std::any_of(harmless_.begin(), harmless_.end(),
                           [&](const HarmlessFailure& aFailure) {
                               return aFailure.IsOf(aFunction) && aFailure.IsIn(GetParam()) &&
                                      aFailure.IsAt(place);
                           });
    }

    void PrintTable() const {
        int failures = 0;
        std::size_t sites = 0;
        for (const auto& [function, places] : table_) {
            for (const auto& [place, outcomes] : places) {
                std::string text;
                for (const auto& [outcome, count] : outcomes) {
                    text += (text.empty() ? "" : ", ") + std::to_string(count) + " x " + outcome;
                    failures += count;
                }
                std::printf("%-32s %-46s %s\n", function.c_str(), place.c_str(), text.c_str());
                ++sites;
            }
        }
        std::printf("%s: %d failing calls of %zu functions at %zu call sites\n", GetParam().name,
                    failures, table_.size(), sites);
    }

    std::map<std::string, std::map<std::string, Outcomes>> table_;
};

TEST_P(FailingCallsTest, EveryCallMayFailOnce) {
    RunUnhindered(GetParam());

    for (const FailingFunction& function : functions_) {
        if (function.call->WasCalled()) FailInTurn(function);
    }

    EXPECT_FALSE(table_.empty()) << "nothing failed";
    PrintTable();
}

INSTANTIATE_TEST_SUITE_P(, FailingCallsTest, testing::ValuesIn(AllScenarios()),
                         [](const auto& aInfo) { return std::string(aInfo.param.name); });

// Whether it happens that the function fails in the scenario, and the operation still succeeds.
bool Happens(const HarmlessFailure& aFailure, const Scenario& aScenario,
             const FailingFunction& aFunction) {
    for (long number = 1;; ++number) {
        Attempt attempt(*aFunction.call, number);
        aScenario.run(attempt);
        if (aFunction.call->StruckAt() == nullptr) return false;
        if (attempt.HasSucceeded() && aFailure.IsAt(PlaceOf(aFunction))) return true;
    }
}

using HarmlessFailuresTest = FailureTest;

TEST_F(HarmlessFailuresTest, EachHappens) {
    for (const HarmlessFailure& failure : harmless_) {
        if (!failure.MustHappen()) continue;
        SCOPED_TRACE(failure.function + " in " + failure.scenario + " at " + failure.places);
        const auto function =
            std::find_if(functions_.begin(), functions_.end(),
                         [&](const FailingFunction& aFunction) { return failure.IsOf(aFunction); });
        ASSERT_NE(functions_.end(), function);
        const std::vector<Scenario> scenarios = AllScenarios();
        EXPECT_TRUE(std::any_of(scenarios.begin(), scenarios.end(), [&](const Scenario& aScenario) {
            return failure.IsIn(aScenario) && Happens(failure, aScenario, *function);
        }));
    }
}

// What counts the coverage is in the DLLs, too, and imports functions of its own.
#ifndef QVTESTS_COVERAGE

// What our DLLs import, and what the table says of imports.
class ImportsTest : public FailureTest {
protected:
    void SetUp() override {
        FailureTest::SetUp();
        for (const char* const dll : kOurDlls) {
            for (const Import& import : ImportsOf(dll)) imports_.push_back(import);
        }
        for (const auto& row : ReadTable(QVTEST_SOAK "/imports-that-cannot-fail.tsv", 2)) {
            cannotFail_.push_back(row[0]);
        }
    }

    static bool IsFor(const std::string& aRow, const Import& aImport) {
        return aRow == aImport.name || aRow == aImport.dll;
    }

    std::vector<Import> imports_;
    std::vector<std::string> cannotFail_;
};

TEST_F(ImportsTest, EachFailsInAScenarioOrCannotFail) {
    std::set<std::string> called;
    for (const Scenario& scenario : AllScenarios()) {
        RunUnhindered(scenario);
        for (const FailingFunction& function : functions_) {
            if (function.call->WasCalled()) called.insert(function.call->Name());
        }
    }

    for (const Import& import : imports_) {
        const bool cannotFail =
            std::any_of(cannotFail_.begin(), cannotFail_.end(),
                        [&](const std::string& aRow) { return IsFor(aRow, import); });
        EXPECT_TRUE(called.count(import.name) > 0 || cannotFail)
            << import.name << " of " << import.dll;
    }
}

TEST_F(ImportsTest, EachThatCannotFailIsImported) {
    for (const std::string& row : cannotFail_) {
        EXPECT_TRUE(std::any_of(imports_.begin(), imports_.end(), [&](const Import& aImport) {
            return IsFor(row, aImport);
        })) << row;
    }
}

#endif

}  // namespace
}  // namespace QvTests
