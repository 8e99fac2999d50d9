// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_DEVICEPARAMETERCONVERSION_H
#define QVUSERLIB_SRC_DEVICEPARAMETERCONVERSION_H

#include <memory>

#include "QvBaseLib/DeviceParameter.h"
#include "QvUserLib/Parameter.h"

namespace QvUserLib {

// Between a driver's records and parameters, one at a time.

// Whether a parameter can be made from the record.
bool HasKnownType(const QvBaseLib::DeviceParameter& aRecord);

// Makes a parameter from a record of known type, with its value but without its marks. What is
// wrong with the record's values is merged into aCombined, and the parameter keeps what fits.
std::unique_ptr<Parameter> MakeParameter(const QvBaseLib::DeviceParameter& aRecord,
                                         Result& aCombined);

// Sets the six marks that a record carries. The parameter may be missing, which each mark reports.
Result SetMarks(Parameter* aParameter, const QvBaseLib::DeviceParameter& aRecord);

// Clears the change mark: what was just loaded counts as unchanged. The parameter may be missing.
void MarkUnchanged(const Parameter* aParameter);

// Fills a default-constructed record with the parameter and its value. A type that records do not
// have leaves name, description and flags alone in it.
void FillRecord(const Parameter& aParameter, QvBaseLib::DeviceParameter& aRecord);

}  // namespace QvUserLib

#endif
