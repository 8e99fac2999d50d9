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
/// its attribute marks, and a mark that tells whether the value was changed.
///
/// Look-ups in a `ParameterRepository` answer null for what is not there, and most operations may
/// be called on such a null pointer: setters then return `InvalidArgument` with "The specified
/// parameter doesn't exist", readers a fallback. The exceptions are the `Init…` operations, the
/// setters of defaults, `AddEnumValue`, `GetIp`, `GetMac` and the readers of limits: they need a
/// live object. Compile clients with `-fno-delete-null-pointer-checks` (the CMake target sees to
/// it), or the compiler drops their own tests of a pointer that such a call was made on.
///
/// Every failure leaves the parameter unchanged and goes to the error log as `.\Parameter`. No
/// locks are taken: callers serialise the use of one object, and of the group that it belongs to.
class QVUSERLIB_API Parameter {
public:
    /// What kind of value a parameter has. Enumeration, integer and boolean are the integer family:
    /// their value is a signed 64-bit number.
    enum Type : unsigned long {
        TypeEnumeration = 0,  ///< The position of one of the parameter's named entries.
        TypeDouble = 1,
        TypeInteger = 2,
        TypeString = 3,
        TypeBool = 4,   ///< 0 or 1, and a text, "TRUE" or "FALSE", beside it.
        TypeGroup = 5,  ///< Further parameters, in a repository of their own.
        TypeNone = 0xFFFFFFFF
    };

    /// A parameter without a type. One of the `Init…` operations gives it one.
    Parameter(const String& aName, unsigned long aId);

    /// Builds an independent copy, a group's members included.
    ///
    /// A pending change moves to the copy: the source's change mark, or those of a group's members,
    /// are cleared. When there is no memory for the copy (`std::bad_alloc`), the source keeps its
    /// mark, but the members of a group lose theirs. Values are set through the public setters after the marks were copied, with
    /// these effects: the copy of a read-only parameter holds the default (an integer), the first
    /// entry (an enumeration) or the default text (a string) instead of the value; the change mark
    /// of any other integer or string copy tells whether its value differs from its default, that
    /// of an enumeration copy whether it differs from the first entry, and a floating-point or
    /// boolean copy is unmarked. The default of a floating-point or boolean copy is the source's
    /// value, and the minimum of an enumeration copy is 0.
    Parameter(const Parameter& aSource);

    /// Destroys the entries and the group's members too.
    virtual ~Parameter();

    /// Takes over the value of `aSource`, read as this parameter's own type with the readers'
    /// fallbacks; a group takes over its members' values by identifier. Nothing else is assigned.
    /// A value that is refused stays as it was, and only the error log tells.
    Parameter& operator=(const Parameter& aSource);

    /// As the assignment, but reports the outcome, takes a null source (whose values are the
    /// readers' fallbacks), and sets a boolean as an integer, without its text.
    ///
    /// @retval InvalidArgument  This is null ("The specified parameter doesn't exist"), or the
    ///                          setter refused the value.
    /// @retval NotAllowed       "Parameter is read-only".
    /// @retval NotSet           A group or a parameter without a type: nothing is copied.
    Result SetParameter(const Parameter* aSource);

    /// @name Initialisation
    ///
    /// Each sets the type, and value and default alike; marks stay as they are.
    ///
    /// @{

    /// Makes the parameter an integer. The value is not checked against the range, which is
    /// inclusive.
    void InitInteger(long long aValue, long long aMin, long long aMax);

    /// As `InitInteger`, for a floating-point number. Here limits may be negative.
    void InitDouble(double aValue, double aMin, double aMax);

    /// The text is "TRUE" or "FALSE", and the range 0 to 1.
    void InitBool(bool aValue);

    /// Makes the parameter a string. Null reads as empty.
    void InitString(const char* aValue);

    /// Only the type: entries are then added with `AddEnumValue`.
    void InitEnum();

    /// Makes the parameter a group of `aMembers`, which it owns from now on, instead of an earlier
    /// set, and gives every member its own marks. Null stands for a group without members.
    void InitRepository(ParameterRepository* aMembers);

    /// @}

    // What a parameter is.

    /// The name. Of a null object an empty text, as for the description.
    const String& GetName() const;

    /// The identifier; 0xFFFFFFFF for a null object.
    unsigned long GetID() const;

    /// The position in the owning repository, which sets it. 0xFFFFFFFF for a null object.
    unsigned long GetIndex() const;

    /// For the owning repository: says where the parameter stands.
    void SetIndex(unsigned long aIndex);

    /// One of `Type`; `TypeNone` for a null object.
    unsigned long GetType() const;

    /// The description, which may hold a unit in parentheses; empty for a null object.
    const String& GetDescription() const;

    /// Replaces the description.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    Result SetDescription(const String& aDescription);

    /// The members of a group, which stay this parameter's own; null for every other type.
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

    /// Sets the value of the integer family, and the change mark to whether it differs from the
    /// value before. So a second change to the same value clears the mark.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist"; "Value does not fit in the
    ///                          range".
    /// @retval NotAllowed       "Parameter is read-only"; "Parameter is not an integer type".
    Result SetInt(long long aValue);

    /// As `SetInt`, but also for a read-only parameter: this is how whoever owns the parameter
    /// updates it.
    Result ChangeInt(long long aValue);

    /// Sets a floating-point value, as `SetInt` does. NaN never fits a range.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist"; "Value does not fit in the
    ///                          range".
    /// @retval NotAllowed       "Parameter is read-only"; "Parameter is not an integer type" (so
    ///                          worded for this type too).
    Result SetDouble(double aValue);

    /// Sets the value of the integer family to 0 or 1 and the text to "TRUE" or "FALSE". The range
    /// has to reach below 2 and not lie below 0; beyond that the value is not checked against it.
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

    /// The lower limit of the integer family as it stands, whatever the type.
    long long GetMinInt() const;

    /// The upper limit of the integer family as it stands, whatever the type.
    long long GetMaxInt() const;

    /// The lower limit of floating-point numbers as it stands, whatever the type.
    double GetMinDouble() const;

    /// The upper limit of floating-point numbers as it stands, whatever the type.
    double GetMaxDouble() const;

    /// Gives the limits of an integer or enumeration. A failure leaves the outputs alone.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    /// @retval NotAllowed       "Parameter is not an integer type", also for a boolean.
    Result GetRangeInt(long long& aMin, long long& aMax) const;

    /// Gives the limits of a floating-point parameter. A failure leaves the outputs alone.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    /// @retval NotAllowed       "Parameter is not an integer type" (so worded for this type too).
    Result GetRangeDouble(double& aMin, double& aMax) const;

    /// Sets the limits of the integer family as given: neither their order nor value and default
    /// are checked against them.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    /// @retval NotAllowed       "Parameter is not an integer type".
    Result SetRange(long long aMin, long long aMax);

    /// Sets the limits of a floating-point parameter. They have to be positive: each between the
    /// smallest normal double (2.2250738585072014e-308) and the largest. NaN passes, and then no
    /// value fits any more.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist"; "Given limits must be
    ///                          within the limits for the type".
    /// @retval NotAllowed       "Invalid parameter type".
    Result SetRange(double aMin, double aMax);

    /// @name Attribute marks
    ///
    /// Setting one sets it for all members of a group too, whose own results are not looked at; the
    /// only failure is `InvalidArgument` for a null object. Of a null object every mark reads as
    /// false. Only read-only has an effect here: it makes the value setters refuse. The others
    /// inform the application and the driver.
    ///
    /// @{

    Result SetReadOnly(bool aOn);         ///< Sets what `IsReadOnly` answers.
    Result SetHidden(bool aOn);           ///< Sets what `IsHidden` answers.
    Result SetVolatile(bool aOn);         ///< Sets what `IsVolatile` answers.
    Result SetEnabled(bool aOn);          ///< Sets what `IsEnabled` answers.
    Result SetPersistent(bool aOn);       ///< Sets what `IsPersistent` answers.
    Result SetAdvanced(bool aOn);         ///< Sets what `IsAdvanced` answers.
    Result SetRestartRequired(bool aOn);  ///< Sets what `IsRestartRequired` answers.

    /// The value setters refuse, but for `ChangeInt`.
    bool IsReadOnly() const;
    /// Not for the eyes of ordinary users.
    bool IsHidden() const;
    /// The driver changes the value by itself.
    bool IsVolatile() const;
    /// The parameter can be used at present. True at first.
    bool IsEnabled() const;
    /// The value outlives a restart of the driver. True at first.
    bool IsPersistent() const;
    /// For experts.
    bool IsAdvanced() const;
    /// A change takes effect after a restart of the driver.
    bool IsRestartRequired() const;

    /// @}

    /// Whether the last change gave another value, of a group whether this holds for any member.
    /// `aReset` clears the mark, or those of all members. False for a null object.
    bool HasChanged(bool aReset) const;

    // Enumeration entries.

    /// Appends an entry and raises the maximum to its position. Names may repeat.
    ///
    /// @retval NotAllowed  "Parameter is not an enumeration type".
    Result AddEnumValue(const String& aName);

    /// @retval InvalidArgument  "The specified parameter doesn't exist".
    /// @retval NotAllowed       "Parameter is not an enumeration type".
    Result GetEnumValueCount(unsigned long& aCount) const;

    /// Gives the name of the entry at `aIndex`. A failure leaves `aName` alone.
    ///
    /// @retval InvalidArgument  "The specified parameter doesn't exist"; "Invalid enumeration value
    ///                          index".
    /// @retval NotAllowed       "Parameter is not an enumeration type".
    Result GetEnumValue(unsigned long aIndex, String& aName) const;

    /// The name of the entry at `aIndex`; empty when there is none. It is valid as long as the
    /// parameter.
    const String& GetEnumValueString(unsigned long aIndex) const;

    /// Gives the position of the first entry with that name, case-sensitive; 0xFFFFFFFF when there
    /// is none.
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

    /// Stores a MAC address as lower-case hexadecimal pairs with colons between. Fails as `SetIp`.
    Result SetMac(unsigned char a1, unsigned char a2, unsigned char a3, unsigned char a4,
                  unsigned char a5, unsigned char a6);

    /// Reads four numbers with dots between, each decimal, octal (leading 0) or hexadecimal
    /// (leading 0x) and cut to its low 8 bits. A failure leaves the outputs alone.
    ///
    /// @retval NotSupported  Not a string, or the text does not read so. Nothing is logged.
    Result GetIp(unsigned char& a1, unsigned char& a2, unsigned char& a3, unsigned char& a4);

    /// Reads six hexadecimal numbers with hyphens between, each cut to its low 8 bits. What
    /// `SetMac` stores, with colons, does not read back here. A failure leaves the outputs alone.
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
