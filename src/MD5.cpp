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

// The system's library, loaded as long as any object needs it.
class SystemLibrary {
public:
    // A user counts even if loading fails: loading is tried again only after the last user is gone.
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
        // Compilers warn about a cast from the system's general function type.
        const FARPROC address = ::GetProcAddress(library_, aName);
        std::memcpy(aFunction, &address, sizeof address);
    }

    // Guards everything here except reading the functions: they do not change while there is a
    // user.
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
