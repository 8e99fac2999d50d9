// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DriverService.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <thread>
#include <vector>

#include "UniqueHandle.h"
#include "WideTexts.h"

namespace QvKit {
namespace {

constexpr std::chrono::seconds kUnloadLimit(5);
constexpr std::chrono::milliseconds kPollInterval(20);

using UniqueService = QvBaseLib::UniqueHandle<SC_HANDLE, &::CloseServiceHandle>;

// Not valid when there is no such service, or the caller may not have this access.
UniqueService Open(const std::wstring& aName, DWORD aAccess) {
    const UniqueService manager(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager.IsValid()) return UniqueService();
    return UniqueService(::OpenServiceW(manager.Get(), aName.c_str(), aAccess));
}

std::filesystem::path WindowsDirectory() {
    wchar_t windows[MAX_PATH] = {};
    ::GetSystemWindowsDirectoryW(windows, MAX_PATH);
    return windows;
}

// A driver's path as the service has it: complete, of the kernel's form, or below the directory of
// Windows.
std::filesystem::path ToWin32Path(const std::wstring& aImage) {
    static const std::wstring kKernelPrefix = L"\\??\\";
    static const std::wstring kBeginnings[] = {L"\\SystemRoot\\", L"%SystemRoot%\\"};
    if (aImage.empty()) return std::filesystem::path();
    if (StartsWith(aImage, kKernelPrefix)) return aImage.substr(kKernelPrefix.size());
    for (const std::wstring& beginning : kBeginnings) {
        if (StartsWith(aImage, beginning))
            return WindowsDirectory() / aImage.substr(beginning.size());
    }
    // A complete path replaces what it is added to.
    return WindowsDirectory() / aImage;
}

std::wstring ImagePath(SC_HANDLE aService) {
    DWORD size = 0;
    ::QueryServiceConfigW(aService, nullptr, 0, &size);
    std::vector<std::byte> buffer(std::max<std::size_t>(size, sizeof(QUERY_SERVICE_CONFIGW)));
    auto* const config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
    if (!::QueryServiceConfigW(aService, config, static_cast<DWORD>(buffer.size()), &size))
        return std::wstring();
    return config->lpBinaryPathName;
}

void Stop(SC_HANDLE aService) {
    SERVICE_STATUS status = {};
    (void)::ControlService(aService, SERVICE_CONTROL_STOP, &status);  // It may not run.
    const auto deadline = std::chrono::steady_clock::now() + kUnloadLimit;
    while (::QueryServiceStatus(aService, &status) &&
           status.dwCurrentState == SERVICE_STOP_PENDING &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(kPollInterval);
    }
}

}  // namespace

std::optional<DriverService> FindDriverService(const std::wstring& aName) {
    const UniqueService service = Open(aName, SERVICE_QUERY_CONFIG | SERVICE_QUERY_STATUS);
    if (!service.IsValid()) return std::nullopt;
    SERVICE_STATUS status = {};
    if (!::QueryServiceStatus(service.Get(), &status)) return std::nullopt;
    const bool isRunning = status.dwCurrentState == SERVICE_RUNNING;
    const bool hasReason = !isRunning && status.dwWin32ExitCode != ERROR_SERVICE_NEVER_STARTED;
    return DriverService{ToWin32Path(ImagePath(service.Get())), isRunning,
                         hasReason ? status.dwWin32ExitCode : 0};
}

std::filesystem::path FindDriverFile(const std::wstring& aService) {
    const std::optional<DriverService> service = FindDriverService(aService);
    if (!service || !service->file.empty())
        return service ? service->file : std::filesystem::path();
    // The system looks here for a driver whose service does not say.
    const auto usual = WindowsDirectory() / L"System32\\drivers" / (aService + L".sys");
    std::error_code error;
    return std::filesystem::exists(usual, error) ? usual : std::filesystem::path();
}

void DiscardDriver(const std::wstring& aService, const std::filesystem::path& aFile) {
    const UniqueService service = Open(aService, SERVICE_STOP | SERVICE_QUERY_STATUS);
    if (service.IsValid()) Stop(service.Get());
    (void)::DeleteFileW(aFile.c_str());  // A driver that is still in use stays.
}

}  // namespace QvKit
