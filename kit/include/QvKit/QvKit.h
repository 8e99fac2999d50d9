// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

/**
 * @file
 * All of the kit: what programs do with devices, beyond the single calls of the library.
 */

#ifndef QVKIT_QVKIT_H
#define QVKIT_QVKIT_H

#include "QvKit/BoundedConnection.h"
#include "QvKit/Change.h"
#include "QvKit/Channel.h"
#include "QvKit/Clock.h"
#include "QvKit/CompactText.h"
#include "QvKit/ControlCode.h"
#include "QvKit/Device.h"
#include "QvKit/DeviceInformation.h"
#include "QvKit/DeviceInventory.h"
#include "QvKit/DeviceLink.h"
#include "QvKit/DeviceList.h"
#include "QvKit/DeviceParameters.h"
#include "QvKit/DeviceRestart.h"
#include "QvKit/DeviceWatcher.h"
#include "QvKit/Difference.h"
#include "QvKit/DriverInstallation.h"
#include "QvKit/DriverPackage.h"
#include "QvKit/EntryNames.h"
#include "QvKit/Error.h"
#include "QvKit/FileSender.h"
#include "QvKit/FileVersion.h"
#include "QvKit/Guid.h"
#include "QvKit/IntervalStatistics.h"
#include "QvKit/PacketAccount.h"
#include "QvKit/PacketFile.h"
#include "QvKit/PacketFormat.h"
#include "QvKit/Profile.h"
#include "QvKit/ProfileKeeper.h"
#include "QvKit/RawRequest.h"
#include "QvKit/RequestLimits.h"
#include "QvKit/RequestRing.h"
#include "QvKit/SavedSetting.h"
#include "QvKit/Setting.h"
#include "QvKit/SettingEvent.h"
#include "QvKit/SettingsPoller.h"
#include "QvKit/Snapshot.h"
#include "QvKit/Spelling.h"
#include "QvKit/StopSignal.h"
#include "QvKit/StreamReader.h"
#include "QvKit/Subscription.h"
#include "QvKit/Text.h"
#include "QvKit/Transfer.h"

#endif
