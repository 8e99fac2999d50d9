// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/DeviceParameterRepository.h"

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "DeviceParameterConversion.h"
#include "QvBaseLib/DeviceParameter.h"
#include "QvUserLib/DeviceConnection.h"
#include "QvUserLib/Parameter.h"
#include "ReportError.h"

namespace QvUserLib {

using QvBaseLib::DeviceParameter;

namespace {

constexpr char kSource[] = ".\\DeviceParameterRepository";

Result FailForMemory(unsigned long aLine) {
    return ReportError(Result(Code::OutOfMemory), kSource, aLine, "Not enough memory");
}

// Records in one block, as drivers take and return them. The block may end with part of a record: a
// driver may write there, but nothing reads it.
class RecordBuffer {
public:
    explicit RecordBuffer(std::size_t aSize)
        : memory_(::operator new(aSize, std::nothrow)), count_(aSize / sizeof(DeviceParameter)) {
        if (memory_ == nullptr) return;
        for (std::size_t index = 0; index < count_; ++index) new (Get() + index) DeviceParameter;
    }
    ~RecordBuffer() {
        if (memory_ == nullptr) return;
        std::destroy_n(Get(), count_);
        ::operator delete(memory_);
    }

    RecordBuffer(const RecordBuffer&) = delete;
    RecordBuffer& operator=(const RecordBuffer&) = delete;

    bool IsValid() const { return memory_ != nullptr; }
    DeviceParameter* Get() const { return static_cast<DeviceParameter*>(memory_); }
    std::size_t Count() const { return count_; }

private:
    void* memory_;
    std::size_t count_;
};

Result AddDeviceParameters(ParameterRepository& aRepository, const DeviceParameter* aRecords,
                           std::size_t aCount) {
    Result combined(Code::Success);
    Parameter* current = nullptr;
    // Owns the current parameter until the repository accepts it.
    std::unique_ptr<Parameter> refused;

    for (const DeviceParameter* record = aRecords; record != aRecords + aCount; ++record) {
        try {
            if (HasKnownType(*record)) {
                refused = MakeParameter(*record, combined);
                current = refused.get();
            }
            // A record of unknown type acts on the previous record's parameter.
            const Result added = aRepository.Add(current);
            if (added.IsSuccess()) (void)refused.release();
            combined |= added;
        } catch (const std::bad_alloc&) {
            return FailForMemory(__LINE__);
        }
        combined |= SetMarks(current, *record);
        MarkUnchanged(current);
    }
    return combined;
}

Result LoadFromDriver(ParameterRepository& aRepository, DeviceConnection& aConnection) {
    unsigned long size = 0;
    const Result sized =
        aConnection.IoControl(IOCTL_PARAMETERS_GET_SIZE, nullptr, 0, nullptr, 0, &size, nullptr);
    if (sized.IsFailure()) return sized;

    // The driver gets room for all the bytes that it asked for, whole records or not.
    const RecordBuffer records(size);
    if (!records.IsValid()) return FailForMemory(__LINE__);

    unsigned long returned = 0;
    const Result loaded = aConnection.IoControl(IOCTL_PARAMETERS_GET, nullptr, 0, records.Get(),
                                                size, &returned, nullptr);
    if (loaded.IsFailure()) return loaded;
    return AddDeviceParameters(aRepository, records.Get(), records.Count());
}

// Reserved at the first change. If the list grew step by step, the heap would release and allocate
// the memory of the records again and again.
constexpr unsigned long kUsualChanges = 256;

std::vector<const Parameter*> ChangedOf(const ParameterRepository& aRepository) {
    std::vector<const Parameter*> changed;
    const unsigned long count = aRepository.GetCount();
    for (unsigned long index = 0; index < count; ++index) {
        const Parameter* const parameter = aRepository.GetByIndex(index);
        if (!parameter->HasChanged(/*aReset=*/false)) continue;
        if (changed.empty()) changed.reserve(std::min(count - index, kUsualChanges));
        changed.push_back(parameter);
    }
    return changed;
}

// Clears the marks after all records are filled in: if memory runs out before, all stay marked.
void FillDeviceParameters(const std::vector<const Parameter*>& aChanged,
                          DeviceParameter* aRecords) {
    for (const Parameter* const parameter : aChanged) FillRecord(*parameter, *aRecords++);
    for (const Parameter* const parameter : aChanged) MarkUnchanged(parameter);
}

}  // namespace

DeviceParameterRepository::DeviceParameterRepository()
    : ParameterRepository("DeviceParameterRepository", 0xFFFFFFFF), connection_(nullptr) {}

DeviceParameterRepository::~DeviceParameterRepository() = default;

const DeviceParameterRepository& DeviceParameterRepository::operator=(
    const DeviceParameterRepository& aSource) {
    ParameterRepository::operator=(aSource);
    return *this;
}

Result DeviceParameterRepository::Apply() {
    if (!IsConnected()) return Result(Code::NotConnected);
    std::vector<const Parameter*> changed;
    try {
        changed = ChangedOf(*this);
    } catch (const std::bad_alloc&) {
        return FailForMemory(__LINE__);
    }
    if (changed.empty()) return Result(Code::Success);

    const std::size_t size = changed.size() * sizeof(DeviceParameter);
    const RecordBuffer records(size);
    if (!records.IsValid()) return FailForMemory(__LINE__);
    try {
        FillDeviceParameters(changed, records.Get());
    } catch (const std::bad_alloc&) {
        return FailForMemory(__LINE__);
    }

    unsigned long returned = 0;
    return connection_->IoControl(IOCTL_PARAMETERS_SET, records.Get(),
                                  static_cast<unsigned int>(size), nullptr, 0, &returned, nullptr);
}

Result DeviceParameterRepository::Connect(DeviceConnection* aConnection) {
    if (aConnection == nullptr) return Result(Code::InvalidArgument);
    connection_ = aConnection;
    return LoadFromDriver(*this, *connection_);
}

Result DeviceParameterRepository::Refresh() {
    if (!IsConnected()) return Result(Code::NotConnected);
    try {
        for (unsigned long index = GetCount(); index > 0; --index) {
            (void)RemoveByIndex(index - 1);  // The index exists.
        }
    } catch (const std::bad_alloc&) {
        return FailForMemory(__LINE__);
    }
    return LoadFromDriver(*this, *connection_);
}

bool DeviceParameterRepository::IsConnected() const { return connection_ != nullptr; }

unsigned int DeviceParameterRepository::GetChangeCount() const {
    unsigned int changed = 0;
    const unsigned long count = GetCount();
    for (unsigned long index = 0; index < count; ++index) {
        if (GetByIndex(index)->HasChanged(/*aReset=*/false)) ++changed;
    }
    return changed;
}

}  // namespace QvUserLib
