// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/DeviceConnection.h"

#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "FakeSetupApi.h"
#include "HandleLedger.h"
#include "ImportPatch.h"
#include "KernelObjects.h"
#include "LoggedErrors.h"
#include "PipeServer.h"
#include "SlotCalls.h"
#include "TestSupport.h"

namespace QvTests {
namespace {

using testing::ElementsAre;

constexpr char kConnectFirst[] = "Connect first";
constexpr char kNoInfo[] = "aInfo cannot be NULL";
constexpr char kCannotOpen[] = "CreateFile failed";
constexpr char kShortAnswer[] = "The driver did not return the expected size of data";

// What pipes answer: 16 bytes about the pipe and then its data, which stay in it.
constexpr unsigned long kPeek = 0x11400C;
constexpr unsigned long kPeekHeader = 16;
// Writes a message and reads the answer to it.
constexpr unsigned long kTransceive = 0x11C017;

// The fixed binary interface: a pointer to the virtual table, then the fields in this order.
struct ConnectionFields {
    void* table;
    long long refCount;
    HANDLE handle;
    String name;
};
static_assert(sizeof(ConnectionFields) == sizeof(DeviceConnection), "all fields are listed");

const ConnectionFields& FieldsOf(const DeviceConnection& aConnection) {
    return *static_cast<const ConnectionFields*>(static_cast<const void*>(&aConnection));
}

// An OVERLAPPED with its event.
struct Overlapped : OVERLAPPED {
    Overlapped() : OVERLAPPED() { hEvent = event.Get(); }

    Event event;
};

class DeviceConnectionTest : public testing::Test {
protected:
    TemporaryDirectory directory;
    DeviceConnection connection;
    char buffer[64] = {};
    unsigned long info = 99;
};

class PipeConnectionTest : public DeviceConnectionTest {
protected:
    PipeConnectionTest() { EXPECT_THAT(connection.Connect(server.Name()), IsBareCode(0)); }

    std::string Received() const { return std::string(buffer, info); }

    PipeServer server;
    Overlapped overlapped;
};

// States and opening by path

TEST_F(DeviceConnectionTest, NewOneIsNotConnected) {
    EXPECT_FALSE(connection.IsConnected());
    EXPECT_EQ(1, connection.GetRefCount());
    EXPECT_EQ(INVALID_HANDLE_VALUE, FieldsOf(connection).handle);
    EXPECT_TRUE(FieldsOf(connection).name.IsEmpty());
}

TEST_F(DeviceConnectionTest, ConnectOpensThePath) {
    const ErrorWatch watch;
    const PipeServer server;

    EXPECT_THAT(connection.Connect(server.Name()), IsBareCode(Code::Success));

    EXPECT_TRUE(connection.IsConnected());
    EXPECT_TRUE(server.HasClient());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceConnectionTest, ConnectKeepsTheFirstCharacterOfThePath) {
    const PipeServer server;

    ASSERT_THAT(connection.Connect(server.Name()), IsBareCode(0));

    EXPECT_STREQ("\\", FieldsOf(connection).name.GetAscii());
    EXPECT_NE(INVALID_HANDLE_VALUE, FieldsOf(connection).handle);
}

TEST_F(DeviceConnectionTest, PathThatCannotBeOpenedIsReported) {
    const std::string path = directory.File("missing");
    Result result;

    const auto lines = LoggedErrorsWithoutLines([&] { result = connection.Connect(path.c_str()); });

    EXPECT_THAT(result, IsBareCode(Code::InvalidArgument));
    EXPECT_THAT(lines, ElementsAre("[0x12] .\\DeviceConnection(#) ERR  - CreateFile failed"));
    EXPECT_FALSE(connection.IsConnected());
    EXPECT_TRUE(FieldsOf(connection).name.IsEmpty());
    // Only what exists is opened.
    EXPECT_FALSE(FileExists(path));
}

TEST_F(DeviceConnectionTest, NullPathOpensNothing) {
    const char* const path = nullptr;
    const HandleLedger ledger;

    EXPECT_THAT(connection.Connect(path), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kCannotOpen, LastErrorText());
    EXPECT_THAT(connection.Connect(path, 3), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kCannotOpen, LastErrorText());

    EXPECT_EQ(0, ledger.FilesOpened());
    EXPECT_FALSE(connection.IsConnected());
}

TEST_F(DeviceConnectionTest, ConnectAsksForSharedOverlappedReadingAndWriting) {
    struct Opening {
        static HANDLE WINAPI CreateFile(const char* aName, DWORD aAccess, DWORD aShare,
                                        SECURITY_ATTRIBUTES* aSecurity, DWORD aDisposition,
                                        DWORD aFlags, HANDLE aTemplate) {
            EXPECT_STREQ("device", aName);
            EXPECT_EQ(0xC0000000u, aAccess);
            EXPECT_EQ(3u, aShare);
            EXPECT_EQ(nullptr, aSecurity);
            EXPECT_EQ(3u, aDisposition);
            EXPECT_EQ(0x40000080u, aFlags);
            EXPECT_EQ(nullptr, aTemplate);
            return INVALID_HANDLE_VALUE;
        }
    };
    const ImportPatch patch("CreateFileA", &Opening::CreateFile);
    ASSERT_TRUE(patch.IsActive());

    EXPECT_THAT(connection.Connect("device"), IsBareCode(Code::InvalidArgument));
}

TEST_F(PipeConnectionTest, FailedConnectLeavesTheOpenDevice) {
    EXPECT_THAT(connection.Connect(directory.File("missing").c_str()),
                IsBareCode(Code::InvalidArgument));

    EXPECT_TRUE(connection.IsConnected());
    server.Write("still here");
    EXPECT_THAT(connection.Read(buffer, sizeof buffer, &info, nullptr), IsBareCode(0));
    EXPECT_EQ("still here", Received());
}

TEST_F(PipeConnectionTest, SecondConnectLeavesTheFirstDeviceOpen) {
    const PipeServer second;
    // The test has to close it: the connection forgets it.
    const Handle first(FieldsOf(connection).handle);

    EXPECT_THAT(connection.Connect(second.Name()), IsBareCode(Code::Success));
    EXPECT_THAT(connection.Close(), IsBareCode(Code::Success));

    EXPECT_TRUE(server.HasClient());
    EXPECT_FALSE(second.HasClient());
}

TEST_F(PipeConnectionTest, CloseClosesTheDevice) {
    EXPECT_THAT(connection.Close(), IsBareCode(Code::Success));

    EXPECT_FALSE(connection.IsConnected());
    EXPECT_FALSE(server.HasClient());
}

TEST_F(PipeConnectionTest, SecondCloseDoesNothing) {
    const ErrorWatch watch;
    ASSERT_THAT(connection.Close(), IsBareCode(0));
    const HandleLedger ledger;

    EXPECT_THAT(connection.Close(), IsBareCode(0x605));

    EXPECT_EQ(0, ledger.Closes());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceConnectionTest, CloseWithoutADeviceDoesNothing) {
    const ErrorWatch watch;

    EXPECT_THAT(connection.Close(), IsBareCode(0x605));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceConnectionTest, DestructionClosesTheDevice) {
    const PipeServer server;
    {
        DeviceConnection other;
        ASSERT_THAT(other.Connect(server.Name()), IsBareCode(0));
        // References do not keep it.
        other.Lock();
    }
    EXPECT_FALSE(server.HasClient());
}

TEST_F(PipeConnectionTest, ReleasedHandleStaysOpen) {
    const Handle handle(connection.ReleaseHandle());

    ASSERT_TRUE(handle.IsValid());
    EXPECT_FALSE(connection.IsConnected());
    EXPECT_THAT(connection.Close(), IsBareCode(0x605));
    EXPECT_TRUE(server.HasClient());
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(handle.Get(), "data", 4, &written, &overlapped));
    EXPECT_EQ("data", server.Read());
}

TEST_F(DeviceConnectionTest, ReleaseWithoutADeviceGivesNoHandle) {
    EXPECT_EQ(INVALID_HANDLE_VALUE, connection.ReleaseHandle());
    EXPECT_FALSE(connection.IsConnected());
}

TEST_F(PipeConnectionTest, ClosedConnectionConnectsAgain) {
    ASSERT_THAT(connection.Close(), IsBareCode(0));
    const PipeServer second;

    EXPECT_THAT(connection.Connect(second.Name()), IsBareCode(Code::Success));

    EXPECT_TRUE(second.HasClient());
}

// Opening by name and index

TEST_F(DeviceConnectionTest, IndexIsAppendedInDecimal) {
    struct {
        unsigned int index;
        const char* suffix;
    } const cases[] = {{3, "Dev3"}, {0, "Dev0"}, {12, "Dev12"}, {0xFFFFFFFF, "Dev-1"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.index);
        const std::string name = PipeServer::NewName();
        const PipeServer server(each.suffix, 4096, name);
        DeviceConnection indexed;
        EXPECT_THAT(indexed.Connect((name + "Dev").c_str(), each.index), IsBareCode(Code::Success));
        EXPECT_TRUE(server.HasClient());
    }
}

TEST_F(DeviceConnectionTest, IndexedNameMayHave63Characters) {
    std::string name = PipeServer::NewName();
    name.resize(62, 'x');
    const PipeServer server("3", 4096, name);

    EXPECT_THAT(connection.Connect(name.c_str(), 3), IsBareCode(Code::Success));

    EXPECT_TRUE(server.HasClient());
}

TEST_F(DeviceConnectionTest, LongerIndexedNameOpensNothing) {
    std::string name = PipeServer::NewName();
    name.resize(62, 'x');
    const PipeServer whole("34", 4096, name);
    const PipeServer cut("3", 4096, name);
    const HandleLedger ledger;

    EXPECT_THAT(connection.Connect(name.c_str(), 34), IsBareCode(Code::InvalidArgument));

    EXPECT_EQ(kCannotOpen, LastErrorText());
    EXPECT_FALSE(connection.IsConnected());
    EXPECT_EQ(0, ledger.FilesOpened());
}

TEST_F(PipeConnectionTest, TooLongIndexedNameLeavesTheOpenDevice) {
    const std::string name(1000, 'x');

    EXPECT_THAT(connection.Connect(name.c_str(), 3), IsBareCode(Code::InvalidArgument));

    EXPECT_TRUE(connection.IsConnected());
    EXPECT_TRUE(server.HasClient());
}

TEST_F(DeviceConnectionTest, IndexedPathThatCannotBeOpenedIsReported) {
    EXPECT_THAT(connection.Connect(R"(\\.\qvt-no-such-device)", 3),
                IsBareCode(Code::InvalidArgument));

    EXPECT_EQ(kCannotOpen, LastErrorText());
}

// Opening by interface class and index

constexpr GUID kNoDevices = {
    0x5a1c0de5, 0x0000, 0x4000, {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02}};

TEST_F(DeviceConnectionTest, InterfaceThatIsNotThereIsNoSuchDevice) {
    const ErrorWatch watch;

    EXPECT_THAT(connection.Connect(kNoDevices, 0), IsBareCode(Code::NoSuchDevice));

    EXPECT_FALSE(connection.IsConnected());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceConnectionTest, InterfaceIsOpenedByItsLink) {
    FakeSetupApi setup;
    const PipeServer server;
    setup.links = {"first", server.Name()};

    EXPECT_THAT(connection.Connect(kNoDevices, 1), IsBareCode(Code::Success));

    EXPECT_TRUE(server.HasClient());
    EXPECT_EQ(&kNoDevices, setup.interfaceClass);
    EXPECT_THAT(setup.calls, ElementsAre("open 1", "enumerate 1", "detail 16384", "destroy 1"));
}

TEST_F(DeviceConnectionTest, InterfaceSetLastsUntilTheDeviceIsOpened) {
    FakeSetupApi setup;
    setup.links = {"first"};
    static const std::vector<std::string>* calls = nullptr;
    static std::vector<std::string> callsBefore;
    calls = &setup.calls;
    const auto open = [](const char*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD,
                         HANDLE) -> HANDLE {
        callsBefore = *calls;
        return INVALID_HANDLE_VALUE;
    };
    const ImportPatch patch("CreateFileA", +open);

    EXPECT_THAT(connection.Connect(kNoDevices, 0), IsBareCode(Code::InvalidArgument));

    EXPECT_THAT(callsBefore, ElementsAre("open 1", "enumerate 0", "detail 16384"));
    EXPECT_EQ("destroy 1", setup.calls.back());
}

TEST_F(DeviceConnectionTest, RefusedInterfaceClassIsReportedWithoutAMessage) {
    FakeSetupApi setup;
    const ErrorWatch watch;
    setup.refusesClass = true;

    EXPECT_THAT(connection.Connect(kNoDevices, 0), IsBareCode(Code::InvalidArgument));

    EXPECT_THAT(setup.calls, ElementsAre("refuse"));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceConnectionTest, InterfaceBeyondTheLastIsNoSuchDevice) {
    FakeSetupApi setup;
    const ErrorWatch watch;
    setup.links = {"first"};

    EXPECT_THAT(connection.Connect(kNoDevices, 1), IsBareCode(Code::NoSuchDevice));

    EXPECT_THAT(setup.calls, ElementsAre("open 1", "enumerate 1", "destroy 1"));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceConnectionTest, RefusedInterfaceDetailIsNoSuchDevice) {
    FakeSetupApi setup;
    const ErrorWatch watch;
    setup.links = {"first"};
    setup.refusesDetail = true;

    EXPECT_THAT(connection.Connect(kNoDevices, 0), IsBareCode(Code::NoSuchDevice));

    EXPECT_THAT(setup.calls, ElementsAre("open 1", "enumerate 0", "detail 16384", "destroy 1"));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceConnectionTest, LinkHasRoomFor16379Characters) {
    FakeSetupApi setup;
    setup.links = {std::string(16379, 'x'), std::string(16380, 'x')};

    EXPECT_THAT(connection.Connect(kNoDevices, 0), IsBareCode(Code::InvalidArgument));
    EXPECT_THAT(connection.Connect(kNoDevices, 1), IsBareCode(Code::NoSuchDevice));
}

TEST_F(DeviceConnectionTest, InterfaceThatCannotBeOpenedIsReported) {
    FakeSetupApi setup;
    setup.links = {directory.File("missing")};

    EXPECT_THAT(connection.Connect(kNoDevices, 0), IsBareCode(Code::InvalidArgument));

    EXPECT_EQ(kCannotOpen, LastErrorText());
    EXPECT_EQ("destroy 1", setup.calls.back());
    EXPECT_FALSE(connection.IsConnected());
}

TEST_F(PipeConnectionTest, FailedInterfaceLeavesTheOpenDevice) {
    FakeSetupApi setup;

    EXPECT_THAT(connection.Connect(kNoDevices, 0), IsBareCode(Code::NoSuchDevice));

    EXPECT_TRUE(connection.IsConnected());
    EXPECT_TRUE(server.HasClient());
}

// Argument checks, in their order, before the state

struct Check {
    const char* name;
    std::function<Result(DeviceConnection&)> call;
    unsigned long code;
    const char* message;
};

std::vector<Check> Checks() {
    static char buffer[8];
    static unsigned long info;
    static OVERLAPPED overlapped;
    return {
        {"control: all",
         [](auto& c) { return c.IoControl(1, nullptr, 4, nullptr, 4, nullptr, nullptr); }, 0x12,
         "Invalid input buffer"},
        {"control: output and info",
         [](auto& c) { return c.IoControl(1, nullptr, 0, nullptr, 4, nullptr, nullptr); }, 0x12,
         "Invalid output buffer"},
        {"control: info",
         [](auto& c) { return c.IoControl(1, buffer, 4, buffer, 4, nullptr, nullptr); }, 0x12,
         kNoInfo},
        {"control: state",
         [](auto& c) { return c.IoControl(1, nullptr, 0, nullptr, 0, &info, nullptr); }, 0x1C,
         kConnectFirst},
        {"waited control: input",
         [](auto& c) { return c.IoControl(1, nullptr, 4, nullptr, 4, 0UL); }, 0x12,
         "Invalid input buffer"},
        {"waited control: output",
         [](auto& c) { return c.IoControl(1, nullptr, 0, nullptr, 4, 0UL); }, 0x12,
         "Invalid output buffer"},
        {"waited control: state",
         [](auto& c) { return c.IoControl(1, nullptr, 0, nullptr, 0, 8UL); }, 0x1C, kConnectFirst},
        {"read: all", [](auto& c) { return c.Read(nullptr, 0, nullptr, nullptr); }, 0x12,
         "aOut cannot be NULL"},
        {"read: size and info", [](auto& c) { return c.Read(buffer, 0, nullptr, nullptr); }, 0x12,
         "The size of read operation must be greater than 0 byte"},
        {"read: info", [](auto& c) { return c.Read(buffer, 8, nullptr, nullptr); }, 0x12, kNoInfo},
        {"read: state", [](auto& c) { return c.Read(buffer, 8, &info, nullptr); }, 0x1C,
         kConnectFirst},
        {"write: all", [](auto& c) { return c.Write(nullptr, 0, nullptr, nullptr); }, 0x12,
         "The address of data to write cannot be NULL"},
        {"write: size and info", [](auto& c) { return c.Write(buffer, 0, nullptr, nullptr); }, 0x12,
         "The size of data to write must be greater than 0 byte"},
        {"write: info", [](auto& c) { return c.Write(buffer, 8, nullptr, nullptr); }, 0x12,
         "The caller must specify an address where to write the size of written data"},
        {"write: state", [](auto& c) { return c.Write(buffer, 8, &info, nullptr); }, 0x1C,
         "The device is not connected"},
        {"completion: all", [](auto& c) { return c.GetOverlappedResult(nullptr, nullptr, true); },
         0x12, "The overlapped structure address cannot be NULL"},
        {"completion: info",
         [](auto& c) { return c.GetOverlappedResult(&overlapped, nullptr, true); }, 0x12,
         "The caller must specify an address where to put the number of processed bytes"},
        {"completion: state",
         [](auto& c) { return c.GetOverlappedResult(&overlapped, &info, true); }, 0x1C,
         kConnectFirst}};
}

TEST_F(DeviceConnectionTest, FirstFailingCheckIsReported) {
    for (const Check& check : Checks()) {
        SCOPED_TRACE(check.name);
        const ErrorWatch watch;
        EXPECT_THAT(check.call(connection), IsBareCode(check.code));
        EXPECT_EQ(check.message, LastErrorText());
    }
}

TEST_F(PipeConnectionTest, ArgumentsAreCheckedOfAnOpenDeviceToo) {
    for (const Check& check : Checks()) {
        if (check.code != 0x12) continue;
        SCOPED_TRACE(check.name);
        const ErrorWatch watch;
        EXPECT_THAT(check.call(connection), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(check.message, LastErrorText());
        EXPECT_TRUE(connection.IsConnected());
    }
}

TEST_F(DeviceConnectionTest, ChecksAreLoggedWithTheSourceLabel) {
    const auto lines = LoggedErrorsWithoutLines([&] {
        EXPECT_THAT(connection.Read(nullptr, 0, nullptr, nullptr), HasCode(0x12));
        EXPECT_THAT(connection.Write(buffer, 8, &info, nullptr), HasCode(0x1C));
    });

    EXPECT_THAT(lines,
                ElementsAre("[0x12] .\\DeviceConnection(#) ERR  - aOut cannot be NULL",
                            "[0x1c] .\\DeviceConnection(#) ERR  - The device is not connected"));
}

// I/O control, raw form

TEST_F(PipeConnectionTest, ControlGivesWhatTheDeviceAnswers) {
    const ErrorWatch watch;
    server.Write("12345678");

    EXPECT_THAT(connection.IoControl(kPeek, nullptr, 0, buffer, sizeof buffer, &info, nullptr),
                IsBareCode(Code::Success));

    EXPECT_EQ(kPeekHeader + 8, info);
    EXPECT_EQ("12345678", std::string(buffer + kPeekHeader, 8));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(PipeConnectionTest, ControlHandsTheSystemsErrorOn) {
    server.Close();
    Result result;

    const auto lines = LoggedErrorsWithoutLines([&] {
        result = connection.IoControl(kPeek, nullptr, 0, buffer, sizeof buffer, &info, nullptr);
    });

    EXPECT_THAT(result, IsBareCode(ERROR_BROKEN_PIPE));
    EXPECT_THAT(lines, ElementsAre("[0x6d] .\\DeviceConnection(#) ERR  - DeviceIoControl failed"));
    EXPECT_TRUE(connection.IsConnected());
}

TEST_F(PipeConnectionTest, ControlLeavesARequestPendingOnTheCallersOverlapped) {
    const ErrorWatch watch;
    DWORD mode = PIPE_READMODE_MESSAGE;
    ASSERT_TRUE(::SetNamedPipeHandleState(FieldsOf(connection).handle, &mode, nullptr, nullptr));

    EXPECT_THAT(
        connection.IoControl(kTransceive, "ask", 3, buffer, sizeof buffer, &info, &overlapped),
        IsBareCode(Code::Pending));

    EXPECT_EQ("ask", server.Read());
    server.Write("answer");
    EXPECT_THAT(connection.GetOverlappedResult(&overlapped, &info, /*aWait=*/true), IsBareCode(0));
    EXPECT_EQ("answer", Received());
    EXPECT_TRUE(watch.IsQuiet());
}

// Stands in for the system's DeviceIoControl and answers as its members say.
class FakeDeviceIoControl {
public:
    FakeDeviceIoControl(const FakeDeviceIoControl&) = delete;
    FakeDeviceIoControl& operator=(const FakeDeviceIoControl&) = delete;
    FakeDeviceIoControl() { active_ = this; }
    ~FakeDeviceIoControl() { active_ = nullptr; }

    DWORD error = 0;
    DWORD returned = 0;

    HANDLE handle = nullptr;
    DWORD code = 0;
    void* input = nullptr;
    DWORD inputSize = 0;
    void* output = nullptr;
    DWORD outputSize = 0;
    DWORD* info = nullptr;
    OVERLAPPED* overlapped = nullptr;

private:
    static BOOL WINAPI Call(HANDLE aHandle, DWORD aCode, void* aIn, DWORD aInSize, void* aOut,
                            DWORD aOutSize, DWORD* aInfo, OVERLAPPED* aOverlapped) {
        active_->handle = aHandle;
        active_->code = aCode;
        active_->input = aIn;
        active_->inputSize = aInSize;
        active_->output = aOut;
        active_->outputSize = aOutSize;
        active_->info = aInfo;
        active_->overlapped = aOverlapped;
        *aInfo = active_->returned;
        ::SetLastError(active_->error);
        return active_->error == 0;
    }

    inline static FakeDeviceIoControl* active_ = nullptr;

    ImportPatch patch_{"DeviceIoControl", &Call};
};

TEST_F(PipeConnectionTest, ControlHandsItsArgumentsToTheSystem) {
    FakeDeviceIoControl system;
    system.returned = 12;
    char input[4];

    EXPECT_THAT(connection.IoControl(0x222008, input, 4, buffer, 16, &info, &overlapped),
                IsBareCode(Code::Success));

    EXPECT_EQ(FieldsOf(connection).handle, system.handle);
    EXPECT_EQ(0x222008u, system.code);
    EXPECT_EQ(input, system.input);
    EXPECT_EQ(4u, system.inputSize);
    EXPECT_EQ(buffer, system.output);
    EXPECT_EQ(16u, system.outputSize);
    EXPECT_EQ(&info, system.info);
    EXPECT_EQ(&overlapped, system.overlapped);
    EXPECT_EQ(12u, info);
}

TEST_F(PipeConnectionTest, ControlWithoutOverlappedIsIssuedWithoutOne) {
    FakeDeviceIoControl system;
    system.overlapped = &overlapped;

    EXPECT_THAT(connection.IoControl(1, nullptr, 0, nullptr, 0, &info, nullptr), IsBareCode(0));

    EXPECT_EQ(nullptr, system.overlapped);
}

TEST_F(PipeConnectionTest, ControlIsPendingForOneErrorOnly) {
    FakeDeviceIoControl system;
    for (const DWORD error : {5UL, 259UL, 996UL, 998UL, 0xFFFFUL, 0x1003E5UL}) {
        SCOPED_TRACE(error);
        const ErrorWatch watch;
        system.error = error;
        EXPECT_THAT(connection.IoControl(1, nullptr, 0, nullptr, 0, &info, nullptr),
                    IsBareCode(error));
        EXPECT_EQ("DeviceIoControl failed", LastErrorText());
    }
    const ErrorWatch watch;
    system.error = ERROR_IO_PENDING;
    EXPECT_THAT(connection.IoControl(1, nullptr, 0, nullptr, 0, &info, nullptr),
                IsBareCode(Code::Pending));
    EXPECT_TRUE(watch.IsQuiet());
}

// I/O control, waited form

TEST_F(PipeConnectionTest, WaitedControlTakesAtLeastTheExpectedSize) {
    const ErrorWatch watch;
    server.Write("12345678");
    for (const unsigned long expected : {0UL, 8UL, kPeekHeader + 8}) {
        SCOPED_TRACE(expected);
        EXPECT_THAT(connection.IoControl(kPeek, nullptr, 0, buffer, sizeof buffer, expected),
                    IsBareCode(Code::Success));
    }
    EXPECT_EQ("12345678", std::string(buffer + kPeekHeader, 8));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(PipeConnectionTest, WaitedControlReportsAShortAnswer) {
    server.Write("12345678");
    Result result;

    const auto lines = LoggedErrorsWithoutLines([&] {
        result = connection.IoControl(kPeek, nullptr, 0, buffer, sizeof buffer, kPeekHeader + 9);
    });

    EXPECT_THAT(result, IsBareCode(Code::UnexpectedSize));
    EXPECT_THAT(lines, ElementsAre("[0xe] .\\DeviceConnection(#) ERR  - The driver did not return "
                                   "the expected size of data"));
}

TEST_F(PipeConnectionTest, WaitedControlHandsTheSystemsErrorOn) {
    server.Close();

    EXPECT_THAT(connection.IoControl(kPeek, nullptr, 0, buffer, sizeof buffer, 100UL),
                IsBareCode(ERROR_BROKEN_PIPE));

    EXPECT_EQ("DeviceIoControl failed", LastErrorText());
}

// Answers raw requests itself.
class AnsweringConnection : public DeviceConnection {
public:
    using DeviceConnection::IoControl;

    Result IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize, void* aOut,
                     unsigned int aOutSize, unsigned long* aInfo,
                     OVERLAPPED* aOverlapped) override {
        ++calls;
        code = aCode;
        input = aIn;
        inputSize = aInSize;
        output = aOut;
        outputSize = aOutSize;
        isOverlapped = aOverlapped != nullptr;
        *aInfo = returned;
        return result;
    }

    Result result = 0;
    unsigned long returned = 0;

    int calls = 0;
    unsigned long code = 0;
    const void* input = nullptr;
    unsigned int inputSize = 0;
    void* output = nullptr;
    unsigned int outputSize = 0;
    bool isOverlapped = true;
};

TEST(AnsweringConnectionTest, WaitedControlGoesThroughTheOverriddenRawForm) {
    AnsweringConnection connection;
    char input[4];
    char output[8];
    DeviceConnection& base = connection;

    // No device is open: the raw form checks that.
    EXPECT_THAT(base.IoControl(0x222008, input, 4, output, 8, 0UL), IsBareCode(Code::Success));

    EXPECT_EQ(1, connection.calls);
    EXPECT_EQ(0x222008u, connection.code);
    EXPECT_EQ(input, connection.input);
    EXPECT_EQ(4u, connection.inputSize);
    EXPECT_EQ(output, connection.output);
    EXPECT_EQ(8u, connection.outputSize);
    EXPECT_FALSE(connection.isOverlapped);
}

TEST(AnsweringConnectionTest, WaitedControlChecksTheSizeOfSuccessesOnly) {
    struct {
        unsigned long raw;
        unsigned long returned;
        unsigned long expected;
        unsigned long result;
    } const cases[] = {{0, 4, 8, 14},
                       {0, 8, 8, 0},
                       {0, 12, 8, 0},
                       {0, 0, 0, 0},
                       {0, 0x80000000, 8, 0},
                       {0, 8, 0x80000000, 14},
                       {0x10000, 4, 8, 14},
                       {0x10000, 12, 8, 0x10000},
                       {0x80000000, 4, 8, 14},
                       {259, 4, 8, 259},
                       {0x10103, 4, 8, 0x10103},
                       {0xFFFF, 4, 8, 0xFFFF},
                       {5, 4, 8, 5},
                       {0x10001, 12, 8, 0x10001}};
    AnsweringConnection connection;
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.raw << ", " << each.returned << " bytes");
        const ErrorWatch watch;
        connection.result = each.raw;
        connection.returned = each.returned;
        EXPECT_THAT(connection.IoControl(1, nullptr, 0, nullptr, 0, each.expected),
                    IsBareCode(each.result));
        EXPECT_EQ(each.result != 14, watch.IsQuiet());
        if (each.result == 14) {
            EXPECT_EQ(kShortAnswer, LastErrorText());
        }
    }
}

// Reading

TEST_F(PipeConnectionTest, ReadGivesWhatIsThere) {
    const ErrorWatch watch;
    server.Write("data");

    EXPECT_THAT(connection.Read(buffer, sizeof buffer, &info, nullptr), IsBareCode(Code::Success));

    EXPECT_EQ("data", Received());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(PipeConnectionTest, ReadTakesNoMoreThanItsSize) {
    server.Write("12345678");

    EXPECT_THAT(connection.Read(buffer, 5, &info, nullptr), IsBareCode(Code::Success));
    EXPECT_EQ("12345", Received());
    EXPECT_THAT(connection.Read(buffer, 5, &info, nullptr), IsBareCode(Code::Success));
    EXPECT_EQ("678", Received());
}

// Calls a function when the library is about to ask the system for a request's completion.
class WaitHook {
public:
    explicit WaitHook(std::function<void()> aBefore) : before_(std::move(aBefore)) {
        active_ = this;
    }
    ~WaitHook() { active_ = nullptr; }

    WaitHook(const WaitHook&) = delete;
    WaitHook& operator=(const WaitHook&) = delete;

    int calls = 0;
    bool waited = false;

private:
    static BOOL WINAPI Call(HANDLE aHandle, OVERLAPPED* aOverlapped, DWORD* aInfo, BOOL aWait) {
        ++active_->calls;
        active_->waited = aWait != FALSE;
        active_->before_();
        return ::GetOverlappedResult(aHandle, aOverlapped, aInfo, aWait);
    }

    inline static WaitHook* active_ = nullptr;

    std::function<void()> before_;
    ImportPatch patch_{"GetOverlappedResult", &Call};
};

TEST_F(PipeConnectionTest, ReadWithoutOverlappedWaitsForAnotherThread) {
    const ErrorWatch watch;
    const Event pending;
    const WaitHook hook([&] { pending.Set(); });
    std::thread driver([&] {
        pending.Wait();
        server.Write("late");
    });

    EXPECT_THAT(connection.Read(buffer, sizeof buffer, &info, nullptr), IsBareCode(Code::Success));

    driver.join();
    EXPECT_EQ("late", Received());
    EXPECT_EQ(1, hook.calls);
    EXPECT_TRUE(hook.waited);
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(PipeConnectionTest, ReadWithOverlappedIsLeftPending) {
    const ErrorWatch watch;

    EXPECT_THAT(connection.Read(buffer, sizeof buffer, &info, &overlapped),
                IsBareCode(Code::Pending));

    EXPECT_FALSE(overlapped.event.IsSet());
    server.Write("later");
    EXPECT_THAT(connection.GetOverlappedResult(&overlapped, &info, /*aWait=*/true), IsBareCode(0));
    EXPECT_EQ("later", Received());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(PipeConnectionTest, ReadsStayPendingSideBySide) {
    Overlapped second;
    char secondBuffer[8] = {};

    EXPECT_THAT(connection.Read(buffer, 8, &info, &overlapped), IsBareCode(Code::Pending));
    EXPECT_THAT(connection.Read(secondBuffer, 8, &info, &second), IsBareCode(Code::Pending));
    server.Write("first");
    server.Write("next");

    EXPECT_THAT(connection.GetOverlappedResult(&second, &info, /*aWait=*/true), IsBareCode(0));
    EXPECT_EQ("next", std::string(secondBuffer, info));
    EXPECT_THAT(connection.GetOverlappedResult(&overlapped, &info, /*aWait=*/true), IsBareCode(0));
    EXPECT_EQ("first", Received());
}

TEST_F(PipeConnectionTest, ReadHandsTheSystemsErrorOnWithoutAMessage) {
    const ErrorWatch watch;
    server.Close();

    EXPECT_THAT(connection.Read(buffer, sizeof buffer, &info, nullptr),
                IsBareCode(ERROR_BROKEN_PIPE));
    EXPECT_THAT(connection.Read(buffer, sizeof buffer, &info, &overlapped),
                IsBareCode(ERROR_BROKEN_PIPE));

    EXPECT_TRUE(watch.IsQuiet());
    EXPECT_TRUE(connection.IsConnected());
}

TEST_F(PipeConnectionTest, WaitedReadThatFailsInTheEndIsLogged) {
    const WaitHook hook([&] { server.Close(); });

    EXPECT_THAT(connection.Read(buffer, sizeof buffer, &info, nullptr),
                IsBareCode(ERROR_BROKEN_PIPE));

    EXPECT_EQ("GetOverlappedResult failed", LastErrorText());
}

TEST_F(PipeConnectionTest, TransfersWithoutOverlappedUseAnEventOfTheirOwn) {
    const HandleLedger ledger;
    server.Write("data");

    ASSERT_THAT(connection.Read(buffer, sizeof buffer, &info, nullptr), IsBareCode(0));
    EXPECT_EQ(1, ledger.EventsOpened());
    ASSERT_THAT(connection.Write("data", 4, &info, nullptr), IsBareCode(0));
    EXPECT_EQ(2, ledger.EventsOpened());
    EXPECT_EQ(0, ledger.Unbalanced());

    server.Close();
    EXPECT_THAT(connection.Read(buffer, sizeof buffer, &info, nullptr),
                IsBareCode(ERROR_BROKEN_PIPE));
    EXPECT_EQ(0, ledger.Unbalanced());
}

TEST_F(PipeConnectionTest, TransfersWithOverlappedMakeNoEvent) {
    const HandleLedger ledger;

    ASSERT_THAT(connection.Read(buffer, sizeof buffer, &info, &overlapped),
                IsBareCode(Code::Pending));
    server.Write("data");
    ASSERT_THAT(connection.GetOverlappedResult(&overlapped, &info, /*aWait=*/true), IsBareCode(0));

    EXPECT_EQ(0, ledger.EventsOpened());
    EXPECT_EQ(0, ledger.Closes());
}

TEST_F(PipeConnectionTest, OwnEventIsManualResetNotSignalledAndNameless) {
    struct System {
        static HANDLE WINAPI CreateEvent(SECURITY_ATTRIBUTES* aSecurity, BOOL aManualReset,
                                         BOOL aInitialState, const char* aName) {
            EXPECT_EQ(nullptr, aSecurity);
            EXPECT_TRUE(aManualReset);
            EXPECT_FALSE(aInitialState);
            EXPECT_EQ(nullptr, aName);
            return nullptr;
        }
    };
    const ImportPatch patch("CreateEventA", &System::CreateEvent);
    const WaitHook hook([&] { server.Write("late"); });

    // That there is no event is not looked at.
    EXPECT_THAT(connection.Read(buffer, sizeof buffer, &info, nullptr), IsBareCode(Code::Success));
    EXPECT_EQ("late", Received());
}

// Without an event the system waits for the file, which any other request on it signals: then it
// reports a success while the request is still on its way. So does this system, once.
class EarlySuccess {
public:
    EarlySuccess() { reports_ = 0; }
    bool IsActive() const { return create_.IsActive() && complete_.IsActive(); }
    int Reports() const { return reports_; }

private:
    static HANDLE WINAPI CreateEvent(SECURITY_ATTRIBUTES*, BOOL, BOOL, const char*) {
        return nullptr;
    }
    static BOOL WINAPI Complete(HANDLE aFile, OVERLAPPED* aOverlapped, DWORD* aInfo, BOOL aWait) {
        if (++reports_ > 1) return ::GetOverlappedResult(aFile, aOverlapped, aInfo, aWait);
        EXPECT_FALSE(HasOverlappedIoCompleted(aOverlapped));
        *aInfo = 0;
        return TRUE;
    }
    inline static int reports_ = 0;
    ImportPatch create_{"CreateEventA", &CreateEvent};
    ImportPatch complete_{"GetOverlappedResult", &Complete};
};

TEST_F(PipeConnectionTest, SuccessBeforeTheCompletionIsNoneWithoutAnEvent) {
    const EarlySuccess system;
    ASSERT_TRUE(system.IsActive());
    std::thread driver([&] {
        while (system.Reports() == 0) std::this_thread::yield();
        server.Write("late");
    });

    EXPECT_THAT(connection.Read(buffer, sizeof buffer, &info, nullptr), IsBareCode(Code::Success));

    driver.join();
    EXPECT_LE(2, system.Reports());
    EXPECT_EQ("late", Received());
}

// Writing

TEST_F(PipeConnectionTest, WriteHandsTheDataOver) {
    const ErrorWatch watch;

    EXPECT_THAT(connection.Write("data", 4, &info, nullptr), IsBareCode(Code::Success));

    EXPECT_EQ(4u, info);
    EXPECT_EQ("data", server.Read());
    EXPECT_TRUE(watch.IsQuiet());
}

// A pipe that takes no more than a few bytes until its server reads.
class NarrowPipeTest : public DeviceConnectionTest {
protected:
    NarrowPipeTest() {
        EXPECT_THAT(connection.Connect(server.Name()), IsBareCode(0));
        EXPECT_THAT(connection.Write("full", 4, &info, &filling), IsBareCode(0));
    }

    PipeServer server{"", /*aBufferSize=*/4};
    Overlapped filling;
    Overlapped overlapped;
    const std::string data = std::string(4096, 'd');
};

TEST_F(NarrowPipeTest, WriteWithoutOverlappedWaitsForAnotherThread) {
    const Event pending;
    const WaitHook hook([&] { pending.Set(); });
    std::string first;
    std::string second;
    std::thread driver([&] {
        pending.Wait();
        first = server.Read();
        second = server.Read();
    });

    EXPECT_THAT(connection.Write(data.data(), 4096, &info, nullptr), IsBareCode(Code::Success));

    driver.join();
    EXPECT_EQ(4096u, info);
    EXPECT_EQ("full", first);
    EXPECT_EQ(data, second);
    EXPECT_TRUE(hook.waited);
}

TEST_F(NarrowPipeTest, WriteWithOverlappedIsLeftPending) {
    EXPECT_THAT(connection.Write(data.data(), 4096, &info, &overlapped), IsBareCode(Code::Pending));
    EXPECT_FALSE(overlapped.event.IsSet());

    EXPECT_EQ("full", server.Read());
    EXPECT_EQ(data, server.Read());
    EXPECT_THAT(connection.GetOverlappedResult(&overlapped, &info, /*aWait=*/true), IsBareCode(0));
    EXPECT_EQ(4096u, info);
}

TEST_F(NarrowPipeTest, WaitedWriteThatFailsInTheEndIsLogged) {
    const WaitHook hook([&] { server.Close(); });

    EXPECT_THAT(connection.Write(data.data(), 4096, &info, nullptr), IsBareCode(ERROR_BROKEN_PIPE));

    EXPECT_EQ("GetOverlappedResult failed", LastErrorText());
}

TEST_F(PipeConnectionTest, WriteHandsTheSystemsErrorOnWithoutAMessage) {
    const ErrorWatch watch;
    server.Close();

    EXPECT_THAT(connection.Write("data", 4, &info, nullptr), IsBareCode(ERROR_NO_DATA));
    EXPECT_THAT(connection.Write("data", 4, &info, &overlapped), IsBareCode(ERROR_NO_DATA));

    EXPECT_TRUE(watch.IsQuiet());
}

// The system's ReadFile and WriteFile, failing.
template <DWORD Error>
BOOL WINAPI FailingTransfer(HANDLE, void*, DWORD, DWORD*, OVERLAPPED*) {
    ::SetLastError(Error);
    return FALSE;
}

TEST_F(PipeConnectionTest, LowBitsOfTheErrorTellWhetherItIsPending) {
    const ImportPatch read("ReadFile", &FailingTransfer<0x1003E5>);
    const ImportPatch write("WriteFile", &FailingTransfer<0x1003E5>);

    EXPECT_THAT(connection.Read(buffer, 8, &info, &overlapped), IsBareCode(Code::Pending));
    EXPECT_THAT(connection.Write(buffer, 8, &info, &overlapped), IsBareCode(Code::Pending));
}

TEST_F(PipeConnectionTest, TransferErrorsAreHandedOnWhole) {
    const ErrorWatch watch;
    const ImportPatch read("ReadFile", &FailingTransfer<0x20010005>);
    const ImportPatch write("WriteFile", &FailingTransfer<0x20010005>);

    EXPECT_THAT(connection.Read(buffer, 8, &info, nullptr), IsBareCode(0x20010005));
    EXPECT_THAT(connection.Write(buffer, 8, &info, nullptr), IsBareCode(0x20010005));
    EXPECT_TRUE(watch.IsQuiet());
}

// A file stands for devices that heed the offset.
TEST_F(DeviceConnectionTest, TransfersWithoutOverlappedStartAtOffsetZero) {
    const std::string path = directory.File("device");
    WriteBytes(path, "12345678");
    ASSERT_THAT(connection.Connect(path.c_str()), IsBareCode(0));
    for (const char* const expected : {"1234", "1234"}) {
        EXPECT_THAT(connection.Read(buffer, 4, &info, nullptr), IsBareCode(0));
        EXPECT_EQ(expected, std::string(buffer, info));
    }

    EXPECT_THAT(connection.Write("AB", 2, &info, nullptr), IsBareCode(0));
    EXPECT_THAT(connection.Write("C", 1, &info, nullptr), IsBareCode(0));
    ASSERT_THAT(connection.Close(), IsBareCode(0));
    EXPECT_EQ("CB345678", ReadBytes(path));
}

TEST_F(DeviceConnectionTest, CallersOffsetIsHeeded) {
    const std::string path = directory.File("device");
    WriteBytes(path, "12345678");
    ASSERT_THAT(connection.Connect(path.c_str()), IsBareCode(0));
    Overlapped overlapped;
    overlapped.Offset = 5;

    // Files may answer at once.
    EXPECT_THAT(connection.Read(buffer, 2, &info, &overlapped),
                testing::AnyOf(IsBareCode(Code::Success), IsBareCode(Code::Pending)));

    EXPECT_THAT(connection.GetOverlappedResult(&overlapped, &info, /*aWait=*/true), IsBareCode(0));
    EXPECT_EQ("67", std::string(buffer, info));
}

// Completion

TEST_F(PipeConnectionTest, CompletionPolledTooEarlyIsALoggedFailure) {
    ASSERT_THAT(connection.Read(buffer, sizeof buffer, &info, &overlapped),
                IsBareCode(Code::Pending));
    Result result;

    const auto lines = LoggedErrorsWithoutLines(
        [&] { result = connection.GetOverlappedResult(&overlapped, &info, /*aWait=*/false); });

    EXPECT_THAT(result, IsBareCode(996));
    EXPECT_THAT(lines,
                ElementsAre("[0x3e4] .\\DeviceConnection(#) ERR  - GetOverlappedResult failed"));
    server.Write("late");
    EXPECT_THAT(connection.GetOverlappedResult(&overlapped, &info, /*aWait=*/true), IsBareCode(0));
    EXPECT_EQ("late", Received());
}

TEST_F(PipeConnectionTest, CompletionIsPolledWithoutWaiting) {
    ASSERT_THAT(connection.Read(buffer, sizeof buffer, &info, &overlapped),
                IsBareCode(Code::Pending));
    server.Write("data");
    overlapped.event.Wait();
    const WaitHook hook([] {});

    EXPECT_THAT(connection.GetOverlappedResult(&overlapped, &info, /*aWait=*/false),
                IsBareCode(Code::Success));

    EXPECT_FALSE(hook.waited);
    EXPECT_EQ("data", Received());
}

TEST_F(PipeConnectionTest, CompletionWaitsForAnotherThread) {
    ASSERT_THAT(connection.Read(buffer, sizeof buffer, &info, &overlapped),
                IsBareCode(Code::Pending));
    const Event pending;
    const WaitHook hook([&] { pending.Set(); });
    std::thread driver([&] {
        pending.Wait();
        server.Write("late");
    });

    EXPECT_THAT(connection.GetOverlappedResult(&overlapped, &info, /*aWait=*/true),
                IsBareCode(Code::Success));

    driver.join();
    EXPECT_EQ("late", Received());
}

TEST_F(PipeConnectionTest, CompletionHandsTheSystemsErrorOn) {
    ASSERT_THAT(connection.Read(buffer, sizeof buffer, &info, &overlapped),
                IsBareCode(Code::Pending));
    server.Close();

    EXPECT_THAT(connection.GetOverlappedResult(&overlapped, &info, /*aWait=*/true),
                IsBareCode(ERROR_BROKEN_PIPE));

    EXPECT_EQ("GetOverlappedResult failed", LastErrorText());
    EXPECT_TRUE(connection.IsConnected());
}

// References

class WatchedConnection : public DeviceConnection {
public:
    int released = 0;

protected:
    void OnRelease() override { ++released; }
};

TEST_F(DeviceConnectionTest, ReferencesAreCountedAndNotTakenByTheConnection) {
    WatchedConnection watched;
    const PipeServer server;
    ASSERT_THAT(watched.Connect(server.Name()), IsBareCode(0));
    ASSERT_THAT(watched.Write("data", 4, &info, nullptr), IsBareCode(0));
    EXPECT_EQ(1, watched.GetRefCount());

    watched.Lock();
    EXPECT_EQ(2, watched.GetRefCount());
    watched.Unlock();
    EXPECT_EQ(0, watched.released);
    watched.Unlock();
    EXPECT_EQ(1, watched.released);

    // The last reference does not close the device by itself.
    EXPECT_TRUE(watched.IsConnected());
}

// The binary interface

class SlotConnection : public DeviceConnection {
public:
    explicit SlotConnection(std::vector<std::string>& aReached) : reached_(aReached) {}
    SlotConnection(const SlotConnection&) = delete;
    SlotConnection& operator=(const SlotConnection&) = delete;
    ~SlotConnection() override { reached_.emplace_back("destructor"); }

    void Lock() override { reached_.emplace_back("Lock"); }
    void Unlock() override { reached_.emplace_back("Unlock"); }
    long GetRefCount() const override { return 104; }
    Result IoControl(unsigned long aCode, const void*, unsigned int, void*, unsigned int,
                     unsigned long aExpectedSize) override {
        reached_.push_back("waited " + std::to_string(aExpectedSize));
        return Result(aCode);
    }
    Result IoControl(unsigned long aCode, const void*, unsigned int, void*, unsigned int,
                     unsigned long* aInfo, OVERLAPPED*) override {
        reached_.push_back("raw " + std::to_string(*aInfo));
        return Result(aCode);
    }
    Result Read(void*, unsigned int aSize, unsigned long*, void*) override {
        return Result(100 + aSize);
    }
    Result Write(const void*, unsigned int aSize, unsigned long*, void*) override {
        return Result(200 + aSize);
    }

protected:
    void OnRelease() override { reached_.emplace_back("OnRelease"); }

private:
    std::vector<std::string>& reached_;
};

TEST(DeviceConnectionTableTest, InheritedFunctionsStandInTheFirstSlots) {
    std::vector<std::string> reached;
    void* const object = static_cast<DeviceConnection*>(new SlotConnection(reached));

    CallSlot<void>(object, 2);
    CallSlot<void>(object, 3);
    EXPECT_EQ(104, CallSlot<long>(object, 4));
    CallSlot<void>(object, 5);
    CallSlot<void>(object, 1);

    EXPECT_THAT(reached, ElementsAre("Lock", "Unlock", "OnRelease", "destructor"));
}

TEST(DeviceConnectionTableTest, OwnFunctionsFollow) {
    std::vector<std::string> reached;
    SlotConnection connection(reached);
    void* const object = static_cast<DeviceConnection*>(&connection);
    const void* const noInput = nullptr;
    void* const none = nullptr;
    unsigned long info = 17;

    EXPECT_THAT(CallSlot<Result>(object, 6, 106UL, noInput, 0U, none, 0U, 16UL), IsBareCode(106));
    EXPECT_THAT(CallSlot<Result>(object, 7, 107UL, noInput, 0U, none, 0U, &info, none),
                IsBareCode(107));
    EXPECT_THAT(CallSlot<Result>(object, 8, none, 8U, &info, none), IsBareCode(108));
    EXPECT_THAT(CallSlot<Result>(object, 9, noInput, 9U, &info, none), IsBareCode(209));

    EXPECT_THAT(reached, ElementsAre("waited 16", "raw 17"));
}

}  // namespace
}  // namespace QvTests
