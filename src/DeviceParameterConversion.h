// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_DEVICEPARAMETERCONVERSION_H
#define QVUSERLIB_SRC_DEVICEPARAMETERCONVERSION_H

#include <memory>

#include "QvBaseLib/DeviceParameter.h"
#include "QvUserLib/Parameter.h"

namespace QvUserLib {

// Conversion between a driver's records and parameters, one at a time.

// Whether a parameter can be made from the record.
bool HasKnownType(const QvBaseLib::DeviceParameter& aRecord);

// Makes a parameter from a record of known type, with its value but without its marks. Failures to
// set the record's values are merged into aCombined, and the parameter keeps the values that fit.
std::unique_ptr<Parameter> MakeParameter(const QvBaseLib::DeviceParameter& aRecord,
                                         Result& aCombined);

// Sets the six marks that a record carries. The parameter may be null; then each mark reports a
// failure.
Result SetMarks(Parameter* aParameter, const QvBaseLib::DeviceParameter& aRecord);

// Clears the change mark: a parameter that was just loaded counts as unchanged. It may be null.
void MarkUnchanged(const Parameter* aParameter);

// Fills a default-constructed record with the parameter and its value. For a type that records do
// not have, only name, description and flags are filled in.
void FillRecord(const Parameter& aParameter, QvBaseLib::DeviceParameter& aRecord);

}  // namespace QvUserLib

#endif
