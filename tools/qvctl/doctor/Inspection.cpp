// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "doctor/Inspection.h"

#include "Environment.h"
#include "InterfaceId.h"
#include "QvKit/Device.h"
#include "QvKit/Guid.h"
#include "QvKit/Text.h"
#include "WindowsApi.h"

namespace Qvctl {
namespace {

void Load(QvKit::Device& aDevice, DeviceFinding& aFinding) {
    try {
        aDevice.LoadParameters();
    } catch (const QvKit::Error& error) {
        if (error.GetKind() == QvKit::ErrorKind::Cancelled) throw;
        aFinding.loadReason = error.GetReason();
    }
}

DeviceFinding Try(const QvKit::DeviceAddress& aDevice, const QvKit::RequestLimits& aLimits) {
    DeviceFinding finding;
    finding.path = aDevice.path;
    try {
        QvKit::Device device(aDevice, aLimits);
        Load(device, finding);
    } catch (const QvKit::Error& error) {
        if (error.GetKind() == QvKit::ErrorKind::Cancelled) throw;
        finding.openKind = error.GetKind();
        finding.openReason = error.GetReason();
    }
    return finding;
}

bool Exists(const std::string& aPath) {
    return ::GetFileAttributesW(QvKit::FromUtf8(aPath).c_str()) != INVALID_FILE_ATTRIBUTES;
}

// In the places where the library looks.
void LookForLogging(Findings& aFindings) {
    const std::string& library = aFindings.libraries.front().path;
    const std::string directory = library.substr(0, library.rfind('\\') + 1) + "log4cxx\\";
    aFindings.logDirectory = directory + "x64\\Release";
    aFindings.hasLog4cxx = Exists(aFindings.logDirectory + "\\log4cxx.dll");
    const std::string chosen = EnvironmentVariable(L"QV_LOG_CONFIG");
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
    findings.interfaceClass = QvKit::GuidToText(interfaceClass);
    findings.isSample = ::IsEqualGUID(interfaceClass, SampleInterface()) != FALSE;
    findings.registered = QvKit::CountKnownDevices(interfaceClass);
    for (const QvKit::DeviceAddress& device : QvKit::ListDevices(interfaceClass)) {
        aContext.Note("trying " + device.path);
        findings.devices.push_back(Try(device, aContext.GetLimits()));
    }
    LookForLogging(findings);
    return findings;
}

}  // namespace Qvctl
