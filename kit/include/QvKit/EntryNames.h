// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_ENTRYNAMES_H
#define QVKIT_ENTRYNAMES_H

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "QvKit/CompactText.h"

namespace QvKit {

/// The names of an enumeration's entries, in UTF-8 and in the order of their indices. All of them
/// are in one block of memory. It is read like a standard container.
class EntryNames {
public:
    /// From one name to the next.
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;  ///< What the standard asks for.
        using value_type = std::string_view;                ///< The same.
        using difference_type = std::ptrdiff_t;             ///< The same.
        using pointer = const std::string_view*;            ///< The same.
        using reference = std::string_view;                 ///< The same.

        /// At this name, which belongs to the names.
        explicit Iterator(const char* aName) : name_(aName) {}

        /// The name, which belongs to the names.
        std::string_view operator*() const { return name_; }
        /// On to the next name.
        Iterator& operator++() {
            name_ += (**this).size() + 1;
            return *this;
        }
        /// Whether both are at the same name.
        bool operator==(const Iterator& aOther) const { return name_ == aOther.name_; }
        /// The opposite.
        bool operator!=(const Iterator& aOther) const { return name_ != aOther.name_; }

    private:
        const char* name_;
    };

    EntryNames() = default;

    /// What follows a zero in a name is left out.
    explicit EntryNames(const std::vector<std::string>& aNames) {
        std::string all;
        for (const std::string& name : aNames) all.append(name, 0, name.find('\0')) += '\0';
        all_ = all;
    }
    /// The same.
    EntryNames(std::initializer_list<std::string_view> aNames)
        : EntryNames(std::vector<std::string>(aNames.begin(), aNames.end())) {}

    // As those of a standard container.

    /// At the first name.
    Iterator begin() const { return Iterator(all_.c_str()); }
    /// Behind the last one.
    Iterator end() const { return Iterator(all_.c_str() + all_.size()); }
    /// How many names there are.
    std::size_t size() const { return static_cast<std::size_t>(std::distance(begin(), end())); }

    /// The name of this entry; empty when there is none.
    std::string_view operator[](std::size_t aIndex) const {
        auto name = begin();
        while (name != end() && aIndex-- > 0) ++name;
        return name == end() ? std::string_view() : *name;
    }

    /// Whether the names are the same, in the same order.
    bool operator==(const EntryNames& aOther) const { return all_ == aOther.all_; }
    /// The opposite.
    bool operator!=(const EntryNames& aOther) const { return all_ != aOther.all_; }

private:
    CompactText all_;  // Each ends with a zero.
};

}  // namespace QvKit

#endif
