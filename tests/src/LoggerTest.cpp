// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Logger.h"

#include <stdlib.h>

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ImportPatch.h"
#include "KernelObjects.h"
#include "ProgramRun.h"
#include "RequireLog4cxx.h"
#include "TestSupport.h"
#include "WindowsApi.h"

namespace QvTests {
namespace {

using QvUserLib::PriorityLevel;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

// Sets a variable of the environment and restores it in the end.
class Variable {
public:
    Variable(const std::string& aName, const std::string& aValue) : name_(aName) {
        const char* const before = std::getenv(aName.c_str());
        if (before != nullptr) before_ = before;
        Set(aValue);
    }
    ~Variable() { Set(before_); }

    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

    // An empty value removes the variable.
    void Set(const std::string& aValue) const { ::_putenv((name_ + "=" + aValue).c_str()); }

private:
    std::string name_;
    std::string before_;
};

std::string SystemPath() {
    std::string value(32768, '\0');
    const DWORD length = ::GetEnvironmentVariableA("PATH", value.data(), 32768);
    value.resize(length);
    return value;
}

// Sets PATH in the process's environment, unknown to the C library, and restores it in the end.
// Nothing means that there is no such variable.
class ProcessPath {
public:
    explicit ProcessPath(const std::optional<std::wstring>& aValue) : before_(Get()) {
        Set(aValue);
    }
    ~ProcessPath() { Set(before_); }

    ProcessPath(const ProcessPath&) = delete;
    ProcessPath& operator=(const ProcessPath&) = delete;

    static std::optional<std::wstring> Get() {
        std::wstring value(::GetEnvironmentVariableW(L"PATH", nullptr, 0), L'\0');
        if (value.empty()) return std::nullopt;
        value.resize(
            ::GetEnvironmentVariableW(L"PATH", value.data(), static_cast<DWORD>(value.size())));
        return value;
    }

private:
    static void Set(const std::optional<std::wstring>& aValue) {
        ::SetEnvironmentVariableW(L"PATH", aValue ? aValue->c_str() : nullptr);
    }

    std::optional<std::wstring> before_;
};

// With a Russian and a Chinese character: the code pages of the tests lack at least one.
constexpr wchar_t kForeignDirectory[] = L"C:\\\x0416\x4E2D";

bool IsLog4cxxLoaded() { return ::GetModuleHandleA("log4cxx.dll") != nullptr; }

// Properties files want slashes.
std::string WithSlashes(std::string aPath) {
    for (char& character : aPath) {
        if (character == '\\') character = '/';
    }
    return aPath;
}

// Everything is logged to one file, each message in a line: level, logger, message.
std::string ConfigTo(const std::string& aFile, const std::string& aMore = "") {
    return "log4j.rootLogger=ALL, F\n"
           "log4j.appender.F=org.apache.log4j.FileAppender\n"
           "log4j.appender.F.File=" +
           WithSlashes(aFile) +
           "\n"
           "log4j.appender.F.Encoding=UTF-8\n"
           "log4j.appender.F.layout=org.apache.log4j.PatternLayout\n"
           "log4j.appender.F.layout.ConversionPattern=%p|%c|%m%n\n" +
           aMore;
}

// The appender collects messages and writes them once a second, on a thread of its own.
std::string BufferedConfigTo(const std::string& aFile) {
    return ConfigTo(aFile,
                    "log4j.appender.F.BufferedIO=true\n"
                    "log4j.appender.F.BufferedSeconds=1\n");
}

std::vector<std::string> debugTexts;
void WINAPI CollectDebugText(const char* aText) { debugTexts.emplace_back(aText); }

// Uses the real log4cxx in this process. The last logger of each test unloads it.
class LoggerTest : public testing::Test {
protected:
    void SetUp() override {
        REQUIRE_LOG4CXX();
        debugTexts.clear();
        Configure(ConfigTo(log_));
    }
    void TearDown() override { EXPECT_FALSE(IsLog4cxxLoaded()); }

    // For the next set-up.
    void Configure(const std::string& aConfig) const { WriteBytes(config_, aConfig); }

    std::vector<std::string> Lines() const { return ReadLines(log_); }

    const TemporaryDirectory directory_;
    const std::string log_ = directory_.File("messages.log");
    const std::string config_ = directory_.File("test.logcfg");
    const Variable variable_{"QV_LOG_CONFIG", config_};
    const ImportPatch debugger_{"OutputDebugStringA", &CollectDebugText};
};

// Levels and names

TEST_F(LoggerTest, MessageReachesTheAppenderWithLevelAndName) {
    {
        Logger logger("device.reader");
        logger.Log(PriorityLevel::Warn, "reader.cpp", 12, "Reader", "%d packets lost", 3);
    }
    EXPECT_THAT(Lines(), ElementsAre("WARN|device.reader|Reader 3 packets lost"));
}

TEST_F(LoggerTest, EveryLevelHasItsNumber) {
    const struct {
        PriorityLevel level;
        const char* name;
    } cases[] = {{PriorityLevel::Fatal, "FATAL"}, {PriorityLevel::Error, "ERROR"},
                 {PriorityLevel::Warn, "WARN"},   {PriorityLevel::Info, "INFO"},
                 {PriorityLevel::Debug, "DEBUG"}, {PriorityLevel::Trace, "TRACE"},
                 {PriorityLevel::All, "ALL"},     {PriorityLevel::Off, "OFF"}};
    {
        Logger logger("levels");
        for (const auto& one : cases) logger.Log(one.level, "", 0, "is", "%s", one.name);
    }
    const std::vector<std::string> lines = Lines();
    ASSERT_EQ(std::size(cases), lines.size());
    for (std::size_t index = 0; index < lines.size(); ++index) {
        const std::string name = cases[index].name;
        EXPECT_EQ(name + "|levels|is " + name, lines[index]);
    }
}

TEST_F(LoggerTest, UnknownLevelBecomesDebug) {
    {
        Logger logger("levels");
        logger.Log(static_cast<PriorityLevel>(12345), "", 0, "level", "12345");
    }
    EXPECT_THAT(Lines(), ElementsAre("DEBUG|levels|level 12345"));
}

TEST_F(LoggerTest, ConfigurationDecidesByNameAndLevel) {
    Configure(ConfigTo(log_, "log4j.logger.quiet=ERROR\nlog4j.logger.quiet.not=DEBUG\n"));
    {
        Logger quiet("quiet");
        Logger inheriting("quiet.too");
        Logger loud("quiet.not");
        for (Logger* const logger : {&quiet, &inheriting, &loud}) {
            logger->Log(PriorityLevel::Info, "", 0, "an", "information");
            logger->Log(PriorityLevel::Error, "", 0, "an", "error");
        }
    }
    EXPECT_THAT(Lines(), ElementsAre("ERROR|quiet|an error", "ERROR|quiet.too|an error",
                                     "INFO|quiet.not|an information", "ERROR|quiet.not|an error"));
}

TEST_F(LoggerTest, PriorityIsEnabledAsConfigured) {
    Configure(ConfigTo(log_, "log4j.logger.quiet=WARN\n"));
    Logger quiet("quiet");

    EXPECT_TRUE(quiet.IsPriorityEnabled(PriorityLevel::Error));
    EXPECT_TRUE(quiet.IsPriorityEnabled(PriorityLevel::Warn));
    EXPECT_FALSE(quiet.IsPriorityEnabled(PriorityLevel::Info));
    EXPECT_FALSE(quiet.IsPriorityEnabled(static_cast<PriorityLevel>(12345)));
}

TEST_F(LoggerTest, NullNameCountsAsEmpty) {
    {
        Logger logger(nullptr);
        logger.Log(PriorityLevel::Info, "", 0, "from", "nowhere");
    }
    EXPECT_THAT(Lines(), ElementsAre(EndsWith("|from nowhere")));
}

// Texts

TEST_F(LoggerTest, TextIsCutToTheBuffer) {
    const std::string text(3000, 'x');
    {
        Logger logger("long");
        logger.Log(PriorityLevel::Info, "", 0, "ab", "%s", text.c_str());
        EXPECT_EQ("ab " + text.substr(0, 1020),
                  logger.LogResult(1, "", 0, "ab", "%s", text.c_str()).GetDescription());
    }
    const std::string line = "|long|ab " + text.substr(0, 1020);
    EXPECT_THAT(Lines(), ElementsAre("INFO" + line, "ERROR" + line));
}

TEST_F(LoggerTest, PrefixMayFillTheBufferAlone) {
    for (const int length : {1021, 1022, 1023, 1024, 5000}) {
        SCOPED_TRACE(length);
        const std::string prefix(length, 'p');
        Logger logger("long");

        EXPECT_EQ((prefix + " text").substr(0, 1023),
                  logger.LogResult(1, "", 0, prefix.c_str(), "text").GetDescription());
    }
}

TEST_F(LoggerTest, NullPrefixAndNullFormatCountAsEmpty) {
    const char* const volatile none = nullptr;
    {
        Logger logger("null");
        logger.Log(PriorityLevel::Info, nullptr, 0, none, "text");
        logger.Log(PriorityLevel::Info, nullptr, 0, "prefix", none);
    }
    EXPECT_THAT(Lines(), ElementsAre("INFO|null| text", "INFO|null|prefix "));
}

TEST_F(LoggerTest, TextOfTheCodePageArrivesAsUtf8) {
    {
        Logger logger(
            "Pr\xFC"
            "fstand");
        logger.Log(PriorityLevel::Info, "", 0, "\xC4rger", "f\xFCr 5 \x80");
    }
    EXPECT_THAT(Lines(), ElementsAre("INFO|Pr\xC3\xBC"
                                     "fstand|\xC3\x84rger f\xC3\xBCr 5 \xE2\x82\xAC"));
}

TEST_F(LoggerTest, ConfigurationMayLieAtAnyPathOfTheCodePage) {
    const std::string path = directory_.File(
        "Pr\xFC"
        "fstand.logcfg");
    WriteBytes(path, ConfigTo(log_));
    variable_.Set(path);
    {
        Logger logger("umlaut");
        logger.Log(PriorityLevel::Info, "", 0, "found", "it");
    }
    EXPECT_THAT(Lines(), ElementsAre("INFO|umlaut|found it"));
}

// Results

TEST_F(LoggerTest, ResultCarriesCodeAndTextAndIsLoggedAsError) {
    {
        Logger logger("results");
        const Result result = logger.LogResult(42, "file.cpp", 7, "Reader", "gave up after %d", 3);
        EXPECT_THAT(result, HasCode(42));
        EXPECT_STREQ("Reader gave up after 3", result.GetDescription());
    }
    EXPECT_THAT(Lines(), ElementsAre("ERROR|results|Reader gave up after 3"));
}

TEST_F(LoggerTest, PercentSignsInTheDescriptionSurvive) {
    {
        Logger logger("results");
        EXPECT_STREQ("100% 5% done %n",
                     logger.LogResult(1, "", 0, "100%", "%d%% done %%n", 5).GetDescription());
    }
    EXPECT_THAT(Lines(), ElementsAre("ERROR|results|100% 5% done %n"));
}

TEST_F(LoggerTest, ResultIsMadeAlsoWhenItIsNotLogged) {
    Configure(ConfigTo(log_, "log4j.logger.quiet=OFF\n"));
    Logger quiet("quiet");

    const Result result = quiet.LogResult(42, "", 0, "not", "logged");

    EXPECT_THAT(result, HasCode(42));
    EXPECT_STREQ("not logged", result.GetDescription());
    EXPECT_EQ("", ReadBytes(log_));
}

// Set-up

TEST_F(LoggerTest, PathIsAsBeforeWhileLoggersAreThere) {
    const std::string before = SystemPath();
    {
        const Logger logger("path");
        EXPECT_EQ(before, SystemPath());
    }
    EXPECT_EQ(before, SystemPath());
}

TEST_F(LoggerTest, LongestPathSurvives) {
    std::string path = std::getenv("PATH");
    while (path.size() < 20000) path += ";C:\\another\\directory";
    const Variable variable("PATH", path);

    const Logger logger("path");

    EXPECT_EQ(path, SystemPath());
    EXPECT_EQ(path, std::getenv("PATH"));
}

TEST_F(LoggerTest, PathThatIsChangedWhileLoggersAreThereStaysChanged) {
    for (const char* const changed : {"C:\\somewhere", ""}) {
        SCOPED_TRACE(changed);
        const Variable variable("PATH", SystemPath());
        {
            const Logger logger("path");
            variable.Set(changed);
        }
        EXPECT_EQ(changed, SystemPath());
    }
}

TEST_F(LoggerTest, UnsetPathStaysUnset) {
    const Variable variable("PATH", "");
    {
        const Logger logger("path");
        EXPECT_TRUE(IsLog4cxxLoaded());
        EXPECT_EQ(std::nullopt, ProcessPath::Get());
    }
    EXPECT_EQ(std::nullopt, ProcessPath::Get());
}

TEST_F(LoggerTest, PathThatTheCLibraryDoesNotKnowStays) {
    const std::optional<std::wstring> cases[] = {ProcessPath::Get().value() + L";C:\\host",
                                                 kForeignDirectory, L"", std::nullopt};
    for (const auto& value : cases) {
        SCOPED_TRACE(testing::PrintToString(value));
        const ProcessPath path(value);
        const std::string known = std::getenv("PATH");
        {
            const Logger logger("path");
            EXPECT_TRUE(value == ProcessPath::Get());
            EXPECT_EQ(known, std::getenv("PATH"));
        }
        EXPECT_TRUE(value == ProcessPath::Get());
        EXPECT_EQ(known, std::getenv("PATH"));
    }
}

TEST_F(LoggerTest, ReferenceInPathIsKept) {
    const Variable directory("QVTESTS_DIRECTORY", "C:\\somewhere");
    const Variable variable("PATH", "%QVTESTS_DIRECTORY%;" + SystemPath());
    const std::string before = SystemPath();

    const Logger logger("path");

    EXPECT_TRUE(IsLog4cxxLoaded());
    EXPECT_EQ(before, SystemPath());
}

TEST_F(LoggerTest, ConfigurationMayLieAtAnyPath) {
    const std::wstring path =
        std::wstring(directory_.Path().begin(), directory_.Path().end()) + L"\\\x0416.logcfg";
    WriteBytes(config_, ConfigTo(log_));
    ASSERT_TRUE(::CopyFileW(std::wstring(config_.begin(), config_.end()).c_str(), path.c_str(),
                            /*bFailIfExists=*/TRUE));
    ::SetEnvironmentVariableW(L"QV_LOG_CONFIG", path.c_str());
    {
        Logger logger("any path");
        logger.Log(PriorityLevel::Info, "", 0, "found", "it");
    }
    EXPECT_THAT(Lines(), ElementsAre("INFO|any path|found it"));
    ::DeleteFileW(path.c_str());
}

TEST_F(LoggerTest, OwnLog4cxxIsFoundBeforeOthersInPath) {
    WriteBytes(directory_.File("log4cxx.dll"), "no DLL at all");
    const Variable variable("PATH", directory_.Path() + ";" + SystemPath());

    const Logger logger("path");

    char path[MAX_PATH] = {};
    ::GetModuleFileNameA(::GetModuleHandleA("log4cxx.dll"), path, MAX_PATH);
    EXPECT_STRCASEEQ((OwnDirectory() + "\\log4cxx\\x64\\Release\\log4cxx.dll").c_str(), path);
}

TEST_F(LoggerTest, DefaultConfigurationServesWhenTheOtherIsMissing) {
    const Variable data("LOCALAPPDATA", directory_.Path());
    for (const char* const missing : {"Z:\\there is no such file.logcfg", ""}) {
        SCOPED_TRACE(missing);
        variable_.Set(missing);
        {
            Logger logger("default");
            logger.Log(PriorityLevel::Debug, "", 0, "not", "kept");
            logger.Log(PriorityLevel::Info, "", 0, "is", "kept");
        }
        const std::string file = directory_.File("QvUserLib\\QvUserLib.log");
        EXPECT_THAT(ReadLines(file), ElementsAre(testing::ContainsRegex(
                                         "^....-..-.. ..:..:..,... INFO  .* default - is kept$")));
        ::DeleteFileA(file.c_str());
    }
    ::RemoveDirectoryA(directory_.File("QvUserLib").c_str());
}

TEST_F(LoggerTest, FoundLocationIsReportedAsUndetermined) {
    {
        const Logger logger("configured by the variable");
    }
    EXPECT_THAT(debugTexts, IsEmpty());

    const Variable data("LOCALAPPDATA", directory_.Path());
    variable_.Set("");
    {
        const Logger logger("configured by default");
    }
    EXPECT_THAT(debugTexts, ElementsAre("Could not determine the location of QvUserLib."));
    ::DeleteFileA(directory_.File("QvUserLib\\QvUserLib.log").c_str());
    ::RemoveDirectoryA(directory_.File("QvUserLib").c_str());
}

// Lives

TEST_F(LoggerTest, LastLoggerUnloadsAndTheNextOneLoadsAgain) {
    for (int round = 0; round < 20; ++round) {
        auto first = std::make_unique<Logger>("first");
        auto second = std::make_unique<Logger>("second");
        first.reset();
        ASSERT_TRUE(IsLog4cxxLoaded());
        second->Log(PriorityLevel::Info, "", 0, "round", "%d", round);
        second.reset();
        ASSERT_FALSE(IsLog4cxxLoaded());
    }
    ASSERT_EQ(20u, Lines().size());
    EXPECT_EQ("INFO|second|round 19", Lines().back());
}

TEST_F(LoggerTest, EachSetUpReadsTheConfigurationAnew) {
    {
        const Logger logger("one");
    }
    Configure(ConfigTo(log_, "log4j.logger.one=OFF\n"));

    Logger logger("one");

    EXPECT_FALSE(logger.IsPriorityEnabled(PriorityLevel::Fatal));
}

TEST_F(LoggerTest, SecondLoggerDoesNotReadTheConfigurationAgain) {
    const Logger first("first");
    Configure(ConfigTo(log_, "log4j.logger.second=OFF\n"));

    Logger second("second");

    EXPECT_TRUE(second.IsPriorityEnabled(PriorityLevel::Fatal));
}

TEST_F(LoggerTest, AssignedLoggerLogsWhereTheOtherDoes) {
    {
        Logger first("first");
        Logger second("second");
        EXPECT_EQ(&first, &(first = second));
        first.Log(PriorityLevel::Info, "", 0, "from", "first");
    }
    EXPECT_THAT(Lines(), ElementsAre("INFO|second|from first"));
}

TEST_F(LoggerTest, CopiesByAssignmentCountAsTheyDidBefore) {
    auto first = std::make_unique<Logger>("first");
    auto second = std::make_unique<Logger>("second");
    *first = *second;

    second.reset();
    EXPECT_TRUE(IsLog4cxxLoaded());
    first->Log(PriorityLevel::Info, "", 0, "still", "there");
    first.reset();
    EXPECT_FALSE(IsLog4cxxLoaded());
    EXPECT_THAT(Lines(), ElementsAre("INFO|second|still there"));
}

TEST_F(LoggerTest, BufferedMessagesAreWrittenBeforeUnloading) {
    Configure(BufferedConfigTo(log_));
    for (int round = 0; round < 3; ++round) {
        Logger logger("buffered");
        for (int number = 1; number <= 500; ++number) {
            logger.Log(PriorityLevel::Info, "", 0, "number", "%d", number);
        }
    }
    ASSERT_EQ(1500u, Lines().size());
    EXPECT_EQ("INFO|buffered|number 500", Lines().back());
}

TEST_F(LoggerTest, ThreadsLogThroughOneLogger) {
    {
        Logger logger("shared");
        std::vector<std::future<void>> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.push_back(std::async(std::launch::async, [&logger] {
                for (int number = 0; number < 100; ++number) {
                    logger.Log(PriorityLevel::Info, "", 0, "number", "%d", number);
                }
            }));
        }
        for (auto& thread : threads) thread.get();
    }
    EXPECT_EQ(400u, Lines().size());
}

TEST_F(LoggerTest, ThreadThatLoggedMayEndAfterUnloading) {
    std::promise<void> logged;
    std::promise<void> unloaded;
    auto logger = std::make_unique<Logger>("thread");
    auto thread = std::async(std::launch::async, [&] {
        logger->Log(PriorityLevel::Info, "", 0, "from", "a thread");
        logged.set_value();
        unloaded.get_future().wait();
    });
    logged.get_future().wait();
    logger.reset();
    EXPECT_FALSE(IsLog4cxxLoaded());
    unloaded.set_value();
    thread.get();

    EXPECT_THAT(Lines(), ElementsAre("INFO|thread|from a thread"));
}

TEST_F(LoggerTest, KeepsOnePointer) { EXPECT_EQ(sizeof(void*), sizeof(Logger)); }

// Runs the probe program in a directory of its own, with only the DLLs that a test puts there.
class LoggerProbeTest : public testing::Test {
protected:
    LoggerProbeTest() { CopyProgramTo("LoggerProbe.exe", directory_.Path()); }

    void CopyHere(const std::string& aFrom, const std::string& aTo) const {
        CopyOwnFile(aFrom, directory_.File(aTo));
    }

    // The place where the library looks for log4cxx.
    std::string MakeDllPlace() const {
        for (const char* const folder : {"log4cxx", "log4cxx\\x64", "log4cxx\\x64\\Release"}) {
            ::CreateDirectoryA(directory_.File(folder).c_str(), nullptr);
        }
        return "log4cxx\\x64\\Release\\log4cxx.dll";
    }

    void CopyRealLog4cxx() const {
        const std::string place = MakeDllPlace();
        CopyHere(place, place);
    }

    void Configure(const std::string& aConfig) const { WriteBytes(config_, aConfig); }

    Outcome Run(const std::vector<std::string>& aCommands) const {
        Outcome outcome = RunProgram(directory_.File("LoggerProbe.exe"), aCommands);
        EXPECT_EQ(0u, outcome.exitCode);
        std::string out;
        for (const char character : outcome.out) {
            if (character != '\r') out += character;
        }
        outcome.out = out;
        return outcome;
    }

    void ExpectUnusableLog4cxx() const {
        EXPECT_EQ(
            "Failed to load imports for log4cxx\n"
            "empty\n"
            "empty\n"
            "not loaded\n",
            Run({"new", "a", "new", "b", "loaded"}).out);
    }

    const TemporaryDirectory directory_;
    const std::string log_ = directory_.File("messages.log");
    const std::string config_ = directory_.File("test.logcfg");
    const Variable variable_{"QV_LOG_CONFIG", config_};
};

// Without log4cxx

TEST_F(LoggerProbeTest, WithoutLog4cxxLoggersAreEmptyAfterOneAttempt) {
    EXPECT_EQ(
        "debugger: Failed to set environment. returning.\n"
        "empty\n"
        "empty\n"
        "0\n"
        "not loaded\n",
        Run({"new", "a", "new", "b", "enabled", "0", "50000", "log", "1", "50000", "text",
             "loaded"})
            .out);
}

TEST_F(LoggerProbeTest, WithoutLog4cxxItIsNotTriedAgainWhenAllLoggersHaveGone) {
    EXPECT_EQ(
        "debugger: Failed to set environment. returning.\n"
        "empty\n"
        "empty\n",
        Run({"new", "a", "delete", "0", "new", "b"}).out);
}

TEST_F(LoggerProbeTest, EmptyLoggerMakesResults) {
    EXPECT_THAT(Run({"new", "a", "result", "0", "42", "50% of it"}).out,
                EndsWith("empty\n42 probe 50% of it\n"));
}

TEST_F(LoggerProbeTest, WithoutLog4cxxPathIsNotTouched) {
    EXPECT_THAT(Run({"new", "a", "path"}).out, HasSubstr("\nPATH=" + SystemPath() + "\n"));
}

TEST_F(LoggerProbeTest, UnknownLocationMeansEmptyLoggers) {
    EXPECT_EQ(
        "debugger: Could not determine the location of QvUserLib.\n"
        "debugger: Failed to set environment. returning.\n"
        "empty\n",
        Run({"hide-location", "new", "a"}).out);
}

TEST_F(LoggerProbeTest, LocationThatIsTooLongIsUnknown) {
    EXPECT_EQ(
        "debugger: Could not determine the location of QvUserLib.\n"
        "debugger: Failed to set environment. returning.\n"
        "empty\n",
        Run({"locate", "C:\\" + std::string(5000, 'x') + "\\library.dll", "new", "a"}).out);
}

TEST_F(LoggerProbeTest, FileThatIsNoDllMeansEmptyLoggers) {
    WriteBytes(directory_.File(MakeDllPlace()), "no DLL at all");

    ExpectUnusableLog4cxx();
}

TEST_F(LoggerProbeTest, DllWithOtherExportsMeansEmptyLoggers) {
    CopyHere("QvBaseLib64.dll", MakeDllPlace());

    ExpectUnusableLog4cxx();
}

TEST_F(LoggerProbeTest, PathStaysChangedWhenTheImportsCannotBeLoaded) {
    WriteBytes(directory_.File(MakeDllPlace()), "no DLL at all");

    EXPECT_THAT(
        Run({"new", "a", "path"}).out,
        EndsWith("PATH=" + directory_.File("log4cxx\\x64\\Release") + ";" + SystemPath() + "\n"));
}

TEST_F(LoggerProbeTest, PathOfTheProcessIsSearchedWhileLoading) {
    WriteBytes(directory_.File(MakeDllPlace()), "no DLL at all");

    EXPECT_THAT(
        Run({"set-process", "PATH", "C:\\host", "new", "a", "process-path"}).out,
        EndsWith("process PATH=" + directory_.File("log4cxx\\x64\\Release") + ";C:\\host\n"));
}

TEST_F(LoggerProbeTest, ReferenceInPathIsExpandedForTheLoading) {
    WriteBytes(directory_.File(MakeDllPlace()), "no DLL at all");

    EXPECT_THAT(Run({"set", "QVTESTS_DIRECTORY", "C:\\somewhere", "set", "PATH",
                     "%QVTESTS_DIRECTORY%;C:\\other", "new", "a", "path"})
                    .out,
                EndsWith("PATH=" + directory_.File("log4cxx\\x64\\Release") +
                         ";C:\\somewhere;C:\\other\n"));
}

// With it

class LoggerProbeLog4cxxTest : public LoggerProbeTest {
protected:
    void SetUp() override {
        REQUIRE_LOG4CXX();
        CopyRealLog4cxx();
    }
};

TEST_F(LoggerProbeLog4cxxTest, MissingConfigurationsMeanEmptyLoggers) {
    EXPECT_EQ(
        "debugger: Could not determine the location of QvUserLib.\n"
        "empty\n"
        "empty\n",
        Run({"new", "a", "new", "b"}).out);
}

TEST_F(LoggerProbeLog4cxxTest, FilesThatCannotBeSeenMeanEmptyLoggers) {
    Configure(ConfigTo(log_));

    EXPECT_EQ("debugger: Failed to set environment. returning.\nempty\n",
              Run({"hide-files", "new", "a"}).out);
}

TEST_F(LoggerProbeLog4cxxTest, LoggersWorkAlthoughThePathCannotBeSet) {
    Configure(ConfigTo(log_));

    EXPECT_EQ("ready\nPATH=" + SystemPath() + "\n",
              Run({"fail-set", "1", "new", "a", "path", "log", "0", "20000", "text"}).out);
    EXPECT_THAT(ReadLines(log_), ElementsAre("INFO|a|probe text"));
}

TEST_F(LoggerProbeLog4cxxTest, LoggersWorkAlthoughThePathCannotBeRestored) {
    Configure(ConfigTo(log_));

    EXPECT_EQ("ready\nPATH=" + directory_.File("log4cxx\\x64\\Release") + ";" + SystemPath() + "\n",
              Run({"fail-set", "2", "new", "a", "path", "log", "0", "20000", "text"}).out);
    EXPECT_THAT(ReadLines(log_), ElementsAre("INFO|a|probe text"));
}

TEST_F(LoggerProbeLog4cxxTest, ConfigurationThatTheCLibraryDoesNotKnowIsUsed) {
    Configure(ConfigTo(log_));
    variable_.Set("");

    // Some C libraries read the whole environment again when they set a variable; here they cannot.
    EXPECT_EQ("ready\n", Run({"fail-set", "0", "set-process", "QV_LOG_CONFIG", config_, "new", "a",
                              "log", "0", "20000", "text"})
                             .out);
    EXPECT_THAT(ReadLines(log_), ElementsAre("INFO|a|probe text"));
}

TEST_F(LoggerProbeLog4cxxTest, WideProgramKeepsEveryCharacterOfItsPath) {
    Configure(ConfigTo(log_));
    const ProcessPath path(ProcessPath::Get().value() + L";" + kForeignDirectory);

    const std::string out =
        Run({"wide-path", "process-path", "path", "new", "a", "wide-path", "process-path", "path"})
            .out;

    const std::size_t half = out.find("ready\n");
    ASSERT_NE(std::string::npos, half) << out;
    const std::string before = out.substr(0, half);
    EXPECT_THAT(before, HasSubstr(";C:\\\xD0\x96\xE4\xB8\xAD\nprocess PATH="));
    EXPECT_EQ(before + "ready\n" + before, out);
}

TEST_F(LoggerProbeLog4cxxTest, Log4cxxIsFoundAlthoughTheHostRestrictsTheSearch) {
    Configure(ConfigTo(log_));

    EXPECT_EQ("restricted\nready\n", Run({"restrict-search", "new", "a"}).out);
}

TEST_F(LoggerProbeLog4cxxTest, Log4cxxOfTheHostIsNotUsed) {
    Configure(ConfigTo(log_));
    CopyHere("FakeLog4cxx.dll", "log4cxx.dll");

    EXPECT_EQ("loaded\nready\nloaded\nfreed\nnot loaded\n",
              Run({"load", directory_.File("log4cxx.dll"), "find-first", "new", "a", "log", "0",
                   "20000", "text", "delete", "0", "loaded", "free", "loaded"})
                  .out);
    EXPECT_THAT(ReadLines(log_), ElementsAre("INFO|a|probe text"));
}

TEST_F(LoggerProbeTest, DamagedLog4cxxShowsNoDialog) {
    REQUIRE_LOG4CXX();
    const std::string place = MakeDllPlace();
    WriteBytes(directory_.File(place), "no DLL at all");

    EXPECT_EQ("loading " + directory_.File(place) +
                  ", looking beside it, dialogs off\n"
                  "Failed to load imports for log4cxx\n"
                  "empty\n"
                  "dialogs on\n",
              Run({"show-loading", "new", "a", "dialogs"}).out);
}

TEST_F(LoggerProbeLog4cxxTest, DefaultConfigurationLiesBesideTheLibrary) {
    WriteBytes(directory_.File("log4cxx\\default.logcfg"), ConfigTo(log_));

    EXPECT_THAT(Run({"new", "a", "log", "0", "20000", "text"}).out, EndsWith("ready\n"));
    EXPECT_THAT(ReadLines(log_), ElementsAre("INFO|a|probe text"));
}

TEST_F(LoggerProbeLog4cxxTest, BufferedMessagesAreWrittenWhenTheProcessExits) {
    Configure(BufferedConfigTo(log_));

    EXPECT_EQ("ready\n", Run({"new", "a", "many", "0", "500"}).out);
    EXPECT_EQ(500u, ReadLines(log_).size());
}

TEST_F(LoggerProbeLog4cxxTest, StaticLoggerOfTheProgramUnloadsAtExit) {
    Configure(BufferedConfigTo(log_));

    EXPECT_EQ("ready\n", Run({"static", "a"}).out);
    EXPECT_THAT(ReadLines(log_), ElementsAre("FATAL|a|static logger"));
}

TEST_F(LoggerProbeLog4cxxTest, StaticLoggerOfADllSurvivesTheEndOfTheProcess) {
    CopyHere("LoggerProbeDll.dll", "LoggerProbeDll.dll");
    Configure(BufferedConfigTo(log_));

    EXPECT_EQ("loaded\n", Run({"load", "LoggerProbeDll.dll"}).out);
    EXPECT_THAT(ReadLines(log_), ElementsAre("INFO|probe.dll|dll started"));
}

TEST_F(LoggerProbeLog4cxxTest, StaticLoggerOfADllSurvivesItsUnloading) {
    CopyHere("LoggerProbeDll.dll", "LoggerProbeDll.dll");
    Configure(BufferedConfigTo(log_));

    // log4cxx stays loaded for the next logger.
    EXPECT_EQ("loaded\nfreed\nloaded\nready\n", Run({"load", "LoggerProbeDll.dll", "free", "loaded",
                                                     "new", "a", "log", "0", "20000", "after"})
                                                    .out);
    EXPECT_THAT(ReadLines(log_), ElementsAre("INFO|probe.dll|dll started",
                                             "INFO|probe.dll|dll ended", "INFO|a|probe after"));
}

TEST_F(LoggerProbeLog4cxxTest, Log4cxxThatIsNoLongerInItsPlaceStaysLoaded) {
    Configure(ConfigTo(log_));
    const std::string place = directory_.File("log4cxx\\x64\\Release\\log4cxx.dll");

    EXPECT_EQ("ready\nrenamed\nloaded\n",
              Run({"new", "a", "rename", place, place + ".old", "delete", "0", "loaded"}).out);
    EXPECT_TRUE(::MoveFileA((place + ".old").c_str(), place.c_str()));
}

TEST_F(LoggerProbeLog4cxxTest, BrokenConfigurationLeavesLoggersThatAreNotEmpty) {
    Configure(
        "log4j.rootLogger=ALL, F\n"
        "log4j.appender.F=org.apache.log4j.rolling.RollingFileAppender\n"
        "log4j.appender.F.rollingPolicy=org.apache.log4j.rolling.TimeBasedRollingPolicy\n");

    const Outcome outcome = Run({"new", "a", "new", "b", "log", "1", "50000", "text"});

    EXPECT_EQ("ready\nready\n", outcome.out);
    EXPECT_THAT(outcome.err, HasSubstr("Illegal state"));
}

TEST_F(LoggerProbeLog4cxxTest, DirectoryInPlaceOfAConfigurationLeavesLoggersThatAreNotEmpty) {
    variable_.Set(directory_.Path());

    EXPECT_EQ("ready\n", Run({"new", "a"}).out);
}

TEST_F(LoggerProbeLog4cxxTest, UnreadableConfigurationLeavesLoggersThatAreNotEmpty) {
    Configure(ConfigTo(log_));
    const Handle onlyReader(::CreateFileA(config_.c_str(), GENERIC_READ, /*dwShareMode=*/0, nullptr,
                                          OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(onlyReader.IsValid());

    EXPECT_EQ("ready\n", Run({"new", "a", "log", "0", "50000", "text"}).out);
    EXPECT_FALSE(FileExists(log_));
}

// Uses a log4cxx that logs nothing.
class LoggerFakeTest : public LoggerProbeTest {
protected:
    void SetUp() override {
        REQUIRE_LOG4CXX();
        CopyHere("FakeLog4cxx.dll", place_);
        Configure("");
    }

    const std::string place_ = MakeDllPlace();
};

// The DLL prints its start and its configuration.
class LoggerSetUpTest : public LoggerFakeTest {
protected:
    const std::string started_ =
        "started " + directory_.File(place_) + "\nconfigured with PATH=" + SystemPath() + "\n";
    const Variable show_{"QVTESTS_SHOW", "1"};
};

TEST_F(LoggerSetUpTest, PathIsAsBeforeWhenConfiguringBegins) {
    EXPECT_EQ(started_ + "ready\n", Run({"new", "a"}).out);
}

TEST_F(LoggerSetUpTest, ForeignLog4cxxInTheProgramsDirectoryIsNotLoaded) {
    CopyHere("FakeLog4cxx.dll", "log4cxx.dll");

    EXPECT_EQ(started_ + "ready\n", Run({"new", "a"}).out);
}

TEST_F(LoggerSetUpTest, ForeignLog4cxxInTheCurrentDirectoryIsNotLoaded) {
    const TemporaryDirectory current;
    CopyOwnFile("FakeLog4cxx.dll", current.File("log4cxx.dll"));

    EXPECT_EQ(started_ + "ready\n", Run({"go-to", current.Path(), "new", "a"}).out);
}

// Uses a log4cxx that throws. The library treats all its exceptions alike.
class LoggerExceptionTest : public LoggerFakeTest {
protected:
    const Variable throw_{"QVTESTS_THROW", ""};
};

TEST_F(LoggerExceptionTest, NothingIsPrintedWhenNothingIsThrown) {
    EXPECT_EQ("ready\n1\n1 probe text\nnot loaded\n",
              Run({"new", "a", "log", "0", "10000", "text", "enabled", "0", "10000", "result", "0",
                   "1", "text", "delete", "0", "loaded"})
                  .out);
}

TEST_F(LoggerExceptionTest, ExceptionWhileConfiguringIsPrintedAndMeansEmptyLoggers) {
    throw_.Set("configure");

    EXPECT_EQ("thrown by configureempty\nempty\n", Run({"new", "a", "new", "b"}).out);
}

TEST_F(LoggerExceptionTest, PathIsAsBeforeWhenConfiguringFails) {
    throw_.Set("configure");

    EXPECT_EQ("thrown by configureempty\nPATH=" + SystemPath() + "\n",
              Run({"new", "a", "path"}).out);
}

TEST_F(LoggerExceptionTest, ExceptionOfTheDefaultConfigurationIsPrintedToo) {
    throw_.Set("configure");
    variable_.Set("");
    WriteBytes(directory_.File("log4cxx\\default.logcfg"), "");

    EXPECT_EQ(
        "debugger: Could not determine the location of QvUserLib.\n"
        "thrown by configureempty\n",
        Run({"new", "a"}).out);
}

TEST_F(LoggerExceptionTest, ExceptionWhileFetchingALoggerLeavesItEmpty) {
    throw_.Set("getLogger");

    EXPECT_EQ("thrown by getLoggerempty\n", Run({"new", "a"}).out);
}

TEST_F(LoggerExceptionTest, ExceptionWhileLoggingIsPrinted) {
    throw_.Set("log");

    EXPECT_EQ("ready\nthrown by logloaded\n",
              Run({"new", "a", "log", "0", "10000", "text", "loaded"}).out);
}

TEST_F(LoggerExceptionTest, ExceptionWhileLoggingDoesNotChangeTheResult) {
    throw_.Set("error");

    EXPECT_EQ("ready\nthrown by error42 probe text\n",
              Run({"new", "a", "result", "0", "42", "text"}).out);
}

TEST_F(LoggerExceptionTest, ExceptionOfAQuestionIsPrintedAndMeansNo) {
    throw_.Set("isEnabledFor");

    EXPECT_EQ("ready\nthrown by isEnabledFor0\n", Run({"new", "a", "enabled", "0", "10000"}).out);
}

TEST_F(LoggerExceptionTest, Log4cxxThatDoesNotCloseStaysLoaded) {
    throw_.Set("shutdown");

    EXPECT_EQ(
        "ready\n"
        "thrown by shutdownFailed to unload imports for log4cxx\n"
        "loaded\n"
        "ready\n",
        Run({"new", "a", "delete", "0", "loaded", "new", "b"}).out);
}

TEST_F(LoggerExceptionTest, Log4cxxThatDidNotCloseGoesWithTheNextLastLogger) {
    throw_.Set("shutdown");

    EXPECT_THAT(Run({"new", "a", "delete", "0", "set", "QVTESTS_THROW", "", "new", "b", "delete",
                     "1", "loaded"})
                    .out,
                EndsWith("ready\nnot loaded\n"));
}

TEST_F(LoggerExceptionTest, AssigningAnEmptyLoggerKeepsLog4cxxLoaded) {
    throw_.Set("getLogger");

    // Nothing is thrown any more when the second logger is made.
    EXPECT_THAT(Run({"new", "a", "set", "QVTESTS_THROW", "", "new", "b", "assign", "1", "0",
                     "delete", "1", "loaded"})
                    .out,
                EndsWith("empty\nready\nloaded\n"));
}

TEST_F(LoggerExceptionTest, LoggerThatOutlivesTheCountDoesNothing) {
    throw_.Set("getLogger");

    // The first logger was not counted, but its end is, so log4cxx is unloaded too early.
    EXPECT_THAT(Run({"new",    "a",     "set",  "QVTESTS_THROW", "",  "new",    "b",
                     "assign", "0",     "1",    "delete",        "0", "loaded", "log",
                     "1",      "10000", "text", "enabled",       "1", "10000"})
                    .out,
                EndsWith("ready\nnot loaded\n0\n"));
}

}  // namespace
}  // namespace QvTests
