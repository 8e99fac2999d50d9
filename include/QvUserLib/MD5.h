// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_MD5_H
#define QVUSERLIB_MD5_H

#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/Export.h"

namespace QvUserLib {

/// The MD5 digest (RFC 1321) of a stream of bytes, computed by the system's own functions in
/// `Cryptdll.dll`. It detects damaged data; it does not protect against forgery.
///
/// The system library is loaded with the first object of the process and freed with the last one.
/// Objects may be made and destroyed on any thread. Use one object from one thread at a time;
/// different objects may hash on different threads.
class QVUSERLIB_API MD5 {
public:
    /// Loads the system's functions unless another object did. If that fails, `Init` reports it,
    /// and loading is tried again only after all objects are destroyed.
    MD5();
    virtual ~MD5();

    MD5(const MD5&) = delete;
    MD5& operator=(const MD5&) = delete;

    /// Begins a digest, and discards one that was begun before.
    ///
    /// @retval Md5Unavailable  The system has no MD5 functions. Then `Update` and `Final` must not
    ///                         be called: they do not check, and the process would crash.
    Result Init();

    /// Adds `aLength` bytes to the digest that `Init` began. Pieces may have any size.
    void Update(const unsigned char* aData, unsigned int aLength);

    /// Ends the digest. `Init` begins the next one.
    void Final();

    /// The 16 bytes of the digest, valid from `Final` to the next `Init`. They belong to this
    /// object.
    const unsigned char* GetDigest() const;

private:
    struct Context {
        unsigned int bitCount[2];
        unsigned int state[4];
        unsigned char input[64];
        unsigned char digest[16];
    };

    // The state of the system's functions. This field, those in it and their order are part of the
    // binary interface.
    Context context_;
};

}  // namespace QvUserLib

#endif
