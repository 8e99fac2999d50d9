// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVBASELIB_DEVICEPARAMETER_H
#define QVBASELIB_DEVICEPARAMETER_H

#include <string>

#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvBaseLib/Export.h"
#include "QvBaseLib/Result.h"

namespace QvBaseLib {

/// One parameter as a driver sees it: a record of exactly 1228 bytes, built in memory or received
/// from a driver.
///
/// The readers take whatever bytes a driver wrote: none reads past its field, and a text without a
/// terminator ends where its field ends. They return copies, which the caller owns. The `Init…`
/// operations cut texts to the size of their fields.
class QVBASELIB_API DeviceParameter {
public:
    /// How the value is held. A received record may hold any other number as well.
    enum Type : unsigned long { Integer = 0, Enumeration = 1, String = 2 };

    /// All bytes zero: an integer without a name.
    DeviceParameter();

    /// The flag word: `QV_PARAMETER_ADVANCED` and its neighbours.
    unsigned long GetFlags() const;
    void SetFlags(unsigned long aFlags);

    Type GetType() const;
    unsigned long GetId() const;
    std::wstring GetName() const;

    /// In the ANSI code page, as is the unit.
    std::string GetDescription() const;
    std::string GetUnit() const;

    /// The range, inclusive. Of an enumeration the maximum is the index of the last name.
    unsigned long GetMin() const;
    unsigned long GetMax() const;
    unsigned long GetDefaultDWord() const;
    unsigned long GetValueDWord() const;

    /// The name of entry `aIndex` of an enumeration; empty when the record holds no such name. The
    /// first empty name ends the list.
    std::wstring GetValueName(unsigned long aIndex) const;

    /// The texts of a string; empty for the other types.
    std::wstring GetValueString() const;
    std::wstring GetDefaultString() const;

    /// Sets identifier, name and description. Null texts read as empty.
    void InitCommon(unsigned long aId, const wchar_t* aName, const char* aDescription);

    /// Makes the record an integer whose value is its default. The numbers are stored as given.
    void InitDWord(unsigned long aMin, unsigned long aMax, unsigned long aDefault,
                   const char* aUnit);

    /// Makes the record an enumeration whose value is its default. `aNames` holds `aCount`
    /// zero-terminated names one after another. Names that do not fit as a whole are left out,
    /// with all that follow; the maximum becomes the index of the last name that is kept (0 when
    /// there is none).
    void InitEnum(unsigned long aCount, const wchar_t* aNames, unsigned long aDefault);

    /// Makes the record a string whose value is its default. Null reads as empty.
    void InitString(const wchar_t* aDefault);

    /// Stores a number as the value, unchecked against the range.
    ///
    /// @retval InvalidArgument  The record is not an integer or an enumeration; nothing changes.
    Result SetValue(unsigned long aValue);

    /// Stores a text as the value. Null reads as empty.
    ///
    /// @retval InvalidArgument  The record is not a string, or the text has more than
    ///                          `QV_PARAMETER_TEXT_UNITS` units; nothing changes.
    Result SetValue(const wchar_t* aValue);

private:
    // This field is part of the binary interface, and the only one: arrays of this class are what
    // goes to the driver and comes back.
    QV_PARAMETER_RECORD record_;
};

static_assert(sizeof(DeviceParameter) == QV_PARAMETER_RECORD_SIZE,
              "drivers expect records of exactly this size");

}  // namespace QvBaseLib

#endif
