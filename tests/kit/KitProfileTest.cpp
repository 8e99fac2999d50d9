// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Profiles: what is saved, how the file is read, and what becomes of it on a device.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "FakeDevice.h"
#include "ImportPatch.h"
#include "KitTestSupport.h"
#include "PipeServer.h"
#include "QvKit/Difference.h"
#include "QvKit/Profile.h"
#include "QvKit/Text.h"
#include "QvUserLib/Parameter.h"
#include "TestSupport.h"

namespace {

using QvKit::Change;
using QvKit::Difference;
using QvKit::ErrorKind;
using QvKit::Profile;
using QvKit::ProfileChoice;
using QvKit::ProfileRest;
using QvKit::SavedSetting;
using QvKit::Setting;
using QvKit::Snapshot;
using QvKit::Value;
using QvTests::Enumeration;
using QvTests::ErrorOf;
using QvTests::FakeDevice;
using QvTests::HasCode;
using QvTests::Integer;
using QvTests::kJapanese;
using QvTests::kSize;
using QvTests::kSlowFast;
using QvTests::MessageOf;
using QvTests::PipeServer;
using QvTests::Record;
using QvTests::TemporaryDirectory;
using QvTests::Text;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

Profile TakeFrom(const FakeDevice& aDevice) { return Profile::Take(aDevice.GetSnapshot(), {}, {}); }

std::string Json(const std::string& aParameters) {
    return "{\n\"format\": \"QvUserLib settings\",\n\"version\": 1,\n\"parameters\": [\n" +
           aParameters + "\n]}\n";
}

Profile Parse(const std::string& aJson) { return Profile::FromJson(aJson, "x.json"); }

std::string MistakeIn(const std::string& aJson) {
    const auto error = ErrorOf([&] { (void)Parse(aJson); });
    if (!error) return "no mistake";
    EXPECT_EQ(ErrorKind::BadFile, error->GetKind());
    return error->what();
}

// Why a profile with this parameter is refused by the device, whose own values are at hand.
std::string RefusalOf(FakeDevice& aDevice, const std::string& aParameter) {
    Change change(aDevice.parameters);
    const Profile profile = Parse(Json(aParameter));
    return MessageOf(
        [&] { (void)ApplyProfile(profile, ProfileChoice(), aDevice.GetSnapshot(), change); });
}

// Taking

TEST(KitProfileTest, OnlyWhatCanBeSetAgainIsTaken) {
    Record forgotten = Integer(9, L"Marker", 1);
    forgotten.flags = 0;
    const FakeDevice device({Integer(1, L"Gain", 12, "dB"),
                             Integer(4, L"Serial", 5, "", QV_PARAMETER_READ_ONLY),
                             Integer(5, L"Level", 5, "", QV_PARAMETER_VOLATILE), forgotten});

    const Profile profile = TakeFrom(device);

    ASSERT_THAT(profile.settings, SizeIs(1));
    EXPECT_EQ("Gain", profile.settings[0].name);
    ASSERT_THAT(profile.omissions, SizeIs(3));
    EXPECT_EQ("Serial", profile.omissions[0].name);
    EXPECT_EQ("it is read-only", profile.omissions[0].reason);
    EXPECT_EQ("the driver changes it by itself", profile.omissions[1].reason);
    EXPECT_EQ("the driver does not keep it", profile.omissions[2].reason);
}

TEST(KitProfileTest, AValueThatAFileCannotHoldCostsOnlyItself) {
    const std::wstring twice(L"Slow\0Slow\0", 10);
    struct {
        Record record;
        const char* reason;
    } const cases[] = {{Text(L"a\xD800"), "its text is not well-formed Unicode"},
                       {Enumeration(twice, 1), "several of its entries have the same name"}};
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.reason);
        const FakeDevice device({oneCase.record, Integer(1, L"Gain", 12)});

        const Profile profile = TakeFrom(device);

        ASSERT_THAT(profile.omissions, SizeIs(1));
        EXPECT_EQ(oneCase.reason, profile.omissions[0].reason);
        EXPECT_THAT(profile.settings, SizeIs(1));
    }
}

TEST(KitProfileTest, AnIndexWithoutEntryCostsOnlyItself) {
    QvUserLib::ParameterRepository parameters("Parameters", 1);
    auto* const mode = new QvUserLib::Parameter("Mode", 2);
    mode->InitEnum();
    ASSERT_THAT(parameters.Add(mode), HasCode(0));

    const Profile profile = Profile::Take(Snapshot(parameters), {}, {});

    ASSERT_THAT(profile.omissions, SizeIs(1));
    EXPECT_EQ("its value is none of its entries", profile.omissions[0].reason);
}

TEST(KitProfileTest, ANameThatDoesNotExistIsRefused) {
    const FakeDevice device({Integer(1, L"Gain", 12)});

    EXPECT_EQ("gain: The specified parameter doesn't exist (did you mean Gain?)",
              MessageOf([&] { (void)Profile::Take(device.GetSnapshot(), {"gain"}, {}); }));
}

// The document

TEST(KitProfileTest, TheDocumentHasAParameterInEachLineInTheOrderOfNames) {
    const FakeDevice device(
        {Text(L"S\u00FCd\n\"x\""), Enumeration(kSlowFast, 1), Integer(1, L"Gain", 12, "dB")});
    Profile profile = TakeFrom(device);
    profile.time = "2026-01-31T12:00:00Z";
    profile.origin.serialNumber = "QV-1";

    EXPECT_EQ(R"({
  "format": "QvUserLib settings",
  "version": 1,
  "time": "2026-01-31T12:00:00Z",
  "device": { "serialNumber": "QV-1" },
  "parameters": [
    { "name": "Gain", "id": 1, "type": "integer", "value": 12, "unit": "dB" },
    { "name": "Label", "id": 3, "type": "string", "value": ")"
              "S\xC3\xBC"
              R"(d\n\"x\"" },
    { "name": "Mode", "id": 2, "type": "enumeration", "value": "Fast" }
  ]
}
)",
              profile.ToJson());
}

TEST(KitProfileTest, TheTimeIsInUtcAndToTheSecond) {
    EXPECT_THAT(TakeFrom(FakeDevice({})).ToJson(), HasSubstr("\"time\": \"20"));
    EXPECT_THAT(*TakeFrom(FakeDevice({})).time, AllOf(SizeIs(20), EndsWith("Z")));
}

TEST(KitProfileTest, WhatIsWrittenIsReadAsTheSame) {
    const FakeDevice device({Text(QvKit::FromUtf8(std::string(kJapanese) + "\t\\\x7F")),
                             Enumeration(kSlowFast, 1),
                             Integer(1, QvKit::FromUtf8(kSize), 12, "%")});
    Profile profile = TakeFrom(device);
    profile.origin = {"{class}", "QV-1", "1.0.0"};

    const Profile again = Parse(profile.ToJson());

    EXPECT_EQ(profile.ToJson(), again.ToJson());
    EXPECT_THAT(FindDifferences(profile.settings, again.settings), IsEmpty());
    EXPECT_EQ(profile.time, again.time);
    EXPECT_EQ("1.0.0", again.origin.driverVersion);
}

TEST(KitProfileTest, AByteOrderMarkOtherLayoutAndOnlyTheNecessaryAreRead) {
    const Profile profile = Parse(
        "\xEF\xBB\xBF{\"parameters\":[{\"value\":-1,\"type\":\"integer\",\r\n\"name\":\"A\"}],"
        "\"version\":1,\"format\":\"QvUserLib settings\"}");

    ASSERT_THAT(profile.settings, SizeIs(1));
    EXPECT_EQ(Value(-1LL), profile.settings[0].value);
    EXPECT_FALSE(profile.settings[0].id.has_value());
    EXPECT_FALSE(profile.time.has_value());
}

TEST(KitProfileTest, AMistakeHasItsLineAndColumn) {
    const std::string head = "{\"format\":\"QvUserLib settings\",\"version\":1,";
    struct {
        std::string json;
        const char* message;
    } const cases[] = {
        {"", "line 1, column 1: unexpected end of input; expected '[', '{', or a literal"},
        {"[]", "line 1, column 1: a profile has to be an object"},
        {"\n\n\n[]", "line 4, column 1: a profile has to be an object"},
        {"{}", "line 1, column 1: 'format' is missing"},
        {"{\"format\": \"x\"}",
         "line 1, column 12: it is no profile, whose 'format' is \"QvUserLib settings\""},
        {"{\"format\":\"QvUserLib settings\",\n \"version\": 0}",
         "line 2, column 13: 'version' has to be a whole number from 1 on"},
        {"{\"format\":\"QvUserLib settings\",\"version\":1}",
         "line 1, column 1: 'parameters' is missing"},
        {head + "\"parameters\":{}}", "line 1, column 57: 'parameters' has to be an array"},
        {head + "\"version\":1}", "line 1, column 44: 'version' is there a second time"},
        {head + "\n\"parameter\":[]}",
         "line 2, column 13: a member 'parameter' is not known (did you mean parameters?)"},
        {head + "\"time\":\"yesterday\",\"parameters\":[]}",
         "line 1, column 51: 'time' has to be a time such as 2026-01-31T12:00:00Z"},
        {Json("7"), "line 5, column 1: a parameter has to be an object"},
        {Json("{\"name\":\"A\",\"type\":\"integer\"}"), "line 5, column 1: 'value' is missing"},
        {Json("{\"name\":\"A\",\"type\":\"real\",\"value\":1}"),
         "line 5, column 20: 'type' has to be \"integer\", \"enumeration\" or \"string\""},
        {Json("{\"name\":\"A\",\"type\":\"integer\",\"value\":1.5}"),
         "line 5, column 38: the 'value' of an integer has to be a whole number of at most 64 "
         "bits"},
        {Json("{\"name\":\"A\",\"type\":\"integer\",\"value\":9223372036854775808}"),
         "line 5, column 38: the 'value' of an integer has to be a whole number of at most 64 "
         "bits"},
        {Json("{\"name\":\"A\",\"type\":\"string\",\"value\":1}"),
         "line 5, column 37: 'value' has to be a text"},
        {Json("{\"name\":\"A\",\"type\":\"integer\",\"value\":1,\"id\":-1}"),
         "line 5, column 45: 'id' has to be a whole number from 0 to 4294967295"},
        {Json("{\"name\":\"A\",\"type\":\"string\",\"value\":\"\",\"unit\":\"V\"}"),
         "line 5, column 47: only an integer has a unit"},
        {Json("{\"name\":\"A\",\"type\":\"integer\",\"value\":1},\n"
              "{\"name\":\"A\",\"type\":\"integer\",\"value\":2}"),
         "line 6, column 1: the parameter 'A' is there a second time, after line 5"},
        {Json("{\"name\":\"A\",\"type\":\"string\",\"value\":\"a\\u0000\"}"),
         "line 5, column 37: a text cannot have a zero character"},
        {Json("{\"name\":\"\xC3\xBC\",\"type\":\"string\",\"value\":\"\xFF\"}"),
         "line 5, column 38: invalid string: ill-formed UTF-8 byte"},
        {Json("{\"name\":\"A\",\"type\":\"string\",\"value\":\"\\ud800\"}"),
         "line 5, column 44: invalid string: surrogate U+D800..U+DBFF must be followed by "
         "U+DC00..U+DFFF"},
        {Json("").substr(0, 60), "line 4, column 13: unexpected end of input; expected ':'"},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.json);
        EXPECT_EQ("'x.json', " + std::string(oneCase.message), MistakeIn(oneCase.json));
    }
}

TEST(KitProfileTest, ANewerVersionIsRefusedWhateverElseItHas) {
    EXPECT_EQ(
        "'x.json' is a profile of version 2, but this program reads only up to 1: use a newer one",
        MistakeIn("{\"format\":\"QvUserLib settings\",\"version\":2,\"groups\":[]}"));
}

TEST(KitProfileTest, WhatIsTooMuchIsRefused) {
    EXPECT_EQ("'x.json' is larger than a profile may be, 4194304 bytes",
              MistakeIn(std::string(Profile::kMostBytes + 1, ' ')));
    EXPECT_EQ("'x.json', line 1, column 17: it is nested too deeply",
              MistakeIn(std::string(1000000, '[')));
    std::string members = "{";
    for (int number = 0; number < 100; ++number) members += "\"" + std::to_string(number) + "\":1,";
    EXPECT_THAT(MistakeIn(members), EndsWith("an object has too many members"));
    std::string values = "[";
    for (int number = 0; number < 300000; ++number) values += "1,";
    EXPECT_THAT(MistakeIn(values), EndsWith("there are too many values"));
    EXPECT_THAT(MistakeIn(Json("{\"name\":\"" + std::string(20000, 'x') + "\"}")),
                EndsWith("the text is too long"));
}

TEST(KitProfileTest, AMessageIsOneLine) {
    EXPECT_EQ("'x.json', line 1, column 12: 'a b?' is there a second time",
              MistakeIn("{\"a b\\n\":1,\"a b\\n\":1}"));
}

TEST(KitProfileTest, AMessageDoesNotRepeatALongText) {
    const std::string name = "first" + std::string(9995, 'x');

    EXPECT_EQ(
        "'x.json', line 1, column 10007: '" + name.substr(0, 64) + "...' is there a second time",
        MistakeIn("{\"" + name + "\":1,\"" + name + "\":1}"));
}

// Files

TEST(KitProfileFileTest, ASavedFileIsOpenedAndNothingElseIsLeftBehind) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("a.json");
    const FakeDevice device({Integer(1, L"Gain", 12)});

    TakeFrom(device).Save(path);
    TakeFrom(device).Save(path);

    EXPECT_THAT(Profile::Open(path).settings, SizeIs(1));
    WIN32_FIND_DATAA found;
    const HANDLE search = ::FindFirstFileA(directory.File("*.tmp").c_str(), &found);
    EXPECT_EQ(INVALID_HANDLE_VALUE, search);
}

TEST(KitProfileFileTest, AProfileComesInPiecesFromAPipe) {
    const std::string json = Json("{\"name\":\"A\",\"type\":\"integer\",\"value\":7}");
    PipeServer server;
    std::thread writer([&] {
        server.AwaitClient();
        server.Write(json.substr(0, 30));
        server.AwaitReader();
        server.Write(json.substr(30));
        server.Close();
    });

    const Profile profile = Profile::Open(server.Name());
    writer.join();

    ASSERT_THAT(profile.settings, SizeIs(1));
    EXPECT_EQ(Value(7LL), profile.settings.front().value);
}

TEST(KitProfileFileTest, WhatCouldNotBeReadAgainIsNotWritten) {
    constexpr std::size_t kTooMany = 50001;
    const TemporaryDirectory directory;
    const std::string path = directory.File("a.json");
    const FakeDevice device({Integer(1, L"Gain", 12)});
    struct {
        const char* reason;
        std::function<void(Profile&)> spoil;
    } const cases[] = {
        {"the time is malformed", [](Profile& aProfile) { aProfile.time = "now"; }},
        {"serialNumber: the text is too long",
         [](Profile& aProfile) { aProfile.origin.serialNumber = std::string(16385, 'x'); }},
        {"'Gain': it is there a second time",
         [](Profile& aProfile) { aProfile.settings.push_back(aProfile.settings[0]); }},
        {"'Gain': its value is of another type",
         [](Profile& aProfile) { aProfile.settings[0].value = std::wstring(L"12"); }},
        {"'Gain': only an integer has a unit",
         [](Profile& aProfile) {
             aProfile.settings[0].type = QvKit::SettingType::String;
             aProfile.settings[0].value = std::wstring(L"12");
         }},
        {"'Gain': a text cannot have a zero character",
         [](Profile& aProfile) { aProfile.settings[0].unit = std::string(1, '\0'); }},
        {"there are too many settings",
         [](Profile& aProfile) {
             QvKit::SavedSetting setting;
             setting.value = 0LL;
             for (std::size_t number = 0; number < kTooMany; ++number) {
                 setting.name = std::to_string(number);
                 aProfile.settings.push_back(setting);
             }
         }},
        {"it is too large",
         [](Profile& aProfile) {
             QvKit::SavedSetting setting;
             setting.type = QvKit::SettingType::String;
             setting.value = std::wstring(16000, L'x');
             for (int number = 0; number < 300; ++number) {
                 setting.name = std::to_string(number);
                 aProfile.settings.push_back(setting);
             }
         }},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.reason);
        Profile profile = TakeFrom(device);
        oneCase.spoil(profile);

        EXPECT_EQ("'" + path + "' would be no profile: " + oneCase.reason,
                  MessageOf([&] { profile.Save(path); }));
        EXPECT_NE("", MessageOf([&] { (void)Profile::FromJson(profile.ToJson(), "again"); }));
    }
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, ::GetFileAttributesA(path.c_str()));
}

TEST(KitProfileFileTest, ANameOutsideTheCodePageIsTaken) {
    const TemporaryDirectory directory;
    const std::string path = directory.File(kJapanese);

    TakeFrom(FakeDevice({})).Save(path);

    EXPECT_THAT(Profile::Open(path).settings, IsEmpty());
    EXPECT_TRUE(::DeleteFileW(QvKit::FromUtf8(path).c_str()));
}

WINBOOL WINAPI WriteToFullDisk(HANDLE, const void*, DWORD, DWORD* aWritten, OVERLAPPED*) {
    *aWritten = 7;
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

TEST(KitProfileFileTest, AFullDiskLeavesTheOldFile) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("a.json");
    QvTests::WriteBytes(path, "old");
    std::string message;
    {
        const QvTests::ImportPatch patch("WriteFile", &WriteToFullDisk, nullptr);
        ASSERT_TRUE(patch.IsActive());
        message = MessageOf([&] { TakeFrom(FakeDevice({})).Save(path); });
    }

    EXPECT_THAT(message, StartsWith("cannot write '" + path + "': error 112"));
    EXPECT_EQ("old", QvTests::ReadBytes(path));
    WIN32_FIND_DATAA found;
    EXPECT_EQ(INVALID_HANDLE_VALUE, ::FindFirstFileA(directory.File("*.tmp").c_str(), &found));
}

TEST(KitProfileFileTest, ADirectoryThatIsMissingIsAnErrorOfTheSystem) {
    const TemporaryDirectory directory;

    const auto error =
        ErrorOf([&] { TakeFrom(FakeDevice({})).Save(directory.File("no\\a.json")); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::SystemFailed, error->GetKind());
    EXPECT_EQ(static_cast<unsigned long>(ERROR_PATH_NOT_FOUND), error->GetCode());
}

TEST(KitProfileFileTest, AFileLargerThanTheLimitIsRefused) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("a.json");
    QvTests::WriteBytes(path, std::string(Profile::kMostBytes + 1, ' '));

    EXPECT_THAT(MessageOf([&] { (void)Profile::Open(path); }),
                HasSubstr("is larger than a profile may be"));
}

// On a device

TEST(KitProfileChangeTest, AllValuesGoInOneRequest) {
    const std::vector<Record> records = {Integer(1, L"Gain", 12), Enumeration(kSlowFast, 1),
                                         Text(L"\u65E5\u672C")};
    const Profile profile = TakeFrom(FakeDevice(records));
    FakeDevice device({Integer(1, L"Gain", 5), Enumeration(kSlowFast, 0), Text(L"")});
    Change change(device.parameters);

    (void)ApplyProfile(profile, ProfileChoice(), device.GetSnapshot(), change);
    EXPECT_FALSE(change.Send().error.has_value());

    const std::vector<Record> sent = device.GetSent();
    ASSERT_THAT(sent, SizeIs(3));
    EXPECT_EQ(12u, sent[0].value);
    EXPECT_EQ(1u, sent[1].value);
    EXPECT_EQ(L"\u65E5\u672C", std::wstring(sent[2].content.string.valueText));
}

TEST(KitProfileChangeTest, AnEntryIsFoundByItsNameWhereverItIs) {
    const Profile profile = TakeFrom(FakeDevice({Enumeration(kSlowFast, 1)}));
    FakeDevice device({Enumeration(std::wstring(L"Fast\0Off\0", 9), 1)});
    Change change(device.parameters);

    (void)ApplyProfile(profile, ProfileChoice(), device.GetSnapshot(), change);

    EXPECT_EQ(Value(0LL), change.GetEdits().at(0).after);
}

TEST(KitProfileChangeTest, WhatDoesNotFitExactlyIsRefusedWithItsLine) {
    FakeDevice device({Integer(1, L"Gain", 5, "dB"),
                       Enumeration(std::wstring(L"Slow\0Two\0Two\0", 13), 0), Text(L"")});
    struct {
        const char* parameter;
        const char* message;
    } const cases[] = {
        {R"({"name":"Gain","type":"integer","value":101})",
         "Gain=101 refused: Value does not fit in the range (allowed: 0 to 100 dB; line 5)"},
        {R"({"name":"Gain","type":"string","value":"5"})",
         "Gain=5 refused: Its type is integer on this device, but string in the profile (line 5)"},
        {R"({"name":"Gain","type":"integer","value":5,"unit":"B"})",
         "Gain=5 refused: Its unit is dB on this device, but B in the profile (line 5)"},
        {R"({"name":"Gain","type":"integer","value":5,"unit":""})",
         "Gain=5 refused: Its unit is dB on this device, but none in the profile (line 5)"},
        {R"({"name":"Mode","type":"enumeration","value":"0"})",
         "Mode=0 refused: No entry has exactly this name (allowed: Slow, Two, Two; line 5)"},
        {R"({"name":"Mode","type":"enumeration","value":"slow"})",
         "Mode=slow refused: No entry has exactly this name (allowed: Slow, Two, Two; line 5)"},
        {R"({"name":"Mode","type":"enumeration","value":"Two"})",
         "Mode=Two refused: Several entries have this name (allowed: Slow, Two, Two; line 5)"},
        {R"({"name":"gain","type":"integer","value":5})",
         "gain=5 refused: The specified parameter doesn't exist (did you mean Gain?; line 5)"},
        {R"({"name":"Volume","id":1,"type":"integer","value":5})",
         "Volume=5 refused: The specified parameter doesn't exist "
         "(its identifier is now Gain's; line 5)"},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.parameter);
        EXPECT_EQ(oneCase.message + std::string("; nothing was sent"),
                  RefusalOf(device, oneCase.parameter));
    }
    EXPECT_THAT(device.GetSent(), IsEmpty());
}

TEST(KitProfileChangeTest, ATextThatIsTooLongIsRefused) {
    FakeDevice device({Text(L"")});

    EXPECT_THAT(RefusalOf(device, R"({"name":"Label","type":"string","value":")" +
                                      std::string(QV_PARAMETER_TEXT_UNITS + 1, 'x') + "\"}"),
                HasSubstr("refused: The text has more than 216 characters (line 5)"));
}

TEST(KitProfileChangeTest, AllRefusalsAreCollected) {
    FakeDevice device({Integer(1, L"Gain", 5)});
    Change change(device.parameters);
    const Profile profile = Parse(Json(R"({"name":"Gain","type":"integer","value":101},
{"name":"X","type":"integer","value":1})"));

    const auto error = ErrorOf([&] {
        (void)ApplyProfile(profile, ProfileChoice{{"Gain", "X", "Y"}, false}, device.GetSnapshot(),
                           change);
    });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::Refused, error->GetKind());
    ASSERT_THAT(error->GetRefusals(), SizeIs(3));
    EXPECT_EQ("Y: The profile does not have it", error->GetRefusals()[0].ToText());
    EXPECT_EQ("nothing was sent", error->GetConsequence());
}

// Applies a profile of Gain and Rate, of which one is taken, and returns the rest.
ProfileRest RestOn(FakeDevice& aDevice, const ProfileChoice& aChoice) {
    const Profile profile = TakeFrom(FakeDevice({Integer(1, L"Gain", 12), Integer(4, L"Rate", 7)}));
    Change change(aDevice.parameters);
    ProfileRest rest = ApplyProfile(profile, aChoice, aDevice.GetSnapshot(), change);
    EXPECT_THAT(change.GetEdits(), SizeIs(1));
    return rest;
}

TEST(KitProfileChangeTest, WhatIsReadOnlyOnThisDeviceIsPassedOver) {
    FakeDevice device({Integer(1, L"Gain", 5, "", QV_PARAMETER_READ_ONLY), Integer(4, L"Rate", 5)});

    EXPECT_THAT(RestOn(device, ProfileChoice()).readOnly, ElementsAre("Gain"));
}

TEST(KitProfileChangeTest, MissingSettingsMayBeIgnored) {
    FakeDevice device({Integer(4, L"Rate", 5)});

    EXPECT_THAT(RestOn(device, ProfileChoice{{}, /*isMissingIgnored=*/true}).missing,
                ElementsAre("Gain"));
}

TEST(KitProfileChangeTest, OnlyWhatWasChosenIsLookedAt) {
    FakeDevice device({Integer(4, L"Rate", 5)});

    EXPECT_THAT(RestOn(device, ProfileChoice{{"Rate"}, false}).missing, IsEmpty());
}

// Differences

std::vector<std::string> NamesOf(const std::vector<Difference>& aDifferences) {
    std::vector<std::string> names;
    for (const Difference& difference : aDifferences) names.push_back(difference.name);
    return names;
}

TEST(KitDifferenceTest, ValuesThatDifferAreFoundInTheOrderOfNames) {
    const Snapshot before =
        FakeDevice({Text(L"a"), Integer(1, L"Gain", 5), Enumeration(kSlowFast, 0)}).GetSnapshot();
    const Snapshot after =
        FakeDevice({Text(L"b"), Integer(1, L"Gain", 5), Enumeration(kSlowFast, 1)}).GetSnapshot();

    const std::vector<Difference> differences = FindDifferences(before, after);

    ASSERT_THAT(NamesOf(differences), ElementsAre("Label", "Mode"));
    EXPECT_EQ("Slow", differences[1].first->ToText());
    EXPECT_EQ("Fast", differences[1].second->ToText());
    EXPECT_THAT(FindDifferences(before, before), IsEmpty());
}

TEST(KitDifferenceTest, AnEntryWithAnotherIndexIsNoDifference) {
    const Snapshot before = FakeDevice({Enumeration(kSlowFast, 1)}).GetSnapshot();
    const Snapshot after =
        FakeDevice({Enumeration(std::wstring(L"Fast\0Off\0", 9), 0)}).GetSnapshot();

    EXPECT_THAT(FindDifferences(before, after), IsEmpty());
}

TEST(KitDifferenceTest, WhatOnlyOneHasIsADifference) {
    const Snapshot first = FakeDevice({Integer(1, L"A", 5)}).GetSnapshot();
    const Snapshot second = FakeDevice({Integer(1, L"B", 5)}).GetSnapshot();

    const std::vector<Difference> differences = FindDifferences(first, second);

    ASSERT_THAT(NamesOf(differences), ElementsAre("A", "B"));
    EXPECT_FALSE(differences[0].second.has_value());
    EXPECT_FALSE(differences[1].first.has_value());
}

TEST(KitDifferenceTest, OfTheSameNameTheLastOneCounts) {
    const auto parse = [](const char* aValue) {
        return Parse(Json(std::string(R"({"name":"A","type":"integer","value":)") + aValue + "}"))
            .settings;
    };
    const std::vector<SavedSetting> once = parse("5");
    std::vector<SavedSetting> twice = parse("4");
    twice.push_back(once.front());

    EXPECT_THAT(FindDifferences(twice, once), IsEmpty());
    EXPECT_THAT(FindDifferences(once, twice), IsEmpty());
}

TEST(KitDifferenceTest, AnotherTypeOrUnitIsADifferenceAndAnUnknownUnitIsNone) {
    const auto parse = [](const char* aMembers) {
        return Parse(Json(std::string("{\"name\":\"A\",") + aMembers + "}")).settings;
    };
    const auto bare = parse(R"("type":"integer","value":5)");
    const auto volts = parse(R"("type":"integer","value":5,"unit":"V")");
    const auto none = parse(R"("type":"integer","value":5,"unit":"")");
    const auto text = parse(R"("type":"string","value":"5")");

    EXPECT_THAT(FindDifferences(volts, none), SizeIs(1));
    EXPECT_THAT(FindDifferences(volts, bare), IsEmpty());
    EXPECT_THAT(FindDifferences(bare, text), SizeIs(1));
}

TEST(KitDifferenceTest, AValueIsDescribedWithItsUnit) {
    const Snapshot snapshot = FakeDevice({Integer(1, L"Gain", 5, "dB"), Text(L"")}).GetSnapshot();
    const Setting& gain = *snapshot.Find("Gain");
    const Setting& label = *snapshot.Find("Label");

    EXPECT_EQ("5 dB", SavedSetting(gain, gain.value).Describe());
    EXPECT_EQ("\"\"", SavedSetting(label, label.value).Describe());
}

}  // namespace
