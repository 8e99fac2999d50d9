// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Log4cxx.h"

#include <log4cxx/file.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/logmanager.h>
#include <log4cxx/propertyconfigurator.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <exception>

#include "OwnModule.h"
#include "QvUserLib/String.h"
#include "UniqueHandle.h"
#include "WindowsApi.h"

// After WindowsApi.h, which it needs.
#include <delayimp.h>

namespace QvUserLib {
namespace Log4cxx {

namespace {

// As the delay import names it: the helpers compare letter by letter.
constexpr char kDll[] = "log4cxx.dll";

// While false, a call into log4cxx would load whatever has its name.
std::atomic<bool> isBound(false);

template <typename Type>
const Type* AtOffset(DWORD aOffset) {
    return reinterpret_cast<const Type*>(__ImageBase + aOffset);
}

// The names in this module's delay import of log4cxx; null when there is no such import.
const IMAGE_THUNK_DATA* FindImportedNames() {
    const auto* const headers =
        AtOffset<IMAGE_NT_HEADERS>(static_cast<DWORD>(AtOffset<IMAGE_DOS_HEADER>(0)->e_lfanew));
    const IMAGE_DATA_DIRECTORY& directory =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT];
    if (directory.VirtualAddress == 0) return nullptr;

    const auto* import = AtOffset<IMAGE_DELAYLOAD_DESCRIPTOR>(directory.VirtualAddress);
    for (; import->DllNameRVA != 0; ++import) {
        if (std::strcmp(AtOffset<char>(import->DllNameRVA), kDll) == 0) {
            return AtOffset<IMAGE_THUNK_DATA>(import->ImportNameTableRVA);
        }
    }
    return nullptr;
}

// Whether the DLL has everything that is imported from it. If something is missing, the loading
// helper raises a structured exception, which would end the process.
bool HasAllImports(HMODULE aDll) {
    const IMAGE_THUNK_DATA* name = FindImportedNames();
    if (name == nullptr) return false;
    for (; name->u1.AddressOfData != 0; ++name) {
        const auto offset = static_cast<DWORD>(name->u1.AddressOfData);
        const char* const text =
            reinterpret_cast<const char*>(AtOffset<IMAGE_IMPORT_BY_NAME>(offset)->Name);
        if (::GetProcAddress(aDll, text) == nullptr) return false;
    }
    return true;
}

// While it lives, this thread's loader reports a damaged DLL to its caller, and not in a dialog.
class NoLoaderDialogs {
public:
    NoLoaderDialogs() {
        ::SetThreadErrorMode(::GetThreadErrorMode() | SEM_FAILCRITICALERRORS, &before_);
    }
    ~NoLoaderDialogs() { ::SetThreadErrorMode(before_, nullptr); }

    NoLoaderDialogs(const NoLoaderDialogs&) = delete;
    NoLoaderDialogs& operator=(const NoLoaderDialogs&) = delete;

private:
    DWORD before_ = 0;
};

// The DLL that Bind has found, while it binds. One thread binds at a time.
QvBaseLib::UniqueHandle<HMODULE, &::FreeLibrary> found;

// The loading helper loads a DLL by its plain name, unless this returns one for it to own.
FARPROC WINAPI ReturnFoundDll(unsigned aEvent, PDelayLoadInfo) {
    if (aEvent != dliNotePreLoadLibrary) return nullptr;
    return reinterpret_cast<FARPROC>(found.Release());
}

// A function that all systems have, but that no import library has.
template <typename Function>
Function FindSystemFunction(const char* aName) {
    const FARPROC address = ::GetProcAddress(::GetModuleHandleA("ntdll.dll"), aName);
    Function function = nullptr;
    std::memcpy(&function, &address, sizeof function);
    return function;
}

// When the process ends, the system ends its DLLs in the reverse order of their start: log4cxx
// before this one.
bool IsProcessEnding() {
    using Function = BOOLEAN(WINAPI*)();
    static const auto function = FindSystemFunction<Function>("RtlDllShutdownInProgress");
    return function != nullptr && function() != FALSE;
}

// Whether this thread runs the start or the end of a DLL, and so holds the loader's lock. Every
// thread that ends needs that lock.
bool IsInsideLoader() {
    using Function = const char*(WINAPI*)();
    static const auto function = FindSystemFunction<Function>("RtlGetCurrentPeb");
    if (function == nullptr) return false;

    // The lock has the same place in the process's block on all 64-bit systems, but no header has
    // it.
    constexpr std::size_t kLoaderLock = 0x110;
    const auto* const lock =
        *reinterpret_cast<const CRITICAL_SECTION* const*>(function() + kLoaderLock);
    return lock != nullptr && lock->OwningThread == ULongToHandle(::GetCurrentThreadId());
}

// log4cxx takes 8-bit text for UTF-8; its UTF-16 form means the same everywhere.
std::wstring Wide(const char* aText) { return String(aText).GetUnicode(); }

// Calls into log4cxx if that is possible, and prints what it throws. All exceptions of log4cxx
// derive from the standard one.
template <typename Call>
bool Guarded(Call aCall) {
    if (!isBound || IsProcessEnding()) return false;
    try {
        aCall();
        return true;
    } catch (const std::exception& exception) {
        std::printf("%s", exception.what());
        return false;
    }
}

log4cxx::Logger* AsLogger(void* aLogger) { return static_cast<log4cxx::Logger*>(aLogger); }

}  // namespace

bool Bind(const std::string& aPath) {
    const NoLoaderDialogs quiet;
    // The DLLs that it needs itself are looked for beside it first.
    found.Reset(::LoadLibraryExA(aPath.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!found.IsValid()) return false;

    isBound = HasAllImports(found.Get()) && SUCCEEDED(::__HrLoadAllImportsForDll(kDll));
    found.Reset();  // The helper owns it now, unless it did not need it.
    return isBound;
}

bool Unbind() {
    if (!Guarded([] { log4cxx::LogManager::shutdown(); })) return false;
    isBound = false;
    return ::__FUnloadDelayLoadedDLL2(kDll) != FALSE;
}

bool CanUnbind() { return !IsProcessEnding() && !IsInsideLoader(); }

bool Configure(const std::wstring& aPath) {
    return Guarded([&] { (void)log4cxx::PropertyConfigurator::configure(log4cxx::File(aPath)); });
}

void* GetLogger(const char* aName) {
    log4cxx::Logger* logger = nullptr;
    (void)Guarded([&] { logger = log4cxx::Logger::getLogger(Wide(aName)).get(); });
    return logger;
}

bool IsEnabled(void* aLogger, int aLevel) {
    bool enabled = false;
    (void)Guarded(
        [&] { enabled = AsLogger(aLogger)->isEnabledFor(log4cxx::Level::toLevel(aLevel)); });
    return enabled;
}

void Log(void* aLogger, int aLevel, const char* aText) {
    (void)Guarded([&] { AsLogger(aLogger)->log(log4cxx::Level::toLevel(aLevel), Wide(aText)); });
}

void LogError(void* aLogger, const char* aText) {
    (void)Guarded([&] { AsLogger(aLogger)->error(Wide(aText)); });
}

}  // namespace Log4cxx
}  // namespace QvUserLib

// The loading helpers that are linked to this module call it.
decltype(__pfnDliNotifyHook2) __pfnDliNotifyHook2 = &QvUserLib::Log4cxx::ReturnFoundDll;
