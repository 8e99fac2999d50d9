// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

/**
 * @file
 * How a driver and user mode exchange parameters: the record and the three I/O-control codes. Plain
 * C, so that kernel code uses the same definition.
 *
 * All integers are little-endian. A text that fills its field has no terminator; a shorter one ends
 * at its first zero. Code that reads a record must expect any bytes in it.
 */

#ifndef QVBASELIB_DEVICEPARAMETERRECORD_H
#define QVBASELIB_DEVICEPARAMETERRECORD_H

#include <stddef.h>
#include <stdint.h>

/*
 * The codes have the CTL_CODE layout: device type FILE_DEVICE_UNKNOWN (0x22) in bits 16 to 31,
 * FILE_ANY_ACCESS in bits 14 and 15, the function number in bits 2 to 13, METHOD_BUFFERED in bits
 * 0 and 1.
 */

/** Function 0x800. Output: all records, back to back, without header or count. */
#define IOCTL_PARAMETERS_GET 0x222000u
/** Function 0x801. No input, no output: the returned byte count is the size of that block. */
#define IOCTL_PARAMETERS_GET_SIZE 0x222004u
/** Function 0x802. Input: the changed records, back to back. */
#define IOCTL_PARAMETERS_SET 0x222008u

/* Bits of `QV_PARAMETER_RECORD::flags`. */

/** For experts. */
#define QV_PARAMETER_ADVANCED 0x01u
/** Set in every record that user mode sends; has no meaning in records from a driver. */
#define QV_PARAMETER_SENT 0x02u
/** Not shown to ordinary users. */
#define QV_PARAMETER_HIDDEN 0x04u
/** The value survives a restart of the driver. */
#define QV_PARAMETER_PERSISTENT 0x08u
/** Programs cannot set it. Only from driver to user mode. */
#define QV_PARAMETER_READ_ONLY 0x10u
/** A change takes effect after a restart of the driver. */
#define QV_PARAMETER_RESTART_REQUIRED 0x20u
/** The driver changes the value by itself. Only from driver to user mode. */
#define QV_PARAMETER_VOLATILE 0x40u

/* Values of `QV_PARAMETER_RECORD::type`. */

/** A number of 32 bits. */
#define QV_PARAMETER_INTEGER 0u
/** The index of one of several names. */
#define QV_PARAMETER_ENUMERATION 1u
/** A text. */
#define QV_PARAMETER_STRING 2u

/** The size of a name in UTF-16 units. */
#define QV_PARAMETER_NAME_UNITS 32
/** The size of a description in bytes. */
#define QV_PARAMETER_DESCRIPTION_BYTES 256
/** The size of a unit in bytes. */
#define QV_PARAMETER_UNIT_BYTES 16
/** The size of a string's value, and of its default, in UTF-16 units. */
#define QV_PARAMETER_TEXT_UNITS 216
/** The size of the list of value names in UTF-16 units. */
#define QV_PARAMETER_VALUE_NAMES_UNITS 432

/**
 * The largest number of value names in a record: each takes at least one unit and its terminator,
 * and one more zero unit ends the list.
 */
#define QV_PARAMETER_MAX_VALUE_NAMES ((QV_PARAMETER_VALUE_NAMES_UNITS - 1) / 2)

/** The size of a record in bytes. */
#define QV_PARAMETER_RECORD_SIZE 1228

#pragma pack(push, 4)

/** One parameter. */
typedef struct QV_PARAMETER_RECORD {
    uint32_t flags;                                   /**< `QV_PARAMETER_ADVANCED` and so on. */
    uint32_t type;                                    /**< `QV_PARAMETER_INTEGER` and so on. */
    uint32_t id;                                      /**< Unique within the driver. */
    wchar_t name[QV_PARAMETER_NAME_UNITS];            /**< UTF-16, unique within the driver. */
    char description[QV_PARAMETER_DESCRIPTION_BYTES]; /**< ANSI code page. */
    char unit[QV_PARAMETER_UNIT_BYTES]; /**< ANSI code page; of an integer, or empty. */
    uint32_t minimum;                   /**< Of an integer, inclusive; 0 for an enumeration. */
    uint32_t maximum;      /**< Of an integer, inclusive; the last index of an enumeration; of a
                                string, the most UTF-16 units of its value, or 0 for as many as
                                fit. */
    uint32_t defaultValue; /**< Of an integer; an index of an enumeration. */
    uint32_t value;        /**< As `defaultValue`. */
    union {
        struct {
            wchar_t defaultText[QV_PARAMETER_TEXT_UNITS]; /**< UTF-16. */
            wchar_t valueText[QV_PARAMETER_TEXT_UNITS];   /**< UTF-16. */
        } string;                                         /**< Of a string. */
        /** Of an enumeration: the names by index, each zero-terminated, ended by one more zero. */
        wchar_t valueNames[QV_PARAMETER_VALUE_NAMES_UNITS];
    } content; /**< Unused, and zero, for an integer. */
} QV_PARAMETER_RECORD;

#pragma pack(pop)

/** Compiles only if the condition holds. Each name can be used once. */
#ifdef __cplusplus
#define QV_PARAMETER_ASSERT(aName, aCondition) static_assert(aCondition, #aName)
#else
/* NOLINTNEXTLINE(bugprone-macro-parentheses): the name is declared here. */
#define QV_PARAMETER_ASSERT(aName, aCondition) typedef char aName[(aCondition) ? 1 : -1]
#endif

QV_PARAMETER_ASSERT(QvRecordUnitsAreUtf16, sizeof(wchar_t) == 2);
QV_PARAMETER_ASSERT(QvRecordSize, sizeof(QV_PARAMETER_RECORD) == QV_PARAMETER_RECORD_SIZE);
QV_PARAMETER_ASSERT(QvRecordFlagsFirst, offsetof(QV_PARAMETER_RECORD, flags) == 0);
QV_PARAMETER_ASSERT(QvRecordType, offsetof(QV_PARAMETER_RECORD, type) == 4);
QV_PARAMETER_ASSERT(QvRecordId, offsetof(QV_PARAMETER_RECORD, id) == 8);
QV_PARAMETER_ASSERT(QvRecordName, offsetof(QV_PARAMETER_RECORD, name) == 12);
QV_PARAMETER_ASSERT(QvRecordDescription, offsetof(QV_PARAMETER_RECORD, description) == 76);
QV_PARAMETER_ASSERT(QvRecordUnit, offsetof(QV_PARAMETER_RECORD, unit) == 332);
QV_PARAMETER_ASSERT(QvRecordMinimum, offsetof(QV_PARAMETER_RECORD, minimum) == 348);
QV_PARAMETER_ASSERT(QvRecordMaximum, offsetof(QV_PARAMETER_RECORD, maximum) == 352);
QV_PARAMETER_ASSERT(QvRecordDefault, offsetof(QV_PARAMETER_RECORD, defaultValue) == 356);
QV_PARAMETER_ASSERT(QvRecordValue, offsetof(QV_PARAMETER_RECORD, value) == 360);
QV_PARAMETER_ASSERT(QvRecordContent, offsetof(QV_PARAMETER_RECORD, content) == 364);

#endif
