// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Loggers in a process of their own, because the process-wide state of logging cannot be reset.
//
// Usage: LoggerProbe COMMAND…, each command with its arguments:
//   new NAME                makes a logger and prints whether it is empty; they count from 0
//   static NAME             the same, for one that lives until the process exits
//   delete N                destroys a logger
//   assign N M              assigns logger M to logger N
//   log N LEVEL TEXT        logs at a level, given by its number
//   many N COUNT            logs the numbers from 1 to COUNT
//   result N CODE TEXT      prints the code and the description that LogResult returns
//   enabled N LEVEL         prints 1 or 0
//   loaded                  prints whether log4cxx.dll is loaded
//   path                    prints PATH as the C library has it
//   wide-path               prints PATH as the C library has it in its wide form, in UTF-8
//   process-path            prints PATH as the process has it, in UTF-8
//   set NAME VALUE          sets a variable
//   set-process NAME VALUE  sets a variable of the process, which the C library does not know of
//   go-to PATH              changes the current directory
//   restrict-search         lets the system look for DLLs in its own directory only
//   show-loading            prints how the library loads DLLs
//   dialogs                 prints whether the system may show dialogs for errors
//   rename FROM TO          renames a file
//   hide-location           lets the system not find the path of the library
//   locate PATH             lets the system return this path for the library
//   hide-files              lets the C library find no file
//   fail-set N              lets the N-th setting of a variable fail, from 1; for 0 all fail
//   load DLL, free          loads a DLL, and frees it
//   find-first              lets the system take that DLL for every plain name, as Windows takes
//   the
//                           one that was loaded first; Wine takes the one that was used last
// What the library sends to a debugger is printed as "debugger: TEXT".

#include <io.h>
#include <stdlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ImportPatch.h"
#include "QvUserLib/Logger.h"
#include "WindowsApi.h"

namespace {

using QvUserLib::Logger;
using QvUserLib::PriorityLevel;

void WINAPI PrintDebugText(const char* aText) { std::printf("debugger: %s\n", aText); }

DWORD WINAPI RefuseLocation(HMODULE, char*, DWORD) { return 0; }

std::string theLocation;

// A path that is too long is cut, and its length is the buffer's.
DWORD WINAPI TellLocation(HMODULE, char* aOut, DWORD aSize) {
    const std::size_t length = theLocation.copy(aOut, aSize - 1);
    aOut[length] = '\0';
    return length < theLocation.size() ? aSize : static_cast<DWORD>(length);
}

int HideFile(const char*, int) { return -1; }

bool doAllSettingsFail = false;
int theSettingsLeft = 0;

int SetOrFail(const char* aText) {
    return doAllSettingsFail || --theSettingsLeft == 0 ? -1 : ::_putenv(aText);
}

const char* DialogState() {
    return (::GetThreadErrorMode() & SEM_FAILCRITICALERRORS) != 0 ? "off" : "on";
}

HMODULE WINAPI ShowLoading(const char* aPath, HANDLE aFile, DWORD aFlags) {
    const bool isAltered = aFlags == LOAD_WITH_ALTERED_SEARCH_PATH;
    std::printf("loading %s, %s, dialogs %s\n", aPath,
                isAltered ? "looking beside it" : "looking elsewhere", DialogState());
    return ::LoadLibraryExA(aPath, aFile, aFlags);
}

std::string theFirstDll;

HMODULE WINAPI LoadFirst(const char*) { return ::LoadLibraryA(theFirstDll.c_str()); }

void PrintVariable(const char* aName, const wchar_t* aValue) {
    char text[4096] = "";
    ::WideCharToMultiByte(CP_UTF8, 0, aValue, -1, text, sizeof text, nullptr, nullptr);
    std::printf("%s=%s\n", aName, text);
}

// A logger without one of log4cxx is empty.
const char* StateOf(const Logger& aLogger) {
    void* pointer = nullptr;
    std::memcpy(&pointer, &aLogger, sizeof pointer);
    return pointer == nullptr ? "empty" : "ready";
}

class Probe {
public:
    explicit Probe(char** aArguments) : next_(aArguments) {}

    bool HasMore() const { return *next_ != nullptr; }

    // False for an unknown command.
    bool RunNext() {
        const std::string command = Text();
        if (command == "new") {
            loggers_.push_back(std::make_unique<Logger>(Text()));
            std::printf("%s\n", StateOf(*loggers_.back()));
        } else if (command == "static") {
            static Logger logger(Text());
            std::printf("%s\n", StateOf(logger));
            logger.Log(PriorityLevel::Fatal, "", 0, "static", "logger");
        } else if (command == "delete") {
            loggers_.at(Number()).reset();
        } else if (command == "assign") {
            Logger& target = NextLogger();
            target = NextLogger();
        } else if (command == "log") {
            Logger& logger = NextLogger();
            const auto level = static_cast<PriorityLevel>(Number());
            logger.Log(level, "", 0, "probe", "%s", Text());
        } else if (command == "many") {
            Logger& logger = NextLogger();
            const int count = Number();
            for (int number = 1; number <= count; ++number) {
                logger.Log(PriorityLevel::Info, "", 0, "number", "%d", number);
            }
        } else if (command == "result") {
            Logger& logger = NextLogger();
            const auto code = static_cast<unsigned long>(Number());
            const QvUserLib::Result result = logger.LogResult(code, "", 0, "probe", "%s", Text());
            std::printf("%lu %s\n", result.GetCode(), result.GetDescription());
        } else if (command == "enabled") {
            Logger& logger = NextLogger();
            std::printf("%d\n", logger.IsPriorityEnabled(static_cast<PriorityLevel>(Number())));
        } else if (command == "rename") {
            const char* const from = Text();
            std::printf("%s\n", ::MoveFileA(from, Text()) ? "renamed" : "not renamed");
        } else {
            return RunPlain(command);
        }
        return true;
    }

private:
    bool RunPlain(const std::string& aCommand) {
        if (aCommand == "loaded") {
            const bool loaded = ::GetModuleHandleA("log4cxx.dll") != nullptr;
            std::printf("%s\n", loaded ? "loaded" : "not loaded");
        } else if (aCommand == "path") {
            std::printf("PATH=%s\n", std::getenv("PATH"));
        } else if (aCommand == "wide-path") {
            PrintVariable("wide PATH", ::_wgetenv(L"PATH"));
        } else if (aCommand == "process-path") {
            std::wstring path(32768, L'\0');
            ::GetEnvironmentVariableW(L"PATH", path.data(), 32768);
            PrintVariable("process PATH", path.c_str());
        } else if (aCommand == "set") {
            const std::string name = Text();
            ::_putenv((name + "=" + Text()).c_str());
        } else if (aCommand == "set-process") {
            const char* const name = Text();
            ::SetEnvironmentVariableA(name, Text());
        } else if (aCommand == "go-to") {
            ::SetCurrentDirectoryA(Text());
        } else {
            return RunSystem(aCommand);
        }
        return true;
    }

    // What changes how the system works for the library.
    bool RunSystem(const std::string& aCommand) {
        if (aCommand == "restrict-search") {
            const BOOL restricted = ::SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
            std::printf("%s\n", restricted ? "restricted" : "not restricted");
        } else if (aCommand == "find-first") {
            hidden_ = std::make_unique<QvTests::ImportPatch>("LoadLibraryA", &LoadFirst);
        } else if (aCommand == "show-loading") {
            hidden_ = std::make_unique<QvTests::ImportPatch>("LoadLibraryExA", &ShowLoading);
        } else if (aCommand == "dialogs") {
            std::printf("dialogs %s\n", DialogState());
        } else if (aCommand == "hide-location") {
            hidden_ = std::make_unique<QvTests::ImportPatch>("GetModuleFileNameA", &RefuseLocation);
        } else if (aCommand == "locate") {
            theLocation = Text();
            hidden_ = std::make_unique<QvTests::ImportPatch>("GetModuleFileNameA", &TellLocation);
        } else if (aCommand == "hide-files") {
            hidden_ = std::make_unique<QvTests::ImportPatch>("_access", &HideFile);
        } else if (aCommand == "fail-set") {
            theSettingsLeft = Number();
            doAllSettingsFail = theSettingsLeft == 0;
            hidden_ = std::make_unique<QvTests::ImportPatch>("_putenv", &SetOrFail);
        } else if (aCommand == "load") {
            theFirstDll = Text();
            library_ = ::LoadLibraryA(theFirstDll.c_str());
            std::printf("%s\n", library_ != nullptr ? "loaded" : "not loaded");
        } else if (aCommand == "free") {
            std::printf("%s\n", ::FreeLibrary(library_) ? "freed" : "not freed");
        } else {
            return false;
        }
        return true;
    }

    const char* Text() { return *next_ != nullptr ? *next_++ : ""; }
    int Number() { return std::atoi(Text()); }
    Logger& NextLogger() { return *loggers_.at(Number()); }

    char** next_;
    std::vector<std::unique_ptr<Logger>> loggers_;
    std::unique_ptr<QvTests::ImportPatch> hidden_;
    HMODULE library_ = nullptr;
};

}  // namespace

int main(int, char** argv) {
    constexpr int kWrongUsage = 100;
    const QvTests::ImportPatch debugger("OutputDebugStringA", &PrintDebugText);
    // Never destroyed: the loggers that are left live until the process is gone.
    Probe& probe = *new Probe(argv + 1);
    while (probe.HasMore()) {
        if (!probe.RunNext()) return kWrongUsage;
    }
    return 0;
}
