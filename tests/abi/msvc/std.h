// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the public headers want of the standard library, in the sizes that it has with MSVC for
// 64-bit release builds. Only sizes matter: nothing here is ever run.

#ifndef QVTESTS_ABI_STD_H
#define QVTESTS_ABI_STD_H

using uint8_t = unsigned char;
using uint16_t = unsigned short;
using uint32_t = unsigned int;
using uint64_t = unsigned long long;

#define NULL 0
#define offsetof(aType, aMember) __builtin_offsetof(aType, aMember)

struct _iobuf;

namespace std {

using size_t = unsigned long long;
using FILE = _iobuf;

template <typename Character>
struct basic_string {
    basic_string();
    basic_string(const basic_string&);
    ~basic_string();
    basic_string& operator=(const basic_string&);
    unsigned long long inPlace[2];
    unsigned long long size;
    unsigned long long capacity;
};
using string = basic_string<char>;
using wstring = basic_string<wchar_t>;

template <typename Value>
struct vector {
    ~vector();
    Value* first;
    Value* last;
    Value* end;
};

template <typename Key, typename Value, typename Order = void>
struct map {
    struct const_iterator {
        void* node;
    };
    ~map();
    void* head;
    unsigned long long size;
};

template <typename Value>
struct atomic {
    Value value;
};

}  // namespace std

#endif
