// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "PropertyData.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace QvKit {
namespace {

// Nothing when the data is not exactly one of these.
template <typename Value>
std::optional<Value> Take(const std::optional<PropertyData>& aData, DEVPROPTYPE aType) {
    Value value;
    if (!aData || aData->type != aType || aData->bytes.size() != sizeof value) return std::nullopt;
    std::memcpy(&value, aData->bytes.data(), sizeof value);
    return value;
}

}  // namespace

DEVPROPTYPE FromRegistryType(DWORD aType) {
    switch (aType) {
        case REG_SZ:
        case REG_EXPAND_SZ:
            return DEVPROP_TYPE_STRING;
        case REG_MULTI_SZ:
            return DEVPROP_TYPE_STRING_LIST;
        case REG_DWORD:
            return DEVPROP_TYPE_UINT32;
        default:
            return DEVPROP_TYPE_BINARY;
    }
}

std::vector<std::wstring> TextsIn(const std::optional<PropertyData>& aData) {
    std::vector<std::wstring> texts;
    if (!aData) return texts;
    const bool isList = aData->type == DEVPROP_TYPE_STRING_LIST;
    if (!isList && aData->type != DEVPROP_TYPE_STRING) return texts;
    // An odd byte at the end is no character.
    std::wstring all(aData->bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(all.data(), aData->bytes.data(), all.size() * sizeof(wchar_t));
    for (std::size_t begin = 0; begin < all.size();) {
        const std::size_t end = std::min(all.find(L'\0', begin), all.size());
        if (end == begin) break;
        texts.push_back(all.substr(begin, end - begin));
        if (!isList) break;
        begin = end + 1;
    }
    return texts;
}

std::wstring TextIn(const std::optional<PropertyData>& aData) {
    const std::vector<std::wstring> texts = TextsIn(aData);
    return texts.empty() ? std::wstring() : texts.front();
}

std::optional<bool> BooleanIn(const std::optional<PropertyData>& aData) {
    const auto value = Take<DEVPROP_BOOLEAN>(aData, DEVPROP_TYPE_BOOLEAN);
    return value ? std::optional<bool>(*value != DEVPROP_FALSE) : std::nullopt;
}

std::optional<unsigned long> NumberIn(const std::optional<PropertyData>& aData) {
    return Take<unsigned long>(aData, DEVPROP_TYPE_UINT32);
}

std::string DateIn(const std::optional<PropertyData>& aData) {
    std::optional<FILETIME> time = Take<FILETIME>(aData, DEVPROP_TYPE_FILETIME);
    // The registry has no type for it.
    if (!time) time = Take<FILETIME>(aData, DEVPROP_TYPE_BINARY);
    SYSTEMTIME day;
    const bool isSet = time && (time->dwLowDateTime != 0 || time->dwHighDateTime != 0);
    if (!isSet || !::FileTimeToSystemTime(&*time, &day)) return std::string();
    char text[32];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u", day.wYear, day.wMonth, day.wDay);
    return text;
}

}  // namespace QvKit
