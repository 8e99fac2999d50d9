// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ProblemCodes.h"

#include "WindowsApi.h"

// After windows.h, which they need.
#include <cfg.h>
#include <setupapi.h>

namespace QvKit {
namespace {

constexpr struct {
    unsigned long code;
    const char* text;
} kProblems[] = {
    {CM_PROB_NOT_CONFIGURED, "it is not configured"},
    {CM_PROB_OUT_OF_MEMORY, "memory is short, or its driver is damaged"},
    {CM_PROB_FAILED_START, "its driver failed to start it"},
    {CM_PROB_NEED_RESTART, "the machine has to be restarted"},
    {CM_PROB_REINSTALL, "its driver has to be installed again"},
    {CM_PROB_REGISTRY, "its entries in the registry are damaged"},
    {CM_PROB_WILL_BE_REMOVED, "it is about to be removed"},
    {CM_PROB_DISABLED, "it is disabled"},
    {CM_PROB_DEVICE_NOT_THERE, "it is not there, or files of its driver are missing"},
    {CM_PROB_FAILED_INSTALL, "no driver is installed"},
    {CM_PROB_FAILED_ADD, "its driver could not be loaded, or refused the device"},
    {CM_PROB_DISABLED_SERVICE, "its driver's service is disabled"},
    {CM_PROB_FAILED_DRIVER_ENTRY, "its driver failed to initialize"},
    {CM_PROB_DRIVER_FAILED_PRIOR_UNLOAD, "an earlier instance of its driver is still in memory"},
    {CM_PROB_DRIVER_FAILED_LOAD, "its driver's file is missing or damaged"},
    {CM_PROB_DRIVER_SERVICE_KEY_INVALID, "the entries of its driver's service are damaged"},
    {CM_PROB_DUPLICATE_DEVICE, "a device of the same name is there already"},
    {CM_PROB_FAILED_POST_START, "its driver reported a failure"},
    {CM_PROB_PHANTOM, "it is not connected"},
    {CM_PROB_DRIVER_BLOCKED, "Windows blocks its driver"},
    {CM_PROB_UNSIGNED_DRIVER,
     "its driver is not signed for this machine: sign it and switch on test signing"},
};

}  // namespace

std::string ProblemText(unsigned long aProblem) {
    std::string number = "problem " + std::to_string(aProblem);
    for (const auto& problem : kProblems) {
        if (problem.code == aProblem) return number + ": " + problem.text;
    }
    return number;
}

std::string AdviceFor(unsigned long aCode) {
    switch (aCode) {
        case ERROR_ACCESS_DENIED:
            return "run this program as administrator";
        case ERROR_NO_CATALOG_FOR_OEM_INF:
        case ERROR_SIGNATURE_OSATTRIBUTE_MISMATCH:
        case ERROR_AUTHENTICODE_TRUST_NOT_ESTABLISHED:
        case ERROR_AUTHENTICODE_PUBLISHER_NOT_TRUSTED:
        case static_cast<unsigned long>(CERT_E_UNTRUSTEDROOT):
        case static_cast<unsigned long>(TRUST_E_NOSIGNATURE):
            return "the driver is not signed for this machine: sign it and switch on test signing";
        case ERROR_IN_WOW64:
            return "run the 64-bit program";
        default:
            return "";
    }
}

}  // namespace QvKit
