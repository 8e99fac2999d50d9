// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Loopback.h"

void PutBytes(QV_LOOPBACK* loopback, const UCHAR* bytes, ULONG count) {
    const ULONG end = (loopback->first + loopback->count) % loopback->capacity;
    const ULONG beforeWrap = min(count, loopback->capacity - end);
    RtlCopyMemory(loopback->bytes + end, bytes, beforeWrap);
    RtlCopyMemory(loopback->bytes, bytes + beforeWrap, count - beforeWrap);
    loopback->count += count;
}

ULONG TakeBytes(QV_LOOPBACK* loopback, UCHAR* bytes, ULONG limit) {
    const ULONG count = min(limit, loopback->count);
    const ULONG beforeWrap = min(count, loopback->capacity - loopback->first);
    RtlCopyMemory(bytes, loopback->bytes + loopback->first, beforeWrap);
    RtlCopyMemory(bytes + beforeWrap, loopback->bytes, count - beforeWrap);
    loopback->first = (loopback->first + count) % loopback->capacity;
    loopback->count -= count;
    return count;
}
