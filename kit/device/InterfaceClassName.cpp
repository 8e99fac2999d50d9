// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <iterator>

#include "QvKit/DeviceInformation.h"

namespace QvKit {
namespace {

// From the headers ntddstor.h, ntddkbd.h, ntddmou.h, hidclass.h, ntddser.h, ntddpar.h, ntddmodm.h,
// usbiodef.h, usbprint.h, ndisguid.h, ntddvdeo.h, bthdef.h, ks.h, ksmedia.h and poclass.h, and for
// images devguid.h. That of monitors is in none that mingw-w64 has.
constexpr struct {
    const char* id;
    const char* name;
} kClasses[] = {
    {"{53f56307-b6bf-11d0-94f2-00a0c91efb8b}", "disk"},
    {"{53f56308-b6bf-11d0-94f2-00a0c91efb8b}", "CD-ROM drive"},
    {"{53f5630a-b6bf-11d0-94f2-00a0c91efb8b}", "partition"},
    {"{53f5630b-b6bf-11d0-94f2-00a0c91efb8b}", "tape drive"},
    {"{53f5630d-b6bf-11d0-94f2-00a0c91efb8b}", "volume"},
    {"{53f56311-b6bf-11d0-94f2-00a0c91efb8b}", "floppy drive"},
    {"{2accfe60-c130-11d2-b082-00a0c91efb8b}", "storage controller"},
    {"{4d1e55b2-f16f-11cf-88cb-001111000030}", "HID device"},
    {"{884b96c3-56ef-11d1-bc8c-00a0c91405dd}", "keyboard"},
    {"{378de44c-56ef-11d1-bc8c-00a0c91405dd}", "mouse"},
    {"{86e0d1e0-8089-11d0-9ce4-08003e301f73}", "COM port"},
    {"{97f76ef0-f883-11d0-af1f-0000f800845c}", "parallel port"},
    {"{2c7089aa-2e0e-11d1-b114-00c04fc2aae4}", "modem"},
    {"{a5dcbf10-6530-11d2-901f-00c04fb951ed}", "USB device"},
    {"{f18a0e88-c30c-11d0-8815-00a0c906bed8}", "USB hub"},
    {"{3abf6f2d-71c4-462a-8a92-1e6861e6af27}", "USB host controller"},
    {"{28d78fad-5a12-11d1-ae5b-0000f803a8c2}", "USB printer"},
    {"{cac88484-7515-4c03-82e6-71a87abac361}", "network adapter"},
    {"{0850302a-b344-4fda-9be9-90576b8d46f0}", "Bluetooth radio"},
    {"{5b45201d-f2f2-4f3b-85bb-30ff1f953599}", "display adapter"},
    {"{e6f07b5f-ee97-4a90-b076-33f57bf4eaa7}", "monitor"},
    {"{6bdd1fc6-810f-11d0-bec7-08002be2092f}", "image device"},
    {"{6994ad04-93ef-11d0-a3cc-00a0c9223196}", "audio device"},
    {"{e5323777-f976-4f5b-9b55-b94699c46e44}", "camera"},
    {"{72631e54-78a4-11d0-bcf7-00aa00b7b32a}", "battery"},
    {"{97fadb10-4e33-40ae-359c-8bef029dbdd0}", "processor"},
    {"{4afa3d51-74a7-11d0-be5e-00a0c9062857}", "thermal zone"},
    {"{4afa3d52-74a7-11d0-be5e-00a0c9062857}", "lid"},
    {"{4afa3d53-74a7-11d0-be5e-00a0c9062857}", "system button"},
};

}  // namespace

std::string InterfaceClassName(const std::string& aClass) {
    const auto* const found = std::find_if(std::begin(kClasses), std::end(kClasses),
                                           [&](const auto& aOne) { return aClass == aOne.id; });
    return found == std::end(kClasses) ? std::string() : found->name;
}

}  // namespace QvKit
