// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_STRING_H
#define QVUSERLIB_STRING_H

#include <string>

#include "QvUserLib/Export.h"

#ifdef _MSC_VER
#pragma warning(push)
// The standard library's types in the private part are the same on both sides of the DLL.
#pragma warning(disable : 4251)
#endif

namespace QvUserLib {

class ParameterRepository;

/// One text in two forms: 8-bit in the process's ANSI code page, and UTF-16. Each constructor and
/// assignment stores one form; the other is built from it when first needed, and kept.
///
/// A conversion stops at the first zero, and after as many whole characters as fit into 4095 units
/// of the result; the other form lacks the rest. Characters that the code page lacks become its
/// substitute character. Lengths and positions count bytes or UTF-16 units, even where a character
/// takes several.
///
/// Reading may build a form, even in a const object. So several threads may read one object at the
/// same time only after both forms have been built.
class QVUSERLIB_API String {
public:
    /// An empty text.
    String();

    /// The zero-terminated text, as 8-bit form. Here and below, null counts as empty.
    String(const char* aText);  // NOLINT(google-explicit-constructor)

    /// The zero-terminated text, cut or padded with zero characters to exactly `aLength`
    /// characters.
    String(const char* aText, unsigned int aLength);

    /// The zero-terminated text, as UTF-16 form.
    String(const wchar_t* aText);  // NOLINT(google-explicit-constructor)

    /// The zero-terminated text, cut or padded with zero units to exactly `aLength` units.
    String(const wchar_t* aText, unsigned int aLength);

    /// One character, as 8-bit form.
    String(char aCharacter);  // NOLINT(google-explicit-constructor)

    /// One character, as UTF-16 form.
    String(wchar_t aCharacter);  // NOLINT(google-explicit-constructor)

    /// Copies the UTF-16 form, including any zeros in it. If the source lacks that form, it is
    /// built there first. The copy has only that form.
    String(const String& aOther);

    /// The source's UTF-16 text from unit `aStart` to its first zero. If `aStart` is beyond the
    /// end, the text is empty.
    String(const String& aOther, unsigned int aStart);

    /// As above, then cut or padded with zeros to exactly `aCount` units.
    String(const String& aOther, unsigned int aStart, unsigned int aCount);

    virtual ~String();

    /// Copies the other's UTF-16 form, as the copy constructor does.
    String& operator=(const String& aOther);

    /// Appends the other's UTF-16 text.
    String& operator+=(const String& aOther);

    /// The length of the 8-bit form in bytes if that form is current, else that of the UTF-16 form
    /// in units. Nothing is converted.
    unsigned long GetLength() const;

    /// Whether the text has no characters. Nothing is converted.
    bool IsEmpty() const;

    /// Makes the text empty.
    void Clear();

    /// The 8-bit form. It belongs to this object and is valid until the text changes.
    const char* GetAscii() const;

    /// As `GetAscii`.
    operator const char*() const;  // NOLINT(google-explicit-constructor)

    /// The UTF-16 form. It belongs to this object and is valid until the text changes.
    const wchar_t* GetUnicode() const;

    /// As `GetUnicode`.
    operator const wchar_t*()  // NOLINT(google-explicit-constructor)
        const;

    /// Whether the 8-bit forms are equal, compared as unsigned bytes up to the first zero:
    /// case-sensitive and without language rules.
    bool operator==(const String& aOther) const;

    /// The opposite of `==`.
    bool operator!=(const String& aOther) const;

    /// Whether this text sorts before the other, compared as by `==`.
    bool operator<(const String& aOther) const;

    /// The 8-bit form with its ASCII letters in upper case. Bytes from 0x80 stay as they are. In a
    /// double-byte code page the second byte of a character may be an ASCII letter, and then the
    /// character changes: use this only for ASCII texts there.
    std::string ToUpper() const;

    /// The 8-bit form with its ASCII letters in lower case, as `ToUpper` does it.
    std::string ToLower() const;

    /// The 8-bit form with the first `%NAME%` in it replaced by the value of that environment
    /// variable. Only the first pair of percent signs counts, and the value is not expanded again.
    /// An unknown variable leaves the text as it is.
    ///
    /// If the text has fewer than two percent signs, the result is empty: check for them first.
    std::string ExpandEnvironmentVariables() const;

private:
    // Its name map compares 8-bit forms in place.
    friend class ParameterRepository;

    void BuildAscii() const;
    void BuildUnicode() const;

    // These fields and their order are part of the binary interface.
    mutable unsigned long marks_;
    mutable std::string ascii_;
    mutable std::wstring unicode_;
};

}  // namespace QvUserLib

#ifdef _MSC_VER
#pragma warning(pop)
#endif

#endif
