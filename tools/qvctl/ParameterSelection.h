// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// From names to parameters.

#ifndef QVCTL_PARAMETERSELECTION_H
#define QVCTL_PARAMETERSELECTION_H

#include <string>
#include <vector>

#include "Failure.h"
#include "QvUserLib/Parameter.h"
#include "QvUserLib/ParameterRepository.h"

namespace Qvctl {

// The parameter with exactly that name, or null.
QvUserLib::Parameter* FindParameter(QvUserLib::ParameterRepository& aParameters,
                                    const std::string& aName);

// All of them, in the order of the driver.
std::vector<QvUserLib::Parameter*> GetAllParameters(QvUserLib::ParameterRepository& aParameters);

// Those with the given names, in that order. Throws `Failure` when any is missing.
std::vector<QvUserLib::Parameter*> GetNamedParameters(QvUserLib::ParameterRepository& aParameters,
                                                      const std::vector<std::string>& aNames);

// A name that differs from the missing one in case only, as a question to the user; else empty.
std::string SuggestName(QvUserLib::ParameterRepository& aParameters, const std::string& aName);

// Throws `Failure` for wrong usage when a name is empty or stands there twice.
void RequireDistinctNames(const std::vector<std::string>& aNames);

}  // namespace Qvctl

#endif
