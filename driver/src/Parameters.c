// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Each parameter is one row of the table.
//
// To add a parameter give it an identifier in QvSampleDevice.h, raise the count there, and write
// its row here. What the value does to the device belongs to the code that calls `ParameterNumber`
// for it. A value that changes by itself gets a refresh routine.

#include "Parameters.h"

// Sets a value anew before it is read. Called at DISPATCH_LEVEL with the lock held.
typedef void QV_REFRESH(QV_PARAMETERS* parameters, QV_VALUE* value);

typedef struct QV_PARAMETER {
    // What programs get, except for the value. A text that is too long for its field does not
    // compile.
    QV_PARAMETER_RECORD record;
    QV_REFRESH* refresh;  // Null when only programs change the value.
} QV_PARAMETER;

// A text in parentheses does not initialise an array.
// NOLINTBEGIN(bugprone-macro-parentheses)

// What rows of every type have.
#define COMMON(aType, anId, aName, aDescription, aFlags)                          \
    .flags = (aFlags), .type = QV_PARAMETER_##aType, .id = (anId), .name = aName, \
    .description = aDescription

#define INTEGER(anId, aName, aDescription, aUnit, aMinimum, aMaximum, aDefault, aFlags) \
    .record = {COMMON(INTEGER, anId, aName, aDescription, aFlags), .unit = aUnit,       \
               .minimum = (aMinimum), .maximum = (aMaximum), .defaultValue = (aDefault)}

// The names are one text in which each ends with a zero; `aLast` is the index of the last one.
#define ENUMERATION(anId, aName, aDescription, aNames, aLast, aDefault, aFlags)            \
    .record = {COMMON(ENUMERATION, anId, aName, aDescription, aFlags), .maximum = (aLast), \
               .defaultValue = (aDefault), .content.valueNames = aNames}

#define STRING(anId, aName, aDescription, aMaximumUnits, aDefault, aFlags)                    \
    .record = {COMMON(STRING, anId, aName, aDescription, aFlags), .maximum = (aMaximumUnits), \
               .content.string.defaultText = aDefault}

// NOLINTEND(bugprone-macro-parentheses)

// Parameters that simulate faults are hidden from ordinary users.
#define QV_FAULT (QV_PARAMETER_HIDDEN | QV_PARAMETER_ADVANCED)

static QV_REFRESH RefreshTemperature;

static const QV_PARAMETER kParameters[] = {
    {INTEGER(QV_SAMPLE_ID_SAMPLING_INTERVAL, L"SamplingInterval", "Time between two samples", "us",
             10, 1000000, 1000, QV_PARAMETER_PERSISTENT)},
    {INTEGER(QV_SAMPLE_ID_GAIN, L"Gain", "Input amplification", "dB", 0, 60, 6,
             QV_PARAMETER_PERSISTENT)},
    {INTEGER(QV_SAMPLE_ID_TEMPERATURE, L"Temperature", "Temperature of the device", "degC", 0, 100,
             20, QV_PARAMETER_READ_ONLY | QV_PARAMETER_VOLATILE),
     .refresh = RefreshTemperature},
    {ENUMERATION(QV_SAMPLE_ID_OPERATING_MODE, L"OperatingMode", "How sampling is started",
                 L"Continuous\0Triggered\0Standby\0", 2, 0, QV_PARAMETER_PERSISTENT)},
    {ENUMERATION(QV_SAMPLE_ID_RESOLUTION, L"Resolution", "Width of a sample",
                 L"8 bit\0"
                 L"12 bit\0"
                 L"16 bit\0"
                 L"24 bit\0",
                 3, 2, QV_PARAMETER_PERSISTENT)},
    {STRING(QV_SAMPLE_ID_LABEL, L"Label", "What the user calls the device", QV_SAMPLE_LABEL_UNITS,
            L"S\u00fcd \u2013 Kanal 1", QV_PARAMETER_PERSISTENT)},
    {STRING(QV_SAMPLE_ID_NOTES, L"Notes", "Whatever the user wants to note",
            QV_PARAMETER_TEXT_UNITS, L"", QV_PARAMETER_PERSISTENT)},
    {STRING(QV_SAMPLE_ID_SERIAL_NUMBER, L"SerialNumber", "Serial number of the device",
            QV_PARAMETER_TEXT_UNITS, L"", QV_PARAMETER_READ_ONLY)},
    {INTEGER(QV_SAMPLE_ID_SELF_TEST_COUNT, L"SelfTestCount", "Self-tests when the device starts",
             "", 0, 100, 1, QV_PARAMETER_PERSISTENT | QV_PARAMETER_HIDDEN)},
    {INTEGER(QV_SAMPLE_ID_FILTER_ORDER, L"FilterOrder", "Order of the input filter", "", 1, 8, 2,
             QV_PARAMETER_PERSISTENT | QV_PARAMETER_ADVANCED)},
    {INTEGER(QV_SAMPLE_ID_BUFFER_SIZE, L"BufferSize", "Room for written data", "KiB", 4, 256, 64,
             QV_PARAMETER_PERSISTENT | QV_PARAMETER_RESTART_REQUIRED)},
    {INTEGER(QV_SAMPLE_ID_MARKER, L"Marker", "A number of the user's choice", "", 0, 0xFFFFFFFFu, 0,
             0)},
    {ENUMERATION(QV_SAMPLE_ID_STREAM_MODE, L"StreamMode", "What reads return",
                 L"Packets\0LoopBack\0", QV_SAMPLE_MODE_LOOP_BACK, QV_SAMPLE_MODE_PACKETS, 0)},
    {INTEGER(QV_SAMPLE_ID_PACKET_SIZE, L"PacketSize", "Size of a packet with its header", "B", 64,
             65536, 4096, 0)},
    {INTEGER(QV_SAMPLE_ID_PACKET_RATE, L"PacketRate",
             "Packets per second, 0 for one with each read", "1/s", 0, 100000, 1000, 0)},
    {INTEGER(QV_SAMPLE_ID_FAULT_FAIL_READS, L"FaultFailReads", "How many of the next reads fail",
             "", 0, 1000000, 0, QV_FAULT)},
    // Only codes of severity error: with any other a read would not count as failed.
    {INTEGER(QV_SAMPLE_ID_FAULT_STATUS, L"FaultStatus", "The NTSTATUS that they fail with", "hex",
             0xC0000000u, 0xEFFFFFFFu, (uint32_t)STATUS_IO_DEVICE_ERROR, QV_FAULT)},
    {INTEGER(QV_SAMPLE_ID_FAULT_DELAY, L"FaultDelay", "How much later reads complete", "ms", 0,
             10000, 0, QV_FAULT)},
    {INTEGER(QV_SAMPLE_ID_FAULT_SHORT_READS, L"FaultShortReads",
             "How many of the next packets are cut to half", "", 0, 1000000, 0, QV_FAULT)},
    {ENUMERATION(QV_SAMPLE_ID_FAULT_HOLD, L"FaultHold", "Whether reads wait whatever there is",
                 L"Off\0On\0", 1, 0, QV_FAULT)},
    {INTEGER(QV_SAMPLE_ID_FAULT_IGNORE_CANCEL, L"FaultIgnoreCancel",
             "How long reads wait and ignore cancelling", "ms", 0, 10000, 0, QV_FAULT)},
};

C_ASSERT(RTL_NUMBER_OF(kParameters) == QV_SAMPLE_PARAMETER_COUNT);
C_ASSERT(sizeof(WCHAR) == sizeof(wchar_t));

// A simulated probe that warms up from 20 to 60 degC and cools down again, a step with each read.
static void RefreshTemperature(QV_PARAMETERS* parameters, QV_VALUE* value) {
    const ULONG coldest = 20;
    const ULONG span = 40;
    const ULONG phase = parameters->temperatureStep++ % (2 * span);
    value->number = coldest + (phase < span ? phase : 2 * span - phase);
}

// The length of a text that ends at its first zero or with its field.
static ULONG TextLength(const WCHAR* text, ULONG fieldUnits) {
    ULONG length = 0;
    while (length < fieldUnits && text[length] != 0) ++length;
    return length;
}

// Copies a text and fills the rest with zeros, so that nothing a program sent there comes back.
static void CopyText(WCHAR* to, const WCHAR* from) {
    const ULONG length = TextLength(from, QV_PARAMETER_TEXT_UNITS);
    RtlCopyMemory(to, from, length * sizeof(WCHAR));
    RtlZeroMemory(to + length, (QV_PARAMETER_TEXT_UNITS - length) * sizeof(WCHAR));
}

// Returns `QV_SAMPLE_PARAMETER_COUNT` when no parameter has this identifier.
static ULONG FindParameter(ULONG id) {
    ULONG index = 0;
    while (index < QV_SAMPLE_PARAMETER_COUNT && kParameters[index].record.id != id) ++index;
    return index;
}

// Real hardware knows its serial number. The sample makes one from the name of its interface, which
// differs between devices and stays the same each time a device is started.
static void MakeSerialNumber(const UNICODE_STRING* interfaceName, WCHAR* text) {
    static const WCHAR kHexDigits[] = L"0123456789ABCDEF";
    const ULONG units = interfaceName->Length / sizeof(WCHAR);
    ULONG hash = 2166136261u;
    ULONG index;

    for (index = 0; index < units; ++index)
        hash = (hash ^ interfaceName->Buffer[index]) * 16777619u;

    text[0] = L'Q';
    text[1] = L'V';
    text[2] = L'-';
    for (index = 0; index < 8; ++index)
        text[3 + index] = kHexDigits[(hash >> (28 - 4 * index)) & 15];
}

void InitializeParameters(QV_PARAMETERS* parameters, const UNICODE_STRING* interfaceName) {
    ULONG index;
    for (index = 0; index < QV_SAMPLE_PARAMETER_COUNT; ++index) {
        const QV_PARAMETER_RECORD* record = &kParameters[index].record;
        QV_VALUE* value = &parameters->values[index];
        value->number = record->defaultValue;
        if (record->type == QV_PARAMETER_STRING) {
            CopyText(value->text, record->content.string.defaultText);
        }
    }
    MakeSerialNumber(interfaceName,
                     parameters->values[FindParameter(QV_SAMPLE_ID_SERIAL_NUMBER)].text);
}

ULONG ParameterBlockSize(void) { return sizeof(QV_PARAMETER_RECORD) * QV_SAMPLE_PARAMETER_COUNT; }

static void ReadValue(const QV_VALUE* value, QV_PARAMETER_RECORD* record) {
    if (record->type == QV_PARAMETER_STRING) {
        CopyText(record->content.string.valueText, value->text);
    } else {
        record->value = value->number;
    }
}

void DescribeParameters(QV_PARAMETER_RECORD* records) {
    ULONG index;
    for (index = 0; index < QV_SAMPLE_PARAMETER_COUNT; ++index) {
        records[index] = kParameters[index].record;
    }
}

void ReadParameters(QV_PARAMETERS* parameters, QV_PARAMETER_RECORD* records) {
    ULONG index;
    for (index = 0; index < QV_SAMPLE_PARAMETER_COUNT; ++index) {
        QV_VALUE* value = &parameters->values[index];
        if (kParameters[index].refresh != NULL) kParameters[index].refresh(parameters, value);
        ReadValue(value, &records[index]);
    }
}

static BOOLEAN HasName(const QV_PARAMETER_RECORD* record, const WCHAR* name) {
    const ULONG length = TextLength(name, QV_PARAMETER_NAME_UNITS);
    return TextLength(record->name, QV_PARAMETER_NAME_UNITS) == length &&
           RtlCompareMemory(record->name, name, length * sizeof(WCHAR)) == length * sizeof(WCHAR);
}

// Surrogates come in pairs, the high one first.
static BOOLEAN IsWellFormed(const WCHAR* text, ULONG length) {
    ULONG index;
    for (index = 0; index < length; ++index) {
        const ULONG kind = text[index] & 0xFC00u;
        if (kind == 0xDC00u) return FALSE;
        if (kind != 0xD800u) continue;
        ++index;
        if (index == length || (text[index] & 0xFC00u) != 0xDC00u) return FALSE;
    }
    return TRUE;
}

// Null texts cannot occur: a record's texts are inside the record.
static NTSTATUS CheckText(const QV_PARAMETER* parameter, const WCHAR* text) {
    const ULONG length = TextLength(text, QV_PARAMETER_TEXT_UNITS);
    if (length > parameter->record.maximum) return STATUS_NAME_TOO_LONG;
    if (!IsWellFormed(text, length)) return STATUS_UNMAPPABLE_CHARACTER;
    return STATUS_SUCCESS;
}

// An enumeration's range is that of its indices.
static NTSTATUS CheckNumber(const QV_PARAMETER* parameter, ULONG number) {
    if (number < parameter->record.minimum || number > parameter->record.maximum) {
        return STATUS_INVALID_PARAMETER;
    }
    return STATUS_SUCCESS;
}

static NTSTATUS CheckRecord(const QV_PARAMETER* parameter, const QV_PARAMETER_RECORD* record) {
    if (record->type != parameter->record.type) return STATUS_REVISION_MISMATCH;
    if (!HasName(record, parameter->record.name)) return STATUS_OBJECT_NAME_INVALID;
    if ((parameter->record.flags & QV_PARAMETER_READ_ONLY) != 0) return STATUS_ACCESS_DENIED;
    if (record->type == QV_PARAMETER_STRING) {
        return CheckText(parameter, record->content.string.valueText);
    }
    return CheckNumber(parameter, record->value);
}

NTSTATUS CheckParameters(const QV_PARAMETER_RECORD* records, ULONG count) {
    BOOLEAN seen[QV_SAMPLE_PARAMETER_COUNT] = {FALSE};
    ULONG i;
    for (i = 0; i < count; ++i) {
        NTSTATUS status;
        const ULONG index = FindParameter(records[i].id);
        if (index == QV_SAMPLE_PARAMETER_COUNT) return STATUS_NOT_FOUND;
        if (seen[index]) return STATUS_DUPLICATE_OBJECTID;
        seen[index] = TRUE;
        status = CheckRecord(&kParameters[index], &records[i]);
        if (!NT_SUCCESS(status)) return status;
    }
    return STATUS_SUCCESS;
}

static void ApplyRecord(QV_PARAMETERS* parameters, const QV_PARAMETER_RECORD* record) {
    QV_VALUE* value = &parameters->values[FindParameter(record->id)];
    if (record->type == QV_PARAMETER_STRING) {
        CopyText(value->text, record->content.string.valueText);
    } else {
        value->number = record->value;
    }
}

void ApplyParameters(QV_PARAMETERS* parameters, const QV_PARAMETER_RECORD* records, ULONG count) {
    ULONG index;
    for (index = 0; index < count; ++index) ApplyRecord(parameters, &records[index]);
}

ULONG ParameterNumber(const QV_PARAMETERS* parameters, ULONG id) {
    return parameters->values[FindParameter(id)].number;
}

ULONG* NumberInPlace(QV_PARAMETERS* parameters, ULONG id) {
    return &parameters->values[FindParameter(id)].number;
}
