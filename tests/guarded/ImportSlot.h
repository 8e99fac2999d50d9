// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Stand-ins for the import tables of DLLs whose objects are linked into a program. MakeSlots.cmake
// generates them.

#ifndef QVTESTS_IMPORTSLOT_H
#define QVTESTS_IMPORTSLOT_H

extern "C" {

/// Where the objects of a DLL find the function that they call by this name.
struct ImportSlot {
    const char* name;
    void** address;
};

/// Each ends with a slot without a name.
extern const ImportSlot qv_user_slots[];
extern const ImportSlot qv_base_slots[];
}

#endif
