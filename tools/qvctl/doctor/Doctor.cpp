// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "doctor/Doctor.h"

namespace Qvctl {
namespace {

Check JudgeVersions(const Findings& aFindings) {
    std::string found = "qvctl " + aFindings.toolVersion;
    bool isSame = true;
    for (const Library& library : aFindings.libraries) {
        const bool isRight = library.version == aFindings.toolVersion;
        found += ", " + library.name + " " + (library.version.empty() ? "?" : library.version);
        if (!isRight) found += " (" + library.path + ")";
        isSame = isSame && isRight;
    }
    if (isSame) return Check{"versions", Verdict::Ok, found, std::string()};
    return Check{"versions", Verdict::Problem, found,
                 "put the DLLs of this release beside qvctl.exe, in place of those that are found"};
}

Check JudgeDriver(const Findings& aFindings) {
    if (aFindings.registered > 0) {
        return Check{"driver", Verdict::Ok,
                     "devices with the interface " + aFindings.interfaceClass +
                         " are known: " + std::to_string(aFindings.registered),
                     std::string()};
    }
    return Check{
        "driver", Verdict::Problem, "no device has had the interface " + aFindings.interfaceClass,
        aFindings.isSample ? "install the sample driver with \"qvctl driver install "
                             "QvSampleDriver.inf\", as administrator"
                           : "install the device's driver, or give another class with --interface"};
}

Check JudgeDevices(const Findings& aFindings) {
    const std::string count = std::to_string(aFindings.devices.size());
    if (!aFindings.devices.empty()) {
        return Check{"devices", Verdict::Ok, "started: " + count, std::string()};
    }
    if (aFindings.registered == 0) {
        return Check{"devices", Verdict::Problem, "none is there", "see the driver, above"};
    }
    return Check{"devices", Verdict::Problem, "none is started",
                 "plug the device in, or look in the Device Manager why it does not start; for a "
                 "driver that is not signed, switch test signing on"};
}

std::string AdviceForOpening(QvKit::ErrorKind aKind) {
    switch (aKind) {
        case QvKit::ErrorKind::AccessDenied:
            return "run qvctl as administrator, or let the driver grant access to users";
        case QvKit::ErrorKind::DeviceInUse:
            return "end the program that has the device for itself";
        default:
            return "restart the device in the Device Manager";
    }
}

Check JudgeAccess(const Findings& aFindings) {
    for (const DeviceFinding& device : aFindings.devices) {
        if (!device.openKind) continue;
        return Check{"access", Verdict::Problem,
                     "cannot open " + device.path + ": " + device.openReason,
                     AdviceForOpening(*device.openKind)};
    }
    return Check{"access", Verdict::Ok, "every device opens", std::string()};
}

Check JudgeParameters(const Findings& aFindings) {
    for (const DeviceFinding& device : aFindings.devices) {
        if (device.loadReason.empty()) continue;
        return Check{"parameters", Verdict::Problem,
                     "cannot load those of " + device.path + ": " + device.loadReason,
                     "install a driver that answers the parameter requests of this library"};
    }
    return Check{"parameters", Verdict::Ok, "those of every device load", std::string()};
}

Check JudgeLogging(const Findings& aFindings) {
    if (!aFindings.hasLog4cxx) {
        return Check{"log4cxx", Verdict::Warning,
                     "not found in " + aFindings.logDirectory + "; loggers stay empty",
                     "if logging is wanted, put log4cxx.dll there"};
    }
    if (!aFindings.hasLogConfig) {
        return Check{"log4cxx", Verdict::Warning,
                     "its configuration " + aFindings.logConfig + " is missing; loggers stay empty",
                     "put one there, or let QV_LOG_CONFIG name one"};
    }
    return Check{"log4cxx", Verdict::Ok, "found, with " + aFindings.logConfig, std::string()};
}

}  // namespace

std::vector<Check> Judge(const Findings& aFindings) {
    std::vector<Check> checks = {JudgeVersions(aFindings), JudgeDriver(aFindings),
                                 JudgeDevices(aFindings)};
    if (!aFindings.devices.empty()) {
        checks.push_back(JudgeAccess(aFindings));
        checks.push_back(JudgeParameters(aFindings));
    }
    checks.push_back(JudgeLogging(aFindings));
    return checks;
}

}  // namespace Qvctl
