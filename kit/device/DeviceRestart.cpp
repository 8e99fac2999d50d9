// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DeviceRestart.h"

#include <algorithm>
#include <optional>
#include <thread>

#include "DevicePresence.h"
#include "DeviceTree.h"
#include "ProblemCodes.h"
#include "QvKit/Clock.h"
#include "QvKit/StopSignal.h"
#include "QvKit/Text.h"
#include "WideTexts.h"

namespace QvKit {
namespace {

constexpr std::chrono::milliseconds kPollInterval(20);

std::vector<std::wstring> ActivePaths(const DeviceRecords& aRecords, const std::wstring& aId) {
    std::vector<std::wstring> paths;
    for (const KnownInterface& known : aRecords.ListInterfaces(/*aArePresent=*/true)) {
        if (known.isActive && IsSameText(known.instanceId, aId))
            paths.push_back(ToLower(known.path));
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

void Restart(const DeviceRecords& aRecords, const std::wstring& aId) {
    const std::string what = "cannot restart '" + ToUtf8(aId) + "'";
    const RestartAnswer answer = aRecords.Restart(aId);
    const bool isDone = answer.error == ERROR_SUCCESS;
    if (isDone && answer.needsMachineRestart) {
        throw Error(ErrorKind::DeviceInUse,
                    what +
                        ": it cannot be stopped now; close the programs that have it open, or "
                        "restart the machine");
    }
    if (isDone) return;
    switch (answer.error) {
        case ERROR_CALL_NOT_IMPLEMENTED:
        case ERROR_NOT_SUPPORTED:
        case static_cast<DWORD>(ERROR_DI_DO_DEFAULT):
            throw Error(ErrorKind::SystemFailed, what + ": this system cannot restart devices",
                        answer.error);
        default:
            break;
    }
    const Error error = InstallationError(what, answer.error);
    const bool isDenied = answer.error == ERROR_ACCESS_DENIED;
    throw Error(isDenied ? ErrorKind::AccessDenied : error.GetKind(), error.what(), answer.error,
                error.GetReason());
}

// Why a device is not back; nothing when it is.
std::optional<Error> ExplainAbsence(const DeviceRecords& aRecords, const std::wstring& aId,
                                    const std::vector<std::wstring>& aPaths) {
    const std::string name = "'" + ToUtf8(aId) + "' has not started again";
    const std::optional<NodeStatus> status = aRecords.ReadStatus(aId);
    if (status && status->problem != 0)
        return Error(ErrorKind::DeviceFailed, name + ": " + ProblemText(status->problem));
    const bool isStarted = status && (status->isStarted || !status->isTold);
    const std::vector<std::wstring> now = ActivePaths(aRecords, aId);
    if (isStarted && std::includes(now.begin(), now.end(), aPaths.begin(), aPaths.end()))
        return std::nullopt;
    return Error(ErrorKind::TimedOut, name);
}

bool PauseOrStop(const StopSignal* aStop) {
    if (aStop != nullptr) return aStop->WaitFor(kPollInterval);
    std::this_thread::sleep_for(kPollInterval);
    return false;
}

}  // namespace

std::vector<std::string> RestartDevice(const std::string& aInstanceId,
                                       const RestartSettings& aSettings) {
    return RestartDevice(aInstanceId, aSettings, DeviceRecords::OfSystem());
}

std::vector<std::string> RestartDevice(const std::string& aInstanceId,
                                       const RestartSettings& aSettings,
                                       const DeviceRecords& aRecords) {
    const std::wstring id = aRecords.Find(FromUtf8(aInstanceId));
    if (id.empty())
        throw Error(ErrorKind::NoSuchDevice, "there is no device '" + aInstanceId + "'");
    const bool isPresent =
        IsPresent(aRecords, id, aRecords.ListInterfaces(/*aArePresent=*/false)).value_or(true);
    if (!isPresent)
        throw Error(ErrorKind::NoSuchDevice, "the device '" + aInstanceId + "' is not present");

    const std::vector<std::wstring> paths = ActivePaths(aRecords, id);
    Restart(aRecords, id);
    const Stopwatch watch;
    while (const std::optional<Error> absence = ExplainAbsence(aRecords, id, paths)) {
        if (std::chrono::floor<std::chrono::milliseconds>(watch.GetTime()) >= aSettings.limit) {
            throw Error(absence->GetKind(), std::string(absence->what()) + " (within " +
                                                std::to_string(aSettings.limit.count()) + " ms)");
        }
        if (PauseOrStop(aSettings.stop))
            throw Error(ErrorKind::Cancelled, "the wait for '" + ToUtf8(id) + "' was stopped");
    }
    std::vector<std::string> opened;
    for (const std::wstring& path : ActivePaths(aRecords, id)) opened.push_back(ToUtf8(path));
    return opened;
}

}  // namespace QvKit
