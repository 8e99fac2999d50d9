// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/MD5.h"

#include <cstring>

#include "WindowsApi.h"

namespace QvUserLib {

namespace {

using InitFunction = void(WINAPI*)(void* aContext);
using UpdateFunction = void(WINAPI*)(void* aContext, const unsigned char* aData,
                                     unsigned int aLength);
using FinalFunction = void(WINAPI*)(void* aContext);

// The system's library, for as long as any object needs it.
class SystemLibrary {
public:
    // Whatever becomes of the loading, the user counts: it is tried again only after the last one
    // has gone.
    void AddUser() {
        const GateGuard guard(gate_);
        if (++users_ == 1) Load();
    }

    void RemoveUser() {
        const GateGuard guard(gate_);
        if (--users_ == 0) Unload();
    }

    InitFunction init = nullptr;
    UpdateFunction update = nullptr;
    FinalFunction final = nullptr;

private:
    void Load() {
        library_ = ::LoadLibraryA("Cryptdll.dll");
        if (library_ == nullptr) return;
        Resolve(&final, "MD5Final");
        Resolve(&init, "MD5Init");
        Resolve(&update, "MD5Update");
        if (final == nullptr || init == nullptr || update == nullptr) Unload();
    }

    void Unload() {
        if (library_ == nullptr) return;
        final = nullptr;
        init = nullptr;
        update = nullptr;
        ::FreeLibrary(library_);
        library_ = nullptr;
    }

    template <typename Function>
    void Resolve(Function* aFunction, const char* aName) {
        // The system's type for any function is none that compilers let one cast from.
        const FARPROC address = ::GetProcAddress(library_, aName);
        std::memcpy(aFunction, &address, sizeof address);
    }

    // Guards everything here, but for the reading of the functions: they stay as they are for as
    // long as there is a user.
    Gate gate_;
    int users_ = 0;
    HMODULE library_ = nullptr;
};

SystemLibrary& TheLibrary() {
    static SystemLibrary library;
    return library;
}

}  // namespace

MD5::MD5() : context_() { TheLibrary().AddUser(); }

MD5::~MD5() { TheLibrary().RemoveUser(); }

Result MD5::Init() {
    if (TheLibrary().init == nullptr) return Result(Code::Md5Unavailable);
    TheLibrary().init(&context_);
    return Result(Code::Success);
}

void MD5::Update(const unsigned char* aData, unsigned int aLength) {
    TheLibrary().update(&context_, aData, aLength);
}

void MD5::Final() { TheLibrary().final(&context_); }

const unsigned char* MD5::GetDigest() const { return context_.digest; }

}  // namespace QvUserLib
