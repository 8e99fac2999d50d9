// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the system knows of a device.

#ifndef QVCTL_OUTPUT_INFORMATIONREPORT_H
#define QVCTL_OUTPUT_INFORMATIONREPORT_H

#include "QvKit/DeviceInformation.h"
#include "output/Report.h"

namespace Qvctl {

// What is not known is left out of both forms.
class InformationReport final : public Report {
public:
    explicit InformationReport(QvKit::DeviceInformation aInformation);

    void WriteText(Output& aOut) const override;
    nlohmann::ordered_json ToJson() const override;

private:
    QvKit::DeviceInformation information_;
};

}  // namespace Qvctl

#endif
