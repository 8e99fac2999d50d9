// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Serving.h"

#include "CurrentTime.h"

static ULONG Number(const QV_DEVICE* device, ULONG id) {
    return ParameterNumber(&device->parameters, id);
}

static BOOLEAN ReturnsPackets(const QV_DEVICE* device) {
    return Number(device, QV_SAMPLE_ID_STREAM_MODE) == QV_SAMPLE_MODE_PACKETS;
}

// Whether a fault keeps reads from being served.
static BOOLEAN AreReadsHeld(const QV_DEVICE* device) {
    return Number(device, QV_SAMPLE_ID_FAULT_HOLD) != 0;
}

static LONGLONG Delay(const QV_DEVICE* device) {
    return (LONGLONG)Number(device, QV_SAMPLE_ID_FAULT_DELAY) * (QV_SECOND / 1000);
}

// What comes of trying to serve a read.
typedef enum QV_SERVING {
    QvServed,          // It has its outcome.
    QvBeingCancelled,  // The cancel routine owns it now.
    QvNothingThere     // It goes on waiting, and so do all reads behind it.
} QV_SERVING;

static BOOLEAN Move(QV_DEVICE* device, IRP* irp, LONGLONG now) {
    return MoveToServed(&device->reads, irp, now, Delay(device));
}

static QV_SERVING SetOutcome(IRP* irp, NTSTATUS status, ULONG_PTR bytes) {
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = bytes;
    return QvServed;
}

static QV_SERVING FailRead(QV_DEVICE* device, IRP* irp, LONGLONG now, NTSTATUS status) {
    if (!Move(device, irp, now)) return QvBeingCancelled;

    return SetOutcome(irp, status, 0);
}

static QV_SERVING ServeBytes(QV_DEVICE* device, IRP* irp, LONGLONG now) {
    if (device->loopback.count == 0) return QvNothingThere;
    if (!Move(device, irp, now)) return QvBeingCancelled;

    return SetOutcome(
        irp, STATUS_SUCCESS,
        TakeBytes(&device->loopback, irp->AssociatedIrp.SystemBuffer, ReadLength(irp)));
}

static QV_SERVING ServePacket(QV_DEVICE* device, IRP* irp, LONGLONG now) {
    const ULONG size = Number(device, QV_SAMPLE_ID_PACKET_SIZE);
    ULONG* shortReads = NumberInPlace(&device->parameters, QV_SAMPLE_ID_FAULT_SHORT_READS);
    if (ReadLength(irp) < size) return FailRead(device, irp, now, STATUS_BUFFER_TOO_SMALL);
    if (!IsPacketDue(&device->stream, now)) return QvNothingThere;
    if (!Move(device, irp, now)) return QvBeingCancelled;

    TakePacket(&device->stream, irp->AssociatedIrp.SystemBuffer, size, now);
    NotesOfRead(irp)->holdsPacket = TRUE;
    if (*shortReads == 0) return SetOutcome(irp, STATUS_SUCCESS, size);

    --*shortReads;
    return SetOutcome(irp, STATUS_SUCCESS, size / 2);
}

static QV_SERVING ServeRead(QV_DEVICE* device, IRP* irp, LONGLONG now) {
    ULONG* failReads = NumberInPlace(&device->parameters, QV_SAMPLE_ID_FAULT_FAIL_READS);
    if (*failReads > 0) {
        const QV_SERVING serving =
            FailRead(device, irp, now, (NTSTATUS)Number(device, QV_SAMPLE_ID_FAULT_STATUS));
        if (serving == QvServed) --*failReads;
        return serving;
    }
    return ReturnsPackets(device) ? ServePacket(device, irp, now) : ServeBytes(device, irp, now);
}

static void ServeWaitingReads(QV_DEVICE* device, LONGLONG now) {
    IRP* irp = FirstWaitingRead(&device->reads);
    while (irp != NULL) {
        IRP* next = NextWaitingRead(&device->reads, irp);
        if (ServeRead(device, irp, now) == QvNothingThere) return;
        irp = next;
    }
}

void SettleReads(QV_DEVICE* device) {
    const LONGLONG now = CurrentTime();
    if (!AreReadsHeld(device)) ServeWaitingReads(device, now);
    DropDuePackets(&device->stream, now);
}

BOOLEAN ServeReadAtOnce(QV_DEVICE* device, IRP* irp) {
    if (AreReadsHeld(device) || Delay(device) > 0) return FALSE;
    if (!BeginReadAtOnce(&device->reads, irp)) return FALSE;
    if (ServeRead(device, irp, CurrentTime()) == QvServed) return TRUE;

    CallOffReadAtOnce(&device->reads);
    return FALSE;
}

void FollowPacketRate(QV_DEVICE* device) {
    SetPacketRate(&device->stream,
                  ReturnsPackets(device) ? Number(device, QV_SAMPLE_ID_PACKET_RATE) : 0);
}

LONGLONG NextReadTime(const QV_DEVICE* device) {
    const LONGLONG next = NextServedTime(&device->reads);
    if (FirstWaitingRead(&device->reads) == NULL || !IsPacketTimed(&device->stream) ||
        AreReadsHeld(device)) {
        return next;
    }
    return min(next, NextPacketTime(&device->stream));
}

// A read that ends without its packet: the packet counts as dropped, also in the headers of packets
// that reads behind it have got already.
static void TakePacketBack(void* owner, IRP* irp) {
    QV_DEVICE* device = owner;
    IRP* later;
    if (!NotesOfRead(irp)->holdsPacket) return;

    NotesOfRead(irp)->holdsPacket = FALSE;
    DropTakenPacket(&device->stream);
    for (later = NextServedRead(&device->reads, irp); later != NULL;
         later = NextServedRead(&device->reads, later)) {
        if (NotesOfRead(later)->holdsPacket) CountDropInPacket(later->AssociatedIrp.SystemBuffer);
    }
}

static void FillPacket(IRP* irp) {
    if (!NotesOfRead(irp)->holdsPacket) return;

    FillPayload(irp->AssociatedIrp.SystemBuffer, (ULONG)irp->IoStatus.Information);
}

const QV_READ_CALLS kServingCalls = {.takeBack = TakePacketBack, .fill = FillPacket};
