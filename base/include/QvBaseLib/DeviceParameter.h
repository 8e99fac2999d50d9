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
/// The readers accept any bytes from a driver: none reads past its field, and a text without a
/// terminator ends where its field ends. They return copies, which the caller owns. The `Init…`
/// operations cut texts to the size of their fields.
class QVBASELIB_API DeviceParameter {
public:
    /// How the value is stored. A received record may contain any other number as well.
    enum Type : unsigned long { Integer = 0, Enumeration = 1, String = 2 };

    /// All bytes zero: an integer without a name.
    DeviceParameter();

    /// The flag word: `QV_PARAMETER_ADVANCED` and the other flags.
    unsigned long GetFlags() const;
    /// Replaces the flag word.
    void SetFlags(unsigned long aFlags);

    /// How the value is stored; unchecked, as in the record.
    Type GetType() const;
    /// The identifier.
    unsigned long GetId() const;
    /// The name.
    std::wstring GetName() const;

    /// The description, in the ANSI code page.
    std::string GetDescription() const;

    /// The unit of an integer, in the ANSI code page.
    std::string GetUnit() const;

    /// The smallest value.
    unsigned long GetMin() const;

    /// The largest value; for an enumeration, the index of the last name.
    unsigned long GetMax() const;

    /// The default as a number; for an enumeration, an index.
    unsigned long GetDefaultDWord() const;

    /// The value as a number; for an enumeration, an index.
    unsigned long GetValueDWord() const;

    /// The name of entry `aIndex` of an enumeration; empty when the record holds no such name. An
    /// empty name among the others counts as an entry.
    std::wstring GetValueName(unsigned long aIndex) const;

    /// The text of a string; empty for the other types.
    std::wstring GetValueString() const;

    /// The default text of a string; empty for the other types.
    std::wstring GetDefaultString() const;

    /// Sets identifier, name and description. Null counts as empty.
    void InitCommon(unsigned long aId, const wchar_t* aName, const char* aDescription);

    /// Makes the record an integer whose value is its default. The numbers are stored as given.
    void InitDWord(unsigned long aMin, unsigned long aMax, unsigned long aDefault,
                   const char* aUnit);

    /// Makes the record an enumeration whose value is its default. `aNames` holds `aCount`
    /// zero-terminated names one after another, and one more zero that ends the list. An empty name
    /// ends it too, however large `aCount` is. The first name that does not fit as a whole is left
    /// out, with all after it. The maximum becomes the index of the last name kept (0 when there is
    /// none).
    void InitEnum(unsigned long aCount, const wchar_t* aNames, unsigned long aDefault);

    /// Makes the record a string whose value is its default. Null counts as empty.
    void InitString(const wchar_t* aDefault);

    /// Stores a number as the value without checking it against the range.
    ///
    /// @retval InvalidArgument  The record is not an integer or an enumeration; nothing changes.
    Result SetValue(unsigned long aValue);

    /// Stores a text as the value. Null counts as empty.
    ///
    /// @retval InvalidArgument  The record is not a string, or the text has more than
    ///                          `QV_PARAMETER_TEXT_UNITS` units; nothing changes.
    Result SetValue(const wchar_t* aValue);

private:
    // This field is part of the binary interface and must stay the only one: arrays of this class
    // are sent to the driver and received from it.
    QV_PARAMETER_RECORD record_;
};

static_assert(sizeof(DeviceParameter) == QV_PARAMETER_RECORD_SIZE,
              "drivers expect records of exactly this size");

}  // namespace QvBaseLib

#endif
