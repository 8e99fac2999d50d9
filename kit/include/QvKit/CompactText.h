// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_COMPACTTEXT_H
#define QVKIT_COMPACTTEXT_H

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace QvKit {

/// A text that takes one pointer and a block of just its length; an empty one has no block. Devices
/// may have thousands of settings, where a `std::string` of 32 bytes for each text is too much.
///
/// It is read like a standard string, and turns into one by itself. Its characters do not change;
/// another text can be assigned. Copies are independent.
template <typename Char>
class BasicCompactText {
public:
    /// The text without a copy; valid until another text is assigned.
    using View = std::basic_string_view<Char>;
    /// A copy that can be changed.
    using String = std::basic_string<Char>;

    BasicCompactText() = default;

    // NOLINTBEGIN(google-explicit-constructor)

    /// Copies a text of less than 4 Gi characters. Throws `std::length_error` for a longer one.
    BasicCompactText(View aText) : block_(MakeBlock(aText)) {}
    /// The same.
    BasicCompactText(const String& aText) : BasicCompactText(View(aText)) {}
    /// The same; not null.
    BasicCompactText(const Char* aText) : BasicCompactText(View(aText)) {}

    /// Without a copy.
    operator View() const { return View(c_str(), size()); }
    /// A copy.
    operator String() const { return String(View(*this)); }

    // NOLINTEND(google-explicit-constructor)

    /// Copies the text.
    BasicCompactText(const BasicCompactText& aOther) : BasicCompactText(View(aOther)) {}
    /// Leaves the other text empty.
    BasicCompactText(BasicCompactText&&) noexcept = default;
    ~BasicCompactText() = default;

    /// Copies or moves the text.
    BasicCompactText& operator=(BasicCompactText aOther) noexcept {
        block_ = std::move(aOther.block_);
        return *this;
    }

    // As those of a standard string.

    /// With a zero at the end.
    const Char* c_str() const { return block_ == nullptr ? &kZero : block_.get() + kLengthUnits; }
    /// In characters, without the zero at the end.
    std::size_t size() const {
        std::uint32_t length = 0;
        if (block_ != nullptr) std::memcpy(&length, block_.get(), sizeof length);
        return length;
    }
    /// Whether it has no characters.
    bool empty() const { return block_ == nullptr; }
    /// Negative, 0 or positive, in the order of the characters.
    int compare(View aOther) const { return View(*this).compare(aOther); }

    /// Whether the characters are the same.
    friend bool operator==(View aLeft, View aRight) { return aLeft.compare(aRight) == 0; }
    /// The opposite.
    friend bool operator!=(View aLeft, View aRight) { return aLeft.compare(aRight) != 0; }
    /// One text behind the other.
    friend String operator+(View aLeft, View aRight) { return String(aLeft).append(aRight); }

private:
    static constexpr Char kZero = 0;
    static constexpr std::size_t kLengthUnits = sizeof(std::uint32_t) / sizeof(Char);

    using Block = std::unique_ptr<Char[]>;

    static Block MakeBlock(View aText) {
        if (aText.empty()) return nullptr;
        if (aText.size() > std::numeric_limits<std::uint32_t>::max()) {
            throw std::length_error("a text is too long");
        }
        const auto length = static_cast<std::uint32_t>(aText.size());
        Block block(new Char[kLengthUnits + aText.size() + 1]);
        std::memcpy(block.get(), &length, sizeof length);
        aText.copy(block.get() + kLengthUnits, aText.size());
        block[kLengthUnits + aText.size()] = 0;
        return block;
    }

    Block block_;  // The length, the characters and a zero.
};

/// A compact text in UTF-8.
using CompactText = BasicCompactText<char>;
/// A compact text in UTF-16.
using CompactWideText = BasicCompactText<wchar_t>;

}  // namespace QvKit

#endif
