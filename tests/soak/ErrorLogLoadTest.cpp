// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The error log under load, on disks and files that refuse, and in a process that is ended.

#include <atomic>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "ImportPatch.h"
#include "KernelObjects.h"
#include "ProgramRun.h"
#include "QvUserLib/ErrorLog.h"
#include "TestScale.h"
#include "TestSupport.h"

namespace QvTests {
namespace {

using testing::AnyOf;

constexpr unsigned int kThreads = 8;
constexpr unsigned int kRecords = 64;

// What thread `aThread` reports as its error `aNumber`, and with which code.
std::string Message(unsigned int aThread, unsigned long aNumber) {
    return "thread " + std::to_string(aThread) + " error " + std::to_string(aNumber) + " end";
}
unsigned long CodeOf(unsigned int aThread, unsigned long aNumber) {
    return 1 + (aThread * 7919 + aNumber) % 200;
}

// A line's message, taken apart and put together again: nothing is missing or doubled.
struct Entry {
    unsigned int thread = 0;
    unsigned long number = 0;

    bool Parse(const std::string& aMessage) {
        return std::sscanf(aMessage.c_str(), "thread %u error %lu", &thread, &number) == 2 &&
               aMessage == Message(thread, number);
    }
    // `Thu Jan 15 12:00:00 1970 [0x12] [0x1c] test(1) ERR  - thread 1 error 2 end`
    bool ParseLine(const std::string& aLine) {
        unsigned long code = 0;
        const std::size_t begin = aLine.find(" test(1) ERR  - ");
        return aLine.size() > 25 && begin != std::string::npos &&
               std::sscanf(aLine.c_str() + 24, " [0x%lx]", &code) == 1 &&
               Parse(aLine.substr(begin + 16)) && code == CodeOf(thread, number);
    }
};

Result Report(ErrorLog& aLog, unsigned int aThread, unsigned long aNumber) {
    return aLog.WriteError(Result(CodeOf(aThread, aNumber)), "test", 1, "thread %u error %lu end",
                           aThread, aNumber);
}

class ErrorLogLoadTest : public testing::Test {
protected:
    // One thread's errors. It asks for each after it has reported it.
    void ReportAll(unsigned int aThread, unsigned long aCount) {
        for (unsigned long number = 0; number < aCount; ++number) {
            const unsigned long before = ++begun_;
            const unsigned long written = Report(log_, aThread, number).GetCode();
            String text;
            const Result last = log_.GetLastError(text);
            const unsigned long meanwhile = begun_ - before;
            Entry entry;
            const bool isWhole = entry.Parse(text.GetAscii()) &&
                                 last.GetCode() == CodeOf(entry.thread, entry.number);
            const bool isOwn = entry.thread == aThread && entry.number == number;
            // The memory holds 64 errors: others may have pushed this one out.
            if (!isWhole || (!isOwn && meanwhile + kThreads < kRecords)) ++strange_;
            if (!isOwn) ++pushedOut_;
            if (written == Code::Success) ++written_;
            if (written != Code::Success && written != Code::NotSet &&
                written != Code::FileNotOpen) {
                ++strange_;
            }
        }
    }

    // Opens one file after the other, until all is reported.
    void OpenAndClose(const std::atomic<bool>& aIsDone, const TemporaryDirectory& aDirectory) {
        while (!aIsDone) {
            files_.push_back(aDirectory.File("errors" + std::to_string(files_.size()) + ".log"));
            if (log_.Open(files_.back().c_str()).IsFailure()) ++strange_;
            // For as long as it takes to write some lines.
            for (const unsigned long until = begun_ + 5000; begun_ < until && !aIsDone;) {
                std::this_thread::yield();
            }
            (void)log_.Close();  // It cannot fail.
        }
    }

    // How many whole lines the file holds, in order for each thread.
    unsigned long CountLines(const std::string& aPath) {
        unsigned long count = 0;
        std::map<unsigned int, unsigned long> latest;
        for (const std::string& line : ReadLines(aPath)) {
            Entry entry;
            EXPECT_TRUE(entry.ParseLine(line)) << line;
            const auto known = latest.find(entry.thread);
            EXPECT_TRUE(known == latest.end() || known->second < entry.number) << line;
            latest[entry.thread] = entry.number;
            ++count;
        }
        return count;
    }

    ErrorLog log_;
    std::atomic<unsigned long> begun_{0};
    std::atomic<unsigned long> written_{0};
    std::atomic<unsigned long> pushedOut_{0};
    std::atomic<unsigned long> strange_{0};
    std::vector<std::string> files_;
};

TEST_F(ErrorLogLoadTest, EightThreadsReportWhileFilesAreOpenedAndClosed) {
    const TemporaryDirectory directory;
    const unsigned long count = Scaled("QVTEST_LOG_ERRORS", 100000);
    std::atomic<bool> isDone{false};
    std::thread opener([&] { OpenAndClose(isDone, directory); });
    std::vector<std::thread> threads;
    for (unsigned int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([this, thread, count] { ReportAll(thread, count); });
    }
    for (std::thread& thread : threads) thread.join();
    isDone = true;
    opener.join();

    EXPECT_EQ(0u, strange_);
    unsigned long lines = 0;
    for (const std::string& file : files_) lines += CountLines(file);
    EXPECT_EQ(written_, lines) << "lines that were reported as written";
    std::printf("%lu errors, %lu lines in %zu files, %lu pushed out of memory at once\n",
                begun_.load(), lines, files_.size(), pushedOut_.load());
}

TEST_F(ErrorLogLoadTest, MemoryHoldsTheLastErrorsInOrder) {
    const TemporaryDirectory directory;
    std::vector<std::thread> threads;
    for (unsigned int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([this, thread] { ReportAll(thread, 2000); });
    }
    for (std::thread& thread : threads) thread.join();
    ASSERT_THAT(log_.Open(directory.File("dump.log").c_str()), IsBareCode(Code::Success));
    ASSERT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));
    ASSERT_THAT(log_.Close(), IsBareCode(Code::Success));

    const std::vector<std::string> lines = ReadLines(directory.File("dump.log"));
    ASSERT_EQ(kRecords, lines.size());
    std::map<unsigned int, unsigned long> next;
    for (const std::string& line : lines) {
        Entry entry;
        ASSERT_TRUE(entry.ParseLine(line)) << line;
        // Newest first, and without a gap for each thread.
        if (next.count(entry.thread) > 0) {
            EXPECT_EQ(next[entry.thread], entry.number + 1) << line;
        }
        next[entry.thread] = entry.number;
    }
}

// Files and disks that refuse

// The log reports the failure, and keeps the errors in memory.
class RefusedLogTest : public testing::Test {
protected:
    void ExpectErrorsAreKept() {
        (void)Report(log_, 1, 2);  // The write may fail.
        String text;
        EXPECT_THAT(log_.GetLastError(text), IsBareCode(CodeOf(1, 2)));
        EXPECT_EQ(Message(1, 2), text.GetAscii());
    }

    // Marks a file as read-only. Wine lets root write to it all the same.
    static bool MakeReadOnly(const std::string& aPath) {
        EXPECT_TRUE(::SetFileAttributesA(aPath.c_str(), FILE_ATTRIBUTE_READONLY));
        return !Handle(::CreateFileA(aPath.c_str(), GENERIC_WRITE,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                     nullptr))
                    .IsValid();
    }

    void ExpectOpenIsRefused(const std::string& aPath) {
        EXPECT_THAT(log_.Open(aPath.c_str()), IsBareCode(Code::CannotOpenFile));
        EXPECT_FALSE(log_.IsOpened());
        EXPECT_THAT(Report(log_, 1, 1), IsBareCode(Code::NotSet));
        ExpectErrorsAreKept();
    }

    TemporaryDirectory directory_;
    const std::string path_ = directory_.File("errors.log");
    ErrorLog log_;
};

TEST_F(RefusedLogTest, ReadOnlyFileIsLeftAsItIs) {
    WriteBytes(path_, "earlier\n");
    if (!MakeReadOnly(path_)) GTEST_SKIP() << "Wine: root may write to read-only files";

    ExpectOpenIsRefused(path_);

    EXPECT_EQ("earlier\n", ReadBytes(path_));
}

TEST_F(RefusedLogTest, PathBeyondTheSystemsLimitIsRefused) {
    ExpectOpenIsRefused(directory_.File(std::string(300, 'e')));
    ExpectOpenIsRefused(directory_.File(std::string(5000, 'e')));
}

TEST_F(RefusedLogTest, FileThatAnotherHasLockedIsLeftAsItIs) {
    WriteBytes(path_, "earlier\n");
    Handle holder(::CreateFileA(path_.c_str(), GENERIC_READ | GENERIC_WRITE, /*dwShareMode=*/0,
                                nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(holder.IsValid());

    ExpectOpenIsRefused(path_);

    holder.Close();
    EXPECT_EQ("earlier\n", ReadBytes(path_));
}

TEST_F(RefusedLogTest, FileThatAnotherLetsOnlyReadIsLeftAsItIsAndBackedUp) {
    WriteBytes(path_, "earlier\n");
    Handle holder(::CreateFileA(path_.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(holder.IsValid());

    ExpectOpenIsRefused(path_);

    holder.Close();
    EXPECT_EQ("earlier\n", ReadBytes(path_));
    EXPECT_EQ("earlier\n", ReadBytes(path_ + ".bak"));
}

TEST_F(RefusedLogTest, FileThatAnotherReadsIsBackedUpFirst) {
    WriteBytes(path_, "earlier\n");
    const Handle holder(::CreateFileA(path_.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(holder.IsValid());

    // Deleted and still held, the name may not be free.
    EXPECT_THAT(log_.Open(path_.c_str()).GetCode(), AnyOf(Code::Success, Code::CannotOpenFile));

    EXPECT_EQ("earlier\n", ReadBytes(path_ + ".bak"));
    ExpectErrorsAreKept();
}

TEST_F(RefusedLogTest, BackupThatCannotBeReplacedStaysAndTheLogStartsAnew) {
    WriteBytes(path_, "earlier\n");
    WriteBytes(path_ + ".bak", "earliest\n");
    if (!MakeReadOnly(path_ + ".bak")) GTEST_SKIP() << "Wine: root may write to read-only files";

    EXPECT_THAT(log_.Open(path_.c_str()), IsBareCode(Code::Success));
    EXPECT_THAT(Report(log_, 1, 1), IsBareCode(Code::Success));
    ExpectErrorsAreKept();
    EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));

    EXPECT_EQ("earliest\n", ReadBytes(path_ + ".bak"));
    EXPECT_EQ(2u, ReadLines(path_).size());
}

TEST_F(RefusedLogTest, LogStartsAnewAlthoughAnotherHoldsTheBackup) {
    WriteBytes(path_, "earlier\n");
    const Handle holder(::CreateFileA((path_ + ".bak").c_str(), GENERIC_READ | GENERIC_WRITE,
                                      /*dwShareMode=*/0, nullptr, CREATE_NEW, 0, nullptr));
    ASSERT_TRUE(holder.IsValid());

    EXPECT_THAT(log_.Open(path_.c_str()), IsBareCode(Code::Success));
    EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));

    EXPECT_EQ("", ReadBytes(path_));
    ExpectErrorsAreKept();
}

// Room on the disk, in bytes, as the C library sees it.
std::size_t theRoom = 0;
std::size_t WriteIntoRoom(const void* aBytes, std::size_t aSize, std::size_t aCount,
                          std::FILE* aFile) {
    const std::size_t count = std::min(aCount, theRoom / aSize);
    theRoom -= count * aSize;
    if (count < aCount) errno = ENOSPC;
    return std::fwrite(aBytes, aSize, count, aFile);
}
int FlushNothing(std::FILE*) {
    errno = ENOSPC;
    return EOF;
}

TEST_F(RefusedLogTest, FullDiskIsReportedForEveryLineUntilThereIsRoom) {
    const ImportPatch write("fwrite", &WriteIntoRoom);
    if (!write.IsActive()) GTEST_SKIP() << "the library is linked into the program";
    ASSERT_THAT(log_.Open(path_.c_str()), IsBareCode(Code::Success));
    theRoom = 10;
    EXPECT_THAT(Report(log_, 1, 1), IsBareCode(Code::ShortWrite));
    EXPECT_THAT(Report(log_, 1, 1), IsBareCode(Code::ShortWrite));
    ExpectErrorsAreKept();

    theRoom = 10000;
    EXPECT_THAT(Report(log_, 1, 3), IsBareCode(Code::Success));
    EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));
    Entry entry;
    EXPECT_TRUE(entry.ParseLine(ReadLines(path_).back())) << "a line of its own";
}

TEST_F(RefusedLogTest, LineThatCannotBeFlushedIsReported) {
    ASSERT_THAT(log_.Open(path_.c_str()), IsBareCode(Code::Success));
    (void)log_.SetAutoFlush(true);  // It was off.
    const ImportPatch flush("fflush", &FlushNothing);
    if (!flush.IsActive()) GTEST_SKIP() << "the library is linked into the program";

    EXPECT_THAT(Report(log_, 1, 1), IsBareCode(Code::ShortWrite));
    ExpectErrorsAreKept();
}

// The end of a process

// Memory that a process and its test share.
class SharedCounter {
public:
    explicit SharedCounter(const std::string& aName)
        : mapping_(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                        sizeof(LONG), aName.c_str())),
          view_(static_cast<volatile LONG*>(
              ::MapViewOfFile(mapping_.Get(), FILE_MAP_WRITE, 0, 0, sizeof(LONG)))) {}
    ~SharedCounter() { ::UnmapViewOfFile(const_cast<LONG*>(view_)); }
    SharedCounter(const SharedCounter&) = delete;
    SharedCounter& operator=(const SharedCounter&) = delete;

    unsigned long Value() const { return static_cast<unsigned long>(*view_); }

private:
    Handle mapping_;
    volatile LONG* view_;
};

TEST(EndedProcessTest, FileHoldsAllLinesThatWereFlushed) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("errors.log");
    const std::string name = "QvErrorLogProbe" + std::to_string(::GetCurrentProcessId());
    const SharedCounter counter(name);
    for (int round = 0; round < 3; ++round) {
        unsigned long next = counter.Value();
        const unsigned long enough = next + 200;
        StartedProgram writer(L"ErrorLogProbe.exe", {path, name});
        while (counter.Value() < enough && writer.IsRunning()) std::this_thread::yield();
        writer.Kill();
        const unsigned long flushed = counter.Value();
        ASSERT_GE(flushed, enough);

        const std::string bytes = ReadBytes(path);
        EXPECT_EQ('\n', bytes.empty() ? '\0' : bytes.back());
        for (const std::string& line : ReadLines(path)) {
            Entry entry;
            ASSERT_TRUE(entry.ParseLine(line)) << line;
            ASSERT_EQ(next++, entry.number);
        }
        EXPECT_GE(next, flushed);
    }
}

}  // namespace
}  // namespace QvTests
