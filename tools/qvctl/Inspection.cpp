// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Inspection.h"

#include "InterfaceId.h"
#include "LibraryError.h"
#include "QvUserLib/DeviceConnection.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "Utf8.h"
#include "WindowsApi.h"

// After WindowsApi.h, which it needs.
#include <setupapi.h>

namespace Qvctl {
namespace {

// Interfaces of a class, those of devices that are not started, too.
std::size_t CountRegistered(const GUID& aInterface) {
    const HDEVINFO set =
        ::SetupDiGetClassDevsW(&aInterface, nullptr, nullptr, DIGCF_DEVICEINTERFACE);
    if (set == INVALID_HANDLE_VALUE) return 0;
    SP_DEVICE_INTERFACE_DATA data = {};
    data.cbSize = sizeof data;
    DWORD count = 0;
    while (::SetupDiEnumDeviceInterfaces(set, nullptr, &aInterface, count, &data)) ++count;
    ::SetupDiDestroyDeviceInfoList(set);
    return count;
}

std::vector<Device> GetStarted(const GUID& aInterface) {
    try {
        return ListDevices(aInterface);
    } catch (const Failure& failure) {
        if (failure.GetExitCode() == ExitCode::NoSuchDevice) return {};
        throw;
    }
}

DeviceFinding Try(const Device& aDevice) {
    DeviceFinding finding;
    finding.path = aDevice.path;
    QvUserLib::DeviceConnection connection;
    const QvUserLib::Result opened = connection.Connect(aDevice.link.c_str());
    if (opened.IsFailure()) {
        // The library's code says that it failed; why is the system's to tell.
        const HANDLE probe = ::CreateFileA(aDevice.link.c_str(), GENERIC_READ | GENERIC_WRITE,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
        const DWORD error = ::GetLastError();
        finding.openError = probe == INVALID_HANDLE_VALUE ? error : opened.GetCode();
        if (probe != INVALID_HANDLE_VALUE) ::CloseHandle(probe);
        finding.openReason =
            ReasonFor(opened) + " (error " + std::to_string(*finding.openError) + ")";
        return finding;
    }
    QvUserLib::DeviceParameterRepository parameters;
    const QvUserLib::Result loaded = parameters.Connect(&connection);
    if (loaded.IsFailure()) finding.loadReason = ReasonFor(loaded);
    return finding;
}

bool Exists(const std::string& aPath) {
    return ::GetFileAttributesW(FromUtf8(aPath).c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Empty for a variable that is not set.
std::string Variable(const wchar_t* aName) {
    std::wstring value(::GetEnvironmentVariableW(aName, nullptr, 0), L'\0');
    if (value.empty()) return std::string();
    value.resize(::GetEnvironmentVariableW(aName, value.data(), static_cast<DWORD>(value.size())));
    return ToUtf8(value);
}

// In the places where the library looks.
void LookForLogging(Findings& aFindings) {
    const std::string& library = aFindings.libraries.front().path;
    const std::string directory = library.substr(0, library.rfind('\\') + 1) + "log4cxx\\";
    aFindings.logDirectory = directory + "x64\\Release";
    aFindings.hasLog4cxx = Exists(aFindings.logDirectory + "\\log4cxx.dll");
    const std::string chosen = Variable(L"QV_LOG_CONFIG");
    const bool isChosen = !chosen.empty() && Exists(chosen);
    aFindings.logConfig = isChosen ? chosen : directory + "default.logcfg";
    aFindings.hasLogConfig = Exists(aFindings.logConfig);
}

}  // namespace

Findings Inspect(const Context& aContext) {
    const GUID& interfaceClass = aContext.options.interfaceClass;
    Findings findings = {};
    findings.toolVersion = QVCTL_VERSION;
    findings.libraries = GetLibraries();
    findings.interfaceClass = InterfaceText(interfaceClass);
    findings.isSample = ::IsEqualGUID(interfaceClass, SampleInterface()) != FALSE;
    findings.registered = CountRegistered(interfaceClass);
    for (const Device& device : GetStarted(interfaceClass)) {
        aContext.Note("trying " + device.path);
        findings.devices.push_back(Try(device));
    }
    LookForLogging(findings);
    return findings;
}

}  // namespace Qvctl
