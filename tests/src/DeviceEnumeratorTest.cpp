// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/DeviceEnumerator.h"

#include <cstring>
#include <string>

#include "FakeSetupApi.h"
#include "SlotCalls.h"
#include "TestSupport.h"

namespace QvTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// No device has interfaces of this class.
constexpr GUID kNoDevices = {
    0x5a1c0de5, 0x0000, 0x4000, {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01}};

// Two interfaces whose links differ in length, one of them odd.
class DeviceEnumeratorTest : public testing::Test {
protected:
    DeviceEnumeratorTest() { setup.links = {R"(\\?\root#gain#0#{1})", R"(\\?\root#gain#12#{1})"}; }

    // The link as its 8-bit characters, which stand in the bytes of the UTF-16 form.
    std::string LinkAt(unsigned int aIndex) {
        String link;
        EXPECT_THAT(enumerator.GetSymLink(aIndex, &link), IsBareCode(0));
        return reinterpret_cast<const char*>(link.GetUnicode());
    }

    FakeSetupApi setup;
    DeviceEnumerator enumerator;
    String link{"untouched"};
};

// On the system itself

TEST(DeviceEnumeratorSystemTest, ClassWithoutDevicesIsAnEmptyList) {
    const ErrorWatch watch;
    DeviceEnumerator enumerator;
    String link("untouched");

    EXPECT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(Code::Success));

    // The list stays open, so a second call says the same.
    EXPECT_THAT(enumerator.GetSymLink(0, &link), IsBareCode(Code::NoSuchDevice));
    EXPECT_THAT(enumerator.GetSymLink(0, &link), IsBareCode(Code::NoSuchDevice));
    EXPECT_STREQ("untouched", link.GetAscii());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(DeviceEnumeratorSystemTest, NullClassIsRefused) {
    const ErrorWatch watch;
    DeviceEnumerator enumerator;
    String link;

    EXPECT_THAT(enumerator.Enumerate(nullptr), IsBareCode(Code::InvalidArgument));

    EXPECT_THAT(enumerator.GetSymLink(0, &link), IsBareCode(Code::NotAllowed));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(DeviceEnumeratorSystemTest, NullClassEndsAnEarlierEnumeration) {
    DeviceEnumerator enumerator;
    String link;
    ASSERT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(0));

    EXPECT_THAT(enumerator.Enumerate(nullptr), IsBareCode(Code::InvalidArgument));

    EXPECT_THAT(enumerator.GetSymLink(0, &link), IsBareCode(Code::NotAllowed));
}

// States

TEST_F(DeviceEnumeratorTest, LinkNeedsAnEnumeration) {
    const ErrorWatch watch;

    EXPECT_THAT(enumerator.GetSymLink(0, &link), IsBareCode(Code::NotAllowed));

    EXPECT_STREQ("untouched", link.GetAscii());
    EXPECT_THAT(setup.calls, IsEmpty());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceEnumeratorTest, EnumerationOpensTheClass) {
    EXPECT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(Code::Success));

    EXPECT_THAT(setup.calls, ElementsAre("open 1"));
    EXPECT_EQ(&kNoDevices, setup.interfaceClass);
}

TEST_F(DeviceEnumeratorTest, RefusedClassIsReportedWithoutAMessage) {
    const ErrorWatch watch;
    setup.refusesClass = true;

    EXPECT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(Code::InvalidArgument));

    EXPECT_THAT(enumerator.GetSymLink(0, &link), IsBareCode(Code::NotAllowed));
    EXPECT_THAT(setup.calls, ElementsAre("refuse"));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceEnumeratorTest, SecondEnumerationReleasesTheFirstListBeforeItOpens) {
    constexpr GUID kOther = {};
    ASSERT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(0));

    EXPECT_THAT(enumerator.Enumerate(&kOther), IsBareCode(Code::Success));

    EXPECT_THAT(setup.calls, ElementsAre("open 1", "destroy 1", "open 2"));
    EXPECT_EQ(setup.links[0], LinkAt(0));
    EXPECT_EQ(&kOther, setup.interfaceClass);
}

TEST_F(DeviceEnumeratorTest, FailedSecondEnumerationLeavesNoListOpen) {
    ASSERT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(0));
    setup.refusesClass = true;

    EXPECT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(Code::InvalidArgument));

    EXPECT_THAT(setup.calls, ElementsAre("open 1", "destroy 1", "refuse"));
    EXPECT_THAT(enumerator.GetSymLink(0, &link), IsBareCode(Code::NotAllowed));
}

TEST_F(DeviceEnumeratorTest, DestructionReleasesTheList) {
    {
        DeviceEnumerator other;
        ASSERT_THAT(other.Enumerate(&kNoDevices), IsBareCode(0));
    }
    EXPECT_THAT(setup.calls, ElementsAre("open 1", "destroy 1"));
}

TEST_F(DeviceEnumeratorTest, DestructionWithoutAListReleasesNothing) {
    {
        const DeviceEnumerator other;
    }

    EXPECT_THAT(setup.calls, IsEmpty());
}

// Links

TEST_F(DeviceEnumeratorTest, LinksAreReadByIndex) {
    ASSERT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(0));

    EXPECT_EQ(setup.links[1], LinkAt(1));
    EXPECT_EQ(setup.links[0], LinkAt(0));

    EXPECT_EQ(&kNoDevices, setup.interfaceClass);
    EXPECT_THAT(setup.calls,
                ElementsAre("open 1", "enumerate 1", "detail 8192", "enumerate 0", "detail 8192"));
}

TEST_F(DeviceEnumeratorTest, IndexBeyondTheLastIsNoSuchDevice) {
    const ErrorWatch watch;
    ASSERT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(0));

    for (const unsigned int index : {2U, 0xFFFFFFFFU}) {
        EXPECT_THAT(enumerator.GetSymLink(index, &link), IsBareCode(Code::NoSuchDevice));
    }

    EXPECT_STREQ("untouched", link.GetAscii());
    EXPECT_TRUE(watch.IsQuiet());
    EXPECT_EQ(setup.links[1], LinkAt(1));
}

TEST_F(DeviceEnumeratorTest, RefusedDetailIsNoSuchDevice) {
    const ErrorWatch watch;
    ASSERT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(0));
    setup.refusesDetail = true;

    EXPECT_THAT(enumerator.GetSymLink(0, &link), IsBareCode(Code::NoSuchDevice));

    EXPECT_STREQ("untouched", link.GetAscii());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceEnumeratorTest, LinkThatDoesNotFitIsNoSuchDevice) {
    setup.links = {std::string(8187, 'x'), std::string(8188, 'x')};
    ASSERT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(0));

    EXPECT_EQ(setup.links[0], LinkAt(0));
    EXPECT_THAT(enumerator.GetSymLink(1, &link), IsBareCode(Code::NoSuchDevice));
}

TEST_F(DeviceEnumeratorTest, LinkHoldsItsCharactersInPairs) {
    setup.links = {"abcdef", "abcde"};
    ASSERT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(0));

    ASSERT_THAT(enumerator.GetSymLink(0, &link), IsBareCode(0));
    EXPECT_STREQ(L"\x6261\x6463\x6665", link.GetUnicode());

    ASSERT_THAT(enumerator.GetSymLink(1, &link), IsBareCode(0));
    EXPECT_STREQ(L"\x6261\x6463\x0065", link.GetUnicode());
}

TEST_F(DeviceEnumeratorTest, ShortLinkAfterALongOneEndsWhereItShould) {
    setup.links = {std::string(200, 'x'), "abc", "", "a"};
    ASSERT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(0));

    for (unsigned int index = 0; index < setup.links.size(); ++index) {
        EXPECT_EQ(setup.links[index], LinkAt(index));
    }
}

// The binary interface

class SlotEnumerator : public Watched<DeviceEnumerator> {
public:
    using Watched::Watched;

    Result GetSymLink(unsigned int aIndex, String* aSymLink) override {
        *aSymLink = String("overridden");
        return Result(100 + aIndex);
    }
    Result Enumerate(const void* aInterfaceClass) override {
        return Result(aInterfaceClass == &kNoDevices ? 103 : 0);
    }
};

TEST(DeviceEnumeratorTableTest, VirtualFunctionsStandInTheirSlots) {
    int destroyed = 0;
    void* const object = static_cast<DeviceEnumerator*>(new SlotEnumerator(destroyed));
    String link;

    EXPECT_THAT(CallSlot<Result>(object, 2, 2U, &link), IsBareCode(102));
    EXPECT_STREQ("overridden", link.GetAscii());
    EXPECT_THAT(CallSlot<Result>(object, 3, static_cast<const void*>(&kNoDevices)),
                IsBareCode(103));

    CallSlot<void>(object, 1);
    EXPECT_EQ(1, destroyed);
}

TEST_F(DeviceEnumeratorTest, FieldsStandWhereTheBinaryInterfaceHasThem) {
    struct Fields {
        void* table;
        void* set;
        const void* interfaceClass;
    };
    static_assert(sizeof(Fields) == sizeof(DeviceEnumerator), "all fields are listed");
    const auto fields = [this] {
        Fields copy;
        std::memcpy(&copy, static_cast<const void*>(&enumerator), sizeof copy);
        return copy;
    };
    EXPECT_EQ(INVALID_HANDLE_VALUE, fields().set);
    EXPECT_EQ(nullptr, fields().interfaceClass);

    ASSERT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(0));
    EXPECT_EQ(reinterpret_cast<void*>(1), fields().set);
    EXPECT_EQ(&kNoDevices, fields().interfaceClass);

    setup.refusesClass = true;
    ASSERT_THAT(enumerator.Enumerate(&kNoDevices), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(INVALID_HANDLE_VALUE, fields().set);
    EXPECT_EQ(nullptr, fields().interfaceClass);
}

}  // namespace
}  // namespace QvTests
