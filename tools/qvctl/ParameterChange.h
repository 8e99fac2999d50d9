// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Several parameters changed together: all edits are validated, then sent in one request, then
// compared with what the device holds.

#ifndef QVCTL_PARAMETERCHANGE_H
#define QVCTL_PARAMETERCHANGE_H

#include <optional>
#include <string>
#include <vector>

#include "Failure.h"
#include "ParameterText.h"
#include "QvUserLib/DeviceParameterRepository.h"

namespace Qvctl {

class ParameterChange {
public:
    struct Edit {
        unsigned long id;
        std::string name;
        std::optional<std::string>
            request;  // The text that was asked for; nothing for the default.
        Value before;
        Value after;
        bool IsChange() const { return before != after; }
    };

    // The repository is borrowed. Its parameters are other objects after `Send`.
    explicit ParameterChange(QvUserLib::DeviceParameterRepository& aParameters)
        : parameters_(aParameters) {}

    // These edit one parameter, each parameter once. A refusal is kept for `Send`.
    void Set(const std::string& aName, const std::string& aValue);
    void Reset(const std::string& aName);

    // Sends the edits, or none of them if any was refused. Throws `Failure` then, and when the
    // device refuses them or does not keep them.
    void Send();

    const std::vector<Edit>& GetEdits() const { return edits_; }
    QvUserLib::DeviceParameterRepository& GetParameters() const { return parameters_; }

private:
    void EditOne(const std::string& aName, const std::optional<std::string>& aRequest);
    std::string HintFor(const QvUserLib::Parameter* aParameter, const std::string& aName) const;
    void CompareWithDevice() const;

    QvUserLib::DeviceParameterRepository& parameters_;
    std::vector<Edit> edits_;
    std::vector<Refusal> refusals_;
};

}  // namespace Qvctl

#endif
