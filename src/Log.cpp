// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Log.h"

#include <cstdarg>
#include <cstdlib>
#include <memory>

#include "ExpandText.h"
#include "WindowsApi.h"

namespace QvUserLib {

namespace {

constexpr std::size_t kLineSize = 512;

struct FileCloser {
    void operator()(std::FILE* aFile) const { (void)std::fclose(aFile); }  // Nothing to be done.
};
using File = std::unique_ptr<std::FILE, FileCloser>;

struct MemoryReleaser {
    void operator()(char* aMemory) const { std::free(aMemory); }
};
using Memory = std::unique_ptr<char, MemoryReleaser>;

// The C library takes an unknown mode for a programming error, not for a failure.
bool IsMode(const char* aMode) {
    return aMode != nullptr && (*aMode == 'r' || *aMode == 'w' || *aMode == 'a');
}

File OpenFile(const char* aPath, const char* aMode) {
    if (aPath == nullptr || *aPath == '\0' || !IsMode(aMode)) return nullptr;
    return File(std::fopen(aPath, aMode));
}

long long SizeOf(std::FILE* aFile) {
    if (::_fseeki64(aFile, 0, SEEK_END) != 0) return -1;
    return ::_ftelli64(aFile);
}

// Replaces the file by the last quarter of its bytes. It is read and written untranslated, whatever
// the mode that it is going to be opened in. A file that cannot be replaced is left as it is, which
// is no failure.
Result KeepLastQuarter(const char* aPath, long long aSize) {
    const auto kept = static_cast<std::size_t>(aSize / 4);
    const Memory tail(static_cast<char*>(std::malloc(kept + 1)));
    if (tail == nullptr) return Result(Code::Success);
    {
        const File whole = OpenFile(aPath, "rb");
        if (whole == nullptr || ::_fseeki64(whole.get(), aSize * 3 / 4, SEEK_SET) != 0 ||
            std::fread(tail.get(), 1, kept, whole.get()) != kept) {
            return Result(Code::Success);
        }
    }
    if (!::DeleteFileA(aPath)) return Result(Code::Success);

    File shortened = OpenFile(aPath, "wb");
    if (shortened == nullptr) return Result(Code::CannotOpenFile);
    const bool isWritten = std::fwrite(tail.get(), 1, kept, shortened.get()) == kept;
    const bool isClosed = std::fclose(shortened.release()) == 0;
    return Result(isWritten && isClosed ? Code::Success : Code::ShortWrite);
}

}  // namespace

Log::Log() : file_(nullptr), autoFlush_(false) {}

Log::~Log() {
    (void)Log::Close();  // It cannot fail.
}

Result Log::Open(const char* aPath, const char* aMode, int aMaxSize) {
    // What the present file still holds in memory has to be in it before it may be opened again.
    if (std::FILE* const present = file_) (void)std::fflush(present);

    File file = OpenFile(aPath, aMode);
    if (file == nullptr) return Result(Code::CannotOpenFile);

    Result shortened(Code::Success);
    const long long size = aMaxSize > 0 ? SizeOf(file.get()) : 0;
    if (aMaxSize > 0 && size >= aMaxSize) {
        file.reset();
        shortened = KeepLastQuarter(aPath, size);
        if (shortened.GetCode() == Code::CannotOpenFile) return shortened;
        file = OpenFile(aPath, aMode);
        if (file == nullptr) return Result(Code::CannotOpenFile);
        (void)std::fseek(file.get(), 0, SEEK_END);  // A failure leaves the mode's own position.
    }

    (void)Log::Close();  // It cannot fail.
    file_ = file.release();
    return shortened;
}

Result Log::Close() {
    if (std::FILE* const file = file_.exchange(nullptr)) (void)std::fclose(file);
    return Result(Code::Success);
}

Result Log::Write(const char* aFormat, ...) {
    if (aFormat == nullptr || *aFormat == '\0') return Result(Code::Success);
    if (!IsOpened()) return Result(Code::FileNotOpen);

    char line[kLineSize];
    va_list arguments;
    va_start(arguments, aFormat);
    const std::size_t length = ExpandText(line, sizeof line, aFormat, arguments);
    va_end(arguments);
    return WriteText(line, length);
}

Result Log::WriteText(char* aText, std::size_t aLength) {
    std::FILE* const file = file_;
    if (file == nullptr) return Result(Code::FileNotOpen);

    aText[aLength] = '\n';
    const std::size_t written = std::fwrite(aText, 1, aLength + 1, file);
    // The next line starts on its own even when this one is cut short.
    if (written <= aLength) (void)std::fputc('\n', file);
    if (written < aLength) return Result(Code::ShortWrite);
    if (autoFlush_ && std::fflush(file) != 0) return Result(Code::ShortWrite);
    return Result(Code::Success);
}

bool Log::SetAutoFlush(bool aOn) { return autoFlush_.exchange(aOn); }

bool Log::IsAutoFlush() { return autoFlush_; }

bool Log::IsOpened() { return file_ != nullptr; }

}  // namespace QvUserLib
