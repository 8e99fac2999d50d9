// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The device's parameters: their values, and everything that describes, checks, reads and writes
// them. What a value does to the device is not known here.

#ifndef QVSAMPLE_PARAMETERS_H
#define QVSAMPLE_PARAMETERS_H

#include "Kernel.h"
#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvSample/QvSampleDevice.h"

// The value of one parameter.
typedef struct QV_VALUE {
    ULONG number;                         // Of an integer, or the index of an enumeration value.
    WCHAR text[QV_PARAMETER_TEXT_UNITS];  // Of a string, with zeros behind it.
} QV_VALUE;

typedef struct QV_PARAMETERS {
    QV_VALUE values[QV_SAMPLE_PARAMETER_COUNT];
    ULONG temperatureStep;  // How often the temperature has been read.
} QV_PARAMETERS;

// Gives every parameter its default. The serial number is made from `interfaceName`.
void InitializeParameters(QV_PARAMETERS* parameters, const UNICODE_STRING* interfaceName);

// The size of the parameter block in bytes.
ULONG ParameterBlockSize(void);

// Writes the whole parameter block without its values. `records` has room for it.
void DescribeParameters(QV_PARAMETER_RECORD* records);

// Adds the values to the block, and moves volatile values on. The lock is held.
void ReadParameters(QV_PARAMETERS* parameters, QV_PARAMETER_RECORD* records);

// Checks records that a program wants to be applied. Returns why the first bad one is refused.
NTSTATUS CheckParameters(const QV_PARAMETER_RECORD* records, ULONG count);

// Applies records that were checked. The lock is held.
void ApplyParameters(QV_PARAMETERS* parameters, const QV_PARAMETER_RECORD* records, ULONG count);

// The value of an integer or the index of an enumeration value. The lock is held.
ULONG ParameterNumber(const QV_PARAMETERS* parameters, ULONG id);

// The same value in place, for values that the driver changes. The lock is held.
ULONG* NumberInPlace(QV_PARAMETERS* parameters, ULONG id);

#endif
