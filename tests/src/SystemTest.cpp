// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/System.h"

#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "ImportPatch.h"
#include "TestSupport.h"
#include "WindowsApi.h"

#include <shlobj.h>

namespace QvTests {
namespace {

using QvUserLib::GetDateTime;
using QvUserLib::GetNumberOfCPU;
using QvUserLib::GetPath;

constexpr int kFolder = CSIDL_LOCAL_APPDATA;
constexpr int kNoFolder = 0xFE;
constexpr char kSentinel = '\x55';

// A buffer whose bytes behind the stated size must stay.
class Buffer {
public:
    explicit Buffer(int aSize) : size_(aSize), bytes_(kAllocated, kSentinel) {}

    char* Out() { return bytes_.data(); }
    std::string Text() const { return bytes_.data(); }
    bool IsUntouchedBehind() const {
        return std::all_of(bytes_.begin() + std::max(size_, 0), bytes_.end(),
                           [](char aByte) { return aByte == kSentinel; });
    }

private:
    static constexpr std::size_t kAllocated = 2048;

    int size_;
    std::vector<char> bytes_;
};

std::string PathOf(int aFolder, const char* aDirectory, const char* aFile, int aSize = 1024) {
    Buffer buffer(aSize);
    GetPath(aFolder, aDirectory, aFile, buffer.Out(), aSize);
    EXPECT_TRUE(buffer.IsUntouchedBehind());
    return buffer.Text();
}

class GetPathTest : public testing::Test {
protected:
    void SetUp() override {
        char folder[MAX_PATH] = {};
        ASSERT_EQ(S_OK,
                  ::SHGetFolderPathA(nullptr, kFolder | CSIDL_FLAG_CREATE, nullptr, 0, folder));
        folder_ = folder;
        name_ = "QvUserLib test " + std::to_string(::GetCurrentProcessId());
    }
    void TearDown() override { ::RemoveDirectoryA((folder_ + "\\" + name_).c_str()); }

    bool DirectoryExists() const { return FileExists(folder_ + "\\" + name_); }

    std::string folder_;
    // A directory that no one else uses, and that is not there yet.
    std::string name_;
};

TEST_F(GetPathTest, WithoutDirectoryAndFileIsTheSpecialFolder) {
    EXPECT_EQ(folder_, PathOf(kFolder, nullptr, nullptr));
}

TEST_F(GetPathTest, WithoutDirectoryIsTheFileInTheSpecialFolder) {
    EXPECT_EQ(folder_ + "\\errors.log", PathOf(kFolder, nullptr, "errors.log"));
}

TEST_F(GetPathTest, WithoutFileIsTheDirectoryWhichIsCreated) {
    ASSERT_FALSE(DirectoryExists());

    EXPECT_EQ(folder_ + "\\" + name_, PathOf(kFolder, name_.c_str(), nullptr));

    EXPECT_TRUE(DirectoryExists());
}

TEST_F(GetPathTest, CreatesTheDirectoryButNotTheFile) {
    const std::string path = PathOf(kFolder, name_.c_str(), "errors.log");

    EXPECT_EQ(folder_ + "\\" + name_ + "\\errors.log", path);
    EXPECT_TRUE(DirectoryExists());
    EXPECT_FALSE(FileExists(path));
}

TEST_F(GetPathTest, TakesADirectoryThatIsThereAlready) {
    const std::string first = PathOf(kFolder, name_.c_str(), "errors.log");

    EXPECT_EQ(first, PathOf(kFolder, name_.c_str(), "errors.log"));
}

TEST_F(GetPathTest, ComposesThePathAlsoWhenTheDirectoryCannotBeCreated) {
    const std::string nested = name_ + "\\nested";

    EXPECT_EQ(folder_ + "\\" + nested + "\\errors.log",
              PathOf(kFolder, nested.c_str(), "errors.log"));

    EXPECT_FALSE(DirectoryExists());
}

TEST_F(GetPathTest, AppendsEmptyNamesLikeOthers) {
    EXPECT_EQ(folder_ + "\\", PathOf(kFolder, nullptr, ""));
    EXPECT_EQ(folder_ + "\\\\errors.log", PathOf(kFolder, "", "errors.log"));
}

TEST_F(GetPathTest, CreatesTheSpecialFolderWhenItIsMissing) {
    char folder[MAX_PATH] = {};
    ASSERT_EQ(S_OK,
              ::SHGetFolderPathA(nullptr, CSIDL_PRINTHOOD | CSIDL_FLAG_CREATE, nullptr, 0, folder));
    if (!::RemoveDirectoryA(folder)) GTEST_SKIP() << "the special folder is in use";

    EXPECT_EQ(folder, PathOf(CSIDL_PRINTHOOD, nullptr, nullptr));

    EXPECT_TRUE(FileExists(folder));
}

TEST_F(GetPathTest, AsksForTheCurrentFolderOfTheCaller) {
    static constexpr char kPlace[] = "C:\\folder";
    static struct {
        HWND owner;
        int folder;
        HANDLE token;
        DWORD flags;
    } asked;
    const auto answer = [](HWND aOwner, int aFolder, HANDLE aToken, DWORD aFlags,
                           char* aOut) -> HRESULT {
        asked = {aOwner, aFolder, aToken, aFlags};
        std::memcpy(aOut, kPlace, sizeof kPlace);
        return S_OK;
    };
    const ImportPatch system("SHGetFolderPathA", +answer);
    ASSERT_TRUE(system.IsActive());

    EXPECT_EQ(kPlace, PathOf(kFolder, nullptr, nullptr));

    EXPECT_EQ(nullptr, asked.owner);
    EXPECT_EQ(kFolder | CSIDL_FLAG_CREATE, asked.folder);
    EXPECT_EQ(nullptr, asked.token);
    EXPECT_EQ(0u, asked.flags);
}

TEST_F(GetPathTest, WithoutSpecialFolderIsTheBareFile) {
    EXPECT_EQ("errors.log", PathOf(kNoFolder, nullptr, "errors.log"));
    EXPECT_EQ("errors.log", PathOf(kNoFolder, name_.c_str(), "errors.log"));
    EXPECT_EQ("", PathOf(kNoFolder, name_.c_str(), nullptr));
    EXPECT_FALSE(FileExists(name_));
}

TEST_F(GetPathTest, FillsABufferExactlyOrGivesAnEmptyText) {
    const struct {
        const char* name;
        int folder;
        const char* file;
        std::string path;
    } cases[] = {
        {"folder", kFolder, nullptr, folder_},
        {"folder and file", kFolder, "errors.log", folder_ + "\\errors.log"},
        {"bare file", kNoFolder, "errors.log", "errors.log"},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.name);
        const int needed = static_cast<int>(entry.path.size()) + 1;
        EXPECT_EQ(entry.path, PathOf(entry.folder, nullptr, entry.file, needed));
        EXPECT_EQ("", PathOf(entry.folder, nullptr, entry.file, needed - 1));
        EXPECT_EQ("", PathOf(entry.folder, nullptr, entry.file, 1));
    }
}

TEST_F(GetPathTest, CreatesNoDirectoryWhenThePathDoesNotFit) {
    const std::string path = folder_ + "\\" + name_ + "\\errors.log";
    const int needed = static_cast<int>(path.size()) + 1;
    const int sizes[] = {1, static_cast<int>(folder_.size()), static_cast<int>(folder_.size()) + 1,
                         needed - 11, needed - 1};
    for (const int size : sizes) {
        SCOPED_TRACE(size);
        EXPECT_EQ("", PathOf(kFolder, name_.c_str(), "errors.log", size));
        EXPECT_FALSE(DirectoryExists());
    }
    EXPECT_EQ(path, PathOf(kFolder, name_.c_str(), "errors.log", needed));
    EXPECT_TRUE(DirectoryExists());
}

TEST_F(GetPathTest, WithoutABufferCreatesNoDirectory) {
    GetPath(kFolder, name_.c_str(), "errors.log", nullptr, 1024);

    EXPECT_FALSE(DirectoryExists());
}

TEST_F(GetPathTest, PathBeyondTheSystemsLimitNeedsABufferOfItsLength) {
    const std::string file(500, 'x');

    EXPECT_EQ("", PathOf(kFolder, nullptr, file.c_str(), MAX_PATH));
    EXPECT_EQ(folder_ + "\\" + file, PathOf(kFolder, nullptr, file.c_str(), 1024));
}

TEST_F(GetPathTest, BufferWithoutRoomStaysUntouched) {
    for (const int size : {0, -1}) {
        SCOPED_TRACE(size);
        Buffer buffer(size);
        GetPath(kFolder, name_.c_str(), "errors.log", buffer.Out(), size);
        EXPECT_TRUE(buffer.IsUntouchedBehind());
    }
    EXPECT_FALSE(DirectoryExists());
}

TEST(GetDateTimeTest, IsTheLocalTimeAsAsctimeWritesIt) {
    char text[26] = {};
    const time_t before = time(nullptr);
    GetDateTime(text, sizeof text);
    const time_t after = time(nullptr);

    // The call may have met the turn of a second.
    std::vector<std::string> expected;
    for (time_t now = before; now <= after; ++now) {
        expected.push_back(std::string(asctime(localtime(&now)), 24));
    }
    EXPECT_THAT(expected, testing::Contains(text));
}

TEST(GetDateTimeTest, FollowsTheTimeZone) {
    const char* const zone = getenv("TZ");
    const std::string present = zone != nullptr ? zone : "";
    ASSERT_EQ(0, _putenv_s("TZ", "QVT+5"));
    _tzset();

    char text[26] = {};
    const time_t before = time(nullptr) - 5 * 3600;
    GetDateTime(text, sizeof text);
    const time_t after = time(nullptr) - 5 * 3600;

    std::vector<std::string> expected;
    for (time_t now = before; now <= after; ++now) {
        expected.push_back(std::string(asctime(gmtime(&now)), 24));
    }
    EXPECT_THAT(expected, testing::Contains(text));
    _putenv_s("TZ", present.c_str());
    _tzset();
}

TEST(GetDateTimeTest, HasTwentyFourCharactersAndNoLineFeed) {
    for (const int size : {26, 27, 1024}) {
        SCOPED_TRACE(size);
        Buffer buffer(size);
        GetDateTime(buffer.Out(), size);
        EXPECT_EQ(24u, buffer.Text().size());
        EXPECT_EQ(std::string::npos, buffer.Text().find('\n'));
        EXPECT_TRUE(buffer.IsUntouchedBehind());
    }
}

TEST(GetDateTimeTest, IsEmptyInASmallerBuffer) {
    for (int size = 1; size < 26; ++size) {
        SCOPED_TRACE(size);
        Buffer buffer(size);
        GetDateTime(buffer.Out(), size);
        EXPECT_EQ("", buffer.Text());
        EXPECT_TRUE(buffer.IsUntouchedBehind());
    }
}

TEST(GetDateTimeTest, BufferWithoutRoomStaysUntouched) {
    for (const int size : {0, -1}) {
        SCOPED_TRACE(size);
        Buffer buffer(size);
        GetDateTime(buffer.Out(), size);
        EXPECT_TRUE(buffer.IsUntouchedBehind());
    }
}

TEST(GetDateTimeTest, NoBufferIsNotWrittenTo) {
    EXPECT_NO_FATAL_FAILURE(GetDateTime(nullptr, 100));
}

TEST(GetNumberOfCPUTest, IsTheSystemsNumberOfProcessors) {
    SYSTEM_INFO info = {};
    ::GetSystemInfo(&info);

    EXPECT_EQ(static_cast<int>(info.dwNumberOfProcessors), GetNumberOfCPU());
    EXPECT_GE(GetNumberOfCPU(), 1);
}

}  // namespace
}  // namespace QvTests
