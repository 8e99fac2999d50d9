// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DriverPackage.h"

#include <algorithm>
#include <cwchar>
#include <filesystem>
#include <vector>

#include "QvKit/Text.h"
#include "UniqueHandle.h"
#include "WideTexts.h"

// After windows.h, which it needs.
#include <setupapi.h>

namespace QvKit {
namespace {

constexpr wchar_t kRoot[] = L"ROOT\\";

using UniqueInf = QvBaseLib::UniqueHandle<HINF, &::SetupCloseInfFile>;

// A line of an INF: its key, and then its values.
using Fields = std::vector<std::wstring>;

// One line of the section [Manufacturer] or of those that it names, for one hardware id.
struct Model {
    std::wstring hardwareId;
    std::wstring installSection;
};

// The lines of an INF, with its strings and directories put in.
class Inf {
public:
    explicit Inf(const std::string& aPath);

    HINF Get() const { return handle_.Get(); }
    const std::filesystem::path& GetPath() const { return path_; }

    // The lines of a section; those with a key, if one is given.
    std::vector<Fields> GetLines(const std::wstring& aSection, const wchar_t* aKey = nullptr) const;

    // The first value of an entry that the INF has to have.
    std::wstring GetValue(const std::wstring& aSection, const wchar_t* aKey) const;
    Error Lacks(const std::wstring& aSection, const wchar_t* aKey) const;

    // Its path for messages.
    std::string GetText() const { return "'" + ToUtf8(path_.wstring()) + "'"; }

private:
    static Fields FieldsOf(INFCONTEXT& aLine);

    std::filesystem::path path_;
    UniqueInf handle_;
};

Inf::Inf(const std::string& aPath) : path_(FromUtf8(aPath)) {
    std::error_code error;
    path_ = std::filesystem::absolute(path_, error);
    if (!std::filesystem::is_regular_file(path_, error)) {
        throw SystemError(ErrorKind::SystemFailed, "cannot find '" + aPath + "'",
                          ERROR_FILE_NOT_FOUND);
    }
    handle_.Reset(::SetupOpenInfFileW(path_.c_str(), nullptr, INF_STYLE_WIN4, nullptr));
    const DWORD code = ::GetLastError();
    if (!handle_.IsValid())
        throw SystemError(ErrorKind::WrongUse, "'" + aPath + "' is not an INF", code);
}

std::vector<Fields> Inf::GetLines(const std::wstring& aSection, const wchar_t* aKey) const {
    std::vector<Fields> lines;
    INFCONTEXT line;
    BOOL found = ::SetupFindFirstLineW(handle_.Get(), aSection.c_str(), aKey, &line);
    while (found) {
        lines.push_back(FieldsOf(line));
        found = aKey == nullptr ? ::SetupFindNextLine(&line, &line)
                                : ::SetupFindNextMatchLineW(&line, aKey, &line);
    }
    return lines;
}

std::wstring Inf::GetValue(const std::wstring& aSection, const wchar_t* aKey) const {
    const std::vector<Fields> lines = GetLines(aSection, aKey);
    if (lines.empty() || lines[0].size() < 2 || lines[0][1].empty()) throw Lacks(aSection, aKey);
    return lines[0][1];
}

Error Inf::Lacks(const std::wstring& aSection, const wchar_t* aKey) const {
    return Error(ErrorKind::SystemFailed,
                 GetText() + " has no " + ToUtf8(aKey) + " in [" + ToUtf8(aSection) + "]");
}

Fields Inf::FieldsOf(INFCONTEXT& aLine) {
    Fields fields;
    const DWORD count = ::SetupGetFieldCount(&aLine);
    for (DWORD i = 0; i <= count; ++i) {
        wchar_t text[MAX_INF_STRING_LENGTH] = {};
        // A line may have no key; a field without text is empty.
        (void)::SetupGetStringFieldW(&aLine, i, text, MAX_INF_STRING_LENGTH, nullptr);
        fields.emplace_back(text);
    }
    return fields;
}

// The sections with the devices of 64-bit systems: NAME.NTamd64… for "maker = NAME,NTamd64…", or
// NAME for "maker = NAME".
std::vector<std::wstring> ModelSections(const Inf& aInf) {
    std::vector<std::wstring> sections;
    for (const Fields& maker : aInf.GetLines(L"Manufacturer")) {
        if (maker.size() == 2) sections.push_back(maker[1]);
        for (std::size_t i = 2; i < maker.size(); ++i) {
            if (StartsWith(maker[i], L"NTamd64")) sections.push_back(maker[1] + L"." + maker[i]);
        }
    }
    return sections;
}

// The first line for each hardware id that begins with ROOT\.
std::vector<Model> RootModels(const Inf& aInf) {
    std::vector<Model> models;
    const auto add = [&](const Model& aModel) {
        const bool isKnown = std::any_of(models.begin(), models.end(), [&](const Model& aOther) {
            return IsSameText(aOther.hardwareId, aModel.hardwareId);
        });
        if (!isKnown && StartsWith(aModel.hardwareId, kRoot)) models.push_back(aModel);
    };
    for (const std::wstring& section : ModelSections(aInf)) {
        for (const Fields& line : aInf.GetLines(section)) {
            for (std::size_t i = 2; i < line.size(); ++i) add(Model{line[i], line[1]});
        }
    }
    return models;
}

Model ChooseModel(const Inf& aInf, const std::wstring& aHardwareId) {
    const std::vector<Model> models = RootModels(aInf);
    std::string names;
    for (const Model& model : models) {
        if (IsSameText(model.hardwareId, aHardwareId)) return model;
        names += (names.empty() ? "" : ", ") + ToUtf8(model.hardwareId);
    }
    if (models.empty()) {
        throw Error(ErrorKind::WrongUse, aInf.GetText() +
                                             " is for no root-enumerated device of 64-bit systems: "
                                             "it names no hardware id that begins with ROOT\\");
    }
    if (!aHardwareId.empty()) {
        throw Error(ErrorKind::WrongUse, aInf.GetText() + " does not name the hardware id '" +
                                             ToUtf8(aHardwareId) + "', but " + names);
    }
    if (models.size() > 1) {
        throw Error(
            ErrorKind::WrongUse,
            aInf.GetText() + " names several hardware ids, so that one has to be chosen: " + names);
    }
    return models[0];
}

// The section that holds for this system, such as NAME.NT for NAME.
std::wstring ActualSection(const Inf& aInf, const std::wstring& aSection) {
    wchar_t actual[MAX_INF_STRING_LENGTH] = {};
    const BOOL done = ::SetupDiGetActualSectionToInstallW(aInf.Get(), aSection.c_str(), actual,
                                                          MAX_INF_STRING_LENGTH, nullptr, nullptr);
    return done ? actual : aSection;
}

// The line "AddService = name, flags, section" of the device's own driver.
Fields ServiceLine(const Inf& aInf, const std::wstring& aInstallSection) {
    const std::wstring section = aInstallSection + L".Services";
    for (Fields& line : aInf.GetLines(section, L"AddService")) {
        if (line.size() < 4) continue;
        const unsigned long flags = std::wcstoul(line[2].c_str(), nullptr, 0);
        if ((flags & SPSVCINST_ASSOCSERVICE) != 0) return line;
    }
    throw aInf.Lacks(section, L"AddService of the device's driver");
}

// The name that a file has before it is copied, which may be another one than afterwards.
std::wstring SourceName(const Inf& aInf, const std::wstring& aInstallSection,
                        const std::wstring& aName) {
    for (const Fields& copy : aInf.GetLines(aInstallSection, L"CopyFiles")) {
        for (std::size_t i = 1; i < copy.size(); ++i) {
            for (const Fields& file : aInf.GetLines(copy[i])) {
                const bool isRenamed = file.size() > 2 && !file[2].empty();
                if (isRenamed && IsSameText(file[1], aName)) return file[2];
            }
        }
    }
    return aName;
}

// Where the INF says that one of its files is. Without a word about it, beside the INF.
std::filesystem::path SourcePath(const Inf& aInf, const std::wstring& aName) {
    std::filesystem::path path = aInf.GetPath().parent_path();
    UINT disk = 0;
    wchar_t text[MAX_PATH] = {};
    if (!::SetupGetSourceFileLocationW(aInf.Get(), nullptr, aName.c_str(), &disk, text, MAX_PATH,
                                       nullptr)) {
        return path / aName;
    }
    const std::wstring folder = std::filesystem::path(text).relative_path().wstring();
    std::wstring root;
    if (::SetupGetSourceInfoW(aInf.Get(), disk, SRCINFO_PATH, text, MAX_PATH, nullptr))
        root = std::filesystem::path(text).relative_path().wstring();
    // Wine's folder begins with that of the disk.
    if (!StartsWith(folder, root)) path /= root;
    return path / folder / aName;
}

}  // namespace

DriverPackage ReadDriverPackage(const std::string& aInf, const std::string& aHardwareId) {
    const Inf inf(aInf);
    const Model model = ChooseModel(inf, FromUtf8(aHardwareId));
    const std::wstring section = ActualSection(inf, model.installSection);
    const Fields service = ServiceLine(inf, section);
    const std::filesystem::path installed = inf.GetValue(service[3], L"ServiceBinary");
    const std::wstring name = installed.filename().wstring();

    DriverPackage package;
    package.inf = ToUtf8(inf.GetPath().wstring());
    package.hardwareId = ToUtf8(model.hardwareId);
    package.className = ToUtf8(inf.GetValue(L"Version", L"Class"));
    package.classId = ToUtf8(inf.GetValue(L"Version", L"ClassGuid"));
    package.service = ToUtf8(service[1]);
    package.installedFile = ToUtf8(installed.wstring());
    package.driverFile = ToUtf8(SourcePath(inf, SourceName(inf, section, name)).wstring());
    return package;
}

}  // namespace QvKit
