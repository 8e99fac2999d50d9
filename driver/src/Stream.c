// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The packets: when they are due, what they are numbered, and what is in them.
//
// Nothing happens at the moment a packet becomes due without a read to take it. How many were due
// by now is a matter of calculation, and whoever looks next drops what is left over.

#include "Device.h"

// The system keeps its time at an address that is no multiple of eight, which a sanitizer of
// undefined behaviour objects to.
#ifdef __GNUC__
#define QV_AT_ANY_ADDRESS __attribute__((no_sanitize("alignment")))
#else
#define QV_AT_ANY_ADDRESS
#endif

static QV_AT_ANY_ADDRESS LONGLONG SystemTime(void) {
    LARGE_INTEGER time = {.QuadPart = 0};
    KeQuerySystemTime(&time);
    return time.QuadPart;
}

void BeginReading(QV_DEVICE* device, FILE_OBJECT* file) {
    if (file->FsContext != NULL) return;

    file->FsContext = device;
    if (device->stream.readers++ > 0) return;

    device->stream.sequence = 0;
    device->stream.dropped = 0;
    device->stream.toSystemTime = SystemTime() - CurrentTime();
    device->stream.rate = 0;
    FollowPacketRate(device);
}

void EndReading(QV_DEVICE* device, FILE_OBJECT* file) {
    if (file->FsContext == NULL) return;

    file->FsContext = NULL;
    if (--device->stream.readers == 0) device->stream.rate = 0;
}

static BOOLEAN ReturnsPackets(QV_DEVICE* device) {
    return *NumberInPlace(device, QV_SAMPLE_ID_STREAM_MODE) == QV_SAMPLE_MODE_PACKETS;
}

void FollowPacketRate(QV_DEVICE* device) {
    QV_STREAM* stream = &device->stream;
    const BOOLEAN hasRate = stream->readers > 0 && ReturnsPackets(device);
    const ULONG rate = hasRate ? *NumberInPlace(device, QV_SAMPLE_ID_PACKET_RATE) : 0;
    if (rate == stream->rate) return;

    stream->rate = rate;
    stream->countingSince = CurrentTime();
    stream->counted = 0;
}

// How many packets have become due at the stream's rate. Both this and its reverse calculate whole
// seconds apart from the rest, so that no product overflows.
static ULONGLONG PacketsUntil(const QV_STREAM* stream, LONGLONG now) {
    const ULONGLONG passed = (ULONGLONG)(now - stream->countingSince);
    const ULONGLONG packets =
        passed / QV_SECOND * stream->rate + passed % QV_SECOND * stream->rate / QV_SECOND;
    // The counters of two processors may differ by a tick: nothing that was counted is taken back.
    return now > stream->countingSince ? max(packets, stream->counted) : stream->counted;
}

BOOLEAN IsPacketTimed(const QV_DEVICE* device) { return device->stream.rate > 0; }

BOOLEAN IsPacketDue(const QV_DEVICE* device, LONGLONG now) {
    return !IsPacketTimed(device) || PacketsUntil(&device->stream, now) > device->stream.counted;
}

LONGLONG NextPacketTime(const QV_DEVICE* device) {
    const QV_STREAM* stream = &device->stream;
    const ULONGLONG packets = stream->counted + 1;
    const ULONGLONG fraction = packets % stream->rate * QV_SECOND;
    // Rounded up: at that time the packet is due, and not just before.
    return stream->countingSince + (LONGLONG)(packets / stream->rate * QV_SECOND +
                                              (fraction + stream->rate - 1) / stream->rate);
}

ULONG TakePacket(QV_DEVICE* device, UCHAR* buffer, LONGLONG now) {
    QV_STREAM* stream = &device->stream;
    const ULONG size = *NumberInPlace(device, QV_SAMPLE_ID_PACKET_SIZE);
    const QV_SAMPLE_PACKET_HEADER header = {
        .magic = QV_SAMPLE_PACKET_MAGIC,
        .payloadBytes = size - (ULONG)sizeof(header),
        .sequence = stream->sequence++,
        .timestamp = (ULONGLONG)(now + stream->toSystemTime),
        .dropped = stream->dropped,
    };
    if (IsPacketTimed(device)) ++stream->counted;
    RtlCopyMemory(buffer, &header, sizeof(header));
    return size;
}

void DropDuePackets(QV_DEVICE* device, LONGLONG now) {
    QV_STREAM* stream = &device->stream;
    ULONGLONG missed;
    if (!IsPacketTimed(device)) return;

    missed = PacketsUntil(stream, now) - stream->counted;
    stream->counted += missed;
    stream->sequence += missed;
    stream->dropped += missed;
}

static QV_SAMPLE_PACKET_HEADER* HeaderInRead(IRP* irp) { return irp->AssociatedIrp.SystemBuffer; }

void DropPacketOfRead(QV_DEVICE* device, IRP* irp) {
    LIST_ENTRY* entry;
    if (!NotesOfRead(irp)->holdsPacket) return;

    NotesOfRead(irp)->holdsPacket = FALSE;
    ++device->stream.dropped;
    for (entry = irp->Tail.Overlay.ListEntry.Flink; entry != &device->servedReads;
         entry = entry->Flink) {
        IRP* later = ReadOfEntry(entry);
        if (NotesOfRead(later)->holdsPacket) ++HeaderInRead(later)->dropped;
    }
}

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
