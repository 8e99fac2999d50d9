// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Parameters that are looked at again and again.

#ifndef QVCTL_PARAMETERWATCH_H
#define QVCTL_PARAMETERWATCH_H

#include <string>
#include <vector>

#include "ParameterText.h"
#include "QvUserLib/DeviceParameterRepository.h"

namespace Qvctl {

class ParameterWatch {
public:
    // The parameter is valid until the next look.
    struct Change {
        std::string name;
        const QvUserLib::Parameter* parameter;
        Value before;
        Value after;
    };

    // Watches these parameters, or all when none is named. The repository is borrowed, and what it
    // holds is where the changes begin. Throws `Failure` when it lacks a name.
    ParameterWatch(QvUserLib::DeviceParameterRepository& aParameters,
                   const std::vector<std::string>& aNames);

    // Reads the driver's parameters again, and answers what differs from the last time. Throws
    // `Failure` when the driver does not answer.
    std::vector<Change> Look();

private:
    struct Known {
        std::string name;
        Value value;
    };

    QvUserLib::DeviceParameterRepository& parameters_;
    std::vector<Known> known_;
};

}  // namespace Qvctl

#endif
