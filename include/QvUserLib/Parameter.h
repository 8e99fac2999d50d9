// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_PARAMETER_H
#define QVUSERLIB_PARAMETER_H

#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/Export.h"
#include "QvUserLib/String.h"

namespace QvUserLib {

class ParameterRepository;

/// One named, numbered, typed setting of a device or an application: its value, default and range,
/// its attribute marks, and a mark that says whether the value was changed.
///
/// Look-ups in a `ParameterRepository` return null for a missing parameter, and most operations may
/// be called on such a null pointer. Setters then return `InvalidArgument` with "The specified
/// parameter doesn't exist", and readers return a fallback. The exceptions are the `Init…`
/// operations, the setters of defaults, `AddEnumValue`, `GetIp`, `GetMac` and the readers of
/// limits: they need a real object. Compile clients with `-fno-delete-null-pointer-checks` (the
/// CMake target adds it). Without it, after such a call the compiler drops the client's own null
/// checks of that pointer.
///
/// Every failure leaves the parameter unchanged and goes to the error log as `.\Parameter`. No
/// locks are taken: use one object, and the group that it belongs to, from one thread at a time.
class QVUSERLIB_API Parameter {
public:
    /// What kind of value a parameter has. Enumeration, integer and boolean are the integer family:
    /// their value is a signed 64-bit number.
    enum Type : unsigned long {
        TypeEnumeration = 0,  ///< The position of one of the parameter's named entries.
        TypeDouble = 1,
        TypeInteger = 2,
        TypeString = 3,
        TypeBool = 4,   ///< 0 or 1, with the text "TRUE" or "FALSE".
        TypeGroup = 5,  ///< Other parameters, in a repository of their own.
        TypeNone = 0xFFFFFFFF
    };

    /// A parameter without a type. One of the `Init…` operations sets it.
    Parameter(const String& aName, unsigned long aId);

    /// Makes an independent copy, including a group's members.
    ///
    /// A pending change moves to the copy: the source's change mark is cleared, for a group those
    /// of its members. When there is no memory for the copy (`std::bad_alloc`), the source keeps
    /// its mark, but the members of a group lose theirs.
    ///
    /// Values are set through the public setters after the marks were copied. The copy of a
    /// read-only parameter therefore does not hold the value: an integer holds its default, a
    /// string its default text, an enumeration its first entry. In any other integer, string or
    /// enumeration copy, the change mark says whether the value differs from that default, default
    /// text or first entry. Any other floating-point or boolean copy is unmarked. The default of a
    /// floating-point or boolean copy is the source's value, and the minimum of an enumeration copy
    /// is 0.
    Parameter(const Parameter& aSource);

    /// Destroys the entries and the group's members too.
    virtual ~Parameter();

    /// Copies the value of `aSource`, read as this parameter's own type with the readers'
    /// fallbacks. A group copies its members' values by identifier. Nothing else is assigned. If
    /// the value is refused, this one stays as it was, and only the error log shows it.
    Parameter& operator=(const Parameter& aSource);

    /// As `operator=`, but reports the outcome and sets a boolean as an integer, without its text.
    /// A null source is allowed: its values are the readers' fallbacks.
    ///
    /// @retval InvalidArgument  This is null ("The specified parameter doesn't exist"), or the
    ///                          setter refused the value.
    /// @retval NotAllowed       "Parameter is read-only".
    /// @retval NotSet           A group or a parameter without a type: nothing is copied.
    Result SetParameter(const Parameter* aSource);

    /// @name Initialisation
    ///
    /// Each sets the type, and sets value and default to the same value; marks stay as they are.
    ///
    /// @{

    /// Makes the parameter an integer. The value is not checked against the range, which is
    /// inclusive.
    void InitInteger(long long aValue, long long aMin, long long aMax);

    /// As `InitInteger`, for a floating-point number. Here limits may be negative.
    void InitDouble(double aValue, double aMin, double aMax);

    /// Makes the parameter a boolean, with the text "TRUE" or "FALSE" and the range 0 to 1.
    void InitBool(bool aValue);

    /// Makes the parameter a string. Null counts as empty.
    void InitString(const char* aValue);

    /// Makes the parameter an enumeration. Sets only the type: add entries with `AddEnumValue`.
    void InitEnum();

    /// Makes the parameter a group of `aMembers` and takes ownership of them; an earlier set is
    /// deleted. Every member gets the group's marks. Null makes a group without members.
    void InitRepository(ParameterRepository* aMembers);

    /// @}

    // What a parameter is.

    /// The name; empty for a null object.
    const String& GetName() const;

    /// The identifier; 0xFFFFFFFF for a null object.
    unsigned long GetID() const;

    /// The position in the owning repository, which sets it. 0xFFFFFFFF for a null object.
    unsigned long GetIndex() const;

    /// Sets the position. Only the owning repository calls this.
    void SetIndex(unsigned long aIndex);

    /// One of `Type`; `TypeNone` for a null object.
    unsigned long GetType() const;

    /// The description, which may hold a unit in parentheses; empty for a null object.
    const String& GetDescription() const;

    /// Replaces the description.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    Result SetDescription(const String& aDescription);

    /// The members of a group, which this parameter owns; null for every other type.
    ParameterRepository* GetRepository() const;

    // Values.

    /// The value of the integer family. 4294967295 (0xFFFFFFFF) for another type or a null object.
    long long GetInt() const;

    /// Whether the value of the integer family is not 0; false for another type or a null object.
    bool GetBool() const;

    /// The floating-point value; 0.0 for another type, 4294967295.0 for a null object.
    double GetDouble() const;

    /// The text of a string or boolean, or the name of an enumeration's chosen entry; empty for
    /// another type or a null object.
    const String& GetString() const;

    /// Sets the value of the integer family. Sets the change mark if the new value differs from the
    /// old one and clears it otherwise. So setting the same value twice clears the mark.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist"; "Value does not fit in the
    ///                          range".
    /// @retval NotAllowed       "Parameter is read-only"; "Parameter is not an integer type".
    Result SetInt(long long aValue);

    /// As `SetInt`, but also works on a read-only parameter, so that its owner can update it.
    Result ChangeInt(long long aValue);

    /// Sets a floating-point value, as `SetInt` does. NaN never fits a range.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist"; "Value does not fit in the
    ///                          range".
    /// @retval NotAllowed       "Parameter is read-only"; "Parameter is not an integer type" (so
    ///                          worded for this type too).
    Result SetDouble(double aValue);

    /// Sets the value of the integer family to 0 or 1 and the text to "TRUE" or "FALSE". Refused if
    /// the range starts at 2 or above or ends below 0; otherwise the value is not checked against
    /// it.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    /// @retval NotAllowed       "Parameter is read-only"; "Parameter is not an integer type"; "This
    ///                          parameter cannot be boolean".
    Result SetBool(bool aValue);

    /// Sets the text of a string.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    /// @retval NotAllowed       "Parameter is read-only"; "Parameter is not a string type".
    Result SetString(const String& aValue);

    /// Sets the value to the default. A boolean keeps its text; a group resets its members that are
    /// not read-only.
    ///
    /// @retval NotSet  The parameter has no type.
    /// @return otherwise what the setter reports.
    Result ResetDefault();

    // Defaults.

    /// The default of the integer family; 4294967295 for another type or a null object.
    long long GetDefaultInt() const;

    /// The present value, not the default.
    bool GetDefaultBool() const;

    /// The present value, not the default.
    double GetDefaultDouble() const;

    /// The default text of a string or boolean, or the name of an enumeration's default entry;
    /// empty for another type or a null object.
    const String& GetDefaultString() const;

    /// Sets the default of the integer family; the value stays.
    ///
    /// @retval InvalidArgument  "Invalid default value": it lies outside the range.
    /// @retval NotAllowed       "Parameter is not an integer type".
    Result SetDefaultInt(long long aValue);

    /// Sets the default of a floating-point parameter; the value stays.
    ///
    /// @retval InvalidArgument  "Invalid default value": it lies outside the range.
    /// @retval NotAllowed       "Parameter is not an floating point type".
    Result SetDefaultDouble(double aValue);

    /// Sets the default text of a string; the value stays.
    ///
    /// @retval NotAllowed  "Parameter is not a string type".
    Result SetDefaultString(const String& aValue);

    /// Sets the default value of a boolean, but not its default text.
    ///
    /// @retval NotAllowed  "Parameter is not a boolean type".
    Result SetDefaultBool(bool aValue);

    // Ranges, inclusive.

    /// The lower limit of the integer family, without a check of the type.
    long long GetMinInt() const;

    /// The upper limit of the integer family, without a check of the type.
    long long GetMaxInt() const;

    /// The lower limit of floating-point numbers, without a check of the type.
    double GetMinDouble() const;

    /// The upper limit of floating-point numbers, without a check of the type.
    double GetMaxDouble() const;

    /// Stores the limits of an integer or enumeration. A failure leaves the outputs unchanged.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    /// @retval NotAllowed       "Parameter is not an integer type", also for a boolean.
    Result GetRangeInt(long long& aMin, long long& aMax) const;

    /// Stores the limits of a floating-point parameter. A failure leaves the outputs unchanged.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    /// @retval NotAllowed       "Parameter is not an integer type" (so worded for this type too).
    Result GetRangeDouble(double& aMin, double& aMax) const;

    /// Sets the limits of the integer family without any check: not of their order, and not of
    /// value and default against them.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    /// @retval NotAllowed       "Parameter is not an integer type".
    Result SetRange(long long aMin, long long aMax);

    /// Sets the limits of a floating-point parameter. Each must be positive, from the smallest
    /// normal double (2.2250738585072014e-308) to the largest. NaN is accepted, and then no value
    /// fits any more.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist"; "Given limits must be
    ///                          within the limits for the type".
    /// @retval NotAllowed       "Invalid parameter type".
    Result SetRange(double aMin, double aMax);

    /// @name Attribute marks
    ///
    /// Setting a mark on a group also sets it on all members; their results are ignored. The only
    /// failure is `InvalidArgument` for a null object. For a null object every mark reads as false.
    /// Only read-only has an effect here: the value setters refuse. The other marks inform the
    /// application and the driver.
    ///
    /// @{

    Result SetReadOnly(bool aOn);         ///< Sets what `IsReadOnly` returns.
    Result SetHidden(bool aOn);           ///< Sets what `IsHidden` returns.
    Result SetVolatile(bool aOn);         ///< Sets what `IsVolatile` returns.
    Result SetEnabled(bool aOn);          ///< Sets what `IsEnabled` returns.
    Result SetPersistent(bool aOn);       ///< Sets what `IsPersistent` returns.
    Result SetAdvanced(bool aOn);         ///< Sets what `IsAdvanced` returns.
    Result SetRestartRequired(bool aOn);  ///< Sets what `IsRestartRequired` returns.

    /// The value setters refuse, except `ChangeInt`.
    bool IsReadOnly() const;
    /// Not shown to ordinary users.
    bool IsHidden() const;
    /// The driver changes the value by itself.
    bool IsVolatile() const;
    /// The parameter can be used at present. True at first.
    bool IsEnabled() const;
    /// The value survives a restart of the driver. True at first.
    bool IsPersistent() const;
    /// For experts.
    bool IsAdvanced() const;
    /// A change takes effect after a restart of the driver.
    bool IsRestartRequired() const;

    /// @}

    /// Whether the last change set a different value; for a group, whether this holds for any
    /// member. `aReset` clears the mark, for a group those of all members. False for a null object.
    bool HasChanged(bool aReset) const;

    // Enumeration entries.

    /// Appends an entry and raises the maximum to its position. Names may repeat.
    ///
    /// @retval NotAllowed  "Parameter is not an enumeration type".
    Result AddEnumValue(const String& aName);

    /// Stores the number of entries in `aCount`. A failure leaves it unchanged.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    /// @retval NotAllowed       "Parameter is not an enumeration type".
    Result GetEnumValueCount(unsigned long& aCount) const;

    /// Stores the name of the entry at `aIndex` in `aName`. A failure leaves `aName` unchanged.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist"; "Invalid enumeration value
    ///                          index".
    /// @retval NotAllowed       "Parameter is not an enumeration type".
    Result GetEnumValue(unsigned long aIndex, String& aName) const;

    /// The name of the entry at `aIndex`; empty when there is none. It is valid as long as the
    /// parameter exists.
    const String& GetEnumValueString(unsigned long aIndex) const;

    /// Stores the position of the first entry with that name, case-sensitive, in `aIndex`;
    /// 0xFFFFFFFF when there is none.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    /// @retval NotAllowed       "Parameter is not an enumeration type".
    /// @retval NotFound         "Enumeration value does not exist in for parameter".
    Result FindEnumValue(const String& aName, unsigned long& aIndex) const;

    // Network addresses, kept as the text of a string.

    /// Stores an IPv4 address in decimal, such as 192.168.0.1.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    /// @retval NotAllowed       "Parameter is read-only"; "Parameter is not a string type".
    Result SetIp(unsigned char a1, unsigned char a2, unsigned char a3, unsigned char a4);

    /// Stores a MAC address as lower-case hexadecimal pairs separated by colons. Fails as `SetIp`.
    Result SetMac(unsigned char a1, unsigned char a2, unsigned char a3, unsigned char a4,
                  unsigned char a5, unsigned char a6);

    /// Reads four numbers separated by dots. Each is decimal, octal (leading 0) or hexadecimal
    /// (leading 0x), and is cut to its low 8 bits. A failure leaves the outputs unchanged.
    ///
    /// @retval NotSupported  Not a string, or the text does not read so. Nothing is logged.
    Result GetIp(unsigned char& a1, unsigned char& a2, unsigned char& a3, unsigned char& a4);

    /// Reads six hexadecimal numbers separated by hyphens, each cut to its low 8 bits. It cannot
    /// read what `SetMac` stores, which has colons. A failure leaves the outputs unchanged.
    ///
    /// @retval NotSupported  Not a string, or the text does not read so. Nothing is logged.
    Result GetMac(unsigned char& a1, unsigned char& a2, unsigned char& a3, unsigned char& a4,
                  unsigned char& a5, unsigned char& a6);

private:
    bool IsOfIntegerFamily() const;
    Result ChangeDouble(double aValue);
    Result ChangeBool(bool aValue);
    Result ChangeString(const String& aValue);
    Result SetMark(bool Parameter::* aMark, Result (Parameter::*aSetter)(bool), bool aOn);
    void CopyTypeAndValue(const Parameter& aSource);
    Result CopyValue(const Parameter* aSource);
    const String& EntryOrEmpty(long long aIndex) const;

    // These fields and their order are part of the binary interface.
    String name_;
    unsigned long id_;
    unsigned long index_;
    unsigned long type_;
    String description_;
    bool readOnly_;
    bool hidden_;
    bool volatile_;
    bool enabled_;
    bool persistent_;
    bool advanced_;
    bool restartRequired_;
    mutable bool changed_;
    String valueText_;
    ParameterRepository* members_;
    long long integerValue_;
    long long integerMin_;
    long long integerMax_;
    double doubleValue_;
    double doubleMin_;
    double doubleMax_;
    String defaultText_;
    long long integerDefault_;
    double doubleDefault_;
    String** entries_;
    unsigned long entryCount_;
};

}  // namespace QvUserLib

#endif
