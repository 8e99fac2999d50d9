// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Parameter blocks as a driver answers them that is broken, of another version, or hostile.

#ifndef QVTESTS_PARAMETERBLOCK_H
#define QVTESTS_PARAMETERBLOCK_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "QvBaseLib/DeviceParameterRecord.h"

namespace QvTests {

/// What a driver says its size is, and what it then answers.
struct ParameterBlock {
    unsigned long claimedSize = 0;
    std::vector<QV_PARAMETER_RECORD> records;

    /// The block as a file of the corpus: the size in four bytes, then the records.
    std::string ToBytes() const {
        const auto size = static_cast<std::uint32_t>(claimedSize);
        std::string bytes(sizeof size + records.size() * sizeof(QV_PARAMETER_RECORD), '\0');
        std::memcpy(&bytes[0], &size, sizeof size);
        if (!records.empty()) {
            std::memcpy(&bytes[sizeof size], records.data(), bytes.size() - sizeof size);
        }
        return bytes;
    }

    /// The reverse. Bytes behind the last whole record become a record that zeros fill up.
    static ParameterBlock FromBytes(const std::string& aBytes) {
        ParameterBlock block;
        std::uint32_t size = 0;
        if (aBytes.size() < sizeof size) return block;
        std::memcpy(&size, aBytes.data(), sizeof size);
        block.claimedSize = size;
        const std::size_t length = aBytes.size() - sizeof size;
        block.records.resize((length + sizeof(QV_PARAMETER_RECORD) - 1) /
                             sizeof(QV_PARAMETER_RECORD));
        if (length > 0) std::memcpy(block.records.data(), &aBytes[sizeof size], length);
        return block;
    }
};

/// Makes random blocks. The same seed and number always make the same block.
class ParameterBlockMaker {
public:
    ParameterBlockMaker(unsigned long aSeed, unsigned long aNumber)
        : random_(static_cast<std::uint32_t>(aSeed + 2654435761UL * aNumber)) {}

    ParameterBlock Make() {
        ParameterBlock block;
        block.records.resize(Below(6));
        for (QV_PARAMETER_RECORD& record : block.records) MakeRecord(record);
        const unsigned long size =
            static_cast<unsigned long>(block.records.size() * sizeof(QV_PARAMETER_RECORD));
        block.claimedSize = Chance(8) ? static_cast<unsigned long>(Below(2 * size + 3)) : size;
        return block;
    }

    /// One random record: noise, or one in order of which some bytes may be changed.
    void MakeRecord(QV_PARAMETER_RECORD& aRecord) {
        auto* const bytes = reinterpret_cast<unsigned char*>(&aRecord);
        if (Chance(10)) {
            std::generate_n(bytes, sizeof aRecord,
                            [this] { return static_cast<unsigned char>(random_()); });
            return;
        }
        aRecord = {};
        aRecord.flags = Chance(3) ? static_cast<std::uint32_t>(random_()) : Below(0x80);
        aRecord.type = Chance(12) ? Number() : Below(3);
        aRecord.id = Chance(4) ? Number() : Below(6);
        FillText(aRecord.name);
        FillDescription(aRecord.description);
        if (Chance(2)) FillBytes(aRecord.unit);
        FillNumbers(aRecord);
        FillContent(aRecord);
        for (std::size_t change = Chance(3) ? Below(8) : 0; change > 0; --change) {
            bytes[Below(sizeof aRecord)] = static_cast<unsigned char>(random_());
        }
    }

    std::uint32_t Below(std::size_t aLimit) {
        return static_cast<std::uint32_t>(random_() % aLimit);
    }

    /// True once in so many times.
    bool Chance(unsigned int aTimes) { return Below(aTimes) == 0; }

private:
    // A number, often one at the end of a range.
    std::uint32_t Number() {
        constexpr std::uint32_t kEnds[] = {
            0, 1, 2, 0x7FFFFFFE, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF};
        return Chance(2) ? kEnds[Below(std::size(kEnds))] : static_cast<std::uint32_t>(random_());
    }

    // Characters of all kinds: letters, halves of surrogate pairs, characters that become the same
    // one in the ANSI code page, and such as no code page has.
    wchar_t Character() {
        constexpr wchar_t kUnusual[] = {0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xFFFE, 0xFFFF,
                                        0x4E00, 0x4E01, 0xFF21, 0x0100, 0x0391, 0x20AC,
                                        0x0080, 0x0301, 0x0001, L'%',   L'(',   L')'};
        if (Chance(3)) return kUnusual[Below(std::size(kUnusual))];
        return static_cast<wchar_t>(L'A' + Below(4));
    }

    // Few different texts, so that some are the same; now and then without a terminator.
    template <std::size_t Size>
    void FillText(wchar_t (&aField)[Size]) {
        const std::size_t length = Chance(12) ? Size : Below(Chance(4) ? Size : 3);
        std::generate_n(aField, length, [this] { return Character(); });
    }

    template <std::size_t Size>
    void FillBytes(char (&aField)[Size]) {
        const std::size_t length = Chance(8) ? Size : Below(Size);
        std::generate_n(aField, length, [this] {
            return static_cast<char>(Chance(4) ? random_() : "()% aZ"[Below(6)]);
        });
    }

    void FillDescription(char (&aField)[QV_PARAMETER_DESCRIPTION_BYTES]) {
        if (Chance(3)) FillBytes(aField);
    }

    void FillNumbers(QV_PARAMETER_RECORD& aRecord) {
        const bool isOrdered = !Chance(4);
        aRecord.minimum = Number();
        aRecord.maximum = Number();
        if (isOrdered && aRecord.minimum > aRecord.maximum) {
            std::swap(aRecord.minimum, aRecord.maximum);
        }
        aRecord.defaultValue = isOrdered ? aRecord.minimum : Number();
        aRecord.value = isOrdered ? aRecord.maximum : Number();
        // An enumeration with a large maximum has thousands of entries, which take their time.
        if (aRecord.type != QV_PARAMETER_ENUMERATION || Chance(256)) return;
        aRecord.minimum = 0;
        aRecord.maximum = Chance(32) ? Below(400) : Below(6);
        aRecord.defaultValue = Below(8);
        aRecord.value = Below(8);
    }

    void FillContent(QV_PARAMETER_RECORD& aRecord) {
        if (aRecord.type == QV_PARAMETER_STRING) {
            FillText(aRecord.content.string.defaultText);
            FillText(aRecord.content.string.valueText);
        } else if (aRecord.type == QV_PARAMETER_ENUMERATION) {
            wchar_t* out = aRecord.content.valueNames;
            wchar_t* const end = out + QV_PARAMETER_VALUE_NAMES_UNITS;
            const std::size_t count = Chance(10) ? QV_PARAMETER_VALUE_NAMES_UNITS : Below(8);
            for (std::size_t name = 0; name < count && out < end; ++name) {
                for (std::size_t length = 1 + Below(4); length > 0 && out < end; --length) {
                    *out++ = Character();
                }
                if (!Chance(20)) ++out;
            }
        }
    }

    std::mt19937 random_;
};

}  // namespace QvTests

#endif
