// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Log.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "FailingAllocations.h"
#include "ImportPatch.h"
#include "SlotCalls.h"
#include "TestSupport.h"
#include "WindowsApi.h"

namespace QvTests {
namespace {

// Keeps compilers from checking a format that is null or empty on purpose.
const char* Text(const char* aText) { return aText; }

// Every byte value, line ends and 0x1A among them, at places that do not repeat soon.
std::string BinaryContent(std::size_t aSize) {
    std::string content(aSize, '\0');
    for (std::size_t i = 0; i < aSize; ++i) content[i] = static_cast<char>(i * 131 + i / 256 * 7);
    return content;
}

// Keeps a file from being deleted.
class FileHold {
public:
    explicit FileHold(const std::string& aPath)
        : file_(::CreateFileA(aPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_EXISTING, 0, nullptr)) {
        if (file_ == INVALID_HANDLE_VALUE) ADD_FAILURE() << "cannot hold " << aPath;
    }
    ~FileHold() { ::CloseHandle(file_); }

    FileHold(const FileHold&) = delete;
    FileHold& operator=(const FileHold&) = delete;

private:
    HANDLE file_;
};

// Counts how often the library flushes a stream.
class FlushCounter {
public:
    FlushCounter() { count_ = 0; }
    bool IsActive() const { return patch_.IsActive(); }
    int Count() const { return count_; }

private:
    static int Flush(std::FILE* aFile) {
        ++count_;
        return std::fflush(aFile);
    }
    inline static int count_ = 0;
    ImportPatch patch_{"fflush", &Flush};
};

// A disk that takes only some characters of every line.
class FullDisk {
public:
    explicit FullDisk(std::size_t aRoom) { room_ = aRoom; }
    bool IsActive() const { return patch_.IsActive(); }

private:
    static std::size_t Write(const void* aBytes, std::size_t aSize, std::size_t aCount,
                             std::FILE* aFile) {
        return std::fwrite(aBytes, aSize, aCount < room_ ? aCount : room_, aFile);
    }
    inline static std::size_t room_ = 0;
    ImportPatch patch_{"fwrite", &Write};
};

// A disk that gives only some of the bytes asked for.
class UnreadableDisk {
public:
    bool IsActive() const { return patch_.IsActive(); }

private:
    static std::size_t Read(void* aBytes, std::size_t aSize, std::size_t aCount, std::FILE* aFile) {
        return std::fread(aBytes, aSize, aCount / 2, aFile);
    }
    ImportPatch patch_{"fread", &Read};
};

// Opens files in one mode a few times only.
class FewOpenings {
public:
    FewOpenings(const char* aMode, int aCount) {
        mode_ = aMode;
        left_ = aCount;
    }
    bool IsActive() const { return patch_.IsActive(); }

private:
    static std::FILE* Open(const char* aPath, const char* aMode) {
        if (std::strcmp(aMode, mode_) == 0 && left_-- <= 0) return nullptr;
        return std::fopen(aPath, aMode);
    }
    inline static const char* mode_ = nullptr;
    inline static int left_ = 0;
    ImportPatch patch_{"fopen", &Open};
};

// A disk that turns out to be full when a file is flushed, or closed, that was written to.
class FullDiskAtTheEnd {
public:
    FullDiskAtTheEnd() { wasWritten_ = false; }
    bool IsActive() const { return write_.IsActive() && flush_.IsActive() && close_.IsActive(); }

private:
    static std::size_t Write(const void* aBytes, std::size_t aSize, std::size_t aCount,
                             std::FILE* aFile) {
        wasWritten_ = true;
        return std::fwrite(aBytes, aSize, aCount, aFile);
    }
    static int Close(std::FILE* aFile) {
        const int closed = std::fclose(aFile);
        return wasWritten_ ? EOF : closed;
    }
    static int Flush(std::FILE* aFile) {
        const int flushed = std::fflush(aFile);
        return wasWritten_ ? EOF : flushed;
    }
    inline static bool wasWritten_ = false;
    ImportPatch write_{"fwrite", &Write};
    ImportPatch flush_{"fflush", &Flush};
    ImportPatch close_{"fclose", &Close};
};

// A child process that has inherited what can be inherited, and does nothing more.
class SuspendedChild {
public:
    SuspendedChild() {
        char program[MAX_PATH] = {};
        ::GetModuleFileNameA(nullptr, program, MAX_PATH);
        STARTUPINFOA startup = {};
        startup.cb = sizeof startup;
        EXPECT_TRUE(::CreateProcessA(program, nullptr, nullptr, nullptr, /*bInheritHandles=*/TRUE,
                                     CREATE_SUSPENDED, nullptr, nullptr, &startup, &process_));
    }
    ~SuspendedChild() {
        ::TerminateProcess(process_.hProcess, 0);
        ::WaitForSingleObject(process_.hProcess, INFINITE);
        ::CloseHandle(process_.hThread);
        ::CloseHandle(process_.hProcess);
    }

    SuspendedChild(const SuspendedChild&) = delete;
    SuspendedChild& operator=(const SuspendedChild&) = delete;

private:
    PROCESS_INFORMATION process_ = {};
};

class LogTest : public testing::Test {
protected:
    // Opens the file, closes it again, and gives its bytes.
    std::string OpenCapped(const char* aMode, int aMaxSize) {
        EXPECT_THAT(log_.Open(path_.c_str(), aMode, aMaxSize), IsBareCode(Code::Success));
        return CloseAndRead();
    }

    void Open(const char* aMode) {
        ASSERT_THAT(log_.Open(path_.c_str(), aMode, 0), IsBareCode(Code::Success));
    }

    std::string CloseAndRead() {
        EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));
        return ReadBytes(path_);
    }

    TemporaryDirectory directory_;
    const std::string path_ = directory_.File("test.log");
    Log log_;
};

TEST_F(LogTest, StartsClosedAndWithoutAutoFlush) {
    EXPECT_FALSE(log_.IsOpened());
    EXPECT_FALSE(log_.IsAutoFlush());
}

TEST_F(LogTest, OpenAndCloseShowInIsOpened) {
    Open("w");
    EXPECT_TRUE(log_.IsOpened());

    EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));
    EXPECT_FALSE(log_.IsOpened());
}

TEST_F(LogTest, CloseSucceedsAlsoWhenTheDiskRefusesInTheEnd) {
    const FullDiskAtTheEnd disk;
    ASSERT_TRUE(disk.IsActive());
    Open("wb");
    EXPECT_THAT(log_.Write("line"), IsBareCode(Code::Success));

    EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));

    EXPECT_FALSE(log_.IsOpened());
}

TEST_F(LogTest, CloseSucceedsWithoutAnOpenFile) {
    EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));
    EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));
}

TEST_F(LogTest, FileThatCannotBeOpenedIsReported) {
    const std::string missing = directory_.File("missing\\test.log");
    const struct {
        const char* name;
        const char* path;
        const char* mode;
    } cases[] = {
        {"null path", nullptr, "w"},
        {"empty path", "", "w"},
        {"null mode", path_.c_str(), nullptr},
        {"empty mode", path_.c_str(), ""},
        {"unknown mode", path_.c_str(), "q"},
        {"directory", directory_.Path().c_str(), "w"},
        {"directory, appending", directory_.Path().c_str(), "a"},
        {"directory, reading", directory_.Path().c_str(), "r"},
        {"file in a missing directory", missing.c_str(), "w"},
        {"missing file, reading", path_.c_str(), "r"},
        {"characters no name may have", "?*", "w"},
    };
    for (const auto& entry : cases) {
        for (const int maxSize : {0, 1000}) {
            SCOPED_TRACE(testing::Message() << entry.name << ", cap " << maxSize);
            EXPECT_THAT(log_.Open(entry.path, entry.mode, maxSize),
                        IsBareCode(Code::CannotOpenFile));
            EXPECT_FALSE(log_.IsOpened());
        }
    }
    EXPECT_FALSE(FileExists(path_));
}

TEST_F(LogTest, ModeDecidesWhetherEarlierContentStays) {
    WriteBytes(path_, "earlier\n");
    EXPECT_EQ("earlier\n", OpenCapped("a", 0));
    EXPECT_EQ("earlier\n", OpenCapped("r", 0));
    EXPECT_EQ("", OpenCapped("w", 0));
}

TEST_F(LogTest, WriteExpandsTheFormatAndEndsTheLine) {
    Open("wb");

    EXPECT_THAT(log_.Write("%s %d of %lu, %c%%", "step", -3, 7ul, 'x'), IsBareCode(Code::Success));
    EXPECT_THAT(log_.Write("second"), IsBareCode(Code::Success));
    EXPECT_EQ("step -3 of 7, x%\nsecond\n", CloseAndRead());
}

TEST_F(LogTest, TextModeTranslatesLineEnds) {
    Open("w");

    EXPECT_THAT(log_.Write("one\ntwo"), IsBareCode(Code::Success));
    EXPECT_EQ("one\r\ntwo\r\n", CloseAndRead());
}

TEST_F(LogTest, TextThatExpandsToNothingIsAnEmptyLine) {
    Open("wb");

    EXPECT_THAT(log_.Write("%s", ""), IsBareCode(Code::Success));
    EXPECT_EQ("\n", CloseAndRead());
}

TEST_F(LogTest, NullOrEmptyFormatWritesNothing) {
    EXPECT_THAT(log_.Write(Text(nullptr)), IsBareCode(Code::Success));
    EXPECT_THAT(log_.Write(Text("")), IsBareCode(Code::Success));

    Open("w");
    EXPECT_THAT(log_.Write(Text(nullptr)), IsBareCode(Code::Success));
    EXPECT_THAT(log_.Write(Text("")), IsBareCode(Code::Success));
    EXPECT_EQ("", CloseAndRead());
}

TEST_F(LogTest, WriteNeedsAnOpenFile) {
    EXPECT_THAT(log_.Write("line"), IsBareCode(Code::FileNotOpen));

    Open("w");
    (void)log_.Close();  // It cannot fail.
    EXPECT_THAT(log_.Write("line"), IsBareCode(Code::FileNotOpen));
}

TEST_F(LogTest, LineIsCutAfter511Characters) {
    for (const std::size_t length : {510, 511, 512, 600, 5000}) {
        SCOPED_TRACE(length);
        const std::string text = std::string(length - 1, 'x') + "y";
        Open("wb");

        EXPECT_THAT(log_.Write("%s", text.c_str()), IsBareCode(Code::Success));
        EXPECT_EQ(text.substr(0, 511) + "\n", CloseAndRead());
    }
}

TEST_F(LogTest, LineOfAnyConversionIsCutAfter511Characters) {
    for (const int width : {510, 511, 512, 5000}) {
        SCOPED_TRACE(width);
        Open("wb");

        EXPECT_THAT(log_.Write("%*d", width, 7), IsBareCode(Code::Success));
        EXPECT_EQ((std::string(width - 1, ' ') + "7").substr(0, 511) + "\n", CloseAndRead());
    }
}

TEST_F(LogTest, FileThatTakesNoCharactersGivesAShortWrite) {
    WriteBytes(path_, "earlier\n");
    Open("r");

    EXPECT_THAT(log_.Write("line"), IsBareCode(Code::ShortWrite));
    (void)log_.SetAutoFlush(true);  // What was chosen before is known.
    EXPECT_THAT(log_.Write("line"), IsBareCode(Code::ShortWrite));
    EXPECT_EQ("earlier\n", CloseAndRead());
}

TEST_F(LogTest, LineFeedFollowsAShortWrite) {
    Open("wb");
    {
        const FullDisk disk(/*aRoom=*/3);
        ASSERT_TRUE(disk.IsActive());
        EXPECT_THAT(log_.Write("%s", "12345"), IsBareCode(Code::ShortWrite));
        EXPECT_THAT(log_.Write("%s", "123"), IsBareCode(Code::Success));
    }
    EXPECT_EQ("123\n123\n", CloseAndRead());
}

TEST_F(LogTest, SetAutoFlushReturnsTheEarlierChoice) {
    EXPECT_FALSE(log_.SetAutoFlush(true));
    EXPECT_TRUE(log_.IsAutoFlush());
    EXPECT_TRUE(log_.SetAutoFlush(true));
    EXPECT_TRUE(log_.SetAutoFlush(false));
    EXPECT_FALSE(log_.IsAutoFlush());
}

TEST_F(LogTest, AutoFlushOutlastsTheFile) {
    (void)log_.SetAutoFlush(true);  // What was chosen before is known.
    Open("w");
    (void)log_.Close();  // It cannot fail.

    EXPECT_TRUE(log_.IsAutoFlush());
}

TEST_F(LogTest, AutoFlushShowsEveryLineAtOnce) {
    (void)log_.SetAutoFlush(true);  // What was chosen before is known.
    Open("wb");

    EXPECT_THAT(log_.Write("one"), IsBareCode(Code::Success));
    EXPECT_EQ("one\n", ReadBytes(path_));

    EXPECT_THAT(log_.Write("two"), IsBareCode(Code::Success));
    EXPECT_EQ("one\ntwo\n", ReadBytes(path_));
}

TEST_F(LogTest, OnlyAutoFlushFlushesEveryLine) {
    Open("wb");
    const FlushCounter flushes;
    ASSERT_TRUE(flushes.IsActive());

    EXPECT_THAT(log_.Write("one"), IsBareCode(Code::Success));
    EXPECT_EQ(0, flushes.Count());

    (void)log_.SetAutoFlush(true);  // What was chosen before is known.
    EXPECT_THAT(log_.Write("two"), IsBareCode(Code::Success));
    EXPECT_THAT(log_.Write("three"), IsBareCode(Code::Success));
    EXPECT_EQ(2, flushes.Count());
}

TEST_F(LogTest, CapKeepsTheLastQuarter) {
    const struct {
        std::size_t size;
        int maxSize;
        std::size_t from;
        std::size_t kept;
    } cases[] = {
        {4000, 1000, 3000, 1000},
        {4000, 4000, 3000, 1000},
        {4000, 1, 3000, 1000},
        {4001, 4001, 3000, 1000},
        {4002, 4000, 3001, 1000},
        {4003, 4000, 3002, 1000},
        {10, 10, 7, 2},
        {7, 1, 5, 1},
        {4, 4, 3, 1},
        {3, 3, 2, 0},
        {1, 1, 0, 0},
        {100000, 4096, 75000, 25000},
    };
    for (const auto& entry : cases) {
        for (const char* const mode : {"a", "ab", "a+"}) {
            SCOPED_TRACE(testing::Message()
                         << entry.size << " bytes, cap " << entry.maxSize << ", mode " << mode);
            const std::string content = BinaryContent(entry.size);
            WriteBytes(path_, content);
            EXPECT_EQ(content.substr(entry.from, entry.kept), OpenCapped(mode, entry.maxSize));
        }
    }
}

TEST_F(LogTest, FileBelowTheCapStaysWhole) {
    const struct {
        std::size_t size;
        int maxSize;
    } cases[] = {{3999, 4000}, {0, 1}, {1, 2}, {4000, 0}, {4000, -1}, {4000, -4000}};
    for (const auto& entry : cases) {
        SCOPED_TRACE(testing::Message() << entry.size << " bytes, cap " << entry.maxSize);
        const std::string content = BinaryContent(entry.size);
        WriteBytes(path_, content);
        EXPECT_EQ(content, OpenCapped("a", entry.maxSize));
    }
}

TEST_F(LogTest, CapKeepsLineEndsAndEndOfFileMarksAsTheyAre) {
    const std::string tail = "\r\n\n\r\x1A|\x1A\r\n\x1A";
    for (const char* const mode : {"a", "at", "ab"}) {
        SCOPED_TRACE(mode);
        WriteBytes(path_, std::string(3 * tail.size(), 'x') + tail);
        EXPECT_EQ(tail, OpenCapped(mode, 1));
    }
}

TEST_F(LogTest, WritingGoesOnAtTheEndOfACappedFile) {
    const std::string content = BinaryContent(4000);
    const std::string tail = content.substr(3000);
    for (const char* const mode : {"ab", "a", "a+b"}) {
        SCOPED_TRACE(mode);
        WriteBytes(path_, content);
        ASSERT_THAT(log_.Open(path_.c_str(), mode, 1000), IsBareCode(Code::Success));

        EXPECT_THAT(log_.Write("appended"), IsBareCode(Code::Success));
        (void)log_.Close();  // It cannot fail.

        const std::string lineEnd = std::string(mode) == "a" ? "\r\n" : "\n";
        EXPECT_EQ(tail + "appended" + lineEnd, ReadBytes(path_));
    }
}

TEST_F(LogTest, WritingGoesOnAtTheEndOfAFileBelowTheCap) {
    WriteBytes(path_, "earlier\n");
    ASSERT_THAT(log_.Open(path_.c_str(), "ab", 1000), IsBareCode(Code::Success));

    EXPECT_THAT(log_.Write("appended"), IsBareCode(Code::Success));
    EXPECT_EQ("earlier\nappended\n", CloseAndRead());
}

TEST_F(LogTest, CapWorksOnOpeningOnly) {
    ASSERT_THAT(log_.Open(path_.c_str(), "wb", 10), IsBareCode(Code::Success));
    for (int i = 0; i < 100; ++i) EXPECT_THAT(log_.Write("line"), IsBareCode(Code::Success));
    (void)log_.Close();  // It cannot fail.

    EXPECT_EQ(500u, ReadBytes(path_).size());
}

TEST_F(LogTest, NewFileIsNeverCapped) {
    WriteBytes(path_, BinaryContent(4000));

    EXPECT_EQ("", OpenCapped("w", 1));
}

TEST_F(LogTest, FileThatCannotBeReplacedStaysWhole) {
    const std::string content = BinaryContent(4000);
    WriteBytes(path_, content);
    const FileHold hold(path_);
    ASSERT_THAT(log_.Open(path_.c_str(), "ab", 1000), IsBareCode(Code::Success));

    EXPECT_THAT(log_.Write("appended"), IsBareCode(Code::Success));
    EXPECT_EQ(content + "appended\n", CloseAndRead());
}

TEST_F(LogTest, FileStaysWholeWhenThereIsNoMemoryForItsTail) {
    const std::string content = BinaryContent(40000);
    WriteBytes(path_, content);
    const FailingAllocations noMemory(/*aMin=*/10000);

    EXPECT_EQ(content, OpenCapped("a", 1000));

    EXPECT_LT(0, noMemory.Count());
}

TEST_F(LogTest, FileWhoseTailCannotBeReadStaysWhole) {
    const std::string content = BinaryContent(4000);
    WriteBytes(path_, content);
    const UnreadableDisk disk;
    ASSERT_TRUE(disk.IsActive());

    EXPECT_EQ(content, OpenCapped("a", 1000));
}

TEST_F(LogTest, CappedFileThatCannotBeOpenedAgainIsReported) {
    WriteBytes(path_, BinaryContent(4000));
    const FewOpenings once("a", 1);
    ASSERT_TRUE(once.IsActive());

    EXPECT_THAT(log_.Open(path_.c_str(), "a", 1000), IsBareCode(Code::CannotOpenFile));

    EXPECT_FALSE(log_.IsOpened());
}

TEST_F(LogTest, CappedFileIsOpenedAgainInTheSameMode) {
    for (const char* const mode : {"r", "r+", "rb", "r+b"}) {
        SCOPED_TRACE(mode);
        WriteBytes(path_, BinaryContent(4000));

        EXPECT_THAT(log_.Open(path_.c_str(), mode, 1000), IsBareCode(Code::CannotOpenFile));

        EXPECT_FALSE(log_.IsOpened());
        EXPECT_FALSE(FileExists(path_));
    }
}

TEST_F(LogTest, ReadingModesOpenAFileBelowTheCap) {
    const std::string content = BinaryContent(999);
    for (const char* const mode : {"r", "r+"}) {
        SCOPED_TRACE(mode);
        WriteBytes(path_, content);
        EXPECT_EQ(content, OpenCapped(mode, 1000));
    }
}

TEST_F(LogTest, ChildProcessDoesNotKeepTheFile) {
    Open("ab");
    const SuspendedChild child;

    (void)log_.Close();  // It cannot fail.

    EXPECT_TRUE(::DeleteFileA(path_.c_str())) << "the child has it open";
}

TEST_F(LogTest, CappedFileOfWhichNotAllIsTakenIsReportedAndOpen) {
    const std::string content = BinaryContent(4000);
    WriteBytes(path_, content);
    {
        const FullDisk disk(/*aRoom=*/100);
        ASSERT_TRUE(disk.IsActive());
        EXPECT_THAT(log_.Open(path_.c_str(), "ab", 1000), IsBareCode(Code::ShortWrite));
    }
    EXPECT_THAT(log_.Write("appended"), IsBareCode(Code::Success));
    EXPECT_EQ(content.substr(3000, 100) + "appended\n", CloseAndRead());
}

TEST_F(LogTest, CappedFileThatTheDiskRefusesInTheEndIsReported) {
    WriteBytes(path_, BinaryContent(4000));
    const FullDiskAtTheEnd disk;
    ASSERT_TRUE(disk.IsActive());

    EXPECT_THAT(log_.Open(path_.c_str(), "a", 1000), IsBareCode(Code::ShortWrite));

    EXPECT_TRUE(log_.IsOpened());
}

TEST_F(LogTest, OpeningAnotherFileClosesTheFirst) {
    Open("wb");
    EXPECT_THAT(log_.Write("first"), IsBareCode(Code::Success));
    const std::string second = directory_.File("second.log");

    EXPECT_THAT(log_.Open(second.c_str(), "wb", 0), IsBareCode(Code::Success));
    EXPECT_THAT(log_.Write("second"), IsBareCode(Code::Success));

    EXPECT_EQ("first\n", ReadBytes(path_));
    EXPECT_TRUE(::DeleteFileA(path_.c_str())) << "the first file is still open";
    (void)log_.Close();  // It cannot fail.
    EXPECT_EQ("second\n", ReadBytes(second));
}

TEST_F(LogTest, OpeningTheSameFileAgainGoesOnAfterItsLines) {
    Open("ab");
    EXPECT_THAT(log_.Write("first"), IsBareCode(Code::Success));

    Open("ab");
    EXPECT_THAT(log_.Write("second"), IsBareCode(Code::Success));
    EXPECT_EQ("first\nsecond\n", CloseAndRead());
}

TEST_F(LogTest, FailedOpeningLeavesThePresentFileOpen) {
    Open("wb");
    EXPECT_THAT(log_.Write("first"), IsBareCode(Code::Success));

    EXPECT_THAT(log_.Open(directory_.Path().c_str(), "wb", 0), IsBareCode(Code::CannotOpenFile));

    EXPECT_TRUE(log_.IsOpened());
    EXPECT_THAT(log_.Write("second"), IsBareCode(Code::Success));
    EXPECT_EQ("first\nsecond\n", CloseAndRead());
}

TEST_F(LogTest, DestructorFlushesAndClosesTheFile) {
    auto log = std::make_unique<Log>();
    ASSERT_THAT(log->Open(path_.c_str(), "wb", 0), IsBareCode(Code::Success));
    EXPECT_THAT(log->Write("line"), IsBareCode(Code::Success));

    log.reset();

    EXPECT_EQ("line\n", ReadBytes(path_));
    EXPECT_TRUE(::DeleteFileA(path_.c_str())) << "the file is still open";
}

TEST_F(LogTest, DestructorComesFirstInTheVirtualTable) {
    auto* const log = new Log;
    ASSERT_THAT(log->Open(path_.c_str(), "wb", 0), IsBareCode(Code::Success));

    CallSlot<void>(log, 1);

    EXPECT_TRUE(::DeleteFileA(path_.c_str())) << "the file is still open";
}

TEST_F(LogTest, OpenCloseAndWriteFollowTheDestructorInTheVirtualTable) {
    using Write = Result (*)(Log*, const char*, ...);
    const auto write = reinterpret_cast<Write>(VirtualSlot(&log_, 4));

    EXPECT_THAT(CallSlot<Result>(&log_, 2, path_.c_str(), "wb", 0), IsBareCode(Code::Success));
    EXPECT_THAT(write(&log_, "%d", 5), IsBareCode(Code::Success));
    EXPECT_THAT(CallSlot<Result>(&log_, 3), IsBareCode(Code::Success));

    EXPECT_FALSE(log_.IsOpened());
    EXPECT_EQ("5\n", ReadBytes(path_));
}

TEST_F(LogTest, FormatsExpandAsTheCLibraryExpandsThem) {
    Open("wb");
    char expected[256];
    std::string lines;
    for (const char* const format :
         {"%s: %d %u %x", "%s %ld, %lu, %lx", "100 %% of %s: %d", "%s|%5d|%-6u|%04x", "%.3s|%+d|%o",
          "%s %i %X %c", "%s%d%u%x%%", "%%%s%%", "%s %li", "%s %lX"}) {
        EXPECT_THAT(log_.Write(Text(format), "text", INT_MIN, 4294967295U, 0xBEEF),
                    IsBareCode(Code::Success));
        std::snprintf(expected, sizeof expected, Text(format), "text", INT_MIN, 4294967295U,
                      0xBEEF);
        lines.append(expected).append("\n");
    }
    ASSERT_THAT(log_.Close(), IsBareCode(Code::Success));
    EXPECT_EQ(lines, ReadBytes(path_));
}

TEST_F(LogTest, NullTextReadsAsTheCLibraryHasIt) {
    Open("wb");

    EXPECT_THAT(log_.Write("<%s>", Text(nullptr)), IsBareCode(Code::Success));

    ASSERT_THAT(log_.Close(), IsBareCode(Code::Success));
    EXPECT_EQ("<(null)>\n", ReadBytes(path_));
}

TEST_F(LogTest, NumberIsCutAsTextIs) {
    for (std::size_t length = 500; length < 514; ++length) {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        Open("wb");

        EXPECT_THAT(log_.Write("%s%d", text.c_str(), -12345), IsBareCode(Code::Success));

        ASSERT_THAT(log_.Close(), IsBareCode(Code::Success));
        EXPECT_EQ((text + "-12345").substr(0, 511) + "\n", ReadBytes(path_));
    }
}

TEST_F(LogTest, TextsOfAnyLengthAndPlaceAreWrittenWhole) {
    Open("wb");
    const std::string source(128, 'x');
    std::string lines;
    for (std::size_t start = 0; start < 17; ++start) {
        for (std::size_t length = 1; length < 40; ++length) {
            std::string text = source;
            text[start + length] = '\0';
            EXPECT_THAT(log_.Write("%s", text.c_str() + start), IsBareCode(Code::Success));
            lines.append(length, 'x').append("\n");
        }
    }
    ASSERT_THAT(log_.Close(), IsBareCode(Code::Success));
    EXPECT_EQ(lines, ReadBytes(path_));
}

}  // namespace
}  // namespace QvTests
