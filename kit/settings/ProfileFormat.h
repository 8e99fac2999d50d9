// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What writing and reading a profile share.

#ifndef QVKIT_SETTINGS_PROFILEFORMAT_H
#define QVKIT_SETTINGS_PROFILEFORMAT_H

#include <optional>
#include <string>

#include "QvKit/Profile.h"

namespace QvKit {

// By which a document says what it is.
inline constexpr char kProfileFormat[] = "QvUserLib settings";

struct OriginMember {
    const char* name;
    std::optional<std::string> Profile::Origin::* member;
};

inline constexpr OriginMember kOriginMembers[] = {
    {"class", &Profile::Origin::deviceClass},
    {"serialNumber", &Profile::Origin::serialNumber},
    {"driverVersion", &Profile::Origin::driverVersion},
};

}  // namespace QvKit

#endif
