// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Which of our functions a call came from.

#ifndef QVTESTS_CALLSITES_H
#define QVTESTS_CALLSITES_H

#include <cxxabi.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "WindowsApi.h"

namespace QvTests {

/// The code of one DLL that is loaded, with the names in its file's symbol table.
class ModuleSymbols {
public:
    explicit ModuleSymbols(const char* aDll)
        : name_(aDll), base_(reinterpret_cast<std::uintptr_t>(::GetModuleHandleA(aDll))) {
        if (base_ == 0) return;
        const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(
            base_ + reinterpret_cast<const IMAGE_DOS_HEADER*>(base_)->e_lfanew);
        end_ = base_ + headers->OptionalHeader.SizeOfImage;
        ReadSymbols(*headers);
    }

    bool Contains(const void* aAddress) const {
        const auto address = reinterpret_cast<std::uintptr_t>(aAddress);
        return base_ <= address && address < end_;
    }

    /// The function that the address lies in, without its arguments, and the offset in it; in the
    /// file when that has no symbols.
    std::string Describe(const void* aAddress) const {
        const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(aAddress) - base_;
        const auto next = functions_.upper_bound(offset);
        if (next == functions_.begin()) return name_ + Hexadecimal(offset);
        const auto& [start, name] = *std::prev(next);
        return Demangled(name) + Hexadecimal(offset - start);
    }

private:
    void ReadSymbols(const IMAGE_NT_HEADERS& aHeaders) {
        const DWORD count = aHeaders.FileHeader.NumberOfSymbols;
        char path[MAX_PATH] = {};
        ::GetModuleFileNameA(reinterpret_cast<HMODULE>(base_), path, MAX_PATH);
        std::ifstream file(path, std::ios::binary);
        file.seekg(aHeaders.FileHeader.PointerToSymbolTable);
        std::vector<char> table(std::size_t{count} * sizeof(IMAGE_SYMBOL));
        if (count == 0 || !file.read(table.data(), static_cast<std::streamsize>(table.size()))) {
            return;
        }
        const std::vector<char> strings((std::istreambuf_iterator<char>(file)),
                                        std::istreambuf_iterator<char>());
        const IMAGE_SECTION_HEADER* const sections = IMAGE_FIRST_SECTION(&aHeaders);
        for (DWORD index = 0; index < count; ++index) {
            IMAGE_SYMBOL symbol;
            std::memcpy(&symbol, table.data() + std::size_t{index} * sizeof symbol, sizeof symbol);
            index += symbol.NumberOfAuxSymbols;
            if (symbol.SectionNumber <= 0 || !ISFCN(symbol.Type)) continue;
            functions_[sections[symbol.SectionNumber - 1].VirtualAddress + symbol.Value] =
                NameOf(symbol, strings);
        }
    }

    static std::string NameOf(const IMAGE_SYMBOL& aSymbol, const std::vector<char>& aStrings) {
        if (aSymbol.N.Name.Short != 0) {
            const char* const name = reinterpret_cast<const char*>(aSymbol.N.ShortName);
            return std::string(name, ::strnlen(name, sizeof aSymbol.N.ShortName));
        }
        return aSymbol.N.Name.Long < aStrings.size() ? &aStrings[aSymbol.N.Name.Long] : "";
    }

    static std::string Hexadecimal(std::uintptr_t aOffset) {
        char text[24];
        std::snprintf(text, sizeof text, "+0x%llx", static_cast<unsigned long long>(aOffset));
        return text;
    }

    // The containers' own functions have names of several lines.
    static std::string WithoutTemplateArguments(const std::string& aName) {
        if (aName.find("operator") != std::string::npos) return aName;
        std::string name;
        int depth = 0;
        for (const char character : aName) {
            if (character == '<') ++depth;
            if (depth == 0) name += character;
            if (character == '>') --depth;
        }
        return name;
    }

    static std::string Demangled(const std::string& aName) {
        int status = 0;
        const std::unique_ptr<char, void (*)(void*)> text(
            abi::__cxa_demangle(aName.c_str(), nullptr, nullptr, &status), &std::free);
        std::string name = text != nullptr ? text.get() : aName;
        for (const char* const removed :
             {"(anonymous namespace)::", "QvUserLib::", "QvBaseLib::", "QvKit::"}) {
            for (std::size_t at = name.find(removed); at != std::string::npos;
                 at = name.find(removed)) {
                name.erase(at, std::strlen(removed));
            }
        }
        name = WithoutTemplateArguments(name);
        name.erase(std::min(name.find_first_of("(["), name.size()));
        // Of templates the type that they return is a part of the name.
        const std::size_t type = name.rfind(' ');
        return type == std::string::npos ? name : name.substr(type + 1);
    }

    std::string name_;
    std::uintptr_t base_;
    std::uintptr_t end_ = 0;
    std::map<std::uintptr_t, std::string> functions_;  // By the offset of their first byte.
};

}  // namespace QvTests

#endif
