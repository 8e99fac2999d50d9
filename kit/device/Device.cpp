// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Device.h"

#include <utility>

#include "ObservedConnection.h"
#include "OpenDevice.h"
#include "QvUserLib/DeviceParameterRepository.h"

namespace QvKit {

struct Device::State {
    State(DeviceAddress aAddress, std::unique_ptr<Channel> aChannel, const RequestLimits& aLimits)
        : address(std::move(aAddress)), connection(std::move(aChannel), aLimits) {}

    DeviceAddress address;
    // The repository borrows the connection, so it goes first.
    ObservedConnection connection;
    QvUserLib::DeviceParameterRepository repository;
    DeviceParameters parameters{repository, connection};
};

Device::Device(const DeviceAddress& aAddress, const RequestLimits& aLimits)
    : Device(aAddress, OpenChannel(aAddress, aLimits.cancel), aLimits) {}

Device::Device(DeviceAddress aAddress, std::unique_ptr<Channel> aChannel,
               const RequestLimits& aLimits)
    : state_(std::make_unique<State>(std::move(aAddress), std::move(aChannel), aLimits)) {}

Device::~Device() = default;

const DeviceAddress& Device::GetAddress() const { return state_->address; }

DeviceParameters& Device::LoadParameters() {
    const QvUserLib::Result loaded = state_->repository.Connect(&state_->connection);
    if (loaded.IsSuccess()) return state_->parameters;

    const Error error =
        ParametersError(&state_->connection, "cannot load the device's parameters", loaded);
    throw IsFile(state_->address) ? NotADevice(state_->address, loaded.GetCode()) : error;
}

void Device::Cancel() { state_->connection.Cancel(); }

std::optional<Setting> ReadSetting(const DeviceAddress& aDevice, const std::string& aName,
                                   const RequestLimits& aLimits) {
    const Snapshot snapshot = Device(aDevice, aLimits).LoadParameters().GetSnapshot();
    const Setting* const setting = snapshot.Find(aName);
    return setting != nullptr ? std::optional<Setting>(*setting) : std::nullopt;
}

}  // namespace QvKit
