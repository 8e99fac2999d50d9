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

class StopSignal;

/// What became of one setting of a change.
enum class Verdict {
    NotSent,   ///< Nothing was sent: not yet, or another setting was refused, or the device failed.
    Refused,   ///< It was refused before anything was sent; `Edit::refusal` says why.
    Taken,     ///< The device holds what was asked for. A volatile setting always counts as taken.
    Rounded,   ///< The device holds a number that is neither the former nor the one asked for.
    NotKept,   ///< The device holds the former value, or another text or entry.
    Gone,      ///< The device does not have the setting any more.
    Unknown,   ///< The device could not be asked afterwards.
    Restored,  ///< The value had changed, and the former one was restored.
};

/// One setting of a change: what was asked for, and what became of it.
struct Edit {
    /// As it was before the change. Of one that the device does not have, only the name is known.
    Setting setting;
    std::optional<std::string> request;  ///< As it was asked for; nothing for the default.
    Value after;                         ///< What was asked for; not known when it was refused.
    Verdict verdict = Verdict::NotSent;  ///< What became of it.
    std::optional<Refusal> refusal;      ///< Of `Verdict::Refused`.
    std::optional<Value> held;  ///< What the device holds now; nothing when that is not known.

    /// What it was when the change was made, if another program has changed it before the change
    /// was sent. Volatile settings change by themselves and are not looked at.
    std::optional<Value> readBefore;

    /// Whether it asks for another value than the setting has.
    bool IsChange() const { return !refusal && setting.value != after; }
};

/// What became of a change.
struct ChangeOutcome {
    /// What became of the former values.
    enum class Restoring { NotNeeded, Done, Failed };

    std::vector<Edit> edits;                     ///< In the order in which they were made.
    Restoring restoring = Restoring::NotNeeded;  ///< Of a change that was all or nothing.
    std::optional<Error> error;                  ///< Nothing when all was taken as asked.
};

/// How a change is sent.
struct SendOptions {
    /// Restores the former values if the device refuses the request or does not keep a value. A
    /// number that the device rounds counts as kept.
    bool isAllOrNothing = false;

    /// Refuses settings that another program has changed since the change was made.
    bool isRefusedIfChanged = false;

    /// Ends the wait for other programs that change a device just now. Borrowed; may be null.
    const StopSignal* stop = nullptr;
};

/// Several settings changed together: every edit is checked first, then all are sent in one
/// request, then what the device holds is compared with what was asked for.
///
/// Make one, edit each setting at most once, then send it, once. For one thread.
class Change {
public:
    /// The parameters are borrowed. What they hold now is what the edits are checked against.
    explicit Change(DeviceParameters& aParameters);

    /// Sets a value from a text in UTF-8. An integer is decimal, or hexadecimal with 0x, with an
    /// optional sign, and its unit may follow. An enumeration's entry is given by its exact name,
    /// by a name that differs from only one entry's, and only in case, or, when no entry has that
    /// name, by its index. A refusal is kept for `Send`.
    void Set(const std::string& aName, const std::string& aText);
    /// The same for the setting with this identifier.
    void Set(unsigned long aId, const std::string& aText);

    /// The same from a text with escapes, as `Setting::ToEscapedText` returns it.
    void SetEscaped(const std::string& aName, const std::string& aText);

    /// Sets the default. A refusal is kept for `Send`.
    void Reset(const std::string& aName);
    /// The same for the setting with this identifier.
    void Reset(unsigned long aId);

    /// The edits in the order in which they were made, also those that were refused.
    const std::vector<Edit>& GetEdits() const { return edits_; }

    /// What would be sent: an outcome in which nothing has been sent. The error is
    /// `ErrorKind::Refused` when edits were refused.
    ChangeOutcome GetPlan() const;

    /// Sends the edits, or nothing if any was refused. Fails by the error of the outcome:
    /// `ErrorKind::Refused` when edits were refused, so that nothing was sent;
    /// `ErrorKind::ChangedMeanwhile` when the device then holds other values than were asked for;
    /// otherwise the failure of a request, mostly `ErrorKind::DeviceFailed`.
    ///
    /// Loads the parameters again before sending, which is one load more, to notice what other
    /// programs have changed meanwhile, and checks all edits against them; and again afterwards.
    /// Programs that use the kit take turns with this, so each notices what another one changed. A
    /// program that does not use it may still change a value between the load and the request.
    [[nodiscard]] ChangeOutcome Send(const SendOptions& aOptions = SendOptions());

private:
    // What was asked for. Without an identifier the setting has the name, without a text the
    // default is set. `shown` is the text as it was given.
    struct Request {
        std::string name;
        std::optional<unsigned long> id;
        std::optional<std::string> shown;
        std::optional<std::wstring> text;
    };

    void Add(Request aRequest);
    Edit Check(const Request& aRequest) const;
    void CheckAgain(bool aIsRefusedIfChanged);
    std::string DescribeSending() const;
    void CompareWithDevice(ChangeOutcome& aOutcome);
    void RestoreFormer(ChangeOutcome& aOutcome);
    void SetFormer(const std::vector<Edit>& aEdits) const;

    DeviceParameters& parameters_;
    Snapshot snapshot_;
    std::vector<Request> requests_;
    std::vector<Edit> edits_;  // One for each request.
};

}  // namespace QvKit

#endif
