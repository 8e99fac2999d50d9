// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <unordered_map>
#include <utility>

#include "JsonDocument.h"
#include "ProfileFormat.h"
#include "QvKit/Spelling.h"
#include "QvKit/Text.h"

namespace QvKit {

bool IsProfileTime(const std::string& aText) {
    constexpr std::string_view kPattern = "0000-00-00T00:00:00Z";
    return std::equal(aText.begin(), aText.end(), kPattern.begin(), kPattern.end(),
                      [](char aCharacter, char aPattern) {
                          if (aPattern != '0') return aCharacter == aPattern;
                          return aCharacter >= '0' && aCharacter <= '9';
                      });
}

std::string RefuseProfileText(const std::string& aText) {
    // More than any record of a driver holds; it bounds messages that repeat a text.
    constexpr std::size_t kMostBytes = 16384;
    if (aText.size() > kMostBytes) return "the text is too long";
    if (aText.find('\0') != std::string::npos) return "a text cannot have a zero character";
    return std::string();
}

namespace {

class Reader {
public:
    Reader(std::string_view aJson, const std::string& aFile)
        : document_(aJson, aFile), file_(aFile) {}

    Profile Read();

private:
    Error Refuse(const JsonNode& aNode, const std::string& aReason) const;
    void Expect(const JsonNode& aNode, JsonNode::Kind aKind, const std::string& aWhat,
                const char* aForm) const;
    const JsonNode& Require(const JsonNode& aObject, const char* aName) const;

    // A member that is not known was probably meant as another one.
    void CheckMembers(const JsonNode& aObject, const std::vector<std::string>& aKnown) const;
    std::string ReadText(const JsonNode& aNode) const;
    std::optional<std::string> FindText(const JsonNode& aObject, const char* aName) const;
    void CheckVersion(const JsonNode& aRoot) const;
    Profile::Origin ReadOrigin(const JsonNode& aNode) const;
    SettingType ReadType(const JsonNode& aNode) const;
    unsigned long ReadId(const JsonNode& aNode) const;
    Value ReadValue(const JsonNode& aNode, SettingType aType) const;
    SavedSetting ReadSetting(const JsonNode& aNode);

    const JsonDocument document_;
    const std::string file_;
    std::unordered_map<std::string, std::size_t> lines_;  // Of the parameters, by their names.
};

Profile Reader::Read() {
    const JsonNode& root = document_.GetRoot();
    Expect(root, JsonNode::Object, "a profile", "an object");
    // What a newer version has besides is no mistake of the file's.
    CheckVersion(root);
    CheckMembers(root, {"format", "version", "time", "device", "parameters"});
    Profile profile;
    profile.time = FindText(root, "time");
    if (profile.time && !IsProfileTime(*profile.time)) {
        throw Refuse(*root.Find("time"), "'time' has to be a time such as 2026-01-31T12:00:00Z");
    }
    if (const JsonNode* const device = root.Find("device")) profile.origin = ReadOrigin(*device);
    const JsonNode& parameters = Require(root, "parameters");
    Expect(parameters, JsonNode::Array, "'parameters'", "an array");
    profile.settings.reserve(parameters.children.size());
    for (const JsonNode& node : parameters.children) {
        profile.settings.push_back(ReadSetting(node));
    }
    return profile;
}

Error Reader::Refuse(const JsonNode& aNode, const std::string& aReason) const {
    return document_.Refuse(aNode.offset, aReason);
}

void Reader::Expect(const JsonNode& aNode, JsonNode::Kind aKind, const std::string& aWhat,
                    const char* aForm) const {
    if (aNode.kind != aKind) throw Refuse(aNode, aWhat + " has to be " + aForm);
}

const JsonNode& Reader::Require(const JsonNode& aObject, const char* aName) const {
    const JsonNode* const node = aObject.Find(aName);
    if (node == nullptr) throw Refuse(aObject, std::string("'") + aName + "' is missing");
    return *node;
}

void Reader::CheckMembers(const JsonNode& aObject, const std::vector<std::string>& aKnown) const {
    for (const JsonNode& member : aObject.children) {
        if (std::find(aKnown.begin(), aKnown.end(), member.name) != aKnown.end()) continue;
        const std::string nearest = FindNearestWord(member.name, aKnown);
        throw Refuse(member, "a member " + Quote(member.name) + " is not known" +
                                 (nearest.empty() ? "" : " (did you mean " + nearest + "?)"));
    }
}

std::string Reader::ReadText(const JsonNode& aNode) const {
    Expect(aNode, JsonNode::Text, "'" + aNode.name + "'", "a text");
    const std::string reason = RefuseProfileText(aNode.text);
    if (!reason.empty()) throw Refuse(aNode, reason);
    return aNode.text;
}

std::optional<std::string> Reader::FindText(const JsonNode& aObject, const char* aName) const {
    const JsonNode* const node = aObject.Find(aName);
    if (node == nullptr) return std::nullopt;
    return ReadText(*node);
}

void Reader::CheckVersion(const JsonNode& aRoot) const {
    const JsonNode& format = Require(aRoot, "format");
    if (format.kind != JsonNode::Text || format.text != kProfileFormat) {
        throw Refuse(format,
                     std::string("it is no profile, whose 'format' is \"") + kProfileFormat + "\"");
    }
    const JsonNode& version = Require(aRoot, "version");
    if (version.kind != JsonNode::Number || version.number < 1) {
        throw Refuse(version, "'version' has to be a whole number from 1 on");
    }
    if (version.number > Profile::kVersion) {
        throw Error(ErrorKind::BadFile,
                    "'" + file_ + "' is a profile of version " + std::to_string(version.number) +
                        ", but this program reads only up to " + std::to_string(Profile::kVersion) +
                        ": use a newer one");
    }
}

Profile::Origin Reader::ReadOrigin(const JsonNode& aNode) const {
    Expect(aNode, JsonNode::Object, "'device'", "an object");
    std::vector<std::string> known;
    Profile::Origin origin;
    for (const auto& [name, member] : kOriginMembers) {
        origin.*member = FindText(aNode, name);
        known.emplace_back(name);
    }
    CheckMembers(aNode, known);
    return origin;
}

SettingType Reader::ReadType(const JsonNode& aNode) const {
    for (const SettingType type :
         {SettingType::Integer, SettingType::Enumeration, SettingType::String}) {
        if (aNode.kind == JsonNode::Text && aNode.text == NameOf(type)) return type;
    }
    throw Refuse(aNode, "'type' has to be \"integer\", \"enumeration\" or \"string\"");
}

unsigned long Reader::ReadId(const JsonNode& aNode) const {
    constexpr long long kMost = std::numeric_limits<unsigned long>::max();
    if (aNode.kind != JsonNode::Number || aNode.number < 0 || aNode.number > kMost) {
        throw Refuse(aNode, "'id' has to be a whole number from 0 to " + std::to_string(kMost));
    }
    return static_cast<unsigned long>(aNode.number);
}

Value Reader::ReadValue(const JsonNode& aNode, SettingType aType) const {
    if (aType != SettingType::Integer) return FromUtf8(ReadText(aNode));
    Expect(aNode, JsonNode::Number, "the 'value' of an integer",
           "a whole number of at most 64 bits");
    return aNode.number;
}

SavedSetting Reader::ReadSetting(const JsonNode& aNode) {
    Expect(aNode, JsonNode::Object, "a parameter", "an object");
    static const std::vector<std::string> kMembers = {"name", "id", "type", "value", "unit"};
    CheckMembers(aNode, kMembers);
    SavedSetting setting;
    setting.line = document_.GetLine(aNode.offset);
    setting.name = ReadText(Require(aNode, "name"));
    setting.type = ReadType(Require(aNode, "type"));
    setting.value = ReadValue(Require(aNode, "value"), setting.type);
    if (const JsonNode* const id = aNode.Find("id")) setting.id = ReadId(*id);
    setting.unit = FindText(aNode, "unit");
    if (setting.unit && setting.type != SettingType::Integer) {
        throw Refuse(*aNode.Find("unit"), "only an integer has a unit");
    }
    const auto [earlier, isNew] = lines_.emplace(setting.name, setting.line);
    if (!isNew) {
        throw Refuse(aNode, "the parameter " + Quote(setting.name) +
                                " is there a second time, after line " +
                                std::to_string(earlier->second));
    }
    return setting;
}

}  // namespace

Profile Profile::FromJson(std::string_view aJson, const std::string& aFile) {
    if (aJson.size() > kMostBytes) {
        throw Error(ErrorKind::BadFile, "'" + aFile + "' is larger than a profile may be, " +
                                            std::to_string(kMostBytes) + " bytes");
    }
    return Reader(aJson, aFile).Read();
}

}  // namespace QvKit
