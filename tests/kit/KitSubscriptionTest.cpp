// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Subscriptions to the settings of a device: what they are told, how they share looks, and how they
// end. On scripted drivers, well-behaved, failing and hostile ones.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "EventRecorder.h"
#include "KitTestSupport.h"
#include "ParameterBlock.h"
#include "QvKit/QvKit.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "ScriptedConnection.h"
#include "TestScale.h"
#include "TestSupport.h"
#include "WindowsApi.h"

namespace QvTests {
namespace {

using QvKit::BoundedConnection;
using QvKit::DeviceParameters;
using QvKit::ErrorKind;
using QvKit::kNoLimit;
using QvKit::Setting;
using QvKit::SettingEvent;
using QvKit::SettingsPoller;
using QvKit::Snapshot;
using QvKit::StopSignal;
using QvKit::Subscription;
using QvUserLib::Code;
using QvUserLib::DeviceParameterRepository;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using Kind = SettingEvent::Kind;

constexpr unsigned long kRead = 0x222000;

Record IntegerRecord(unsigned long aId, const std::wstring& aName, unsigned long aValue = 5) {
    Record record = {};
    record.flags = QV_PARAMETER_PERSISTENT;
    record.type = QV_PARAMETER_INTEGER;
    record.id = aId;
    std::copy(aName.begin(), aName.end(), record.name);
    record.maximum = 10;
    record.value = aValue;
    return record;
}

// The names end with '|'.
Record EnumerationRecord(unsigned long aId, const std::wstring& aName, std::wstring aEntries) {
    Record record = IntegerRecord(aId, aName, 0);
    record.type = QV_PARAMETER_ENUMERATION;
    record.maximum = static_cast<unsigned long>(std::count(aEntries.begin(), aEntries.end(), L'|'));
    --record.maximum;
    std::replace(aEntries.begin(), aEntries.end(), L'|', L'\0');
    std::copy(aEntries.begin(), aEntries.end(), record.content.valueNames);
    return record;
}

std::string NameOf(Kind aKind) {
    constexpr const char* kNames[] = {"present", "arrival", "gone",    "entries",  "range",
                                      "marks",   "value",   "failure", "recovery", "removal"};
    return kNames[static_cast<std::size_t>(aKind)];
}

// "value Gain 5 -> 6".
std::string TextOf(const SettingEvent& aEvent) {
    std::string text = NameOf(aEvent.kind);
    if (aEvent.before) {
        text += " " + aEvent.before->name + " " + aEvent.before->ToText(aEvent.before->value);
    }
    if (aEvent.before && aEvent.after) {
        text += " -> " + aEvent.after->ToText(aEvent.after->value);
    } else if (aEvent.after) {
        text += " " + aEvent.after->name + " " + aEvent.after->ToText(aEvent.after->value);
    }
    return text;
}

// Counts the looks, and lets the test change what they find.
class PolledConnection final : public ScriptedConnection {
public:
    using ScriptedConnection::IoControl;

    QvUserLib::Result IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize,
                                void* aOut, unsigned int aOutSize, unsigned long* aInfo,
                                _OVERLAPPED* aOverlapped) override {
        if (aCode == kRead) {
            ++looks;
            onLook();
        }
        return ScriptedConnection::IoControl(aCode, aIn, aInSize, aOut, aOutSize, aInfo,
                                             aOverlapped);
    }

    std::function<void()> onLook = [] {};
    std::atomic<int> looks = 0;
};

class KitSubscriptionTest : public testing::Test {
protected:
    void SetUp() override { Open({IntegerRecord(1, L"Gain"), IntegerRecord(2, L"Level")}); }

    void Open(const std::vector<Record>& aRecords) {
        poller_.reset();
        connection_.records = aRecords;
        ASSERT_THAT(
            repository_.IsConnected() ? repository_.Refresh() : repository_.Connect(&connection_),
            HasCode(Code::Success));
        connection_.looks = 0;
        // There is no such device, which tells failures from removals.
        poller_ = std::make_unique<SettingsPoller>(parameters_, AddressOf("\\\\.\\no such"));
    }

    Subscription::Callback Recording() {
        return [this](const SettingEvent& aEvent) {
            if (aEvent.error) error_ = aEvent.error;
            recorder_.Add(TextOf(aEvent));
        };
    }

    // A subscription that is told only of what is asked for by `Look`.
    std::unique_ptr<Subscription> Subscribe(Subscription::Callback aCallback,
                                            const std::vector<std::string>& aNames = {},
                                            milliseconds aInterval = kNoLimit) {
        auto made =
            std::make_unique<Subscription>(*poller_, aNames, aInterval, std::move(aCallback));
        made->Start();
        return made;
    }

    // What is told after those that were present.
    std::vector<std::string> News(std::size_t aPresent) {
        const std::vector<std::string> all = recorder_.Get();
        return {all.begin() + static_cast<std::ptrdiff_t>(std::min(aPresent, all.size())),
                all.end()};
    }

    EventRecorder recorder_;
    std::optional<QvKit::Error> error_;  // That of the last event with one.
    PolledConnection connection_;
    DeviceParameterRepository repository_;
    DeviceParameters parameters_{repository_};
    std::unique_ptr<SettingsPoller> poller_;
};

// What is told

TEST_F(KitSubscriptionTest, FirstComesWhatWasThereWithoutARequest) {
    const auto subscription = Subscribe(Recording());

    EXPECT_THAT(recorder_.Await(2), ElementsAre("present Gain 5", "present Level 5"));
    EXPECT_EQ(0, connection_.looks);
}

TEST_F(KitSubscriptionTest, WhatChangesBeforeTheStartIsToldAsAChange) {
    Subscription subscription(*poller_, {"Gain"}, kNoLimit, Recording());
    connection_.records[0].value = 6;
    poller_->Look();

    subscription.Start();
    poller_->Look();

    EXPECT_THAT(recorder_.Get(), ElementsAre("present Gain 5", "value Gain 5 -> 6"));
}

TEST_F(KitSubscriptionTest, ALaterSubscriptionBeginsWithTheLatestLook) {
    connection_.records[0].value = 6;
    poller_->Look();

    const auto subscription = Subscribe(Recording(), {"Gain"});

    EXPECT_THAT(recorder_.Await(1), ElementsAre("present Gain 6"));
}

TEST_F(KitSubscriptionTest, OnlyWhatDiffersFromTheLookBeforeIsTold) {
    const auto subscription = Subscribe(Recording());
    poller_->Look();
    connection_.records[0].value = 6;
    poller_->Look();
    poller_->Look();

    EXPECT_THAT(News(2), ElementsAre("value Gain 5 -> 6"));
    EXPECT_EQ(3, connection_.looks);
}

struct ChangeCase {
    const char* name;
    std::function<void(Record&)> change;
    Kind kind;
};

class KitSubscribedChangeTest : public KitSubscriptionTest,
                                public testing::WithParamInterface<ChangeCase> {};

TEST_P(KitSubscribedChangeTest, IsAnEventOfItsKindWithTheWholeSetting) {
    Open({EnumerationRecord(3, L"Mode", L"Slow|Fast|")});
    std::vector<SettingEvent> events;
    const auto subscription =
        Subscribe([&](const SettingEvent& aEvent) { events.push_back(aEvent); });
    const Snapshot before(repository_);
    const auto begin = std::chrono::system_clock::now();

    GetParam().change(connection_.records[0]);
    poller_->Look();

    ASSERT_THAT(events, SizeIs(2));
    EXPECT_EQ(GetParam().kind, events[1].kind);
    ASSERT_TRUE(events[1].before && events[1].after);
    EXPECT_EQ(before.GetSettings()[0].entries, events[1].before->entries);
    EXPECT_EQ(before.GetSettings()[0].value, events[1].before->value);
    EXPECT_EQ(Snapshot(repository_).GetSettings()[0].entries, events[1].after->entries);
    EXPECT_EQ(Snapshot(repository_).GetSettings()[0].value, events[1].after->value);
    EXPECT_LE(begin, events[1].time);
    EXPECT_FALSE(events[1].error.has_value());
}

INSTANTIATE_TEST_SUITE_P(
    All, KitSubscribedChangeTest,
    testing::Values(
        ChangeCase{"Value", [](Record& aRecord) { aRecord.value = 1; }, Kind::Value},
        ChangeCase{"Default", [](Record& aRecord) { aRecord.defaultValue = 1; }, Kind::Range},
        ChangeCase{"Entries", [](Record& aRecord) { aRecord.content.valueNames[0] = L'F'; },
                   Kind::Entries},
        ChangeCase{"Volatile", [](Record& aRecord) { aRecord.flags |= QV_PARAMETER_VOLATILE; },
                   Kind::Marks},
        ChangeCase{"ReadOnly", [](Record& aRecord) { aRecord.flags |= QV_PARAMETER_READ_ONLY; },
                   Kind::Marks},
        ChangeCase{"RestartRequired",
                   [](Record& aRecord) { aRecord.flags |= QV_PARAMETER_RESTART_REQUIRED; },
                   Kind::Marks},
        ChangeCase{"Hidden", [](Record& aRecord) { aRecord.flags |= QV_PARAMETER_HIDDEN; },
                   Kind::Marks},
        ChangeCase{"Persistent", [](Record& aRecord) { aRecord.flags = 0; }, Kind::Marks}),
    [](const testing::TestParamInfo<ChangeCase>& aInfo) { return aInfo.param.name; });

TEST_F(KitSubscriptionTest, TheValueComesLastOfSeveralChanges) {
    Open({EnumerationRecord(3, L"Mode", L"Slow|Fast|")});
    const auto subscription = Subscribe(Recording());

    connection_.records[0] = EnumerationRecord(3, L"Mode", L"Off|Slow|Fast|");
    connection_.records[0].value = 1;
    connection_.records[0].flags |= QV_PARAMETER_ADVANCED;
    poller_->Look();

    EXPECT_THAT(News(1), ElementsAre("entries Mode Slow -> Slow", "range Mode Slow -> Slow",
                                     "marks Mode Slow -> Slow", "value Mode Slow -> Slow"));
}

TEST_F(KitSubscriptionTest, AnotherMinimumOrUnitIsAnotherRange) {
    Record gain = IntegerRecord(1, L"Gain");
    gain.defaultValue = gain.value;
    Open({gain});
    const auto subscription = Subscribe(Recording());

    connection_.records[0].minimum = 1;
    poller_->Look();
    connection_.records[0].unit[0] = 'V';
    poller_->Look();

    EXPECT_THAT(News(1), ElementsAre("range Gain 5 -> 5", "range Gain 5 -> 5"));
}

TEST_F(KitSubscriptionTest, AParameterThatGoesComesBeforeOneThatHasCome) {
    const auto subscription = Subscribe(Recording());

    connection_.records = {IntegerRecord(3, L"Offset"), IntegerRecord(1, L"Gain")};
    poller_->Look();

    EXPECT_THAT(News(2), ElementsAre("gone Level 5", "arrival Offset 5"));
}

TEST_F(KitSubscriptionTest, AnotherIdentifierNameOrTypeIsAnotherParameter) {
    const auto subscription = Subscribe(Recording());

    connection_.records = {IntegerRecord(7, L"Gain"), IntegerRecord(2, L"Depth")};
    poller_->Look();
    EXPECT_THAT(News(2),
                ElementsAre("gone Gain 5", "gone Level 5", "arrival Gain 5", "arrival Depth 5"));

    connection_.records[0] = EnumerationRecord(7, L"Gain", L"Low|High|");
    poller_->Look();
    EXPECT_THAT(News(6), ElementsAre("gone Gain 5", "arrival Gain Low"));
}

TEST_F(KitSubscriptionTest, NamedSettingsAreToldInTheOrderOfTheNames) {
    const auto subscription = Subscribe(Recording(), {"Level", "Gain"});
    connection_.records[0].value = 6;
    connection_.records[1].value = 7;
    connection_.records.push_back(IntegerRecord(3, L"Offset"));
    poller_->Look();

    EXPECT_THAT(recorder_.Get(), ElementsAre("present Level 5", "present Gain 5",
                                             "value Level 5 -> 7", "value Gain 5 -> 6"));
}

TEST_F(KitSubscriptionTest, ANamedSettingThatGoesMayComeBack) {
    const auto subscription = Subscribe(Recording(), {"Level"});
    connection_.records.pop_back();
    poller_->Look();
    connection_.records.push_back(IntegerRecord(2, L"Level", 8));
    poller_->Look();

    EXPECT_THAT(News(1), ElementsAre("gone Level 5", "arrival Level 8"));
}

TEST_F(KitSubscriptionTest, AnUnknownNameIsRefused) {
    const auto error = ErrorOf([&] { Subscribe(Recording(), {"level"}); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::Refused, error->GetKind());
    EXPECT_STREQ("level: The specified parameter doesn't exist (did you mean Level?)",
                 error->what());
}

TEST_F(KitSubscriptionTest, ATooShortIntervalIsRefused) {
    const auto error = ErrorOf([&] { Subscribe(Recording(), {}, milliseconds(0)); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::WrongUse, error->GetKind());
    EXPECT_STREQ("the interval of a subscription is at least 1 ms", error->what());
}

// Looks

TEST_F(KitSubscriptionTest, ManySubscriptionsShareOneLook) {
    constexpr int kCount = 100;
    int told = 0;
    std::vector<std::unique_ptr<Subscription>> subscriptions;
    for (int index = 0; index < kCount; ++index) {
        subscriptions.push_back(
            Subscribe([&](const SettingEvent& aEvent) { told += aEvent.kind == Kind::Value; }));
    }

    connection_.records[0].value = 6;
    poller_->Look();

    EXPECT_EQ(kCount, told);
    EXPECT_EQ(1, connection_.looks);
}

TEST_F(KitSubscriptionTest, LooksComeNoMoreOftenThanTheShortestIntervalWants) {
    constexpr milliseconds kInterval(10);
    const auto change = [&] { connection_.records[0].value = connection_.looks % 2; };
    connection_.onLook = change;
    const auto begin = steady_clock::now();
    std::vector<std::unique_ptr<Subscription>> subscriptions;
    for (const int times : {1, 2, 3, 5}) {
        for (int index = 0; index < 10; ++index) {
            subscriptions.push_back(Subscribe([](const SettingEvent&) {}, {}, times * kInterval));
        }
    }
    subscriptions.push_back(Subscribe(Recording(), {"Gain"}, kInterval));

    recorder_.Await(6);
    poller_.reset();

    EXPECT_GE(connection_.looks, 5);
    EXPECT_LE(connection_.looks, 1 + (steady_clock::now() - begin) / kInterval);
}

TEST_F(KitSubscriptionTest, ASubscriptionIsNotToldMoreOftenThanItWants) {
    connection_.onLook = [&] { connection_.records[0].value = 1 + connection_.looks % 2; };
    EventRecorder slow;
    const auto patient =
        Subscribe([&](const SettingEvent& aEvent) { slow.Add(TextOf(aEvent)); }, {"Gain"});
    const auto quick = Subscribe(Recording(), {"Gain"}, milliseconds(1));
    recorder_.Await(5);

    EXPECT_THAT(slow.Get(), ElementsAre("present Gain 5"));
    poller_->Look();
    EXPECT_THAT(slow.Await(2), Contains(StartsWith("value Gain 5 -> ")));
}

TEST_F(KitSubscriptionTest, EachIntervalBeginsWithTheLookBefore) {
    constexpr milliseconds kInterval(20);
    connection_.onLook = [&] { connection_.records[0].value = 1 + connection_.looks % 2; };
    const auto begin = steady_clock::now();
    const auto quick = Subscribe([](const SettingEvent&) {}, {}, milliseconds(1));
    const auto slow = Subscribe(Recording(), {"Gain"}, kInterval);

    const std::size_t told = recorder_.Await(5).size();

    EXPECT_LE(told, 2 + (steady_clock::now() - begin) / kInterval);
}

TEST_F(KitSubscriptionTest, ALookThatIsAskedForDuringAnotherOneIsMadeAfterIt) {
    connection_.onLook = [&] {
        if (connection_.looks == 1) poller_->Look();
        if (connection_.looks == 2) connection_.records[0].value = 6;
    };
    const auto subscription = Subscribe(Recording(), {"Gain"});

    poller_->Look();

    EXPECT_THAT(recorder_.Await(2), ElementsAre("present Gain 5", "value Gain 5 -> 6"));
}

TEST_F(KitSubscriptionTest, WithoutSubscriptionsThereAreNoLooks) {
    Subscribe(Recording(), {}, milliseconds(1)).reset();
    const int looks = connection_.looks;

    std::this_thread::sleep_for(milliseconds(30));

    EXPECT_LE(connection_.looks, looks + 1);
}

TEST_F(KitSubscriptionTest, ASlowCallbackLosesNothing) {
    connection_.onLook = [&] { connection_.records[0].value = 1 + connection_.looks % 2; };
    const StopSignal release;
    const auto subscription = Subscribe(
        [&](const SettingEvent& aEvent) {
            (void)release.WaitFor(kNoLimit);
            recorder_.Add(TextOf(aEvent));
        },
        {"Gain"}, milliseconds(1));

    std::this_thread::sleep_for(milliseconds(20));
    EXPECT_EQ(0, connection_.looks);
    release.Request();

    EXPECT_THAT(recorder_.Await(3), testing::IsSupersetOf({"present Gain 5", "value Gain 5 -> 2",
                                                           "value Gain 2 -> 1"}));
}

// The end of a subscription

TEST_F(KitSubscriptionTest, NothingIsDeliveredBeforeTheStartOrAfterTheStop) {
    Subscription subscription(*poller_, {}, kNoLimit, Recording());
    poller_->Look();
    EXPECT_THAT(recorder_.Get(), IsEmpty());
    subscription.Start();
    recorder_.Await(2);

    subscription.Stop();
    connection_.records[0].value = 6;
    poller_->Look();

    EXPECT_THAT(News(2), IsEmpty());
}

TEST_F(KitSubscriptionTest, TheStopFreesWhatTheCallbackOwns) {
    const auto owned = std::make_shared<int>();
    const auto subscription = Subscribe([owned](const SettingEvent&) {});

    subscription->Stop();

    EXPECT_EQ(1, owned.use_count());
}

TEST_F(KitSubscriptionTest, TheCallbackMayStopItself) {
    std::unique_ptr<Subscription> subscription;
    subscription = std::make_unique<Subscription>(*poller_, std::vector<std::string>(), kNoLimit,
                                                  [&](const SettingEvent& aEvent) {
                                                      subscription->Stop();
                                                      recorder_.Add(TextOf(aEvent));
                                                  });
    subscription->Start();
    poller_->Look();

    EXPECT_THAT(recorder_.Get(), ElementsAre("present Gain 5"));
}

TEST_F(KitSubscriptionTest, TheCallbackMayDestroyItself) {
    const auto alive = std::make_shared<int>();
    std::unique_ptr<Subscription> subscription;
    subscription = std::make_unique<Subscription>(
        *poller_, std::vector<std::string>(), kNoLimit,
        [this, &subscription, alive](const SettingEvent& aEvent) {
            subscription.reset();
            // What the callback owns is still there.
            recorder_.Add(TextOf(aEvent) + " " + std::to_string(alive.use_count() > 1));
        });
    subscription->Start();
    poller_->Look();

    EXPECT_THAT(recorder_.Get(), ElementsAre("present Gain 5 1"));
    EXPECT_EQ(1, alive.use_count());
}

TEST_F(KitSubscriptionTest, ACallbackMayDestroyAnotherSubscription) {
    std::unique_ptr<Subscription> other;
    const auto subscription = Subscribe([&](const SettingEvent&) { other.reset(); }, {"Level"});
    poller_->Look();
    other = Subscribe(Recording(), {"Gain"});
    recorder_.Await(1);

    connection_.records[0].value = 6;
    connection_.records[1].value = 6;
    poller_->Look();

    EXPECT_EQ(nullptr, other);
    EXPECT_THAT(recorder_.Get(), ElementsAre("present Gain 5"));
}

TEST_F(KitSubscriptionTest, ACallbackMaySubscribeAndAskForALook) {
    std::unique_ptr<Subscription> other;
    const auto subscription = Subscribe(
        [&](const SettingEvent&) {
            if (other != nullptr) return;
            other = Subscribe(Recording(), {"Gain"});
            connection_.records[0].value = 6;
            poller_->Look();
        },
        {"Level"});

    EXPECT_THAT(recorder_.Await(2), ElementsAre("present Gain 5", "value Gain 5 -> 6"));
}

TEST_F(KitSubscriptionTest, ACallbackMayDestroyThePoller) {
    const auto subscription = Subscribe([&](const SettingEvent& aEvent) {
        poller_.reset();
        recorder_.Add(TextOf(aEvent));
    });
    recorder_.Await(1);

    subscription->Stop();

    EXPECT_THAT(recorder_.Get(), ElementsAre("present Gain 5"));
}

TEST_F(KitSubscriptionTest, ASubscriptionMayOutliveThePoller) {
    const auto subscription = Subscribe(Recording());
    recorder_.Await(2);
    poller_.reset();

    EXPECT_NO_THROW(subscription->Stop());
    EXPECT_THAT(News(2), IsEmpty());
}

TEST_F(KitSubscriptionTest, DestructionWaitsForTheCallback) {
    std::promise<void> began;
    bool hasEnded = false;
    const auto alive = std::make_shared<int>();
    auto subscription = Subscribe(
        [&, alive](const SettingEvent&) {
            began.set_value();
            std::this_thread::sleep_for(milliseconds(50));
            hasEnded = true;
        },
        {"Gain"});
    began.get_future().wait();

    subscription.reset();

    EXPECT_TRUE(hasEnded);
    EXPECT_EQ(1, alive.use_count());
}

TEST_F(KitSubscriptionTest, SeveralThreadsMayStopASubscription) {
    const auto subscription = Subscribe(Recording());
    recorder_.Await(2);

    const auto other = std::async(std::launch::async, [&] { subscription->Stop(); });
    subscription->Stop();
    other.wait();
    connection_.records[0].value = 6;
    poller_->Look();

    EXPECT_THAT(News(2), IsEmpty());
}

TEST_F(KitSubscriptionTest, ThreadsMaySubscribeAndUnsubscribeAtOnce) {
    constexpr int kTimes = 200;
    connection_.onLook = [&] { connection_.records[0].value = 1 + connection_.looks % 2; };
    std::atomic<int> present = 0;
    std::atomic<int> afterEnd = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int time = 0; time < kTimes; ++time) {
                bool isOver = false;
                const StopSignal called;
                auto one = Subscribe(
                    [&](const SettingEvent& aEvent) {
                        present += aEvent.kind == Kind::Present;
                        afterEnd += isOver;
                        called.Request();
                    },
                    {"Gain"}, milliseconds(1));
                (void)called.WaitFor(kNoLimit);
                one.reset();
                isOver = true;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(4 * kTimes, present);
    EXPECT_EQ(0, afterEnd);
}

// Drivers that fail

TEST_F(KitSubscriptionTest, AFailureIsToldOnceAndWhatChangedMeanwhileAfterTheRecovery) {
    const auto subscription = Subscribe(Recording());
    connection_.getResult = QvUserLib::Result(ERROR_GEN_FAILURE);
    poller_->Look();
    poller_->Look();
    connection_.getResult = QvUserLib::Result(Code::Success);
    connection_.records[0].value = 6;
    poller_->Look();

    EXPECT_THAT(News(2), ElementsAre("failure", "recovery", "value Gain 5 -> 6"));
    ASSERT_TRUE(error_.has_value());
    EXPECT_EQ(ErrorKind::DeviceFailed, error_->GetKind());
    EXPECT_THAT(error_->what(), StartsWith("cannot read the device's parameters: "));
}

TEST_F(KitSubscriptionTest, LooksGoOnByThemselvesAfterAFailure) {
    connection_.onLook = [&] {
        connection_.getResult = QvUserLib::Result(connection_.looks == 1 ? ERROR_GEN_FAILURE : 0);
    };
    const auto subscription = Subscribe(Recording(), {"Gain"}, milliseconds(1));

    EXPECT_THAT(recorder_.Await(3), ElementsAre("present Gain 5", "failure", "recovery"));
}

TEST_F(KitSubscriptionTest, RemovalIsTheLastEvent) {
    const auto subscription = Subscribe(Recording());
    connection_.sizeResult = QvUserLib::Result(ERROR_DEVICE_NOT_CONNECTED);
    poller_->Look();
    connection_.sizeResult = QvUserLib::Result(Code::Success);
    poller_->Look();

    EXPECT_THAT(News(2), ElementsAre("removal"));
    EXPECT_EQ(0, connection_.looks);
    ASSERT_TRUE(error_.has_value());
    EXPECT_EQ(ErrorKind::DeviceGone, error_->GetKind());
}

TEST_F(KitSubscriptionTest, RemovalIsToldAfterAFailure) {
    const auto subscription = Subscribe(Recording());
    connection_.getResult = QvUserLib::Result(ERROR_GEN_FAILURE);
    poller_->Look();
    connection_.sizeResult = QvUserLib::Result(ERROR_DEVICE_NOT_CONNECTED);
    poller_->Look();

    EXPECT_THAT(News(2), ElementsAre("failure", "removal"));
}

TEST_F(KitSubscriptionTest, RemovalIsToldAtOnceToThoseThatWantFewLooks) {
    const auto patient = Subscribe(Recording(), {"Gain"});
    connection_.sizeResult = QvUserLib::Result(ERROR_DEVICE_NOT_CONNECTED);
    const auto quick = Subscribe([](const SettingEvent&) {}, {"Gain"}, milliseconds(1));

    EXPECT_THAT(recorder_.Await(2), ElementsAre("present Gain 5", "removal"));
}

TEST_F(KitSubscriptionTest, AfterARemovalThereAreNoLooks) {
    connection_.sizeResult = QvUserLib::Result(ERROR_DEVICE_NOT_CONNECTED);
    const auto subscription = Subscribe(Recording(), {"Gain"}, milliseconds(1));
    recorder_.Await(2);
    connection_.sizeResult = QvUserLib::Result(Code::Success);

    std::this_thread::sleep_for(milliseconds(30));

    EXPECT_EQ(0, connection_.looks);
}

TEST_F(KitSubscriptionTest, ASubscriptionToARemovedDeviceIsToldSo) {
    connection_.sizeResult = QvUserLib::Result(ERROR_DEVICE_NOT_CONNECTED);
    poller_->Look();

    const auto subscription = Subscribe(Recording(), {"Gain"}, milliseconds(1));

    EXPECT_THAT(recorder_.Await(2), ElementsAre("present Gain 5", "removal"));
}

// A device that answers nothing.
class SilentChannel final : public QvKit::Channel {
public:
    std::unique_ptr<QvKit::Request> MakeRequest(std::size_t aCapacity) override {
        return std::make_unique<SilentRequest>(aCapacity);
    }
    void CancelAll() override {}

private:
    class SilentRequest final : public QvKit::Request {
    public:
        explicit SilentRequest(std::size_t aCapacity) : buffer_(aCapacity) {}
        unsigned char* GetBuffer() override { return buffer_.data(); }
        std::size_t GetCapacity() const override { return buffer_.size(); }
        void Read(std::size_t) override {}
        void Write(std::size_t) override {}
        void Control(unsigned long, std::size_t, std::size_t) override {}
        bool WaitFor(milliseconds aLimit, const StopSignal* aStop, const StopSignal*) override {
            (void)aStop->WaitFor(aLimit);
            return false;
        }
        void Cancel() override {}
        Outcome Take() override { return {ERROR_OPERATION_ABORTED, 0}; }

    private:
        std::vector<unsigned char> buffer_;
    };
};

TEST_F(KitSubscriptionTest, ADriverThatDoesNotAnswerIsAFailureInTime) {
    BoundedConnection silent(std::make_unique<SilentChannel>(), {milliseconds(20)});
    DeviceParameterRepository repository;
    ASSERT_THAT(repository.Connect(&silent), HasCode(BoundedConnection::kTimedOut));
    DeviceParameters parameters(repository);
    SettingsPoller poller(parameters, AddressOf("silent"));
    std::promise<QvKit::Error> failure;
    Subscription subscription(poller, {}, milliseconds(1), [&](const SettingEvent& aEvent) {
        failure.set_value(*aEvent.error);
    });

    subscription.Start();

    EXPECT_EQ(ErrorKind::TimedOut, failure.get_future().get().GetKind());
}

// What a subscriber knows who follows the events.
std::map<unsigned long, std::string> Described(const std::map<unsigned long, Setting>& aSettings) {
    std::map<unsigned long, std::string> texts;
    for (const auto& [id, setting] : aSettings) {
        texts[id] = setting.name + "=" + setting.ToEscapedText(setting.value) + " of " +
                    setting.DescribeRange() + setting.unit + std::to_string(setting.isHidden);
    }
    return texts;
}

TEST_F(KitSubscriptionTest, WhoFollowsTheEventsOfAHostileDriverKnowsItsSettings) {
    constexpr unsigned long kBlocks = 300;
    const unsigned long seed = Seed();
    int compared = 0;
    bool isFailing = false;
    std::map<unsigned long, Setting> known;
    // A path that is there, so that no failure is taken for a removal.
    poller_ = std::make_unique<SettingsPoller>(parameters_, AddressOf("NUL"));
    const auto subscription = Subscribe([&](const SettingEvent& aEvent) {
        if (aEvent.before && !aEvent.after) {
            EXPECT_EQ(1u, known.erase(aEvent.before->id));
        }
        if (aEvent.after) known[aEvent.after->id] = *aEvent.after;
        isFailing = aEvent.kind == Kind::Failure;
    });
    for (unsigned long number = 0; number < kBlocks; ++number) {
        SCOPED_TRACE(number);
        const ParameterBlock block = ParameterBlockMaker(seed, number).Make();
        connection_.records = block.records;
        connection_.claimedSize = block.claimedSize;
        poller_->Look();
        if (isFailing) continue;

        ++compared;
        const Snapshot snapshot(repository_);
        std::map<unsigned long, Setting> there;
        for (const Setting& setting : snapshot.GetSettings()) there[setting.id] = setting;
        EXPECT_EQ(Described(there), Described(known));
    }
    EXPECT_GT(compared, 0);
}

}  // namespace
}  // namespace QvTests
