// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

/**
 * @file
 * What programs need to know about the sample device: how to find it, what its parameters are, and
 * what its driver does with each request. Plain C, for user mode and kernel mode alike. A program
 * may include `<windows.h>` first, but need not.
 *
 * ## Requests
 *
 * The parameter requests and their record are those of `QvBaseLib/DeviceParameterRecord.h`. The
 * state that they read and change belongs to the device, not to the handle: all programs see the
 * same values, which last until the device is removed.
 *
 * - `IOCTL_PARAMETERS_GET_SIZE` takes no input and no output buffer. The byte count that it returns
 *   is the size of the parameter block.
 * - `IOCTL_PARAMETERS_GET` takes no input. It fills the output buffer, which may be larger than
 *   the block, with one record for each parameter, in a fixed order.
 * - `IOCTL_PARAMETERS_SET` takes 1 to `QV_SAMPLE_PARAMETER_COUNT` whole records in any order, none
 *   twice, and no output buffer. Of each record it looks at the identifier, the type, the name and
 *   the value. Attributes, description, unit, range and defaults belong to the driver, and what a
 *   record says about them is ignored. All records are checked before the first one takes effect:
 *   a refused request changes nothing.
 *
 * ## The stream
 *
 * What `ReadFile` returns depends on the parameter StreamMode. Reads of all handles stay pending
 * until there is something for them, and complete in the order in which they were sent. Each can be
 * cancelled.
 *
 * In mode Packets a read returns exactly one packet of the size PacketSize, as `QvSamplePacket.h`
 * describes it. A shorter read is refused when its turn comes, and uses no packet up.
 * With PacketRate 0 there is a packet for every read. Otherwise packets become due as time passes.
 * The first one is due a period after the stream began or the rate was changed. Each goes to the
 * oldest pending read. When none is pending the packet is dropped: its sequence number is used up,
 * and `dropped` counts it. Neither drops nor failing reads stop the stream.
 *
 * A device's stream, with sequence numbers and drops from 0, begins with the first read on a handle
 * while no other open handle has read, and ends when the last handle that has read is closed.
 *
 * In mode LoopBack reads return, in order and as one stream of bytes, what was written. A read gets
 * as many bytes as there are, up to its size, and waits while there are none. No packet becomes due
 * meanwhile. In mode Packets sequence numbers go on where they were.
 *
 * `WriteFile` completes at once, in both modes. The bytes go to a buffer, from which reads in mode
 * LoopBack take them. A request for 0 bytes succeeds at once.
 *
 * A change of parameters takes effect between two packets. Pending reads are served by the new
 * values, as if they had been sent after the change: in the new mode, by the new size and rate.
 * Packets that were due before it are those of the old rate.
 *
 * ## Faults
 *
 * Hidden parameters simulate what goes wrong with hardware. They work in both modes, except for
 * FaultShortReads, and never change the order of completions. Counts fall as they are used up. A
 * count of 0 ends the fault.
 *
 * - FaultFailReads: that many reads fail with the status FaultStatus, beginning with the oldest
 *   pending one. They do not wait for a packet and use none up.
 * - FaultShortReads: of that many packets the read returns only the first half, rounded down. The
 *   header is whole and has the full size.
 * - FaultDelay: every read completes that much later, also one that fails, but not one that is
 *   cancelled. A new delay is for reads that are served afterwards. When a delayed read is
 *   cancelled, its packet counts as dropped, and its bytes of the loop-back are lost.
 * - FaultHold: while it is On, reads are not served at all and can only be cancelled. Packets that
 *   become due are dropped. With Off reads are served again.
 * - FaultIgnoreCancel: every read completes that much later, and before that neither cancelling nor
 *   closing its handle ends it. It is apart from all other reads, their order and their faults, and
 *   uses no packet: its whole buffer is filled with `QV_SAMPLE_LATE_BYTE`. A new value is for reads
 *   that are sent afterwards. Only the end of the device ends these reads earlier.
 *
 * ## Refusals
 *
 * | refused                                               | NTSTATUS                     | Win32 |
 * |-------------------------------------------------------|------------------------------|-------|
 * | SET: not 1 to `QV_SAMPLE_PARAMETER_COUNT` whole records | STATUS_INVALID_BUFFER_SIZE |  1784 |
 * | SET: no parameter has this identifier                 | STATUS_NOT_FOUND             |  1168 |
 * | SET: the same identifier a second time                | STATUS_DUPLICATE_OBJECTID    |  5010 |
 * | SET: another type than the parameter's                | STATUS_REVISION_MISMATCH     |  1306 |
 * | SET: another name than the parameter's                | STATUS_OBJECT_NAME_INVALID   |   123 |
 * | SET: the parameter is read-only                       | STATUS_ACCESS_DENIED         |     5 |
 * | SET: number out of range, index of no enumeration value | STATUS_INVALID_PARAMETER   |    87 |
 * | SET: text longer than the parameter's limit           | STATUS_NAME_TOO_LONG         |   206 |
 * | SET: text that is no well-formed UTF-16               | STATUS_UNMAPPABLE_CHARACTER  |  1113 |
 * | GET: the output buffer is smaller than the block      | STATUS_BUFFER_TOO_SMALL      |   122 |
 * | an input or output buffer where the request has none  | STATUS_INVALID_PARAMETER     |    87 |
 * | any other I/O-control code                            | STATUS_INVALID_DEVICE_REQUEST |    1 |
 * | write: larger than the loop-back buffer               | STATUS_INVALID_BUFFER_SIZE   |  1784 |
 * | write: too little room in the loop-back buffer now    | STATUS_DEVICE_BUSY           |   170 |
 * | read: shorter than a packet, in mode Packets          | STATUS_BUFFER_TOO_SMALL      |   122 |
 * | read: FaultFailReads                                  | the value of FaultStatus     |       |
 * | read: cancelled, its handle closed, the device stopped | STATUS_CANCELLED            |   995 |
 * | read: another thread has closed the handle meanwhile  | STATUS_FILE_CLOSED           |     6 |
 * | read: pending when the device was removed             | STATUS_DEVICE_REMOVED        |  1617 |
 * | anything: the device is not started                   | STATUS_DEVICE_NOT_READY      |    21 |
 * | anything: the device is being removed                 | STATUS_DELETE_PENDING        |   303 |
 *
 * Systems translate STATUS_DELETE_PENDING either to 303 or, older ones and Wine, to 5.
 *
 * For each record the checks run in the order of the table.
 */

#ifndef QVSAMPLE_QVSAMPLEDEVICE_H
#define QVSAMPLE_QVSAMPLEDEVICE_H

#include <guiddef.h>

/* The names are those that a GUID has on this system. */
/* NOLINTBEGIN(readability-identifier-naming) */

/** The device-interface class: every started device has one interface of this class. */
static const GUID GUID_DEVINTERFACE_QVSAMPLE = {
    0x6b1e2f5c, 0x3a94, 0x4d0b, {0x9c, 0x57, 0x2e, 0x8f, 0x41, 0xd6, 0xa0, 0x73}};

/** `GUID_DEVINTERFACE_QVSAMPLE` as text, for command lines. */
#define QV_SAMPLE_INTERFACE_TEXT "{6b1e2f5c-3a94-4d0b-9c57-2e8f41d6a073}"

/** The setup class of the devices. */
static const GUID GUID_DEVCLASS_QVSAMPLE = {
    0xd47c90a1, 0x5be8, 0x4f63, {0x8a, 0x1d, 0xc3, 0x70, 0x96, 0x2b, 0xe5, 0x14}};

/* NOLINTEND(readability-identifier-naming) */

/** What the INF matches. Wide, as SetupAPI takes it. */
#define QV_SAMPLE_HARDWARE_ID L"ROOT\\QVSAMPLE"

/** How many records `IOCTL_PARAMETERS_GET` returns, in the order of the identifiers below. */
#define QV_SAMPLE_PARAMETER_COUNT 21u

/** Integer, in us: the time between two samples. */
#define QV_SAMPLE_ID_SAMPLING_INTERVAL 1u
/** Integer, in dB. */
#define QV_SAMPLE_ID_GAIN 2u
/** Integer, in degC. Read-only and volatile: two reads in a row never give the same value. */
#define QV_SAMPLE_ID_TEMPERATURE 3u
/** Enumeration: Continuous, Triggered, Standby. */
#define QV_SAMPLE_ID_OPERATING_MODE 4u
/** Enumeration: 8 bit, 12 bit, 16 bit, 24 bit. */
#define QV_SAMPLE_ID_RESOLUTION 5u
/** String of at most `QV_SAMPLE_LABEL_UNITS` UTF-16 units. */
#define QV_SAMPLE_ID_LABEL 6u
/** String of as many units as a record holds. */
#define QV_SAMPLE_ID_NOTES 7u
/** String, read-only, another one for each device. */
#define QV_SAMPLE_ID_SERIAL_NUMBER 8u
/** Integer, hidden. */
#define QV_SAMPLE_ID_SELF_TEST_COUNT 9u
/** Integer, advanced. */
#define QV_SAMPLE_ID_FILTER_ORDER 10u
/** Integer, in KiB: the size of the loop-back buffer. Takes effect when the device starts again. */
#define QV_SAMPLE_ID_BUFFER_SIZE 11u
/** Integer of any 32-bit value, not worth saving. */
#define QV_SAMPLE_ID_MARKER 12u

/** Enumeration: what reads return. */
#define QV_SAMPLE_ID_STREAM_MODE 0x100u
/** Integer, in bytes: the size of a packet, with its header. */
#define QV_SAMPLE_ID_PACKET_SIZE 0x101u
/** Integer, in packets per second; 0 for as many as there are reads. */
#define QV_SAMPLE_ID_PACKET_RATE 0x102u

/** Integer, hidden: how many of the next reads fail. */
#define QV_SAMPLE_ID_FAULT_FAIL_READS 0x200u
/** Integer, hidden: the NTSTATUS that they fail with, of severity error. */
#define QV_SAMPLE_ID_FAULT_STATUS 0x201u
/** Integer, in ms, hidden: how much later reads complete. */
#define QV_SAMPLE_ID_FAULT_DELAY 0x202u
/** Integer, hidden: how many of the next packets are cut to half. */
#define QV_SAMPLE_ID_FAULT_SHORT_READS 0x203u
/** Enumeration, hidden: Off, or On for reads that wait whatever there is. */
#define QV_SAMPLE_ID_FAULT_HOLD 0x204u
/** Integer, in ms, hidden: how long reads wait, even when they are cancelled. */
#define QV_SAMPLE_ID_FAULT_IGNORE_CANCEL 0x205u

/** A value of StreamMode: reads return packets. */
#define QV_SAMPLE_MODE_PACKETS 0u
/** A value of StreamMode: reads return what was written. */
#define QV_SAMPLE_MODE_LOOP_BACK 1u

/** What the buffer of a read is full of that FaultIgnoreCancel has made late. */
#define QV_SAMPLE_LATE_BYTE 0xC5u

/** The longest label. */
#define QV_SAMPLE_LABEL_UNITS 64u

#endif
