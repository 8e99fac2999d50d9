// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Parameters of each type for the tests, ready at construction: copying one has effects of its own.

#ifndef QVTESTS_SAMPLEPARAMETERS_H
#define QVTESTS_SAMPLEPARAMETERS_H

#include <functional>
#include <initializer_list>
#include <ostream>
#include <string>
#include <utility>

#include "QvUserLib/Parameter.h"
#include "QvUserLib/ParameterRepository.h"
#include "TestSupport.h"

namespace QvUserLib {

// GoogleTest prints texts with this.
inline void PrintTo(const String& aText, std::ostream* aOut) {
    *aOut << '"' << aText.GetAscii() << '"';
}

}  // namespace QvUserLib

namespace QvTests {

/// The messages of the most common failures, and the integer of a parameter that has none.
inline constexpr char kMissing[] = "The specified parameter doesn't exist";
inline constexpr char kReadOnly[] = "Parameter is read-only";
inline constexpr char kOutOfRange[] = "Value does not fit in the range";
inline constexpr long long kNoInt = 4294967295LL;

class IntegerParameter : public QvUserLib::Parameter {
public:
    IntegerParameter(long long aValue, long long aMin, long long aMax, const char* aName = "Gain",
                     unsigned long aId = 1)
        : Parameter(aName, aId) {
        InitInteger(aValue, aMin, aMax);
    }
};

class DoubleParameter : public QvUserLib::Parameter {
public:
    DoubleParameter(double aValue, double aMin, double aMax, const char* aName = "Ratio",
                    unsigned long aId = 2)
        : Parameter(aName, aId) {
        InitDouble(aValue, aMin, aMax);
    }
};

class BoolParameter : public QvUserLib::Parameter {
public:
    explicit BoolParameter(bool aValue, const char* aName = "Filter", unsigned long aId = 3)
        : Parameter(aName, aId) {
        InitBool(aValue);
    }
};

class StringParameter : public QvUserLib::Parameter {
public:
    explicit StringParameter(const char* aValue, const char* aName = "Label", unsigned long aId = 4)
        : Parameter(aName, aId) {
        InitString(aValue);
    }
};

class EnumParameter : public QvUserLib::Parameter {
public:
    EnumParameter(std::initializer_list<const char*> aEntries, const char* aName = "Mode",
                  unsigned long aId = 5)
        : Parameter(aName, aId) {
        InitEnum();
        for (const char* const entry : aEntries) EXPECT_THAT(AddEnumValue(entry), IsBareCode(0));
    }
};

class UntypedParameter : public QvUserLib::Parameter {
public:
    explicit UntypedParameter(const char* aName = "Untyped", unsigned long aId = 7)
        : Parameter(aName, aId) {}
};

/// Takes ownership of the parameter, which the repository has to accept.
template <typename AnyParameter>
AnyParameter* AddTo(QvUserLib::ParameterRepository& aRepository, AnyParameter* aParameter) {
    EXPECT_THAT(aRepository.Add(aParameter), IsBareCode(0));
    return aParameter;
}

/// A group with the members that are added to `members`.
class GroupParameter : public QvUserLib::Parameter {
public:
    explicit GroupParameter(const char* aName = "Trigger", unsigned long aId = 6)
        : Parameter(aName, aId), members(new QvUserLib::ParameterRepository("Members", 60)) {
        InitRepository(members);
    }

    QvUserLib::ParameterRepository* const members;
};

/// One parameter of each type, value and default alike.
struct OneOfEachType {
    EnumParameter enumeration{{"Slow", "Fast"}};
    DoubleParameter real{1.5, 1.0, 2.0};
    IntegerParameter integer{5, 0, 10};
    StringParameter string{"text"};
    BoolParameter boolean{true};
    GroupParameter group;
    UntypedParameter untyped;

    /// All of them, in the order of their type codes, which start at 0; the last has no type.
    QvUserLib::Parameter* const all[7] = {&enumeration, &real,  &integer, &string,
                                          &boolean,     &group, &untyped};
};

/// The null pointer that a look-up answers.
inline QvUserLib::Parameter* MissingParameter() {
    return QvUserLib::ParameterRepository("Empty", 0).GetByID(1);
}

/// Tells through a flag that it was destroyed.
class WatchedParameter : public IntegerParameter {
public:
    explicit WatchedParameter(std::function<void()> aOnDestruction, const char* aName = "Watched",
                              unsigned long aId = 8)
        : IntegerParameter(0, 0, 10, aName, aId), onDestruction_(std::move(aOnDestruction)) {}
    WatchedParameter(const WatchedParameter&) = delete;
    WatchedParameter& operator=(const WatchedParameter&) = delete;
    ~WatchedParameter() override { onDestruction_(); }

private:
    std::function<void()> onDestruction_;
};

}  // namespace QvTests

#endif
