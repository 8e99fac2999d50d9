// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The owner of an open key of the registry.

#ifndef QVBASELIB_UNIQUEREGISTRYKEY_H
#define QVBASELIB_UNIQUEREGISTRYKEY_H

#include "UniqueHandle.h"

namespace QvBaseLib {

struct RegistryKeyPolicy {
    using Type = HKEY;
    static Type Empty() { return nullptr; }
    static bool IsValid(Type aKey) { return aKey != nullptr; }
    static void Close(Type aKey) { ::RegCloseKey(aKey); }
};
using UniqueRegistryKey = UniqueHandle<RegistryKeyPolicy>;

}  // namespace QvBaseLib

#endif
