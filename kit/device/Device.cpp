// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Device.h"

#include <utility>

#include "LibraryCall.h"
#include "ObservedConnection.h"
#include "OpenDevice.h"
#include "QvUserLib/DeviceParameterRepository.h"

namespace QvKit {

struct Device::State {
    explicit State(DeviceAddress aAddress) : address(std::move(aAddress)) {}

    DeviceAddress address;
    // The repository borrows the connection, so it goes first.
    ObservedConnection connection;
    QvUserLib::DeviceParameterRepository repository;
    DeviceParameters parameters{repository, connection};
};

Device::Device(DeviceAddress aAddress) : state_(std::make_unique<State>(std::move(aAddress))) {
    const DeviceAddress& address = state_->address;
    const QvUserLib::Result opened = state_->connection.Connect(address.link.c_str());
    if (opened.IsSuccess()) return;

    // The library does not keep the system's error. Opening the device again shows it, unless the
    // device opens by now.
    const OpenedDevice again = OpenDevice(address);
    if (!again.handle.IsValid()) throw ExplainOpening(address, again.error);
    throw LibraryError(ErrorKind::DeviceFailed, "cannot open '" + address.path + "'", opened);
}

Device::~Device() = default;

const DeviceAddress& Device::GetAddress() const { return state_->address; }

DeviceParameters& Device::LoadParameters() {
    const QvUserLib::Result loaded = state_->repository.Connect(&state_->connection);
    if (loaded.IsSuccess()) return state_->parameters;

    const Error error =
        ParametersError(&state_->connection, "cannot load the device's parameters", loaded);
    throw IsFile(state_->address) ? NotADevice(state_->address, loaded.GetCode()) : error;
}

std::optional<Setting> ReadSetting(const DeviceAddress& aDevice, const std::string& aName) {
    const Snapshot snapshot = Device(aDevice).LoadParameters().GetSnapshot();
    const Setting* const setting = snapshot.Find(aName);
    return setting != nullptr ? std::optional<Setting>(*setting) : std::nullopt;
}

}  // namespace QvKit
