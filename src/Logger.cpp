// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Logger.h"

#include <io.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <optional>
#include <string>

#include "Environment.h"
#include "ExpandText.h"
#include "Log4cxx.h"
#include "OwnModule.h"
#include "QvUserLib/String.h"
#include "WindowsApi.h"

namespace QvUserLib {

namespace {

constexpr std::size_t kTextSize = 1024;
constexpr std::size_t kModulePathSize = 4096;

// No lock guards these: loggers come and go on one thread at a time.
int instanceCount = 0;
bool setUpFailed = false;

// What SetEnv found: log4cxx, and PATH as the C library and as the process had it.
std::string log4cxxDll;
RuntimePath savedRuntimePath;
std::optional<std::wstring> savedProcessPath;

bool Exists(const std::string& aPath) { return ::_access(aPath.c_str(), /*mode=*/0) == 0; }
bool Exists(const std::wstring& aPath) { return ::_waccess(aPath.c_str(), /*mode=*/0) == 0; }

std::wstring Wide(const std::string& aText) { return String(aText.c_str()).GetUnicode(); }

// The path of the library's own DLL. False when the system does not return it.
bool GetOwnPath(std::string* aPath) {
    char path[kModulePathSize];
    const DWORD length = ::GetModuleFileNameA(OwnModule(), path, kModulePathSize);
    if (length == 0 || length >= kModulePathSize) return false;
    aPath->assign(path, length);
    return true;
}

// Without the separator; empty for a path without any.
std::string DirectoryOf(const std::string& aPath) {
    const std::size_t separator = aPath.rfind('\\');
    return separator == std::string::npos ? std::string() : aPath.substr(0, separator);
}

// A path that is searched in a directory first, with its first reference to a variable expanded.
std::string Prefixed(const std::string& aDirectory, const std::string& aPath) {
    const std::string composed = aDirectory + ";" + aPath;
    const std::string expanded = String(composed.c_str()).ExpandEnvironmentVariables();
    // A text without references expands to nothing.
    return expanded.empty() ? composed : expanded;
}

std::wstring Prefixed(const std::string& aDirectory, const std::wstring& aPath) {
    const std::wstring composed = Wide(aDirectory + ";") + aPath;
    const std::string expanded = String(composed.c_str()).ExpandEnvironmentVariables();
    return expanded.empty() ? composed : Wide(expanded);
}

void ComposeText(char (&aText)[kTextSize], const char* aPrefix, const char* aFormat,
                 va_list aArguments) {
    const int written = std::snprintf(aText, kTextSize, "%s ", aPrefix != nullptr ? aPrefix : "");
    const std::size_t length = std::min(static_cast<std::size_t>(written), kTextSize - 1);
    if (aFormat == nullptr) return;
    (void)ExpandText(aText + length, kTextSize - length, aFormat, aArguments);  // Its end is zero.
}

}  // namespace

Logger::Logger(const char* aName) : logger_(nullptr) {
    if (instanceCount == 0) {
        if (setUpFailed) return;
        if (!Init()) {
            setUpFailed = true;
            return;
        }
    }
    logger_ = Log4cxx::GetLogger(aName != nullptr ? aName : "");
    if (logger_ != nullptr) ++instanceCount;
}

Logger::~Logger() {
    if (logger_ == nullptr) return;
    if (instanceCount == 1 && Log4cxx::CanUnbind() && SetEnv()) {
        UnloadImports();
        ResetEnv();
    }
    --instanceCount;
}

Logger& Logger::operator=(const Logger& aOther) = default;

void Logger::Log(PriorityLevel aLevel, const char*, unsigned long, const char* aPrefix,
                 const char* aFormat, ...) {
    // Log4cxx would drop the text itself, but only when it has been composed.
    if (!IsPriorityEnabled(aLevel)) return;

    char text[kTextSize];
    va_list arguments;
    va_start(arguments, aFormat);
    ComposeText(text, aPrefix, aFormat, arguments);
    va_end(arguments);
    Log4cxx::Log(logger_, static_cast<int>(aLevel), text);
}

Result Logger::LogResult(unsigned long aCode, const char*, unsigned long, const char* aPrefix,
                         const char* aFormat, ...) {
    char text[kTextSize];
    va_list arguments;
    va_start(arguments, aFormat);
    ComposeText(text, aPrefix, aFormat, arguments);
    va_end(arguments);
    if (logger_ != nullptr) Log4cxx::LogError(logger_, text);

    Result result(aCode);
    result.SetDescription("%s", text);
    return result;
}

bool Logger::IsPriorityEnabled(PriorityLevel aLevel) {
    return logger_ != nullptr && Log4cxx::IsEnabled(logger_, static_cast<int>(aLevel));
}

bool Logger::Init() {
    if (!SetEnv()) {
        ::OutputDebugStringA("Failed to set environment. returning.");
        return false;
    }
    if (!LoadImports()) return false;
    ResetEnv();

    const std::optional<std::wstring> config = ReadProcessVariable(L"QV_LOG_CONFIG");
    if (config && Exists(*config)) return Log4cxx::Configure(*config);

    std::string path;
    // The message is wrong, as the location is known here. It stays because those who watch the
    // debugger's output know it.
    if (GetOwnPath(&path)) ::OutputDebugStringA("Could not determine the location of QvUserLib.");
    const std::string directory = DirectoryOf(path);
    if (directory.empty()) return false;
    const std::string defaultConfig = directory + "/log4cxx/default.logcfg";
    return Exists(defaultConfig) && Log4cxx::Configure(Wide(defaultConfig));
}

// Puts log4cxx's directory in front of PATH, for DLLs that log4cxx loads itself.
bool Logger::SetEnv() {
    savedRuntimePath = ReadRuntimePath();
    savedProcessPath = ReadProcessVariable(L"PATH");

    std::string module;
    if (!GetOwnPath(&module)) {
        ::OutputDebugStringA("Could not determine the location of QvUserLib.");
        return false;
    }
    const std::string directory = DirectoryOf(module) + "\\log4cxx" + "\\x64" + "\\Release";
    log4cxxDll = directory + "\\log4cxx.dll";
    if (!Exists(log4cxxDll)) return false;

    // The C library sets the process's PATH to its own, which may lack what the process's has.
    SetRuntimePath(
        std::visit([&](const auto& aPath) { return RuntimePath(Prefixed(directory, aPath)); },
                   savedRuntimePath));
    ::SetEnvironmentVariableW(L"PATH", Prefixed(directory, savedProcessPath.value_or(L"")).c_str());
    return true;
}

void Logger::ResetEnv() {
    SetRuntimePath(savedRuntimePath);
    ::SetEnvironmentVariableW(L"PATH", savedProcessPath ? savedProcessPath->c_str() : nullptr);
}

bool Logger::LoadImports() {
    if (Log4cxx::Bind(log4cxxDll)) return true;
    std::printf("Failed to load imports for log4cxx\n");
    return false;
}

void Logger::UnloadImports() {
    if (!Log4cxx::Unbind()) std::printf("Failed to unload imports for log4cxx\n");
}

}  // namespace QvUserLib
