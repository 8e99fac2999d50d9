// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A log4cxx.dll with the exports that the library imports, each of which throws when the
// environment variable QVTESTS_THROW names it. With QVTESTS_SHOW set, the DLL prints where it is
// when it starts, and the process's PATH when it is configured. Like the real one it may bring a
// C++ runtime of its own, and so exceptions of its own.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

#include "OwnModule.h"
#include "WindowsApi.h"

#define FAKE_EXPORT __declspec(dllexport)

namespace log4cxx {

class Level;
class Logger;

namespace helpers {

class Exception : public std::exception {
public:
    explicit Exception(const std::string& aText) : text_(aText) {}
    const char* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};

}  // namespace helpers

namespace {

void ThrowIfAsked(const std::string& aFunction) {
    const char* const asked = std::getenv("QVTESTS_THROW");
    if (asked != nullptr && aFunction == asked) throw helpers::Exception("thrown by " + aFunction);
}

bool IsToShow() { return ::GetEnvironmentVariableA("QVTESTS_SHOW", nullptr, 0) != 0; }

class Start {
public:
    Start() {
        char path[MAX_PATH] = {};
        ::GetModuleFileNameA(QvUserLib::OwnModule(), path, MAX_PATH);
        if (IsToShow()) std::printf("started %s\n", path);
    }
};

const Start start;

}  // namespace

class File {
public:
    FAKE_EXPORT explicit File(const std::wstring& aPath);
    FAKE_EXPORT ~File();

private:
    void* state_ = nullptr;
};

File::File(const std::wstring&) { ThrowIfAsked("File"); }
File::~File() { (void)state_; }

class PropertyConfigurator {
public:
    FAKE_EXPORT static int configure(const File& aFile);
};

int PropertyConfigurator::configure(const File&) {
    ThrowIfAsked("configure");
    std::string path(32768, '\0');
    path.resize(::GetEnvironmentVariableA("PATH", path.data(), 32768));
    if (IsToShow()) std::printf("configured with PATH=%s\n", path.c_str());
    return 0;
}

class LogManager {
public:
    FAKE_EXPORT static void shutdown();
};

void LogManager::shutdown() { ThrowIfAsked("shutdown"); }

class Level {
public:
    FAKE_EXPORT static std::shared_ptr<Level> toLevel(int aValue);
};

std::shared_ptr<Level> Level::toLevel(int) { return std::make_shared<Level>(); }

class Logger {
public:
    FAKE_EXPORT static std::shared_ptr<Logger> getLogger(const std::wstring& aName);
    FAKE_EXPORT bool isEnabledFor(const std::shared_ptr<Level>& aLevel) const;
    FAKE_EXPORT void log(const std::shared_ptr<Level>& aLevel, const std::wstring& aText) const;
    FAKE_EXPORT void error(const std::wstring& aText) const;
};

std::shared_ptr<Logger> Logger::getLogger(const std::wstring&) {
    ThrowIfAsked("getLogger");
    static const auto logger = std::make_shared<Logger>();
    return logger;
}

bool Logger::isEnabledFor(const std::shared_ptr<Level>&) const {
    ThrowIfAsked("isEnabledFor");
    return true;
}

void Logger::log(const std::shared_ptr<Level>&, const std::wstring&) const { ThrowIfAsked("log"); }

void Logger::error(const std::wstring&) const { ThrowIfAsked("error"); }

}  // namespace log4cxx
