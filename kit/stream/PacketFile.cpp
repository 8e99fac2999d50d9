// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/PacketFile.h"

#include "SystemFile.h"

namespace QvKit {

PacketFile::PacketFile(const std::string& aPath)
    : file_(std::make_unique<SystemFile>(SystemFile::Create(aPath))) {}

PacketFile::PacketFile(void* aHandle, const std::string& aName)
    : file_(std::make_unique<SystemFile>(SystemFile::Share(aHandle, aName))) {}

PacketFile::~PacketFile() = default;

void PacketFile::Append(const unsigned char* aBytes, std::size_t aSize) {
    file_->Append(aBytes, aSize);
    ++packets_;
    bytes_ += aSize;
}

const std::string& PacketFile::GetPath() const { return file_->GetPath(); }

}  // namespace QvKit
