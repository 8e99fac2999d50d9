// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_PARAMETERREPOSITORY_H
#define QVUSERLIB_PARAMETERREPOSITORY_H

#include <cstddef>
#include <map>
#include <vector>

#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/Export.h"
#include "QvUserLib/String.h"

#ifdef _MSC_VER
#pragma warning(push)
// The standard library's types in the private part are the same on both sides of the DLL.
#pragma warning(disable : 4251)
#endif

namespace QvUserLib {

class Parameter;

/// A named, numbered set of parameters, each found by its index, its identifier or its name.
///
/// The repository owns its parameters: it deletes them when they are removed and when it is
/// destroyed. Pointers from look-ups are borrowed and valid until then. Indices run from 0 without
/// gaps, in the order in which parameters were added.
///
/// No two parameters have the same identifier or the same name. Names compare as 8-bit texts,
/// case-sensitive, so names that differ only in characters that the ANSI code page lacks are equal.
/// A parameter stores its name in UTF-16. An 8-bit name that this conversion changes, such as bytes
/// that are not valid in the code page, is found only under what the parameter's `GetName` returns.
///
/// `Add`, the removals and copying call the look-ups as virtual functions, so a derived class that
/// overrides a look-up changes them too. No locks are taken: use one object from one thread at a
/// time. When memory runs out, `std::bad_alloc` reaches the caller and the set is unchanged.
class QVUSERLIB_API ParameterRepository {
public:
    /// An empty repository.
    ParameterRepository(const String& aName, unsigned long aID);

    /// Copies name, identifier and every parameter, as `Parameter`'s copy constructor does: pending
    /// changes move to the copy.
    ParameterRepository(const ParameterRepository& aSource);

    virtual ~ParameterRepository();

    /// Assigns each parameter of `aSource`, with `Parameter::operator=`, to the one here that has
    /// the same identifier. Name, identifier and the set of parameters stay as they are.
    const ParameterRepository& operator=(const ParameterRepository& aSource);

    // The order of the virtual functions is part of the binary interface. MSVC lays out overloads
    // of one name in reverse order of declaration; GCC and Clang do not. To get the same order from
    // all of them, overloads are declared next to each other, and in reverse for MSVC.

    /// The name, which this object owns.
    virtual const String& GetName() const;
    /// The identifier.
    virtual unsigned long GetID() const;

#ifndef _MSC_VER
    /// The parameter with that identifier, or null.
    virtual Parameter* GetByID(unsigned long aID);

    /// As the other overload.
    virtual const Parameter* GetByID(unsigned long aID) const;

    /// The parameter at that index, or null.
    virtual Parameter* GetByIndex(unsigned long aIndex);

    /// The parameter at that index, which must be below `GetCount()`: otherwise the process is
    /// aborted.
    virtual const Parameter* GetByIndex(unsigned long aIndex) const;
#else
    virtual const Parameter* GetByID(unsigned long aID) const;
    virtual Parameter* GetByID(unsigned long aID);
    virtual const Parameter* GetByIndex(unsigned long aIndex) const;
    virtual Parameter* GetByIndex(unsigned long aIndex);
#endif

    /// The number of parameters; a group counts as one.
    virtual unsigned long GetCount() const;

    /// The index of the parameter with that identifier. If there is none, the process is aborted:
    /// check with `HasByID` first.
    virtual unsigned long GetIndexByID(unsigned long aID);

    /// The index of the parameter with that name. If there is none, the process is aborted: check
    /// with `HasByName` first.
    virtual unsigned long GetIndexByName(const String& aName);

    /// Whether there is a parameter with that identifier.
    virtual bool HasByID(unsigned long aID) const;
    /// Whether there is a parameter with that name.
    virtual bool HasByName(const String& aName) const;

    /// Sets every parameter that is not read-only to its default and ignores failures. Always
    /// succeeds.
    virtual Result ResetDefaults();

    /// Appends a parameter and takes ownership of it. The caller keeps a parameter that is refused.
    ///
    /// @retval InvalidArgument  "Error allocating memory for the parameter" (it is null, as after a
    ///                          failed allocation); "Invalid name, it must be non-empty!"; "Invalid
    ///                          property type!" (it has no type).
    /// @retval NotAllowed       "Parameter already exists!" (the name); "Parameter with the
    ///                          specified identifier already exists!".
    virtual Result Add(Parameter* aParameter);

    /// Removes and deletes a parameter. Those after it move down by one index.
    ///
    /// @retval NotFound  The index equals `GetCount()`; nothing is logged. An index above that
    ///                   aborts the process.
    virtual Result RemoveByIndex(unsigned long aIndex);

    /// As `RemoveByIndex`, for the parameter with that identifier.
    ///
    /// @retval NotFound  There is none; nothing is logged.
    virtual Result RemoveByID(unsigned long aID);

    /// As `RemoveByIndex`, for the parameter with that name.
    ///
    /// @retval NotFound  There is none; nothing is logged.
    virtual Result RemoveByName(const String& aName);

    /// Sets the value of the parameter with that identifier from the one in `aSource`. If the
    /// parameter refuses the value, for instance because it is read-only, this is only logged and
    /// the call succeeds.
    ///
    /// @retval NotFound      One of the two is missing; nothing is logged.
    /// @retval NotSupported  Their types differ, or are not enumeration, floating point, integer or
    ///                       string; nothing is logged.
    Result CopyValueByID(const ParameterRepository& aSource, unsigned long aID);

    /// Removes and deletes all parameters. Always succeeds.
    Result Reset();

    /// Replaces the name.
    void SetName(const String& aName);
    /// Replaces the identifier.
    void SetID(unsigned long aID);

private:
    // Orders names as String's operator< does, and finds one by its 8-bit text without making a
    // String. The keys of the map were made from 8-bit texts, so their 8-bit form is current and
    // has no zeros in it.
    /// @cond
    struct NameOrder {
        struct Text {
            const char* data;
            std::size_t size;
        };
        typedef void is_transparent;
        bool operator()(const String& aLeft, const String& aRight) const;
        bool operator()(const String& aLeft, const Text& aRight) const;
        bool operator()(const Text& aLeft, const String& aRight) const;
    };
    /// @endcond
    typedef std::map<String, Parameter*, NameOrder> NameMap;

    NameMap::const_iterator FindName(const String& aName) const;
    void Insert(Parameter* aParameter);
    void DeleteParameters();

    // These fields and their order are part of the binary interface. The three containers hold the
    // same parameters.
    String name_;
    unsigned long id_;
    std::vector<Parameter*> byIndex_;
    std::map<unsigned long, Parameter*> byId_;
    NameMap byName_;
};

}  // namespace QvUserLib

#ifdef _MSC_VER
#pragma warning(pop)
#endif

#endif
