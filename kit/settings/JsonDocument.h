// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// JSON that people edit: read with the place of each value, so that every mistake has a line.

#ifndef QVKIT_SETTINGS_JSONDOCUMENT_H
#define QVKIT_SETTINGS_JSONDOCUMENT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "QvKit/Error.h"

namespace QvKit {

struct JsonNode {
    // A number that is not whole, or beyond 64 bits, is another one.
    enum Kind { Null, Boolean, Number, OtherNumber, Text, Array, Object };

    Kind kind = Null;
    std::size_t offset = 0;  // Where it begins.
    std::string name;        // Of a member of an object.
    std::string text;
    long long number = 0;
    std::vector<JsonNode> children;  // Of an array or an object.

    // Null when the object has no such member.
    const JsonNode* Find(std::string_view aName) const;
};

// In quotation marks for a message, which a text of a hostile file must not make long or break.
std::string Quote(std::string aText);

// Checked: it is one JSON value in UTF-8, of few levels, and no member is there twice.
class JsonDocument {
public:
    static constexpr std::size_t kMostValues = 200000;

    // Throws `Error`, kind `BadFile`. The file's name is for messages.
    JsonDocument(std::string_view aText, std::string aFile);

    const JsonNode& GetRoot() const { return root_; }

    // From 1 on.
    std::size_t GetLine(std::size_t aOffset) const;

    // "'file', line 3, column 5: the reason".
    Error Refuse(std::size_t aOffset, const std::string& aReason) const;

private:
    std::string_view text_;  // Borrowed while the object is made, and for `Refuse`.
    std::string file_;
    std::vector<std::size_t> lines_;  // Where each begins.
    JsonNode root_;
};

}  // namespace QvKit

#endif
