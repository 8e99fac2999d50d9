// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/Printable.h"

#include "QvKit/Text.h"

namespace Qvctl {

std::string Printable(std::string_view aText) { return QvKit::Escape(QvKit::FromUtf8(aText)); }

}  // namespace Qvctl
