// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "JsonDocument.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

namespace QvKit {
namespace {

// More than any document has. The limits keep a hostile one from taking much time or memory.
constexpr std::size_t kMostLevels = 16;
constexpr std::size_t kMostMembers = 64;

// Of a setting in a profile.
constexpr std::size_t kUsualMembers = 5;

// Reads a text and tells how far the parser has come.
class PlacedIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    PlacedIterator(const char* aAt, const char** aLast) : at_(aAt), last_(aLast) {}

    reference operator*() const { return *at_; }
    PlacedIterator& operator++() {
        *last_ = ++at_;
        return *this;
    }
    bool operator==(const PlacedIterator& aOther) const { return at_ == aOther.at_; }
    bool operator!=(const PlacedIterator& aOther) const { return at_ != aOther.at_; }

private:
    const char* at_;
    const char** last_;
};

bool IsContinuation(char aByte) { return (static_cast<unsigned char>(aByte) & 0xC0) == 0x80; }

// The end of the parser's message, without what it read: that may be anything.
std::string PlainReason(const std::string& aMessage) {
    const std::size_t begin = aMessage.find(" - ");
    std::string reason = begin == std::string::npos ? aMessage : aMessage.substr(begin + 3);
    const std::size_t expected = reason.rfind("; expected ");
    const std::size_t read = reason.find("; last read: ");
    if (read != std::string::npos) {
        const bool isAfter = expected != std::string::npos && expected > read;
        reason = reason.substr(0, read) + (isAfter ? reason.substr(expected) : std::string());
    }
    return reason;
}

// Builds the nodes from the parser's events.
class NodeBuilder final : public nlohmann::json_sax<nlohmann::json> {
public:
    NodeBuilder(const JsonDocument& aDocument, std::string_view aText)
        : document_(aDocument), begin_(aText.data()), end_(begin_ + aText.size()), last_(begin_) {}

    // The root. Throws `Error`.
    JsonNode Build();
    bool null() override { return Add(JsonNode::Null); }
    bool boolean(bool) override { return Add(JsonNode::Boolean); }
    bool number_integer(number_integer_t aNumber) override;
    bool number_unsigned(number_unsigned_t aNumber) override;
    bool number_float(number_float_t, const string_t&) override;
    bool string(string_t& aText) override { return Add(JsonNode::Text, std::move(aText)); }
    bool binary(binary_t&) override { return false; }  // JSON has none.
    bool start_object(std::size_t) override { return Open(JsonNode::Object); }
    bool start_array(std::size_t) override { return Open(JsonNode::Array); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }

    bool key(string_t& aName) override;
    bool parse_error(std::size_t aPosition, const std::string&,
                     const nlohmann::detail::exception& aError) override;

private:
    // Where the present token begins: after the last one, white space and separators.
    std::size_t TakeOffset();
    JsonNode Make(JsonNode::Kind aKind);
    bool Add(JsonNode::Kind aKind, std::string aText = std::string(), long long aNumber = 0);
    bool Open(JsonNode::Kind aKind);
    bool Close();
    bool Put(JsonNode aNode);

    const JsonDocument& document_;
    const char* const begin_;
    const char* const end_;
    const char* last_;  // Up to where the parser has read; one character too many after a number.
    std::size_t ended_ = 0;
    std::size_t count_ = 0;
    std::string name_;  // Of the member that comes next.
    std::vector<JsonNode> open_;
    JsonNode root_;
};

JsonNode NodeBuilder::Build() {
    nlohmann::json::sax_parse(PlacedIterator(begin_, &last_), PlacedIterator(end_, &last_), this);
    return std::move(root_);
}

bool NodeBuilder::number_integer(number_integer_t aNumber) {
    return Add(JsonNode::Number, std::string(), aNumber);
}

bool NodeBuilder::number_unsigned(number_unsigned_t aNumber) {
    constexpr auto kLargest = std::numeric_limits<long long>::max();
    if (aNumber > static_cast<number_unsigned_t>(kLargest)) return Add(JsonNode::OtherNumber);
    return Add(JsonNode::Number, std::string(), static_cast<long long>(aNumber));
}

bool NodeBuilder::number_float(number_float_t, const string_t&) {
    return Add(JsonNode::OtherNumber);
}

bool NodeBuilder::key(string_t& aName) {
    const std::size_t offset = TakeOffset();
    JsonNode& object = open_.back();
    if (object.Find(aName) != nullptr) {
        throw document_.Refuse(offset, Quote(aName) + " is there a second time");
    }
    if (object.children.size() == kMostMembers) {
        throw document_.Refuse(offset, "an object has too many members");
    }
    // Growing step by step takes "Loading a profile of 10000" in the benchmark table 5 times as
    // long: Wine's heap then searches long lists.
    if (object.children.empty()) object.children.reserve(kUsualMembers);
    name_ = std::move(aName);
    return true;
}

bool NodeBuilder::parse_error(std::size_t aPosition, const std::string&,
                              const nlohmann::detail::exception& aError) {
    const auto size = static_cast<std::size_t>(end_ - begin_);
    const std::size_t offset = std::min(aPosition > 0 ? aPosition - 1 : 0, size);
    throw document_.Refuse(offset, PlainReason(aError.what()));
}

std::size_t NodeBuilder::TakeOffset() {
    constexpr std::string_view kBetween = " \t\r\n,:]}";
    const char* at = begin_ + ended_;
    while (at < last_ && kBetween.find(*at) != std::string_view::npos) ++at;
    ended_ = static_cast<std::size_t>(last_ - begin_);
    return static_cast<std::size_t>(at - begin_);
}

JsonNode NodeBuilder::Make(JsonNode::Kind aKind) {
    JsonNode node;
    node.kind = aKind;
    node.offset = TakeOffset();
    node.name = std::exchange(name_, std::string());
    if (++count_ > JsonDocument::kMostValues)
        throw document_.Refuse(node.offset, "there are too many values");
    return node;
}

bool NodeBuilder::Add(JsonNode::Kind aKind, std::string aText, long long aNumber) {
    JsonNode node = Make(aKind);
    node.text = std::move(aText);
    node.number = aNumber;
    return Put(std::move(node));
}

bool NodeBuilder::Open(JsonNode::Kind aKind) {
    open_.push_back(Make(aKind));
    if (open_.size() > kMostLevels) {
        throw document_.Refuse(open_.back().offset, "it is nested too deeply");
    }
    return true;
}

bool NodeBuilder::Close() {
    (void)TakeOffset();  // The next token begins after this bracket.
    JsonNode node = std::move(open_.back());
    open_.pop_back();
    return Put(std::move(node));
}

bool NodeBuilder::Put(JsonNode aNode) {
    (open_.empty() ? root_ : open_.back().children.emplace_back()) = std::move(aNode);
    return true;
}

}  // namespace

std::string Quote(std::string aText) {
    constexpr std::size_t kMost = 64;
    if (aText.size() > kMost) {
        std::size_t end = kMost;
        while (IsContinuation(aText[end])) --end;
        aText = aText.substr(0, end) + "...";
    }
    const auto isControl = [](char aByte) { return static_cast<unsigned char>(aByte) < ' '; };
    std::replace_if(aText.begin(), aText.end(), isControl, '?');
    return "'" + aText + "'";
}

const JsonNode* JsonNode::Find(std::string_view aName) const {
    const auto found = std::find_if(children.begin(), children.end(),
                                    [&](const JsonNode& aChild) { return aChild.name == aName; });
    return found == children.end() ? nullptr : &*found;
}

JsonDocument::JsonDocument(std::string_view aText, std::string aFile)
    : text_(aText), file_(std::move(aFile)), lines_{0} {
    for (std::size_t at = text_.find('\n'); at != std::string_view::npos;
         at = text_.find('\n', at + 1)) {
        lines_.push_back(at + 1);
    }
    root_ = NodeBuilder(*this, text_).Build();
}

std::size_t JsonDocument::GetLine(std::size_t aOffset) const {
    const auto next = std::upper_bound(lines_.begin(), lines_.end(), aOffset);
    return static_cast<std::size_t>(next - lines_.begin());
}

Error JsonDocument::Refuse(std::size_t aOffset, const std::string& aReason) const {
    const std::size_t line = GetLine(aOffset);
    const std::string_view before = text_.substr(lines_[line - 1], aOffset - lines_[line - 1]);
    const auto column =
        1 + before.size() - std::count_if(before.begin(), before.end(), IsContinuation);
    return Error(ErrorKind::BadFile,
                 "'" + file_ + "', line " + std::to_string(line) + ", column " +
                     std::to_string(column) + ": " + aReason,
                 std::nullopt, aReason);
}

}  // namespace QvKit
