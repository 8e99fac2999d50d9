// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "CallScenarios.h"
#include "KernelObjects.h"
#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvKit/QvKit.h"
#include "SampleDevice.h"
#include "SamplePackets.h"

namespace QvTests {
namespace {

using QvKit::Device;
using QvKit::DeviceAddress;
using QvKit::Error;
using QvKit::Profile;
using QvKit::Snapshot;
using QvUserLib::Code;

// Far longer than anything takes, and shorter than the test's limit.
constexpr std::chrono::milliseconds kPatience = std::chrono::seconds(20);

constexpr char kFormerLabel[] = "A former label that needs memory";
constexpr char kLabel[] = "A label that needs memory";

std::vector<DeviceAddress> Devices() { return QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE); }

DeviceAddress FirstDevice() { return Devices().at(0); }

void ThrowIfAny(const std::optional<Error>& aError) {
    if (aError) throw Error(*aError);
}

void Set(const std::string& aName, const std::string& aValue) {
    Device device(FirstDevice());
    QvKit::Change change(device.LoadParameters());
    change.Set(aName, aValue);
    ThrowIfAny(change.Send().error);
}

Snapshot Load() {
    Device device(FirstDevice());
    return device.LoadParameters().GetSnapshot();
}

std::string TextOf(const Snapshot& aSnapshot, const char* aName) {
    const QvKit::Setting* const setting = aSnapshot.Find(aName);
    return setting == nullptr ? "missing" : setting->ToText(setting->value);
}

// What goes wrong on another thread.
class FirstError {
public:
    void Keep(const std::optional<Error>& aError) {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (!error_) error_ = aError;
    }
    void Throw() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        ThrowIfAny(error_);
    }

private:
    mutable std::mutex mutex_;
    std::optional<Error> error_;
};

void Find(Attempt& aAttempt) {
    const std::string serial = TextOf(Load(), "SerialNumber");
    const std::vector<DeviceAddress> before = Devices();
    aAttempt.TryKit([&] {
        const std::vector<DeviceAddress> devices = Devices();
        if (devices.size() != before.size()) return false;
        const auto second = QvKit::FindByInstanceId(devices, before[1].instanceId);
        const auto found = QvKit::FindByParameter({devices[0]}, "SerialNumber", serial);
        // A device that cannot be read is passed over.
        if (found.empty()) throw Error(QvKit::ErrorKind::DeviceFailed, "not found");
        return second == 1u && found == std::vector<std::size_t>{0} && QvKit::IsPresent(devices[0]);
    });
}

void OpenAndLoad(Attempt& aAttempt) {
    const DeviceAddress address = FirstDevice();
    const std::string serial = TextOf(Load(), "SerialNumber");
    aAttempt.TryKit([&] {
        Device device(address);
        const Snapshot snapshot = device.LoadParameters().GetSnapshot();
        return snapshot.GetSettings().size() == QV_SAMPLE_PARAMETER_COUNT &&
               TextOf(snapshot, "SerialNumber") == serial;
    });
}

void SendChange(Attempt& aAttempt) {
    Set("Gain", "5");
    Set("Label", kFormerLabel);
    Device device(FirstDevice());
    QvKit::DeviceParameters& parameters = device.LoadParameters();
    aAttempt.TryKit([&] {
        QvKit::Change change(parameters);
        change.Set("Gain", "12");
        change.Set("Label", kLabel);
        QvKit::SendOptions options;
        options.isAllOrNothing = true;
        ThrowIfAny(change.Send(options).error);
        return true;
    });

    const Snapshot now = Load();
    const bool isTaken = TextOf(now, "Label") == kLabel;
    EXPECT_EQ(isTaken ? "12" : "5", TextOf(now, "Gain")) << "one without the other";
    EXPECT_EQ(isTaken ? kLabel : kFormerLabel, TextOf(now, "Label"));
    EXPECT_TRUE(isTaken || !aAttempt.HasSucceeded());
}

Profile TakeProfile() { return Profile::Take(Load(), {"Gain", "Label"}, {}); }

void SaveProfile(Attempt& aAttempt) {
    const Profile profile = TakeProfile();
    const TemporaryDirectory directory;
    const std::string path = directory.File("device.json");
    WriteBytes(path, "earlier");
    aAttempt.TryKit([&] {
        profile.Save(path);
        return true;
    });

    EXPECT_EQ(aAttempt.HasSucceeded() ? profile.ToJson() : "earlier", ReadBytes(path));
    const std::filesystem::directory_iterator files(directory.Path());
    EXPECT_EQ(1, std::distance(begin(files), end(files))) << "a file is left behind";
}

// The label is the new one, or the former one after a failure.
void ExpectWholeLabel(const Attempt& aAttempt) {
    const std::string label = TextOf(Load(), "Label");
    EXPECT_TRUE(label == kLabel || (label == kFormerLabel && !aAttempt.HasSucceeded())) << label;
}

void LoadProfile(Attempt& aAttempt) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("device.json");
    Set("Label", kLabel);
    TakeProfile().Save(path);
    Set("Label", kFormerLabel);
    Device device(FirstDevice());
    QvKit::DeviceParameters& parameters = device.LoadParameters();
    aAttempt.TryKit([&] {
        const Profile profile = Profile::Open(path);
        QvKit::Change change(parameters);
        (void)QvKit::ApplyProfile(profile, {}, parameters.GetSnapshot(), change);
        ThrowIfAny(change.Send().error);
        return true;
    });

    ExpectWholeLabel(aAttempt);
}

void StreamPackets(Attempt& aAttempt) {
    constexpr std::uint64_t kPackets = 40;
    Set("PacketRate", "0");
    const TemporaryDirectory directory;
    const std::string path = directory.File("packets");
    const DeviceAddress address = FirstDevice();
    const QvKit::RawFormat format;
    std::uint64_t packets = 0;
    std::uint64_t bytes = 0;
    aAttempt.TryKit([&] {
        const auto channel = QvKit::OpenChannel(address);
        const QvKit::StopSignal stop;
        QvKit::PacketFile file(path);
        QvKit::StreamSettings settings;
        settings.packets = kPackets;
        settings.onRead = [&](const unsigned char* aBytes, std::size_t aSize) {
            EXPECT_TRUE(IsWholePacket(aBytes, aSize));
            file.Append(aBytes, aSize);
            packets = file.GetPackets();
            bytes = file.GetBytes();
        };
        QvKit::StreamReader reader(*channel, format, settings, stop);
        reader.Start();
        EXPECT_TRUE(reader.WaitFor(kPatience));
        ThrowIfAny(reader.GetError());
        return packets == kPackets && reader.GetAccount().GetPackets() == kPackets;
    });

    if (packets > 0) {
        EXPECT_EQ(bytes, ReadBytes(path).size());
    }
}

std::vector<unsigned char> BytesOf(const std::string& aText) {
    return {aText.begin(), aText.end()};
}

void Exchange(Attempt& aAttempt) {
    const std::string sent = "there and back";
    Set("StreamMode", "LoopBack");
    const DeviceAddress address = FirstDevice();
    {
        DeviceConnection connection;
        ASSERT_THAT(connection.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), IsBareCode(Code::Success));
        EmptyTheLoopBack(connection);
    }
    aAttempt.TryKit([&] {
        QvKit::BoundedConnection connection(address);
        const QvKit::RawAnswer size =
            QvKit::SendControl(connection, IOCTL_PARAMETERS_GET_SIZE, {}, 0);
        ThrowIfAny(size.error);
        ThrowIfAny(QvKit::WriteBytes(connection, BytesOf(sent)).error);
        const QvKit::RawAnswer received = QvKit::ReadBytes(connection, 64);
        ThrowIfAny(received.error);
        return received.bytes == BytesOf(sent) && connection.GetGivenUp() == 0;
    });
}

void SendFile(Attempt& aAttempt) {
    Set("StreamMode", "LoopBack");
    const TemporaryDirectory directory;
    const std::string path = directory.File("sent");
    WriteBytes(path, std::string(1000, 'x'));
    const DeviceAddress address = FirstDevice();
    aAttempt.TryKit([&] {
        const auto channel = QvKit::OpenChannel(address);
        const QvKit::StopSignal stop;
        QvKit::FileSender::Settings settings;
        settings.path = path;
        settings.requestSize = 100;
        settings.busyLimit = kPatience;
        QvKit::FileSender sender(*channel, settings, stop);
        sender.Start();
        EXPECT_TRUE(sender.WaitFor(kPatience));
        ThrowIfAny(sender.GetError());
        return sender.GetBytes() == 1000;
    });

    DeviceConnection connection;
    ASSERT_THAT(connection.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), IsBareCode(Code::Success));
    EmptyTheLoopBack(connection);
}

void Subscribe(Attempt& aAttempt) {
    const DeviceAddress address = FirstDevice();
    std::atomic<int> present{0};
    FirstError error;
    const std::vector<std::string> names = {"Gain", "Label"};
    aAttempt.TryKit([&] {
        QvKit::SettingsPoller poller(std::make_unique<Device>(address));
        QvKit::Subscription subscription(poller, names, QvKit::kNoLimit,
                                         [&](const QvKit::SettingEvent& aEvent) {
                                             if (aEvent.kind == QvKit::SettingEvent::Kind::Present)
                                                 ++present;
                                             error.Keep(aEvent.error);
                                         });
        subscription.Start();
        poller.Look();
        poller.Look();
        error.Throw();
        return present == 2;
    });
}

void Watch(Attempt& aAttempt) {
    std::atomic<int> present{0};
    const Event complete;
    aAttempt.TryKit([&] {
        QvKit::DeviceWatcher watcher(
            &GUID_DEVINTERFACE_QVSAMPLE, [&](const QvKit::DeviceEvent& aEvent) {
                const bool isPresent = aEvent.kind == QvKit::DeviceEvent::Kind::Present;
                if (isPresent && ++present == 2) complete.Set();
            });
        watcher.Start();
        if (watcher.GetPresent().size() != 2) return false;
        complete.Wait();
        return true;
    });
}

void Link(Attempt& aAttempt) {
    const std::string path = FirstDevice().instanceId;
    aAttempt.TryKit([&] {
        QvKit::DeviceLink link(GUID_DEVINTERFACE_QVSAMPLE,
                               QvKit::DeviceIdentity::ByInstancePath(path));
        link.Start();
        const std::shared_ptr<Device> device = link.WaitForDevice(kPatience);
        return !device->LoadParameters().GetSnapshot().IsEmpty();
    });
}

void Keep(Attempt& aAttempt) {
    Set("Label", kLabel);
    const Profile profile = TakeProfile();
    Set("Label", kFormerLabel);
    std::atomic<int> changed{0};
    const Event complete;
    FirstError error;
    aAttempt.TryKit([&] {
        QvKit::ProfileKeeper keeper(GUID_DEVINTERFACE_QVSAMPLE, profile, {},
                                    [&](const QvKit::ProfileKeeper::Result& aResult) {
                                        error.Keep(aResult.outcome.error);
                                        if (++changed == 2) complete.Set();
                                    });
        keeper.Start();
        complete.Wait();
        error.Throw();
        return true;
    });

    ExpectWholeLabel(aAttempt);
}

void Inform(Attempt& aAttempt) {
    const DeviceAddress address = FirstDevice();
    aAttempt.TryKit([&] {
        const std::string id = QvKit::FindInstanceId(address.path);
        const QvKit::DeviceInformation information = QvKit::ReadDeviceInformation(id);
        return id == address.instanceId && information.instanceId == id;
    });
}

void ListAll(Attempt& aAttempt) {
    static const auto kBefore = QvKit::ListPresentDevices();
    aAttempt.TryKit([&] {
        const auto classes = QvKit::ListPresentDevices();
        (void)QvKit::ListAbsentDevices();
        return classes.size() == kBefore.size();
    });
}

}  // namespace

std::vector<Scenario> KitScenarios() {
    const int most = MostOfAPlace();
    return {
        {"KitFind", &Find, true, most},
        {"KitLoad", &OpenAndLoad, true, most},
        {"KitChange", &SendChange, true, most},
        {"KitSaveProfile", &SaveProfile, true, most},
        {"KitLoadProfile", &LoadProfile, true, most},
        {"KitStream", &StreamPackets, true, most},
        {"KitExchange", &Exchange, true, most},
        {"KitSendFile", &SendFile, true, most},
        {"KitSubscribe", &Subscribe, true, most},
        {"KitWatch", &Watch, true, most},
        {"KitLink", &Link, true, most},
        {"KitKeep", &Keep, true, most},
        {"KitInform", &Inform, true, most},
        {"KitList", &ListAll, true, most},
    };
}

}  // namespace QvTests
