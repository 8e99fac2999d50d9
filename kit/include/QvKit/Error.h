// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_ERROR_H
#define QVKIT_ERROR_H

#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace QvKit {

/// What went wrong, as far as a program decides by it.
enum class ErrorKind {
    WrongUse,          ///< The caller asked for something that makes no sense.
    NoSuchDevice,      ///< No device has this path.
    AccessDenied,      ///< The user may not open the device.
    DeviceInUse,       ///< Another program has the device.
    DeviceGone,        ///< The device was removed.
    DeviceFailed,      ///< The device or its driver failed a request.
    SystemFailed,      ///< The system failed: a file, memory, a thread.
    BadFile,           ///< A file does not hold what it should.
    Refused,           ///< Names or values were refused; see `Error::GetRefusals`.
    ChangedMeanwhile,  ///< The device took a change, but holds other values now.
    Cancelled,         ///< The caller, or the user, stopped it.
    TimedOut,          ///< It took longer than the caller allows.
    Closed             ///< The connection was closed before the device answered.
};

/// One thing that was asked for and refused, such as a value of one parameter.
struct Refusal {
    std::string name;                  ///< The parameter, or whatever was asked for.
    std::optional<std::string> value;  ///< As it was asked for; nothing when no value was given.
    std::string reason;                ///< Why it was refused.
    std::string hint;       ///< What would work instead; empty when there is nothing to say.
    unsigned long code;     ///< Of the library's result, or the system's error.
    bool isLogged = false;  ///< Whether the library has written it to its error log.

    /// "Gain=61 refused: Value does not fit in the range (allowed: 0 to 60 dB)".
    std::string ToText() const;
};

/// The one exception of the kit. Every operation that can fail throws it, and says in its comment
/// which kinds. Copies are independent; any thread may read one.
class Error : public std::exception {
public:
    /// @param aKind     What went wrong.
    /// @param aMessage  In UTF-8, without a full stop.
    /// @param aCode     The library's or the system's, if one of them reported the failure.
    /// @param aReason   The part of the message that says why; empty if it is the whole.
    Error(ErrorKind aKind, std::string aMessage, std::optional<unsigned long> aCode = std::nullopt,
          std::string aReason = std::string());

    /// `ErrorKind::Refused`, for these refusals, at least one.
    ///
    /// @param aRefusals     What was refused.
    /// @param aConsequence  What became of the rest, as in "nothing was sent"; may be empty.
    explicit Error(std::vector<Refusal> aRefusals, std::string aConsequence = std::string());

    /// What went wrong.
    ErrorKind GetKind() const { return kind_; }
    /// The library's or the system's code, if one of them reported the failure.
    const std::optional<unsigned long>& GetCode() const { return code_; }

    /// The message in UTF-8, without a full stop. Of refusals all in one line.
    const char* what() const noexcept override { return message_.c_str(); }

    /// Why, without what was attempted: of "cannot open 'x': error 5: Access is denied" the end.
    const std::string& GetReason() const { return reason_.empty() ? message_ : reason_; }

    /// Empty for all kinds but `ErrorKind::Refused`.
    const std::vector<Refusal>& GetRefusals() const { return refusals_; }
    /// What became of the rest, after refusals; may be empty.
    const std::string& GetConsequence() const { return consequence_; }

private:
    ErrorKind kind_;
    std::string message_;
    std::optional<unsigned long> code_;
    std::string reason_;
    std::vector<Refusal> refusals_;
    std::string consequence_;
};

/// The failure of a system call, as in "cannot open 'x': error 5: Access is denied".
Error SystemError(ErrorKind aKind, const std::string& aWhat, unsigned long aCode);

/// The system's words for one of its error codes, in UTF-8; empty when it has none.
std::string SystemText(unsigned long aCode);

/// "error 5: Access is denied", or "error 5".
std::string SystemErrorText(unsigned long aCode);

}  // namespace QvKit

#endif
