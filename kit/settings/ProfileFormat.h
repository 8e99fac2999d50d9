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

// What both reading and writing refuse.

// Whether the text is a time such as 2026-01-31T12:00:00Z.
bool IsProfileTime(const std::string& aText);

// Why no file has this text; empty when one may have it.
std::string RefuseProfileText(const std::string& aText);

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
