// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

/**
 * @file
 * What programs know about the sample device: how to find it, what its parameters are called, and
 * how its driver answers. Plain C, for user mode and kernel mode alike; a program includes
 * `<windows.h>` first only if it wants to.
 *
 * ## Requests
 *
 * The parameter requests and their record are those of `QvBaseLib/DeviceParameterRecord.h`. The
 * state that they read and change belongs to the device, not to the handle: all programs see the
 * same values, which last until the device is removed.
 *
 * - `IOCTL_PARAMETERS_GET_SIZE` takes no input and no output buffer; the byte count of the answer
 *   is the size of the parameter block.
 * - `IOCTL_PARAMETERS_GET` takes no input. It fills the output buffer, which may be larger than
 *   the block, with one record for each parameter, in a fixed order.
 * - `IOCTL_PARAMETERS_SET` takes 1 to `QV_SAMPLE_PARAMETER_COUNT` whole records in any order, none
 *   twice, and no output buffer. Of each record it looks at the identifier, the type, the name and
 *   the value; attributes, description, unit, range and defaults belong to the driver, and what a
 *   record says about them is ignored. All records are checked before the first one takes effect:
 *   a refused request changes nothing.
 *
 * `ReadFile` and `WriteFile` are a loop-back: a device's reads return, in order and as one stream
 * of bytes, what was written to it. A read gets as many bytes as there are, up to its size; it
 * stays pending while there are none, and pending reads complete in the order in which they were
 * sent. A write completes at once: its bytes go to the pending reads, and what they do not take is
 * kept for later ones.
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
 * | read: cancelled, its handle closed, the device stopped or removed | STATUS_CANCELLED |   995 |
 * | anything: the device is not started                   | STATUS_DEVICE_NOT_READY      |    21 |
 * | anything: the device is being removed                 | STATUS_DELETE_PENDING        | 303, or
 * 5 |
 *
 * For each record the checks run in the order of the table.
 */

#ifndef QVSAMPLE_QVSAMPLEDEVICE_H
#define QVSAMPLE_QVSAMPLEDEVICE_H

#include <guiddef.h>

/** The device-interface class: every started device has one interface of this class. */
static const GUID GUID_DEVINTERFACE_QVSAMPLE = {
    0x6b1e2f5c, 0x3a94, 0x4d0b, {0x9c, 0x57, 0x2e, 0x8f, 0x41, 0xd6, 0xa0, 0x73}};

/** `GUID_DEVINTERFACE_QVSAMPLE` as text, for command lines. */
#define QV_SAMPLE_INTERFACE_TEXT "{6b1e2f5c-3a94-4d0b-9c57-2e8f41d6a073}"

/** The setup class of the devices. */
static const GUID GUID_DEVCLASS_QVSAMPLE = {
    0xd47c90a1, 0x5be8, 0x4f63, {0x8a, 0x1d, 0xc3, 0x70, 0x96, 0x2b, 0xe5, 0x14}};

/** What the INF matches. Wide, as SetupAPI takes it. */
#define QV_SAMPLE_HARDWARE_ID L"ROOT\\QVSAMPLE"

/** How many records `IOCTL_PARAMETERS_GET` answers, in the order of the identifiers below. */
#define QV_SAMPLE_PARAMETER_COUNT 12u

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
/** Integer, in KiB: the size of the loop-back buffer; takes effect when the device starts again. */
#define QV_SAMPLE_ID_BUFFER_SIZE 11u
/** Integer of any 32-bit value, not worth saving. */
#define QV_SAMPLE_ID_MARKER 12u

/*
 * 0x100 to 0x1FF are kept for the parameters of the packet stream, 0x200 to 0x2FF for those that
 * ask for faults.
 */

/** The longest label. */
#define QV_SAMPLE_LABEL_UNITS 64u

#endif
