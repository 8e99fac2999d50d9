// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Names threads in a program where no one but the library catches the exception that does it: 0
// when nothing got past the library, 1 when the naming exception did, 2 when another one did.
//
// The threads of the C++ runtime bring a handler of their own for that exception, which would hide
// a library that has none. The program is therefore linked statically, from the sources that it
// needs, and with stand-ins for those threads.

#include "QvUserLib/Thread.h"
#include "ReportError.h"
#include "WindowsApi.h"

extern "C" {

// What the C++ runtime asks of its threads when something is thrown, which does not happen here.
int pthread_once(void*, void (*)()) { return 0; }
int pthread_key_create(void*, void (*)(void*)) { return 0; }
int pthread_setspecific(unsigned, const void*) { return 0; }
void* pthread_getspecific(unsigned) { return nullptr; }
int pthread_mutex_init(void*, const void*) { return 0; }
int pthread_mutex_destroy(void*) { return 0; }
int pthread_mutex_lock(void*) { return 0; }
int pthread_mutex_unlock(void*) { return 0; }
}

namespace QvUserLib {

// The probe has no error log.
Result ReportError(const Result& aResult, const char*, unsigned long, const char*, ...) {
    return Result(aResult.GetCode());
}

}  // namespace QvUserLib

namespace {

constexpr DWORD kThreadNaming = 0x406D1388;
constexpr int kThreads = 8;
constexpr int kCalls = 1000;

class Worker : public QvUserLib::Thread {
public:
    Worker() : Thread(PriorityNormal) {}
    ~Worker() override { (void)Thread::WaitUntilSignaled(); }

    QvUserLib::Result Execute() override {
        for (int call = 0; call < kCalls; ++call) SetThreadName("Packet reader");
        return QvUserLib::Result(QvUserLib::Code::Success);
    }
};

LONG WINAPI EndWithVerdict(EXCEPTION_POINTERS* aException) {
    ::ExitProcess(aException->ExceptionRecord->ExceptionCode == kThreadNaming ? 1 : 2);
}

}  // namespace

int main() {
    constexpr int kCannotStart = 3;
    ::SetUnhandledExceptionFilter(&EndWithVerdict);

    Worker workers[kThreads];
    for (Worker& worker : workers) {
        if (worker.StartThread().IsFailure()) return kCannotStart;
    }
    for (Worker& worker : workers) {
        if (worker.WaitUntilSignaled().IsFailure()) return kCannotStart;
    }
    return 0;
}
