// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_CHANGE_H
#define QVKIT_CHANGE_H

#include <optional>
#include <string>
#include <vector>

#include "QvKit/DeviceParameters.h"
#include "QvKit/Error.h"
#include "QvKit/Snapshot.h"

namespace QvKit {

/// Several settings changed together: every edit is checked first, then all are sent in one
/// request, then what the device holds is compared with what was sent.
///
/// Make one, edit each setting at most once, then send. For one thread.
class Change {
public:
    /// One setting that is changed.
    struct Edit {
        Setting setting;                     ///< As it was before the change.
        std::optional<std::string> request;  ///< As it was asked for; nothing for the default.
        Value after;                         ///< What was sent.

        /// Whether the value that was sent differs from the one before.
        bool IsChange() const { return setting.value != after; }
    };

    /// The parameters are borrowed.
    explicit Change(DeviceParameters& aParameters);

    /// Sets a value from a text in UTF-8. An integer is decimal, or hexadecimal with 0x, with an
    /// optional sign, and its unit may follow. An enumeration's entry is given by its exact name,
    /// by a name that differs from only one entry's, and only in case, or, when no entry has that
    /// name, by its index. A refusal is kept for `Send`.
    void Set(const std::string& aName, const std::string& aText);

    /// The same from a text with escapes, as `Setting::ToEscapedText` returns it.
    void SetEscaped(const std::string& aName, const std::string& aText);

    /// Sets the default. A refusal is kept for `Send`.
    void Reset(const std::string& aName);

    /// Sends the edits, or nothing if any was refused, and loads the parameters again.
    ///
    /// Throws `Error`: `ErrorKind::Refused` when edits were refused (nothing was sent);
    /// `ErrorKind::DeviceFailed` when the driver refuses the request, or its parameters cannot be
    /// read afterwards; `ErrorKind::ChangedMeanwhile` when the device then holds other values than
    /// were sent, which may be any for volatile ones.
    void Send();

    /// The edits that were not refused.
    const std::vector<Edit>& GetEdits() const { return edits_; }

    /// Why the others were refused, so that nothing will be sent.
    const std::vector<Refusal>& GetRefusals() const { return refusals_; }

private:
    // Without a text the default is set. The request is the text as it was given.
    void EditOne(const std::string& aName, const std::optional<std::string>& aRequest,
                 const std::optional<std::wstring>& aText);
    void CompareWithDevice() const;

    DeviceParameters& parameters_;
    Snapshot before_;
    std::vector<Edit> edits_;
    std::vector<Refusal> refusals_;
};

}  // namespace QvKit

#endif
