// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Nothing happens at the moment a packet becomes due without a read to take it. How many packets
// are due is calculated from the time that has passed, and whoever looks next drops the surplus.

#include "Stream.h"

#include "CurrentTime.h"
#include "QvSample/QvSamplePacket.h"

// Without a reader there is no stream, and no packet becomes due.
static void FollowRate(QV_STREAM* stream) {
    const ULONG rate = stream->readers > 0 ? stream->wantedRate : 0;
    if (rate == stream->rate) return;

    stream->rate = rate;
    stream->countingSince = CurrentTime();
    stream->counted = 0;
}

void SetPacketRate(QV_STREAM* stream, ULONG rate) {
    stream->wantedRate = rate;
    FollowRate(stream);
}

// The only place that starts the numbers anew.
static void BeginStream(QV_STREAM* stream) {
    stream->sequence = 0;
    stream->dropped = 0;
    stream->toSystemTime = SystemTime() - CurrentTime();
}

// A handle's file object keeps two marks, which are null at first: `FsContext` when the handle
// counts as a reader, `FsContext2` when it has been closed.
BOOLEAN BeginReading(QV_STREAM* stream, FILE_OBJECT* file) {
    if (file->FsContext2 != NULL) return FALSE;
    if (file->FsContext != NULL) return TRUE;

    file->FsContext = stream;
    if (stream->readers++ == 0) BeginStream(stream);
    FollowRate(stream);
    return TRUE;
}

void EndReading(QV_STREAM* stream, FILE_OBJECT* file) {
    if (file->FsContext != NULL) --stream->readers;
    file->FsContext = NULL;
    file->FsContext2 = stream;
    FollowRate(stream);
}

// How many packets have become due at the stream's rate. This function and its reverse calculate
// whole seconds apart from the rest, so that no product overflows.
static ULONGLONG PacketsUntil(const QV_STREAM* stream, LONGLONG now) {
    const ULONGLONG passed = (ULONGLONG)(now - stream->countingSince);
    const ULONGLONG packets =
        passed / QV_SECOND * stream->rate + passed % QV_SECOND * stream->rate / QV_SECOND;
    // The counters of two processors may differ by a tick: nothing that was counted is taken back.
    return now > stream->countingSince ? max(packets, stream->counted) : stream->counted;
}

BOOLEAN IsPacketTimed(const QV_STREAM* stream) { return stream->rate > 0; }

BOOLEAN IsPacketDue(const QV_STREAM* stream, LONGLONG now) {
    return !IsPacketTimed(stream) || PacketsUntil(stream, now) > stream->counted;
}

LONGLONG NextPacketTime(const QV_STREAM* stream) {
    const ULONGLONG packets = stream->counted + 1;
    const ULONGLONG fraction = packets % stream->rate * QV_SECOND;
    // Rounded up: at that time the packet is due, and not just before.
    return stream->countingSince + (LONGLONG)(packets / stream->rate * QV_SECOND +
                                              (fraction + stream->rate - 1) / stream->rate);
}

void TakePacket(QV_STREAM* stream, UCHAR* packet, ULONG size, LONGLONG now) {
    const QV_SAMPLE_PACKET_HEADER header = {
        .magic = QV_SAMPLE_PACKET_MAGIC,
        .payloadBytes = size - (ULONG)sizeof(header),
        .sequence = stream->sequence++,
        .timestamp = (ULONGLONG)(now + stream->toSystemTime),
        .dropped = stream->dropped,
    };
    if (IsPacketTimed(stream)) ++stream->counted;
    RtlCopyMemory(packet, &header, sizeof(header));
}

void DropDuePackets(QV_STREAM* stream, LONGLONG now) {
    ULONGLONG missed;
    if (!IsPacketTimed(stream)) return;

    missed = PacketsUntil(stream, now) - stream->counted;
    stream->counted += missed;
    stream->sequence += missed;
    stream->dropped += missed;
}

void DropTakenPacket(QV_STREAM* stream) { ++stream->dropped; }

void CountDropInPacket(UCHAR* packet) { ++((QV_SAMPLE_PACKET_HEADER*)packet)->dropped; }

// Adds to each of eight bytes, without a carry from one to the next.
static ULONGLONG AddToBytes(ULONGLONG bytes, ULONGLONG summands) {
    const ULONGLONG highBits = 0x8080808080808080u;
    return ((bytes & ~highBits) + (summands & ~highBits)) ^ ((bytes ^ summands) & highBits);
}

// Eight times the same byte.
static ULONGLONG EightTimes(UCHAR byte) { return byte * 0x0101010101010101u; }

// Eight bytes at a time: at a high rate most of the driver's work is done here. System buffers are
// aligned to 16 bytes.
void FillPayload(UCHAR* packet, ULONG bytes) {
    const ULONGLONG sequence = ((const QV_SAMPLE_PACKET_HEADER*)packet)->sequence;
    UCHAR* payload = packet + sizeof(QV_SAMPLE_PACKET_HEADER);
    ULONGLONG* words = (ULONGLONG*)payload;
    const ULONG count = bytes - (ULONG)sizeof(QV_SAMPLE_PACKET_HEADER);
    ULONGLONG word = 0;
    ULONG index;

    for (index = 0; index < 8; ++index) {
        word |= (ULONGLONG)QvSamplePayloadByte(sequence, index) << (8 * index);
    }
    for (index = 0; index + 8 <= count; index += 8) {
        *words++ = word;
        word = AddToBytes(word, EightTimes(8 * 7));
        if ((index + 8) % 256 == 0) word = AddToBytes(word, EightTimes(1));
    }
    for (; index < count; ++index) payload[index] = QvSamplePayloadByte(sequence, index);
}
