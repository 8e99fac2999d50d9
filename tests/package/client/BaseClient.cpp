// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Uses the base library alone.

#include <cstdio>

#include "QvBaseLib/QvBaseLib.h"

int main() {
    const QvBaseLib::Result result(QvBaseLib::Code::NotFound);
    std::printf("base client: code %lu\n", result.GetCode());
    return result.IsFailure() ? 0 : 1;
}
