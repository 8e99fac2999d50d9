// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What happened to a setting, as one line or one object.

#ifndef QVCTL_VERBS_SETTINGEVENTREPORT_H
#define QVCTL_VERBS_SETTINGEVENTREPORT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <utility>

#include "QvKit/SettingEvent.h"
#include "output/Moment.h"
#include "output/Report.h"

namespace Qvctl {

class SettingEventReport final : public Report {
public:
    // The event is one of a setting. `aBegin` is when the watch began.
    SettingEventReport(QvKit::SettingEvent aEvent, const Moment& aBegin)
        : event_(std::move(aEvent)), begin_(aBegin) {}

    std::string ToText() const;  // The line without the time.
    void WriteText(Output& aOut) const override;
    nlohmann::ordered_json ToJson() const override;

private:
    QvKit::SettingEvent event_;
    Moment begin_;
    Moment moment_ = Moment::Now();
};

}  // namespace Qvctl

#endif
