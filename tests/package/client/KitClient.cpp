// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Uses the installed kit, down to the system's calls.

#include <cstdio>

#include "QvKit/QvKit.h"

int main() {
    try {
        (void)QvKit::OpenChannel(QvKit::MakeAddress("\\\\.\\no such device"));
    } catch (const QvKit::Error& error) {
        std::printf("kit client: code %lu\n", error.GetCode().value_or(0));
        return 0;
    }
    return 1;
}
