// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/ErrorLog.h"

#include <time.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ImportPatch.h"
#include "QvUserLib/Parameter.h"
#include "SlotCalls.h"
#include "TestSupport.h"
#include "WindowsApi.h"

namespace QvTests {
namespace {

constexpr char kLabel[] = ".\\Source";
constexpr unsigned long kLine = 4711;
constexpr char kPropagation[] = "~Error propagation";

constexpr std::size_t kTimeLength = 24;
constexpr std::size_t kMaxWritten = 511;
constexpr std::size_t kMaxComposed = 1023;

constexpr std::size_t kRingSize = 64;

// How long a test watches an operation that must wait.
constexpr std::chrono::milliseconds kWatch(50);

// Keeps compilers from checking a format that is null or empty on purpose.
const char* Text(const char* aText) { return aText; }

// The parts of a line other than its message.
struct Origin {
    unsigned long code = 0;
    std::string tag = "ERR ";
    std::string file = kLabel;
    unsigned long thread = ::GetCurrentThreadId();
};

// A line without its time.
std::string LineBehindTime(const Origin& aOrigin, const std::string& aMessage) {
    char numbers[64];
    std::snprintf(numbers, sizeof numbers, " [0x%lx] [0x%lx] ", aOrigin.code, aOrigin.thread);
    return numbers + aOrigin.file + "(" + std::to_string(kLine) + ") " + aOrigin.tag + " - " +
           aMessage;
}

// Takes the time off a line and checks its shape. C libraries write the first day of a month as
// ` 1` or as `01`.
std::string WithoutTime(const std::string& aLine) {
    static const std::regex kTime(
        "[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0123]\\d \\d\\d:\\d\\d:\\d\\d \\d{4}");
    EXPECT_TRUE(std::regex_match(aLine.substr(0, kTimeLength), kTime)) << aLine;
    return aLine.substr(std::min(kTimeLength, aLine.size()));
}

std::vector<std::string> WithoutTimes(std::vector<std::string> aLines) {
    for (std::string& line : aLines) line = WithoutTime(line);
    return aLines;
}

using WriteArg = Result (ErrorLog::*)(Result, const char*, unsigned long, const char*, va_list&);

Result Write(ErrorLog& aLog, WriteArg aWrite, const Result& aResult, const char* aFormat, ...) {
    va_list arguments;
    va_start(arguments, aFormat);
    const Result written = (aLog.*aWrite)(aResult, kLabel, kLine, aFormat, arguments);
    va_end(arguments);
    return written;
}

// Runs tasks on a thread of its own, one after another.
class Worker {
public:
    Worker() : thread_([this] { Serve(); }) {}
    ~Worker() {
        Run(nullptr);
        thread_.join();
    }

    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // Returns when the task is done. A null task ends the thread.
    void Run(std::function<void()> aTask) {
        std::unique_lock<std::mutex> lock(mutex_);
        task_ = std::move(aTask);
        isPending_ = true;
        changed_.notify_all();
        changed_.wait(lock, [this] { return !isPending_; });
    }

private:
    void Serve() {
        std::unique_lock<std::mutex> lock(mutex_);
        for (bool goesOn = true; goesOn;) {
            changed_.wait(lock, [this] { return isPending_; });
            goesOn = task_ != nullptr;
            if (goesOn) task_();
            isPending_ = false;
            changed_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::function<void()> task_;  // Guarded by mutex_, as is isPending_.
    bool isPending_ = false;
    std::thread thread_;
};

// A disk that takes some lines and then no more characters.
class FullDisk {
public:
    explicit FullDisk(int aLines) {
        room_ = aLines;
        count_ = 0;
    }
    bool IsActive() const { return patch_.IsActive(); }
    int CountOfWrites() const { return count_; }

private:
    static std::size_t Write(const void* aBytes, std::size_t aSize, std::size_t aCount,
                             std::FILE* aFile) {
        return count_++ < room_ ? std::fwrite(aBytes, aSize, aCount, aFile) : 0;
    }
    inline static int room_ = 0;
    inline static int count_ = 0;
    ImportPatch patch_{"fwrite", &Write};
};

// What a disk can be busy with.
enum class DiskWork { OpenOrWrite, Copy, Delete };

// A disk that stays busy with the first work of one kind until it is let go.
class BusyDisk {
public:
    explicit BusyDisk(DiskWork aWork) : work_(aWork) { active_ = this; }

    bool IsActive() const {
        return open_.IsActive() && write_.IsActive() && copy_.IsActive() && delete_.IsActive();
    }
    void WaitUntilBusy() { busy_.get_future().wait(); }
    void LetGo() { released_.set_value(); }

private:
    static void StayFor(DiskWork aWork) {
        if (active_->work_ != aWork || active_->wasBusy_.exchange(true)) return;
        active_->busy_.set_value();
        active_->released_.get_future().wait();
    }
    static std::size_t Write(const void* aBytes, std::size_t aSize, std::size_t aCount,
                             std::FILE* aFile) {
        StayFor(DiskWork::OpenOrWrite);
        return std::fwrite(aBytes, aSize, aCount, aFile);
    }
    static std::FILE* Open(const char* aPath, const char* aMode) {
        StayFor(DiskWork::OpenOrWrite);
        return std::fopen(aPath, aMode);
    }
    static BOOL WINAPI Copy(const char* aFrom, const char* aTo, BOOL aFailIfExists) {
        StayFor(DiskWork::Copy);
        return ::CopyFileA(aFrom, aTo, aFailIfExists);
    }
    static BOOL WINAPI Delete(const char* aPath) {
        StayFor(DiskWork::Delete);
        return ::DeleteFileA(aPath);
    }

    inline static BusyDisk* active_ = nullptr;

    const DiskWork work_;
    std::promise<void> busy_;
    std::promise<void> released_;
    std::atomic<bool> wasBusy_{false};
    ImportPatch open_{"fopen", &Open};
    ImportPatch write_{"fwrite", &Write};
    ImportPatch copy_{"CopyFileA", &Copy};
    ImportPatch delete_{"DeleteFileA", &Delete};
};

// A clock of the library that stands still.
class FixedClock {
public:
    explicit FixedClock(const FILETIME& aTime) { time_ = aTime; }
    bool IsActive() const { return patch_.IsActive(); }

private:
    static void WINAPI GetTime(FILETIME* aTime) { *aTime = time_; }
    inline static FILETIME time_ = {};
    ImportPatch patch_{"GetSystemTimeAsFileTime", &GetTime};
};

// What the library copies and deletes, in the order of the calls.
class FileCalls {
public:
    FileCalls() { calls_.clear(); }
    ~FileCalls() { calls_.clear(); }

    FileCalls(const FileCalls&) = delete;
    FileCalls& operator=(const FileCalls&) = delete;

    bool IsActive() const { return copy_.IsActive() && delete_.IsActive(); }
    const std::vector<std::string>& Calls() const { return calls_; }

private:
    static BOOL WINAPI Copy(const char* aFrom, const char* aTo, BOOL aFailIfExists) {
        calls_.push_back(std::string("copy ") + aFrom + " " + aTo + " " +
                         std::to_string(aFailIfExists));
        return ::CopyFileA(aFrom, aTo, aFailIfExists);
    }
    static BOOL WINAPI Delete(const char* aPath) {
        calls_.push_back(std::string("delete ") + aPath);
        return ::DeleteFileA(aPath);
    }

    inline static std::vector<std::string> calls_;
    ImportPatch copy_{"CopyFileA", &Copy};
    ImportPatch delete_{"DeleteFileA", &Delete};
};

// Threads that report errors all at once, each error with a message of its own.
class Reporters {
public:
    Reporters(ErrorLog& aLog, int aThreads, int aErrors) : log_(aLog), running_(aThreads) {
        for (int i = 0; i < aThreads; ++i) {
            threads_.emplace_back([this, i, aErrors] { Report(i, aErrors); });
        }
    }

    // Also returns when all errors were reported, even if fewer were written.
    void WaitUntilWritten(int aErrors) const {
        while (written_ < aErrors && running_ > 0) std::this_thread::yield();
    }
    void Join() {
        for (std::thread& thread : threads_) thread.join();
    }
    int Written() const { return written_; }

    // The message in a line, which has to be whole.
    static std::string MessageOf(const std::string& aLine) {
        static const std::regex kWhole(
            " \\[0x5\\] \\[0x[0-9a-f]+\\] \\.\\\\Source\\(4711\\) ERR  - (thread \\d error \\d+) "
            "end");
        const std::string line = WithoutTime(aLine);
        std::smatch match;
        EXPECT_TRUE(std::regex_match(line, match, kWhole)) << aLine;
        return match[1];
    }

private:
    void Report(int aThread, int aErrors) {
        for (int i = 0; i < aErrors; ++i) {
            const Result result =
                log_.WriteError(Result(5), kLabel, kLine, "thread %d error %d end", aThread, i);
            // The file may close between the look at it and the write.
            if (result.GetCode() == Code::FileNotOpen || result.GetCode() == Code::NotSet) continue;
            EXPECT_THAT(result, IsBareCode(Code::Success));
            ++written_;
        }
        --running_;
    }

    ErrorLog& log_;
    std::atomic<int> written_{0};
    std::atomic<int> running_;
    std::vector<std::thread> threads_;
};

class ErrorLogTest : public testing::Test {
protected:
    void Open() { ASSERT_THAT(log_.Open(path_.c_str()), IsBareCode(Code::Success)); }

    // Opens a file that takes no characters.
    void OpenReadOnly() {
        WriteBytes(path_, "");
        ASSERT_THAT(log_.Open(path_.c_str(), "r", 0), IsBareCode(Code::Success));
    }

    // The codes tell the errors apart.
    Result Report(unsigned long aCode, const std::string& aMessage) {
        return log_.WriteError(Result(aCode), kLabel, kLine, "%s", aMessage.c_str());
    }

    // Reports errors with the messages "error FIRST" to "error LAST", and these codes.
    void ReportRange(unsigned long aFirst, unsigned long aLast) {
        for (unsigned long i = aFirst; i <= aLast; ++i) {
            (void)Report(i, "error " + std::to_string(i));  // It fails when no file is open.
        }
    }

    // The calling thread's last error as "CODE: MESSAGE".
    std::string LastError() {
        String text("not set");
        const Result result = log_.GetLastError(text);
        return std::to_string(result.GetCode()) + ": " + text.GetAscii();
    }

    std::vector<std::string> CloseAndRead() {
        (void)log_.Close();  // It cannot fail.
        return ReadLines(path_);
    }

    // Whether another thread's operation waits while this work keeps the disk busy.
    static bool IsHeldBackBy(const std::function<void()>& aWork,
                             const std::function<void()>& aOperation,
                             DiskWork aDiskWork = DiskWork::OpenOrWrite) {
        BusyDisk disk(aDiskWork);
        EXPECT_TRUE(disk.IsActive());
        std::thread worker(aWork);
        disk.WaitUntilBusy();
        const std::future<void> other = std::async(std::launch::async, aOperation);
        const bool isHeldBack = other.wait_for(kWatch) == std::future_status::timeout;
        disk.LetGo();
        worker.join();
        other.wait();
        return isHeldBack;
    }

    // Operations of another thread wait while Open keeps the disk busy with this work.
    void ExpectOpenHoldsOthersBack(DiskWork aWork) {
        const std::function<void()> operations[] = {
            [this] { (void)log_.Close(); },          // It cannot fail.
            [this] { (void)Report(6, "another"); },  // Only its return matters, here and below.
            [this] { (void)LastError(); },
        };
        for (std::size_t i = 0; i < std::size(operations); ++i) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(aWork) << ' ' << i);
            EXPECT_TRUE(IsHeldBackBy([this] { Open(); }, operations[i], aWork));
            (void)log_.Close();  // It cannot fail.
        }
    }

    // Writes a message, and returns the line that the file then holds.
    std::string WrittenLine(const std::string& aMessage) {
        Open();
        EXPECT_THAT(Report(5, aMessage), IsBareCode(Code::Success));
        const std::vector<std::string> lines = CloseAndRead();
        EXPECT_EQ(1u, lines.size());
        return lines.empty() ? "" : lines.front();
    }

    TemporaryDirectory directory_;
    const std::string path_ = directory_.File("errors.log");
    const std::string backup_ = path_ + ".bak";
    ErrorLog log_;
};

// Opening and closing

TEST_F(ErrorLogTest, StartsClosedAndWithoutErrors) {
    EXPECT_FALSE(log_.IsOpened());
    EXPECT_EQ("0: ", LastError());
}

TEST_F(ErrorLogTest, OpenStartsAnEmptyFileWithoutABackup) {
    EXPECT_THAT(log_.Open(path_.c_str()), IsBareCode(Code::Success));

    EXPECT_TRUE(log_.IsOpened());
    EXPECT_EQ("", ReadBytes(path_));
    EXPECT_FALSE(FileExists(backup_));
}

TEST_F(ErrorLogTest, OpenKeepsTheEarlierFileAsBackup) {
    const std::string earlier("first\r\nline\n\x1A\0end", 17);
    WriteBytes(path_, earlier);

    EXPECT_THAT(log_.Open(path_.c_str()), IsBareCode(Code::Success));

    EXPECT_EQ("", ReadBytes(path_));
    EXPECT_EQ(earlier, ReadBytes(backup_));
}

TEST_F(ErrorLogTest, OpenCopiesTheEarlierFileAndThenDeletesIt) {
    const FileCalls files;
    ASSERT_TRUE(files.IsActive());

    Open();

    EXPECT_THAT(files.Calls(),
                testing::ElementsAre("copy " + path_ + " " + backup_ + " 0", "delete " + path_));
}

TEST_F(ErrorLogTest, OwnOpenTranslatesLineEnds) {
    Open();
    EXPECT_THAT(Report(5, "line"), IsBareCode(Code::Success));
    (void)log_.Close();  // It cannot fail.

    EXPECT_THAT(ReadBytes(path_), testing::EndsWith("line\r\n"));
}

TEST_F(ErrorLogTest, EveryOpeningReplacesTheBackup) {
    for (const unsigned long code : {1ul, 2ul, 3ul}) {
        Open();
        EXPECT_THAT(Report(code, "line"), IsBareCode(Code::Success));
        EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));
    }

    EXPECT_EQ(LineBehindTime({3}, "line"), WithoutTime(ReadLines(path_).at(0)));
    EXPECT_EQ(LineBehindTime({2}, "line"), WithoutTime(ReadLines(backup_).at(0)));
    EXPECT_EQ(1u, ReadLines(backup_).size());
}

TEST_F(ErrorLogTest, SecondOpenIsRefusedAndChangesNothing) {
    Open();
    EXPECT_THAT(Report(5, "before"), IsBareCode(Code::Success));
    const std::string other = directory_.File("other.log");

    EXPECT_THAT(log_.Open(path_.c_str()), IsBareCode(Code::AlreadyOpen));
    EXPECT_THAT(log_.Open(other.c_str()), IsBareCode(Code::AlreadyOpen));
    EXPECT_THAT(log_.Open(nullptr), IsBareCode(Code::AlreadyOpen));

    EXPECT_FALSE(FileExists(backup_));
    EXPECT_FALSE(FileExists(other));
    EXPECT_THAT(Report(5, "after"), IsBareCode(Code::Success));
    EXPECT_EQ(2u, CloseAndRead().size());
}

TEST_F(ErrorLogTest, FileThatCannotBeOpenedIsReported) {
    const std::string missing = directory_.File("missing\\errors.log");
    for (const char* const path : {Text(nullptr), "", directory_.Path().c_str(), missing.c_str()}) {
        SCOPED_TRACE(path != nullptr ? path : "null");
        EXPECT_THAT(log_.Open(path), IsBareCode(Code::CannotOpenFile));
        EXPECT_FALSE(log_.IsOpened());
    }
}

TEST_F(ErrorLogTest, OpenGoesOnWithoutABackupThatCannotBeMade) {
    WriteBytes(path_, "earlier\n");
    ASSERT_TRUE(::CreateDirectoryA(backup_.c_str(), nullptr));

    EXPECT_THAT(log_.Open(path_.c_str()), IsBareCode(Code::Success));

    EXPECT_EQ("", ReadBytes(path_));
    EXPECT_TRUE(::RemoveDirectoryA(backup_.c_str()));
}

TEST_F(ErrorLogTest, OpenStartsAnewAlsoWhenTheEarlierFileCannotBeDeleted) {
    WriteBytes(path_, "earlier\n");
    const HANDLE hold =
        ::CreateFileA(path_.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                      OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, hold);

    EXPECT_THAT(log_.Open(path_.c_str()), IsBareCode(Code::Success));

    EXPECT_EQ("", ReadBytes(path_));
    EXPECT_EQ("earlier\n", ReadBytes(backup_));
    ::CloseHandle(hold);
}

TEST_F(ErrorLogTest, BackupNameIsCutTo259Characters) {
    const std::size_t nameLength = 256 - directory_.File("").size();
    const std::string path = directory_.File(std::string(nameLength, 'e'));
    ASSERT_EQ(256u, path.size());
    WriteBytes(path, "earlier\n");

    EXPECT_THAT(log_.Open(path.c_str()), IsBareCode(Code::Success));

    EXPECT_EQ("earlier\n", ReadBytes(path + ".ba"));
    EXPECT_FALSE(FileExists(path + ".bak"));
}

TEST_F(ErrorLogTest, PathOfTheSystemsLimitOpensWithoutABackup) {
    const std::size_t nameLength = 259 - directory_.File("").size();
    const std::string path = directory_.File(std::string(nameLength, 'e'));
    WriteBytes(path, "earlier\n");

    EXPECT_THAT(log_.Open(path.c_str()), IsBareCode(Code::Success));

    EXPECT_EQ("", ReadBytes(path));
}

TEST_F(ErrorLogTest, CloseSucceedsAndKeepsTheErrors) {
    EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));
    Open();
    EXPECT_THAT(Report(5, "kept"), IsBareCode(Code::Success));

    EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));
    EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));

    EXPECT_FALSE(log_.IsOpened());
    EXPECT_EQ("5: kept", LastError());
}

TEST_F(ErrorLogTest, DestructorClosesTheFile) {
    auto log = std::make_unique<ErrorLog>();
    ASSERT_THAT(log->Open(path_.c_str()), IsBareCode(Code::Success));
    EXPECT_THAT(log->WriteError(Result(5), kLabel, kLine, "line"), IsBareCode(Code::Success));

    log.reset();

    EXPECT_EQ(1u, ReadLines(path_).size());
    EXPECT_TRUE(::DeleteFileA(path_.c_str())) << "the file is still open";
}

TEST_F(ErrorLogTest, InheritedOpenAppendsAndMakesNoBackup) {
    WriteBytes(path_, "earlier\n");

    EXPECT_THAT(log_.Open(path_.c_str(), "a", 0), IsBareCode(Code::Success));
    EXPECT_THAT(Report(5, "line"), IsBareCode(Code::Success));

    EXPECT_EQ(2u, CloseAndRead().size());
    EXPECT_FALSE(FileExists(backup_));
}

TEST_F(ErrorLogTest, InheritedWriteWritesPlainLines) {
    Open();

    EXPECT_THAT(log_.Write("plain %d", 5), IsBareCode(Code::Success));

    EXPECT_EQ(std::vector<std::string>{"plain 5"}, CloseAndRead());
    EXPECT_EQ("0: ", LastError());
}

TEST_F(ErrorLogTest, AutoFlushShowsErrorsAtOnce) {
    (void)log_.SetAutoFlush(true);  // Its old value is known.
    Open();

    EXPECT_THAT(Report(5, "line"), IsBareCode(Code::Success));

    EXPECT_EQ(1u, ReadLines(path_).size());
}

// Lines

TEST_F(ErrorLogTest, LinesShowCodeThreadFileLineTagAndMessage) {
    Open();
    EXPECT_THAT(log_.WriteError(Result(0x1C), kLabel, kLine, "%s %d", "first", 1),
                IsBareCode(Code::Success));
    EXPECT_THAT(Write(log_, &ErrorLog::WriteErrorArg, Result(0x1D), "%s %d", "second", 2),
                IsBareCode(Code::Success));
    EXPECT_THAT(log_.WriteInfo(Result(0), kLabel, kLine, "%s %d", "third", 3),
                IsBareCode(Code::Success));
    EXPECT_THAT(Write(log_, &ErrorLog::WriteInfoArg, Result(0x12), "%s %d", "fourth", 4),
                IsBareCode(Code::Success));

    EXPECT_THAT(
        WithoutTimes(CloseAndRead()),
        testing::ElementsAre(LineBehindTime({0x1C}, "first 1"), LineBehindTime({0x1D}, "second 2"),
                             LineBehindTime({0, "INFO"}, "third 3"),
                             LineBehindTime({0x12, "INFO"}, "fourth 4")));
}

TEST_F(ErrorLogTest, LineReadsAsDocumented) {
    const std::string line = WrittenLine("message");

    char expected[128];
    std::snprintf(expected, sizeof expected, " [0x5] [0x%lx] .\\Source(4711) ERR  - message",
                  ::GetCurrentThreadId());
    EXPECT_EQ(expected, line.substr(kTimeLength));
}

// The log asks for the time once in a tick of the system.
void AwaitNextTick() {
    const ULONGLONG now = ::GetTickCount64();
    while (::GetTickCount64() == now) ::SwitchToThread();
}

TEST_F(ErrorLogTest, LinesStartWithTheTimeOfTheirWriting) {
    AwaitNextTick();
    const time_t before = time(nullptr);
    const std::string line = WrittenLine("message");
    const time_t after = time(nullptr);

    // A new second may have begun during the write.
    std::vector<std::string> expected;
    for (time_t now = before; now <= after; ++now) {
        expected.push_back(std::string(asctime(localtime(&now)), kTimeLength));
    }
    EXPECT_THAT(expected, testing::Contains(line.substr(0, kTimeLength)));
}

TEST_F(ErrorLogTest, TimeFollowsTheClockWithItsNextTick) {
    const std::string earlier = WrittenLine("before");
    // Some day in the year 2600, whatever the time zone.
    const FixedClock clock({0, 0x04610000});
    ASSERT_TRUE(clock.IsActive());
    AwaitNextTick();

    const std::string later = WrittenLine("after");

    EXPECT_NE(earlier.substr(20, 4), later.substr(20, 4));
    EXPECT_EQ("2600", later.substr(20, 4));
}

TEST_F(ErrorLogTest, TimeTakesTwentyFourCharactersOnADayBelowTen) {
    // Noon of 5 December 2026, UTC: a day below ten in every time zone.
    const FixedClock clock({0x27556000, 0x01dd84b0});
    ASSERT_TRUE(clock.IsActive());
    AwaitNextTick();

    EXPECT_EQ(LineBehindTime({5}, "message"), WithoutTime(WrittenLine("message")));
}

TEST_F(ErrorLogTest, LinesShowTheLowBitsOfTheCode) {
    const struct {
        unsigned long code;
        unsigned long shown;
    } cases[] = {
        {0, 0},           {1, 1},          {259, 0xFFFF},    {0x103, 0xFFFF},   {0x605, 0x605},
        {0xFFFF, 0xFFFF}, {0x10000, 0},    {0x10103, 0x103}, {0x12345, 0x2345}, {258, 0x102},
        {260, 0x104},     {0x80070005, 5},
    };
    Open();
    for (const auto& entry : cases) {
        EXPECT_THAT(Report(entry.code, "line"), IsBareCode(Code::Success));
    }

    const std::vector<std::string> lines = CloseAndRead();
    ASSERT_EQ(std::size(cases), lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        SCOPED_TRACE(cases[i].code);
        EXPECT_EQ(LineBehindTime({cases[i].shown}, "line"), WithoutTime(lines[i]));
    }
}

TEST_F(ErrorLogTest, LinesShowTheReportingThread) {
    Worker other;
    unsigned long thread = 0;
    Open();

    other.Run([&] {
        thread = ::GetCurrentThreadId();
        EXPECT_THAT(Report(5, "line"), IsBareCode(Code::Success));
    });

    ASSERT_NE(::GetCurrentThreadId(), thread);
    EXPECT_EQ(LineBehindTime({5, "ERR ", kLabel, thread}, "line"),
              WithoutTime(CloseAndRead().at(0)));
}

TEST_F(ErrorLogTest, NullFileReadsAsEmpty) {
    Open();

    EXPECT_THAT(log_.WriteError(Result(5), nullptr, kLine, "line"), IsBareCode(Code::Success));
    EXPECT_THAT(log_.WriteInfo(Result(5), nullptr, kLine, "line"), IsBareCode(Code::Success));
    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));

    const std::string error = LineBehindTime({5, "ERR ", ""}, "line");
    EXPECT_THAT(WithoutTimes(CloseAndRead()),
                testing::ElementsAre(error, LineBehindTime({5, "INFO", ""}, "line"), error));
}

TEST_F(ErrorLogTest, PercentSignsAreExpandedTwice) {
    const struct {
        const char* message;
        const char* written;
    } cases[] = {{"%%", "%"},
                 {"50%% done", "50% done"},
                 {"50% done", "50% done"},
                 {"%%%%", "%%"},
                 {"%%%", "%%"},
                 {"%", "%"},
                 {"at the end %", "at the end %"},
                 {"%n", "%n"},
                 {"%s", "%s"},
                 {"%hhn %lln %*.*s", "%hhn %lln %*.*s"},
                 {"%d of %5.3f", "%d of %5.3f"},
                 {"%%s %%n", "%s %n"},
                 {"%%%s", "%%s"},
                 {"%d%%", "%d%"}};
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.message);
        EXPECT_EQ(LineBehindTime({5}, entry.written), WithoutTime(WrittenLine(entry.message)));
        EXPECT_EQ(std::string("5: ") + entry.message, LastError());
    }
}

TEST_F(ErrorLogTest, PercentSignOfTheFormatIsExpandedTwice) {
    Open();

    EXPECT_THAT(log_.WriteError(Result(5), kLabel, kLine, "%d%% and %d%%%%", 5, 6),
                IsBareCode(Code::Success));

    EXPECT_EQ("5: 5% and 6%%", LastError());
    EXPECT_EQ(LineBehindTime({5}, "5% and 6%"), WithoutTime(CloseAndRead().at(0)));
}

TEST_F(ErrorLogTest, PercentSignsInInformationAndFileAreExpandedTwiceToo) {
    Open();

    EXPECT_THAT(log_.WriteInfo(Result(5), "%n%%", kLine, "%s", "%s 50%%"),
                IsBareCode(Code::Success));

    EXPECT_EQ(LineBehindTime({5, "INFO", "%n%"}, "%s 50%"), WithoutTime(CloseAndRead().at(0)));
}

TEST_F(ErrorLogTest, WrittenLineIsCutAfter511Characters) {
    const std::size_t room = kMaxWritten - kTimeLength - LineBehindTime({5}, "").size();
    for (const std::size_t length : {room - 1, room, room + 1, std::size_t{900}}) {
        SCOPED_TRACE(length);
        const std::string message = std::string(length - 1, 'x') + "y";
        EXPECT_EQ(LineBehindTime({5}, message.substr(0, room)), WithoutTime(WrittenLine(message)));
        EXPECT_EQ("5: " + message, LastError());
    }
}

TEST_F(ErrorLogTest, LineIsCutAfterItsPercentSignsWereExpanded) {
    std::string doubled;
    for (int i = 0; i < 400; ++i) doubled += "%%";

    EXPECT_EQ(LineBehindTime({5}, std::string(400, '%')), WithoutTime(WrittenLine(doubled)));
}

TEST_F(ErrorLogTest, PercentSignAtTheCutIsWrittenOrLeftWhole) {
    const std::size_t room = kMaxWritten - kTimeLength - LineBehindTime({5}, "").size();
    for (const std::size_t length : {room - 1, room, room + 1}) {
        SCOPED_TRACE(length);
        const std::string plain(length - 1, 'x');
        EXPECT_EQ(LineBehindTime({5}, (plain + "%y").substr(0, room)),
                  WithoutTime(WrittenLine(plain + "%%y")));
    }
}

TEST_F(ErrorLogTest, ComposedLineIsCutAfter1023Characters) {
    const std::size_t room = kMaxComposed - kTimeLength - LineBehindTime({5}, "").size();
    for (const std::size_t length : {room - 1, room, room + 1, std::size_t{5000}}) {
        SCOPED_TRACE(length);
        const std::string message = std::string(length - 1, 'x') + "y";
        (void)WrittenLine(message);  // The line in the file is cut once more.
        EXPECT_EQ("5: " + message.substr(0, room), LastError());
    }
}

TEST_F(ErrorLogTest, MessageWithoutFileIsCutAfter1023Characters) {
    for (const std::size_t length : {1022, 1023, 1024, 5000}) {
        SCOPED_TRACE(length);
        const std::string message = std::string(length - 1, 'x') + "y";
        EXPECT_THAT(Report(5, message), IsBareCode(Code::NotSet));
        EXPECT_EQ("5: " + message.substr(0, kMaxComposed), LastError());
    }
}

TEST_F(ErrorLogTest, MessageOfAnyConversionIsCutAfter1023Characters) {
    for (const int width : {1022, 1023, 1024, 5000}) {
        SCOPED_TRACE(width);
        EXPECT_THAT(log_.WriteError(Result(5), kLabel, kLine, "%*d", width, 7),
                    IsBareCode(Code::NotSet));
        EXPECT_EQ("5: " + (std::string(width - 1, ' ') + "7").substr(0, kMaxComposed), LastError());
    }
}

TEST_F(ErrorLogTest, MessageWithoutArgumentsIsCutAfter1023Characters) {
    for (const int length : {1022, 1023, 1024, 5000}) {
        SCOPED_TRACE(length);
        const std::string message = std::string(length - 1, 'x') + "y";
        va_list none = nullptr;
        EXPECT_THAT(log_.WriteErrorArg(Result(5), kLabel, kLine, message.c_str(), none),
                    IsBareCode(Code::NotSet));
        EXPECT_EQ("5: " + message.substr(0, kMaxComposed), LastError());
    }
}

TEST_F(ErrorLogTest, LongFileLeavesLessRoomForTheMessage) {
    const std::string file(900, 'f');
    Open();

    EXPECT_THAT(
        log_.WriteError(Result(5), file.c_str(), kLine, "%s", std::string(200, 'x').c_str()),
        IsBareCode(Code::Success));

    const std::string line = LineBehindTime({5, "ERR ", file}, "");
    const std::size_t room = kMaxComposed - kTimeLength - line.size();
    EXPECT_EQ("5: " + std::string(room, 'x'), LastError());
    EXPECT_EQ(line.substr(0, kMaxWritten - kTimeLength), WithoutTime(CloseAndRead().at(0)));
}

TEST_F(ErrorLogTest, FileThatFillsTheLineLeavesNoMessage) {
    const std::string file(2000, 'f');
    Open();
    EXPECT_THAT(log_.WriteError(Result(5), file.c_str(), kLine, "message"),
                IsBareCode(Code::Success));
    EXPECT_EQ("5: ", LastError());
    EXPECT_THAT(log_.WriteInfo(Result(5), file.c_str(), kLine, "message"),
                IsBareCode(Code::Success));

    for (const std::string& line : CloseAndRead()) {
        EXPECT_EQ(LineBehindTime({5, "", file}, "").substr(0, kMaxWritten - kTimeLength),
                  WithoutTime(line));
    }
}

TEST_F(ErrorLogTest, LongFileOfAnErrorInMemoryIsDumpedSafely) {
    const std::string file(2000, 'f');
    EXPECT_THAT(log_.WriteError(Result(5), file.c_str(), kLine, "message"),
                IsBareCode(Code::NotSet));
    EXPECT_EQ("5: message", LastError());
    Open();

    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));

    EXPECT_EQ(LineBehindTime({5, "", file}, "").substr(0, kMaxWritten - kTimeLength),
              WithoutTime(CloseAndRead().at(0)));
}

// What the writers report

TEST_F(ErrorLogTest, NullOrEmptyFormatRecordsAndWritesNothing) {
    for (const bool isOpen : {false, true}) {
        if (isOpen) Open();
        for (const char* const format : {Text(nullptr), Text("")}) {
            EXPECT_THAT(log_.WriteError(Result(5), kLabel, kLine, format),
                        IsBareCode(Code::Success));
            EXPECT_THAT(Write(log_, &ErrorLog::WriteErrorArg, Result(5), format),
                        IsBareCode(Code::Success));
            EXPECT_THAT(log_.WriteInfo(Result(5), kLabel, kLine, format),
                        IsBareCode(Code::Success));
            EXPECT_THAT(Write(log_, &ErrorLog::WriteInfoArg, Result(5), format),
                        IsBareCode(Code::Success));
        }
    }
    EXPECT_EQ("0: ", LastError());
    EXPECT_TRUE(CloseAndRead().empty());
}

TEST_F(ErrorLogTest, MessageWithoutArgumentsStandsAsItIs) {
    char* none = nullptr;
    EXPECT_THAT(log_.WriteErrorArg(Result(5), kLabel, kLine, Text("%s 50%%"), none),
                IsBareCode(Code::NotSet));
    EXPECT_EQ("5: %s 50%%", LastError());

    Open();
    EXPECT_THAT(log_.WriteErrorArg(Result(6), kLabel, kLine, Text("%n 60%%"), none),
                IsBareCode(Code::Success));
    EXPECT_THAT(log_.WriteInfoArg(Result(7), kLabel, kLine, Text("%d 70%%"), none),
                IsBareCode(Code::Success));

    EXPECT_EQ("6: %n 60%%", LastError());
    // The file's line is expanded once more.
    EXPECT_THAT(
        WithoutTimes(CloseAndRead()),
        testing::ElementsAre(LineBehindTime({6}, "%n 60%"), LineBehindTime({7, "INFO"}, "%d 70%")));
}

TEST_F(ErrorLogTest, ErrorWithoutFileIsRecordedAndSaysNotSet) {
    EXPECT_THAT(log_.WriteError(Result(0x1C), kLabel, kLine, "%s %d", "first", 1),
                IsBareCode(Code::NotSet));
    EXPECT_EQ("28: first 1", LastError());

    EXPECT_THAT(Write(log_, &ErrorLog::WriteErrorArg, Result(0x1D), "%s %d", "second", 2),
                IsBareCode(Code::NotSet));
    EXPECT_EQ("29: second 2", LastError());
}

TEST_F(ErrorLogTest, ErrorWithFileIsRecordedWithItsMessageOnly) {
    Open();

    EXPECT_THAT(Report(0x1C, "message"), IsBareCode(Code::Success));

    EXPECT_EQ("28: message", LastError());
}

TEST_F(ErrorLogTest, ErrorThatCannotBeWrittenIsStillRecorded) {
    OpenReadOnly();

    EXPECT_THAT(Report(0x1C, "message"), IsBareCode(Code::ShortWrite));

    EXPECT_EQ("28: message", LastError());
}

TEST_F(ErrorLogTest, InformationWithoutFileIsDropped) {
    EXPECT_THAT(log_.WriteInfo(Result(5), kLabel, kLine, "line"), IsBareCode(Code::Success));
    EXPECT_THAT(Write(log_, &ErrorLog::WriteInfoArg, Result(5), "line"),
                IsBareCode(Code::FileNotOpen));
}

TEST_F(ErrorLogTest, InformationThatCannotBeWrittenIsReported) {
    OpenReadOnly();

    EXPECT_THAT(log_.WriteInfo(Result(5), kLabel, kLine, "line"), IsBareCode(Code::ShortWrite));
    EXPECT_THAT(Write(log_, &ErrorLog::WriteInfoArg, Result(5), "line"),
                IsBareCode(Code::ShortWrite));
}

TEST_F(ErrorLogTest, InformationIsNotAnError) {
    Open();

    EXPECT_THAT(log_.WriteInfo(Result(5), kLabel, kLine, "line"), IsBareCode(Code::Success));
    EXPECT_THAT(Write(log_, &ErrorLog::WriteInfoArg, Result(5), "line"), IsBareCode(Code::Success));

    EXPECT_EQ("0: ", LastError());
    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));
    EXPECT_EQ(2u, CloseAndRead().size());
}

// The last error

TEST_F(ErrorLogTest, LastErrorIsTheNewestOfTheCallingThread) {
    Worker other;
    ReportRange(1, 3);
    other.Run([this] { ReportRange(10, 12); });

    EXPECT_EQ("3: error 3", LastError());
    other.Run([this] { EXPECT_EQ("12: error 12", LastError()); });
}

TEST_F(ErrorLogTest, LastErrorReplacesTheTextItIsGiven) {
    (void)Report(5, "message");  // No file is open.
    String text(L"earlier");

    EXPECT_THAT(log_.GetLastError(text), IsBareCode(5));
    EXPECT_STREQ("message", text.GetAscii());
}

TEST_F(ErrorLogTest, LastErrorIsTheWholeResultThatWasReported) {
    Result reported(5);
    reported.SetDescription("a description");
    (void)log_.WriteError(reported, kLabel, kLine, "message");  // No file is open.

    String text;
    const Result last = log_.GetLastError(text);

    EXPECT_EQ(5u, last.GetCode());
    EXPECT_STREQ("a description", last.GetDescription());
}

TEST_F(ErrorLogTest, LastErrorPassesOverPropagationMarks) {
    ReportRange(1, 2);
    (void)Report(3, kPropagation);  // No file is open.
    (void)Report(4, kPropagation);

    EXPECT_EQ("2: error 2", LastError());
}

TEST_F(ErrorLogTest, OldestPropagationMarkIsReturnedWhenThereIsNothingElse) {
    Worker other;
    other.Run([this] { ReportRange(10, 11); });
    (void)Report(3, kPropagation);  // No file is open.
    (void)Report(4, kPropagation);
    other.Run([this] { ReportRange(12, 13); });
    (void)Report(5, kPropagation);

    EXPECT_EQ("3: ~Error propagation", LastError());
}

TEST_F(ErrorLogTest, OnlyTheExactTextIsAPropagationMark) {
    for (const char* const text :
         {"~Error propagation ", " ~Error propagation", "~error propagation", "~Error propagatio",
          "Error propagation", "~Error propagation: Gain"}) {
        ReportRange(1, 1);
        (void)Report(2, text);  // No file is open.
        EXPECT_EQ(std::string("2: ") + text, LastError());
    }
}

TEST_F(ErrorLogTest, ThreadWithoutErrorsGetsTheNewestOfAnyThread) {
    Worker first;
    Worker second;
    first.Run([this] { ReportRange(1, 1); });
    second.Run([this] { ReportRange(2, 2); });
    EXPECT_EQ("2: error 2", LastError());

    first.Run([this] { (void)Report(3, kPropagation); });
    EXPECT_EQ("3: ~Error propagation", LastError());
}

TEST_F(ErrorLogTest, ErrorIsGoneAfter64More) {
    Worker other;
    other.Run([this] { ReportRange(1000, 1000); });
    ReportRange(1, kRingSize - 1);
    other.Run([this] { EXPECT_EQ("1000: error 1000", LastError()); });

    ReportRange(kRingSize, kRingSize);

    other.Run([this] { EXPECT_EQ("64: error 64", LastError()); });
}

TEST_F(ErrorLogTest, LastErrorIsFoundAtEveryPlaceOfTheRing) {
    Worker other;
    for (unsigned long i = 1; i <= 2 * kRingSize + 1; ++i) {
        ReportRange(i, i);
        other.Run([this, i] { ReportRange(1000 + i, 1000 + i); });
        ASSERT_EQ(std::to_string(i) + ": error " + std::to_string(i), LastError());
    }
}

TEST_F(ErrorLogTest, EmptyMessageIsAnError) {
    ReportRange(1, 1);
    (void)Report(2, "");  // No file is open.

    EXPECT_EQ("2: ", LastError());
}

// The dump

TEST_F(ErrorLogTest, DumpWithoutFileOrErrorsDoesNothing) {
    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));
    ReportRange(1, 1);
    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));

    ErrorLog empty;
    ASSERT_THAT(empty.Open(path_.c_str()), IsBareCode(Code::Success));
    EXPECT_THAT(empty.DumpLastError(), IsBareCode(Code::Success));
    EXPECT_EQ("", ReadBytes(path_));
}

TEST_F(ErrorLogTest, DumpWritesTheErrorsNewestFirst) {
    ReportRange(1, 3);
    Open();

    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));

    EXPECT_THAT(WithoutTimes(CloseAndRead()),
                testing::ElementsAre(LineBehindTime({3}, "error 3"), LineBehindTime({2}, "error 2"),
                                     LineBehindTime({1}, "error 1")));
}

// The pieces of a line are copied in different ways, depending on their length.
TEST_F(ErrorLogTest, DumpHoldsMessagesAndFilesOfEveryLength) {
    constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    const auto textOf = [&](std::size_t aLength) {
        std::string text;
        while (text.size() < aLength) text += kLetters;
        return text.substr(0, aLength);
    };
    for (const std::size_t longest : {64, 100}) {
        std::vector<std::string> lines;
        for (std::size_t length = longest - 63; length <= longest; ++length) {
            const std::string text = textOf(length);
            (void)log_.WriteError(Result(5), text.c_str(), kLine, "%s", text.c_str());
            lines.insert(lines.begin(), LineBehindTime({5, "ERR ", text}, text));
        }
        Open();
        EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));
        EXPECT_EQ(lines, WithoutTimes(CloseAndRead()));
    }
}

TEST_F(ErrorLogTest, DumpWritesTheSixtyFourNewestErrors) {
    ReportRange(1, kRingSize + 1);
    Open();

    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));

    const std::vector<std::string> lines = CloseAndRead();
    ASSERT_EQ(kRingSize, lines.size());
    for (std::size_t i = 0; i < kRingSize; ++i) {
        const auto code = static_cast<unsigned long>(kRingSize + 1 - i);
        EXPECT_EQ(LineBehindTime({code}, "error " + std::to_string(code)), WithoutTime(lines[i]));
    }
}

TEST_F(ErrorLogTest, DumpShowsTheThreadThatReported) {
    Worker other;
    unsigned long thread = 0;
    other.Run([&] {
        thread = ::GetCurrentThreadId();
        ReportRange(5, 5);
    });
    Open();

    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));

    EXPECT_EQ(LineBehindTime({5, "ERR ", kLabel, thread}, "error 5"),
              WithoutTime(CloseAndRead().at(0)));
}

TEST_F(ErrorLogTest, DumpShowsCodesAsTheWritersDo) {
    for (const unsigned long code : {0ul, 259ul, 0x12345ul}) {
        (void)Report(code, "line");  // No file is open.
    }
    Open();

    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));

    EXPECT_THAT(WithoutTimes(CloseAndRead()), testing::ElementsAre(LineBehindTime({0x2345}, "line"),
                                                                   LineBehindTime({0xFFFF}, "line"),
                                                                   LineBehindTime({0}, "line")));
}

TEST_F(ErrorLogTest, DumpExpandsNothingButDoubledPercentSigns) {
    (void)Report(5, "%s %n 50%% of 7%");  // No file is open.
    Open();

    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));

    EXPECT_EQ(LineBehindTime({5}, "%s %n 50% of 7%"), WithoutTime(CloseAndRead().at(0)));
}

TEST_F(ErrorLogTest, DumpPassesOverEmptyMessages) {
    ReportRange(1, 1);
    (void)Report(2, "");  // No file is open.
    ReportRange(3, 3);
    Open();

    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));

    EXPECT_THAT(WithoutTimes(CloseAndRead()), testing::ElementsAre(LineBehindTime({3}, "error 3"),
                                                                   LineBehindTime({1}, "error 1")));
}

TEST_F(ErrorLogTest, DumpIsNoErrorItself) {
    ReportRange(1, 2);
    Open();

    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));
    EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::Success));

    EXPECT_EQ("2: error 2", LastError());
    EXPECT_EQ(4u, CloseAndRead().size());
}

TEST_F(ErrorLogTest, DumpStopsAtAFailedWriteAndReportsIt) {
    ReportRange(1, 5);
    Open();
    {
        const FullDisk disk(/*aLines=*/2);
        ASSERT_TRUE(disk.IsActive());
        EXPECT_THAT(log_.DumpLastError(), IsBareCode(Code::ShortWrite));
        EXPECT_EQ(3, disk.CountOfWrites());
    }
    EXPECT_THAT(CloseAndRead(), testing::ElementsAre(testing::EndsWith("error 5"),
                                                     testing::EndsWith("error 4"), ""));
}

// The process-wide log

TEST_F(ErrorLogTest, ProcessHasOneErrorLogWhichStartsClosed) {
    EXPECT_EQ(&ErrorLog::GetErrorLog(), &ErrorLog::GetErrorLog());
    EXPECT_FALSE(ErrorLog::GetErrorLog().IsOpened());
}

TEST_F(ErrorLogTest, LibraryReportsItsFailuresToTheProcessWideLog) {
    QvUserLib::Parameter gain(String("Gain"), 1);
    gain.InitInteger(/*aValue=*/5, /*aMin=*/0, /*aMax=*/10);
    ErrorLog& processLog = ErrorLog::GetErrorLog();
    ASSERT_THAT(processLog.Open(path_.c_str()), IsBareCode(Code::Success));

    EXPECT_THAT(gain.SetInt(11), IsBareCode(Code::InvalidArgument));
    EXPECT_THAT(processLog.Close(), IsBareCode(Code::Success));

    const std::string line = WithoutTime(ReadLines(path_).at(0));
    EXPECT_THAT(line, testing::StartsWith(" [0x12] [0x"));
    EXPECT_THAT(line, testing::ContainsRegex("\\] \\.\\\\Parameter\\(\\d+\\) ERR  - "));
    EXPECT_THAT(line, testing::EndsWith(" - Value does not fit in the range"));
}

// The binary interface

TEST_F(ErrorLogTest, FieldsStandInTheDocumentedOrder) {
    constexpr std::size_t kRecordSize = 16 + 1024 + 1024 + 4 + 4;
    constexpr std::size_t kRing = sizeof(Log);
    constexpr std::size_t kNewest = kRing + kRingSize * kRecordSize;
    constexpr std::size_t kGate = kNewest + 8;
    const char* const bytes = reinterpret_cast<const char*>(&log_);
    const auto numberAt = [bytes](std::size_t aOffset) {
        unsigned long number = 0;
        std::memcpy(&number, bytes + aOffset, sizeof number);
        return number;
    };
    EXPECT_EQ(0u, numberAt(kNewest));
    EXPECT_EQ(0, bytes[kNewest + 4]);

    (void)Report(5, "message");  // No file is open.

    const std::size_t record = kRing + kRecordSize;
    EXPECT_EQ(1u, numberAt(kNewest));
    EXPECT_EQ(1, bytes[kNewest + 4]);
    EXPECT_EQ(5u, numberAt(record));
    EXPECT_STREQ("message", bytes + record + 16);
    EXPECT_STREQ(kLabel, bytes + record + 16 + 1024);
    EXPECT_EQ(kLine, numberAt(record + 16 + 2048));
    EXPECT_EQ(::GetCurrentThreadId(), numberAt(record + 16 + 2048 + 4));
    EXPECT_EQ(24u, sizeof(Log));
    EXPECT_EQ(kGate + sizeof(QvUserLib::Gate), sizeof(ErrorLog));
}

TEST_F(ErrorLogTest, DestructorComesFirstInTheVirtualTable) {
    auto* const log = new ErrorLog;
    ASSERT_THAT(log->Open(path_.c_str()), IsBareCode(Code::Success));

    CallSlot<void>(log, 1);

    EXPECT_TRUE(::DeleteFileA(path_.c_str())) << "the file is still open";
}

TEST_F(ErrorLogTest, OwnOpenFollowsTheInheritedSlotsInTheVirtualTable) {
    using Write = Result (*)(ErrorLog*, const char*, ...);
    const auto write = reinterpret_cast<Write>(VirtualSlot(&log_, 4));
    const auto openAnew = [this] { return CallSlot<Result>(&log_, 5, path_.c_str()); };

    EXPECT_THAT(CallSlot<Result>(&log_, 2, path_.c_str(), "wb", 0), IsBareCode(Code::Success));
    EXPECT_THAT(write(&log_, "%d", 5), IsBareCode(Code::Success));
    EXPECT_THAT(openAnew(), IsBareCode(Code::AlreadyOpen));
    EXPECT_THAT(CallSlot<Result>(&log_, 3), IsBareCode(Code::Success));
    EXPECT_THAT(openAnew(), IsBareCode(Code::Success));

    EXPECT_EQ("5\n", ReadBytes(backup_));
}

// Threads

TEST_F(ErrorLogTest, LinesOfManyThreadsAreWholeWhileTheFileChanges) {
    constexpr int kFiles = 50;
    const auto fileOf = [this](int aIndex) {
        return directory_.File(std::to_string(aIndex) + ".log");
    };
    ASSERT_THAT(log_.Open(fileOf(0).c_str()), IsBareCode(Code::Success));
    Reporters reporters(log_, /*aThreads=*/4, /*aErrors=*/2000);
    for (int i = 1; i < kFiles; ++i) {
        reporters.WaitUntilWritten(100 * i);
        EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));
        EXPECT_THAT(log_.Open(fileOf(i).c_str()), IsBareCode(Code::Success));
    }
    reporters.Join();
    EXPECT_THAT(log_.Close(), IsBareCode(Code::Success));

    std::multiset<std::string> messages;
    for (int i = 0; i < kFiles; ++i) {
        for (const std::string& line : ReadLines(fileOf(i))) {
            messages.insert(Reporters::MessageOf(line));
        }
    }
    EXPECT_LE(100, reporters.Written());
    EXPECT_EQ(reporters.Written(), static_cast<int>(messages.size()));
    EXPECT_EQ(messages.size(), std::set<std::string>(messages.begin(), messages.end()).size());
}

TEST_F(ErrorLogTest, OperationsWaitForALineThatIsBeingWritten) {
    const std::function<void()> operations[] = {
        [this] { (void)log_.Close(); },          // It cannot fail.
        [this] { (void)Report(6, "another"); },  // Only its return matters, here and below.
        [this] { (void)log_.WriteInfo(Result(6), kLabel, kLine, "another"); },
        [this] { (void)LastError(); },
        [this] { (void)log_.DumpLastError(); },
    };
    for (std::size_t i = 0; i < std::size(operations); ++i) {
        SCOPED_TRACE(i);
        Open();
        EXPECT_TRUE(
            IsHeldBackBy([this] { EXPECT_THAT(Report(5, "line"), IsBareCode(0)); }, operations[i]));
        (void)log_.Close();  // It cannot fail.
        EXPECT_THAT(ReadLines(path_).at(0), testing::EndsWith("line"));
    }
}

TEST_F(ErrorLogTest, OperationsWaitForAFileThatIsBeingOpened) {
    ExpectOpenHoldsOthersBack(DiskWork::OpenOrWrite);
}

TEST_F(ErrorLogTest, OperationsWaitForAFileThatIsBeingBackedUp) {
    ExpectOpenHoldsOthersBack(DiskWork::Copy);
    ExpectOpenHoldsOthersBack(DiskWork::Delete);
}

TEST_F(ErrorLogTest, LastErrorsAreWholeWhileOthersReport) {
    constexpr int kThreads = 4;
    constexpr int kErrors = 500;
    const auto report = [this](int aThread) {
        const std::string message(900, static_cast<char>('a' + aThread));
        for (int i = 0; i < kErrors; ++i) {
            (void)Report(5, message);  // No file is open.
            String text;
            EXPECT_THAT(log_.GetLastError(text), IsBareCode(5));
            const std::string last = text.GetAscii();
            ASSERT_EQ(std::string(900, last.at(0)), last);
        }
    };

    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(report, i);
    for (std::thread& thread : threads) thread.join();

    EXPECT_THAT(LastError(), testing::StartsWith("5: "));
}

}  // namespace
}  // namespace QvTests
