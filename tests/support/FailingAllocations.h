// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Memory that runs out when a test says so.

#ifndef QVTESTS_FAILINGALLOCATIONS_H
#define QVTESTS_FAILINGALLOCATIONS_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "ImportPatch.h"

namespace QvTests {

/// As long as the object lives, the library gets no memory for blocks of `aMin` to `aMax` bytes,
/// after `aSpared` of them. The names are those that GCC and Clang give `operator new`.
class FailingAllocations {
public:
    explicit FailingAllocations(std::size_t aMin, std::size_t aMax = SIZE_MAX, int aSpared = 0)
        : min_(aMin), max_(aMax), spared_(aSpared) {
        active_ = this;
    }
    ~FailingAllocations() { active_ = nullptr; }

    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;

    /// How often it was refused.
    int Count() const { return count_; }

private:
    bool Refuses(std::size_t aSize) {
        if (aSize < min_ || aSize > max_ || spared_-- > 0) return false;
        ++count_;
        return true;
    }
    static void* Malloc(std::size_t aSize) {
        return active_->Refuses(aSize) ? nullptr : std::malloc(aSize);
    }
    static void* Calloc(std::size_t aCount, std::size_t aSize) {
        return active_->Refuses(aCount * aSize) ? nullptr : std::calloc(aCount, aSize);
    }
    static void* Realloc(void* aBlock, std::size_t aSize) {
        return active_->Refuses(aSize) ? nullptr : std::realloc(aBlock, aSize);
    }
    static void* New(std::size_t aSize) {
        if (active_->Refuses(aSize)) throw std::bad_alloc();
        return ::operator new(aSize);
    }
    static void* NewArray(std::size_t aSize) {
        if (active_->Refuses(aSize)) throw std::bad_alloc();
        return ::operator new[](aSize);
    }
    static void* NewOrNull(std::size_t aSize, const std::nothrow_t& aTag) {
        return active_->Refuses(aSize) ? nullptr : ::operator new(aSize, aTag);
    }
    static void* NewArrayOrNull(std::size_t aSize, const std::nothrow_t& aTag) {
        return active_->Refuses(aSize) ? nullptr : ::operator new[](aSize, aTag);
    }

    inline static FailingAllocations* active_ = nullptr;

    std::size_t min_;
    std::size_t max_;
    int spared_;
    int count_ = 0;
    // The library may use any of these.
    ImportPatch malloc_{"malloc", &Malloc};
    ImportPatch calloc_{"calloc", &Calloc};
    ImportPatch realloc_{"realloc", &Realloc};
    ImportPatch new_{"_Znwy", &New};
    ImportPatch newArray_{"_Znay", &NewArray};
    ImportPatch newOrNull_{"_ZnwyRKSt9nothrow_t", &NewOrNull};
    ImportPatch newArrayOrNull_{"_ZnayRKSt9nothrow_t", &NewArrayOrNull};
};

}  // namespace QvTests

#endif
