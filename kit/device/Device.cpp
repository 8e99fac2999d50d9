// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Device.h"

#include <utility>

#include "LibraryCall.h"
#include "ObservedConnection.h"
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
    if (opened.IsFailure()) {
        throw address.isListed
            ? LibraryError(ErrorKind::DeviceFailed, "cannot open '" + address.path + "'", opened)
            : LibraryError(ErrorKind::NoSuchDevice, "there is no device '" + address.path + "'",
                           opened);
    }
}

Device::~Device() = default;

const DeviceAddress& Device::GetAddress() const { return state_->address; }

DeviceParameters& Device::LoadParameters() {
    const QvUserLib::Result loaded = state_->repository.Connect(&state_->connection);
    if (loaded.IsFailure()) {
        throw ParametersError(&state_->connection, "cannot load the device's parameters", loaded);
    }
    return state_->parameters;
}

}  // namespace QvKit
