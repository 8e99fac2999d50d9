// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "SampleDevices.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <map>
#include <thread>

#include <windows.h>

#include <cfgmgr32.h>
#include <newdev.h>
#include <setupapi.h>

#include "QvSample/QvSampleDevice.h"
#include "WideText.h"

namespace QvSampleSetup {

namespace {

// As the INF names them.
constexpr wchar_t kServiceName[] = L"QvSampleDriver";
constexpr wchar_t kDriverFile[] = L"QvSampleDriver.sys";

constexpr std::chrono::seconds kUnloadTimeout(5);
constexpr std::chrono::milliseconds kPollInterval(20);

// Owns a handle of the service manager, or null.
class Service {
public:
    explicit Service(SC_HANDLE aHandle) : handle_(aHandle) {}
    ~Service() {
        if (handle_ != nullptr) ::CloseServiceHandle(handle_);
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    SC_HANDLE Get() const { return handle_; }

private:
    SC_HANDLE handle_;
};

// Owns a device-information set.
class DeviceSet {
public:
    DeviceSet(HDEVINFO aSet, const char* aWhat) : set_(aSet) {
        const unsigned long code = ::GetLastError();
        if (set_ == INVALID_HANDLE_VALUE) throw SetupError(aWhat, code);
    }
    ~DeviceSet() { ::SetupDiDestroyDeviceInfoList(set_); }
    DeviceSet(const DeviceSet&) = delete;
    DeviceSet& operator=(const DeviceSet&) = delete;

    HDEVINFO Get() const { return set_; }

private:
    HDEVINFO set_;
};

void Check(BOOL aDone, const char* aWhat) {
    const unsigned long code = ::GetLastError();
    if (!aDone) throw SetupError(aWhat, code);
}

template <typename Data>
Data EmptyData() {
    Data data = {};
    data.cbSize = sizeof(data);
    return data;
}

std::wstring InstanceId(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
    wchar_t id[MAX_DEVICE_ID_LEN] = {};
    Check(::SetupDiGetDeviceInstanceIdW(aSet, &aDevice, id, MAX_DEVICE_ID_LEN, nullptr),
          "cannot read a device's instance id");
    return id;
}

bool HasHardwareId(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
    wchar_t ids[256] = {};
    if (!::SetupDiGetDeviceRegistryPropertyW(aSet, &aDevice, SPDRP_HARDWAREID, nullptr,
                                             reinterpret_cast<BYTE*>(ids),
                                             sizeof(ids) - 2 * sizeof(wchar_t), nullptr)) {
        return false;
    }
    for (const wchar_t* id = ids; *id != L'\0'; id += ::lstrlenW(id) + 1) {
        if (::lstrcmpiW(id, QV_SAMPLE_HARDWARE_ID) == 0) return true;
    }
    return false;
}

std::wstring InterfacePath(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface) {
    DWORD size = 0;
    ::SetupDiGetDeviceInterfaceDetailW(aSet, &aInterface, nullptr, 0, &size, nullptr);
    std::vector<std::byte> buffer(
        std::max<std::size_t>(size, sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W)));
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = sizeof(*detail);
    Check(::SetupDiGetDeviceInterfaceDetailW(aSet, &aInterface, detail,
                                             static_cast<DWORD>(buffer.size()), nullptr, nullptr),
          "cannot read a device's interface path");
    return detail->DevicePath;
}

// The device that an interface belongs to.
std::wstring InterfaceOwner(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface) {
    auto device = EmptyData<SP_DEVINFO_DATA>();
    // The buffer is too small for the path, but the owner is stored all the same.
    const BOOL done =
        ::SetupDiGetDeviceInterfaceDetailW(aSet, &aInterface, nullptr, 0, nullptr, &device);
    Check(done || ::GetLastError() == ERROR_INSUFFICIENT_BUFFER,
          "cannot read an interface's device");
    return InstanceId(aSet, device);
}

std::wstring UpperCase(std::wstring aText) {
    ::CharUpperBuffW(aText.data(), static_cast<DWORD>(aText.size()));
    return aText;
}

// The paths of the interfaces that are switched on, by upper-case instance id.
std::map<std::wstring, std::wstring> ActiveInterfaces() {
    const DeviceSet set(::SetupDiGetClassDevsW(&GUID_DEVINTERFACE_QVSAMPLE, nullptr, nullptr,
                                               DIGCF_PRESENT | DIGCF_DEVICEINTERFACE),
                        "cannot list the device interfaces");
    std::map<std::wstring, std::wstring> paths;
    auto data = EmptyData<SP_DEVICE_INTERFACE_DATA>();
    for (DWORD i = 0;
         ::SetupDiEnumDeviceInterfaces(set.Get(), nullptr, &GUID_DEVINTERFACE_QVSAMPLE, i, &data);
         ++i) {
        if ((data.Flags & SPINT_ACTIVE) == 0) continue;
        paths[UpperCase(InterfaceOwner(set.Get(), data))] = InterfacePath(set.Get(), data);
    }
    return paths;
}

std::string ReadFile(const std::filesystem::path& aPath) {
    std::ifstream file(aPath, std::ios::binary);
    if (!file) throw SetupError("cannot read " + ToUtf8(aPath.wstring()), ERROR_FILE_NOT_FOUND);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::filesystem::path InstalledDriver() {
    wchar_t folder[MAX_PATH] = {};
    Check(::GetSystemDirectoryW(folder, MAX_PATH) != 0, "cannot find the system directory");
    return std::filesystem::path(folder) / L"drivers" / kDriverFile;
}

// Stops the driver's service and waits until it has stopped. Does nothing when there is no service,
// or it doesn't run.
void StopService() {
    const Service manager(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (manager.Get() == nullptr) return;
    const Service service(
        ::OpenServiceW(manager.Get(), kServiceName, SERVICE_STOP | SERVICE_QUERY_STATUS));
    if (service.Get() == nullptr) return;

    SERVICE_STATUS status = {};
    (void)::ControlService(service.Get(), SERVICE_CONTROL_STOP, &status);
    const auto deadline = std::chrono::steady_clock::now() + kUnloadTimeout;
    while (::QueryServiceStatus(service.Get(), &status) &&
           status.dwCurrentState == SERVICE_STOP_PENDING &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(kPollInterval);
    }
}

unsigned long ProblemCode(const SP_DEVINFO_DATA& aDevice) {
    ULONG status = 0;
    ULONG problem = 0;
    const CONFIGRET result = ::CM_Get_DevNode_Status(&status, &problem, aDevice.DevInst, 0);
    return result == CR_SUCCESS && (status & DN_HAS_PROBLEM) != 0 ? problem : 0;
}

bool NeedsRestart(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
    auto parameters = EmptyData<SP_DEVINSTALL_PARAMS_W>();
    if (!::SetupDiGetDeviceInstallParamsW(aSet, &aDevice, &parameters)) return false;
    return (parameters.Flags & (DI_NEEDREBOOT | DI_NEEDRESTART)) != 0;
}

}  // namespace

SetupError::SetupError(const std::string& aWhat, unsigned long aCode)
    : std::runtime_error(aWhat), code_(aCode) {}

unsigned long SetupError::GetCode() const { return code_; }

bool SampleDevice::IsStarted() const { return !interfacePath.empty(); }

std::vector<SampleDevice> FindDevices() {
    const std::map<std::wstring, std::wstring> paths = ActiveInterfaces();
    const DeviceSet set(::SetupDiGetClassDevsW(&GUID_DEVCLASS_QVSAMPLE, nullptr, nullptr, 0),
                        "cannot list the devices");
    std::vector<SampleDevice> devices;
    auto data = EmptyData<SP_DEVINFO_DATA>();
    for (DWORD i = 0; ::SetupDiEnumDeviceInfo(set.Get(), i, &data); ++i) {
        if (!HasHardwareId(set.Get(), data)) continue;
        SampleDevice device;
        device.instanceId = InstanceId(set.Get(), data);
        const auto path = paths.find(UpperCase(device.instanceId));
        if (path != paths.end()) device.interfacePath = path->second;
        device.problem = ProblemCode(data);
        devices.push_back(device);
    }
    std::sort(devices.begin(), devices.end(),
              [](const SampleDevice& aLeft, const SampleDevice& aRight) {
                  return aLeft.instanceId < aRight.instanceId;
              });
    return devices;
}

std::wstring RegisterDevice() {
    // The hardware id without its enumerator names the device, followed by the next free number.
    static const wchar_t kName[] = L"QVSAMPLE";
    static const wchar_t kHardwareIds[] = QV_SAMPLE_HARDWARE_ID L"\0";

    const DeviceSet set(::SetupDiCreateDeviceInfoList(&GUID_DEVCLASS_QVSAMPLE, nullptr),
                        "cannot create a device list");
    auto data = EmptyData<SP_DEVINFO_DATA>();
    Check(::SetupDiCreateDeviceInfoW(set.Get(), kName, &GUID_DEVCLASS_QVSAMPLE,
                                     L"QvUserLib sample device", nullptr, DICD_GENERATE_ID, &data),
          "cannot create a device");
    Check(::SetupDiSetDeviceRegistryPropertyW(set.Get(), &data, SPDRP_HARDWAREID,
                                              reinterpret_cast<const BYTE*>(kHardwareIds),
                                              sizeof(kHardwareIds)),
          "cannot set a device's hardware id");
    Check(::SetupDiCallClassInstaller(DIF_REGISTERDEVICE, set.Get(), &data),
          "cannot register a device");
    return InstanceId(set.Get(), data);
}

bool InstallDriver(const std::filesystem::path& aInf) {
    BOOL restart = FALSE;
    Check(::UpdateDriverForPlugAndPlayDevicesW(nullptr, QV_SAMPLE_HARDWARE_ID, aInf.c_str(),
                                               /*InstallFlags=*/0, &restart),
          "cannot install the driver");
    return restart != FALSE;
}

bool IsOtherDriverInstalled(const std::filesystem::path& aInf) {
    const std::filesystem::path installed = InstalledDriver();
    if (!std::filesystem::exists(installed)) return false;
    return ReadFile(installed) !=
           ReadFile(std::filesystem::path(aInf).replace_filename(kDriverFile));
}

void DiscardDriver() {
    StopService();
    (void)::DeleteFileW(InstalledDriver().c_str());
}

bool RemoveDevice(const std::wstring& aInstanceId) {
    const DeviceSet set(::SetupDiCreateDeviceInfoList(&GUID_DEVCLASS_QVSAMPLE, nullptr),
                        "cannot create a device list");
    auto data = EmptyData<SP_DEVINFO_DATA>();
    Check(::SetupDiOpenDeviceInfoW(set.Get(), aInstanceId.c_str(), nullptr, 0, &data),
          "cannot find the device");
    Check(::SetupDiCallClassInstaller(DIF_REMOVE, set.Get(), &data), "cannot remove the device");
    return NeedsRestart(set.Get(), data);
}

}  // namespace QvSampleSetup
