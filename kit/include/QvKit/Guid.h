// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_GUID_H
#define QVKIT_GUID_H

#include <optional>
#include <string>
#include <string_view>

struct _GUID;

namespace QvKit {

/// As the system writes it in device paths: with braces and lower-case digits.
std::string GuidToText(const _GUID& aGuid);

/// The GUID of a text with braces, in either case; nothing for another text.
std::optional<_GUID> ParseGuid(std::string_view aText);

}  // namespace QvKit

#endif
