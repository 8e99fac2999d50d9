// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The packet stream: when packets are due, how they are numbered, and what is in them.
//
// The lock that guards a stream is held by the caller, except in `FillPayload`.

#ifndef QVSAMPLE_STREAM_H
#define QVSAMPLE_STREAM_H

#include "Kernel.h"

// A stream lasts while a handle is open that has read. Handles say when they begin and end to read;
// nothing else begins a stream or ends it.
typedef struct QV_STREAM {
    ULONG readers;           // How many such handles there are.
    ULONGLONG sequence;      // Of the next packet.
    ULONGLONG dropped;       // Packets that no read got.
    LONGLONG toSystemTime;   // What to add to `CurrentTime`.
    ULONG wantedRate;        // What `SetPacketRate` asked for.
    ULONG rate;              // Packets per second; 0 when time does not make them due.
    LONGLONG countingSince;  // When packets began to become due at this rate.
    ULONGLONG counted;       // How many of those were given to a read, or dropped.
} QV_STREAM;

// Notes that a handle reads. The first such handle begins the stream. Returns false, and notes
// nothing, when the handle has been closed.
BOOLEAN BeginReading(QV_STREAM* stream, FILE_OBJECT* file);

// Notes that a handle is closed, whether it has read or not. The last one that has read ends the
// stream. May be called again. None of the handle's reads may be waiting, or may take its packet
// back, any more: they would do so in the next stream.
void EndReading(QV_STREAM* stream, FILE_OBJECT* file);

// Sets how many packets become due in a second. Packets are counted anew if the rate is another one
// than before. With 0 no packet becomes due by itself.
void SetPacketRate(QV_STREAM* stream, ULONG rate);

// Whether the stream has a rate: packets become due as time passes.
BOOLEAN IsPacketTimed(const QV_STREAM* stream);

// Whether there is a packet for a read. Without a rate there always is.
BOOLEAN IsPacketDue(const QV_STREAM* stream, LONGLONG now);

// When the next packet becomes due, if `IsPacketTimed`.
LONGLONG NextPacketTime(const QV_STREAM* stream);

// Writes the header of the next packet, which is `size` bytes long as a whole. The payload follows
// with `FillPayload`, which takes too long for the lock.
void TakePacket(QV_STREAM* stream, UCHAR* packet, ULONG size, LONGLONG now);

// Drops the packets that have become due and that no read got.
void DropDuePackets(QV_STREAM* stream, LONGLONG now);

// Counts a packet as dropped that was taken and that its read does not return.
void DropTakenPacket(QV_STREAM* stream);

// Counts one more dropped packet in the header of a packet that was taken later.
void CountDropInPacket(UCHAR* packet);

// Completes a packet of which the first `bytes` bytes are wanted. Any IRQL, no lock held.
void FillPayload(UCHAR* packet, ULONG bytes);

#endif
