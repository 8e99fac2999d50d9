// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Log.h"

#include <fcntl.h>
#include <io.h>

#include <cstdarg>
#include <cstdlib>
#include <memory>

#include "ExpandText.h"
#include "WindowsApi.h"

namespace QvUserLib {

namespace {

constexpr std::size_t kLineSize = 512;

struct FileCloser {
    void operator()(std::FILE* aFile) const { (void)std::fclose(aFile); }  // There is no remedy.
};
using File = std::unique_ptr<std::FILE, FileCloser>;

struct MemoryReleaser {
    void operator()(char* aMemory) const { std::free(aMemory); }
};
using Memory = std::unique_ptr<char, MemoryReleaser>;

// The C library treats an unknown mode as a programming error, not as a failure.
bool IsMode(const char* aMode) {
    return aMode != nullptr && (*aMode == 'r' || *aMode == 'w' || *aMode == 'a');
}

// A file that child processes inherit stays open in them and cannot be replaced.
void KeepFromChildren(std::FILE* aFile) {
    const auto handle = ::_get_osfhandle(::_fileno(aFile));
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the C library returns handles as numbers.
    ::SetHandleInformation(reinterpret_cast<HANDLE>(handle), HANDLE_FLAG_INHERIT, 0);
}

File OpenFile(const char* aPath, const char* aMode) {
    if (aPath == nullptr || *aPath == '\0' || !IsMode(aMode)) return nullptr;
    File file(std::fopen(aPath, aMode));
    if (file != nullptr) KeepFromChildren(file.get());
    return file;
}

long long SizeOf(std::FILE* aFile) {
    if (::_fseeki64(aFile, 0, SEEK_END) != 0) return -1;
    return ::_ftelli64(aFile);
}

// The last quarter of a file's bytes; null when there is no memory for them, or when they cannot be
// read.
Memory ReadLastQuarter(const char* aPath, long long aSize) {
    const auto kept = static_cast<std::size_t>(aSize / 4);
    Memory tail(static_cast<char*>(std::malloc(kept + 1)));
    const File whole = tail != nullptr ? OpenFile(aPath, "rb") : nullptr;
    if (whole == nullptr || ::_fseeki64(whole.get(), aSize * 3 / 4, SEEK_SET) != 0 ||
        std::fread(tail.get(), 1, kept, whole.get()) != kept) {
        return nullptr;
    }
    return tail;
}

// Writes bytes as they are, also to a file whose mode translates line ends.
bool WriteUntranslated(std::FILE* aFile, const char* aBytes, std::size_t aSize) {
    const int descriptor = ::_fileno(aFile);
    const int mode = ::_setmode(descriptor, _O_BINARY);
    const bool isWritten = std::fwrite(aBytes, 1, aSize, aFile) == aSize && std::fflush(aFile) == 0;
    if (mode != -1) (void)::_setmode(descriptor, mode);  // It was valid before.
    return isWritten;
}

// Replaces an open file by one that holds the last quarter of its bytes, opened in the same mode. A
// file that cannot be replaced is left as it is; that is not a failure. *aFile becomes null when
// the path cannot be opened again.
Result KeepLastQuarter(File* aFile, const char* aPath, const char* aMode, long long aSize) {
    const Memory tail = ReadLastQuarter(aPath, aSize);
    if (tail == nullptr) return Result(Code::Success);

    aFile->reset();
    const bool isDeleted = ::DeleteFileA(aPath) != FALSE;
    *aFile = OpenFile(aPath, aMode);
    if (*aFile == nullptr) return Result(Code::CannotOpenFile);
    if (!isDeleted) {
        (void)SizeOf(aFile->get());  // Moves to the end; if that fails, the mode's position stays.
        return Result(Code::Success);
    }
    const auto kept = static_cast<std::size_t>(aSize / 4);
    const bool isWritten = WriteUntranslated(aFile->get(), tail.get(), kept);
    return Result(isWritten ? Code::Success : Code::ShortWrite);
}

}  // namespace

Log::Log() : file_(nullptr), autoFlush_(false) {}

Log::~Log() {
    (void)Log::Close();  // It cannot fail.
}

Result Log::Open(const char* aPath, const char* aMode, int aMaxSize) {
    // The new path may be the file that is open now: its buffered text must be on disk first.
    if (std::FILE* const present = file_) (void)std::fflush(present);

    File file = OpenFile(aPath, aMode);
    if (file == nullptr) return Result(Code::CannotOpenFile);

    Result shortened(Code::Success);
    const long long size = aMaxSize > 0 ? SizeOf(file.get()) : 0;
    if (aMaxSize > 0 && size >= aMaxSize) {
        shortened = KeepLastQuarter(&file, aPath, aMode, size);
        if (file == nullptr) return shortened;
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
    // Start the next line on its own even if this one was cut short.
    if (written <= aLength) (void)std::fputc('\n', file);
    if (written < aLength) return Result(Code::ShortWrite);
    if (autoFlush_ && std::fflush(file) != 0) return Result(Code::ShortWrite);
    return Result(Code::Success);
}

bool Log::SetAutoFlush(bool aOn) { return autoFlush_.exchange(aOn); }

bool Log::IsAutoFlush() { return autoFlush_; }

bool Log::IsOpened() { return file_ != nullptr; }

}  // namespace QvUserLib
