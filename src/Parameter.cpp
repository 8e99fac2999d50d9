// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Parameter.h"

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "QvUserLib/ParameterRepository.h"
#include "ReportError.h"

namespace QvUserLib {

namespace {

constexpr char kSource[] = ".\\Parameter";

constexpr char kMissing[] = "The specified parameter doesn't exist";
constexpr char kReadOnly[] = "Parameter is read-only";
constexpr char kNotInteger[] = "Parameter is not an integer type";
constexpr char kNotString[] = "Parameter is not a string type";
constexpr char kNotEnumeration[] = "Parameter is not an enumeration type";
constexpr char kOutOfRange[] = "Value does not fit in the range";

// What readers return for a null parameter or one of another type.
constexpr long long kNoInt = 4294967295LL;
constexpr double kNoDouble = 4294967295.0;
constexpr unsigned long kNoIndex = 0xFFFFFFFF;

// Operations may be called on the null pointer that a look-up returns.
bool IsMissing(const Parameter* aParameter) { return aParameter == nullptr; }

Result Fail(Code aCode, unsigned long aLine, const char* aMessage) {
    return ReportError(Result(aCode), kSource, aLine, "%s", aMessage);
}

// An empty text that has both forms from the start, so that threads may share it.
class SharedEmptyText : public String {
public:
    SharedEmptyText() { Clear(); }
};

const String& EmptyText() {
    static const SharedEmptyText kEmpty;
    return kEmpty;
}

const char* BoolText(bool aValue) { return aValue ? "TRUE" : "FALSE"; }

template <typename Number>
bool IsWithin(Number aValue, Number aMin, Number aMax) {
    return aMin <= aValue && aValue <= aMax;
}

// NaN passes: no comparison with it is true.
bool IsOutsidePositiveDoubles(double aLimit) { return aLimit < DBL_MIN || aLimit > DBL_MAX; }

// Calls the operation on every member of a group. Reads the count each time, since a derived
// repository may change it.
template <typename Operation>
void ForEachMember(ParameterRepository* aMembers, Operation aOperation) {
    if (aMembers == nullptr) return;
    for (unsigned long index = 0; index < aMembers->GetCount(); ++index) {
        aOperation(aMembers->GetByIndex(index));
    }
}

}  // namespace

Parameter::Parameter(const String& aName, unsigned long aId)
    : name_(aName),
      id_(aId),
      index_(0),
      type_(TypeNone),
      readOnly_(false),
      hidden_(false),
      volatile_(false),
      enabled_(true),
      persistent_(true),
      advanced_(false),
      restartRequired_(false),
      changed_(false),
      members_(nullptr),
      integerValue_(0),
      integerMin_(0),
      integerMax_(0),
      doubleValue_(0),
      doubleMin_(0),
      doubleMax_(0),
      integerDefault_(0),
      doubleDefault_(0),
      entries_(nullptr),
      entryCount_(0) {}

// The object is complete once the other constructor has run, so the destructor cleans up if memory
// runs out while the value is copied.
Parameter::Parameter(const Parameter& aSource) : Parameter(aSource.name_, aSource.id_) {
    index_ = aSource.index_;
    description_ = aSource.description_;
    readOnly_ = aSource.readOnly_;
    hidden_ = aSource.hidden_;
    volatile_ = aSource.volatile_;
    enabled_ = aSource.enabled_;
    persistent_ = aSource.persistent_;
    advanced_ = aSource.advanced_;
    restartRequired_ = aSource.restartRequired_;
    // A pending change moves to the copy. A group's members lose their marks before they are
    // copied, any other source only when the copy is complete.
    const bool isGroup = aSource.type_ == TypeGroup;
    changed_ = aSource.HasChanged(/*aReset=*/isGroup);
    CopyTypeAndValue(aSource);
    if (!isGroup) (void)aSource.HasChanged(/*aReset=*/true);
}

Parameter::~Parameter() {
    for (unsigned long index = 0; index < entryCount_; ++index) delete entries_[index];
    std::free(entries_);
    delete members_;
}

// Each setter may refuse, for instance if the parameter is read-only. The copy then keeps the value
// from its initialisation.
void Parameter::CopyTypeAndValue(const Parameter& aSource) {
    switch (aSource.type_) {
        case TypeEnumeration:
            InitEnum();
            for (unsigned long index = 0; index < aSource.entryCount_; ++index) {
                (void)AddEnumValue(*aSource.entries_[index]);
            }
            (void)SetDefaultInt(aSource.integerDefault_);
            (void)SetInt(aSource.integerValue_);
            break;
        case TypeDouble:
            InitDouble(aSource.doubleValue_, aSource.doubleMin_, aSource.doubleMax_);
            (void)SetDouble(aSource.doubleValue_);
            break;
        case TypeInteger:
            InitInteger(aSource.integerDefault_, aSource.integerMin_, aSource.integerMax_);
            (void)SetInt(aSource.integerValue_);
            break;
        case TypeString:
            InitString(aSource.defaultText_.GetAscii());
            (void)SetString(aSource.valueText_);
            break;
        case TypeBool:
            InitBool(aSource.GetBool());
            (void)SetBool(aSource.GetBool());
            break;
        case TypeGroup:
            InitRepository(aSource.members_ != nullptr ? new ParameterRepository(*aSource.members_)
                                                       : nullptr);
            break;
        default:
            break;
    }
}

Parameter& Parameter::operator=(const Parameter& aSource) {
    // A refusal leaves the value as it was; the setters have logged it.
    switch (type_) {
        case TypeBool:
            (void)SetBool(aSource.GetBool());
            break;
        case TypeGroup:
            if (members_ != nullptr && aSource.members_ != nullptr) *members_ = *aSource.members_;
            break;
        default:
            (void)CopyValue(&aSource);
            break;
    }
    return *this;
}

Result Parameter::SetParameter(const Parameter* aSource) {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (readOnly_) return Fail(Code::NotAllowed, __LINE__, kReadOnly);
    return type_ == TypeBool ? SetInt(aSource->GetInt()) : CopyValue(aSource);
}

// Reads the source, which may be null, as this parameter's own type.
Result Parameter::CopyValue(const Parameter* aSource) {
    switch (type_) {
        case TypeDouble:
            return SetDouble(aSource->GetDouble());
        case TypeString:
            return SetString(aSource->GetString());
        case TypeEnumeration:
        case TypeInteger:
            return SetInt(aSource->GetInt());
        default:
            return Result(Code::NotSet);
    }
}

void Parameter::InitInteger(long long aValue, long long aMin, long long aMax) {
    integerValue_ = aValue;
    integerDefault_ = aValue;
    integerMin_ = aMin;
    integerMax_ = aMax;
    type_ = TypeInteger;
}

void Parameter::InitDouble(double aValue, double aMin, double aMax) {
    doubleValue_ = aValue;
    doubleDefault_ = aValue;
    doubleMin_ = aMin;
    doubleMax_ = aMax;
    type_ = TypeDouble;
}

void Parameter::InitBool(bool aValue) {
    defaultText_ = String(BoolText(aValue));
    valueText_ = defaultText_;
    integerValue_ = aValue ? 1 : 0;
    integerDefault_ = integerValue_;
    integerMin_ = 0;
    integerMax_ = 1;
    type_ = TypeBool;
}

void Parameter::InitString(const char* aValue) {
    defaultText_ = String(aValue);
    valueText_ = defaultText_;
    type_ = TypeString;
}

void Parameter::InitEnum() { type_ = TypeEnumeration; }

void Parameter::InitRepository(ParameterRepository* aMembers) {
    type_ = TypeGroup;
    if (members_ != aMembers) delete members_;
    members_ = aMembers;
    ForEachMember(members_, [this](Parameter* aMember) {
        // They fail only for a null member.
        (void)aMember->SetAdvanced(advanced_);
        (void)aMember->SetHidden(hidden_);
        (void)aMember->SetPersistent(persistent_);
        (void)aMember->SetReadOnly(readOnly_);
        (void)aMember->SetRestartRequired(restartRequired_);
        (void)aMember->SetVolatile(volatile_);
        (void)aMember->SetEnabled(enabled_);
    });
}

const String& Parameter::GetName() const { return IsMissing(this) ? EmptyText() : name_; }

unsigned long Parameter::GetID() const { return IsMissing(this) ? kNoIndex : id_; }

unsigned long Parameter::GetIndex() const { return IsMissing(this) ? kNoIndex : index_; }

void Parameter::SetIndex(unsigned long aIndex) {
    if (!IsMissing(this)) index_ = aIndex;
}

unsigned long Parameter::GetType() const {
    return IsMissing(this) ? static_cast<unsigned long>(TypeNone) : type_;
}

const String& Parameter::GetDescription() const {
    return IsMissing(this) ? EmptyText() : description_;
}

Result Parameter::SetDescription(const String& aDescription) {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    description_ = aDescription;
    return Result(Code::Success);
}

ParameterRepository* Parameter::GetRepository() const {
    return IsMissing(this) ? nullptr : members_;
}

bool Parameter::IsOfIntegerFamily() const {
    return type_ == TypeEnumeration || type_ == TypeInteger || type_ == TypeBool;
}

long long Parameter::GetInt() const {
    if (IsMissing(this) || !IsOfIntegerFamily()) return kNoInt;
    return integerValue_;
}

bool Parameter::GetBool() const {
    if (IsMissing(this) || !IsOfIntegerFamily()) return false;
    return integerValue_ != 0;
}

double Parameter::GetDouble() const {
    if (IsMissing(this)) return kNoDouble;
    return type_ == TypeDouble ? doubleValue_ : 0.0;
}

const String& Parameter::GetString() const {
    if (IsMissing(this)) return EmptyText();
    if (type_ == TypeString || type_ == TypeBool) return valueText_;
    return EntryOrEmpty(integerValue_);
}

Result Parameter::SetInt(long long aValue) {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (readOnly_) return Fail(Code::NotAllowed, __LINE__, kReadOnly);
    return ChangeInt(aValue);
}

Result Parameter::ChangeInt(long long aValue) {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (!IsOfIntegerFamily()) return Fail(Code::NotAllowed, __LINE__, kNotInteger);
    if (!IsWithin(aValue, integerMin_, integerMax_)) {
        return Fail(Code::InvalidArgument, __LINE__, kOutOfRange);
    }
    changed_ = integerValue_ != aValue;
    integerValue_ = aValue;
    return Result(Code::Success);
}

Result Parameter::SetDouble(double aValue) {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (readOnly_) return Fail(Code::NotAllowed, __LINE__, kReadOnly);
    return ChangeDouble(aValue);
}

Result Parameter::ChangeDouble(double aValue) {
    if (type_ != TypeDouble) return Fail(Code::NotAllowed, __LINE__, kNotInteger);
    if (!IsWithin(aValue, doubleMin_, doubleMax_)) {
        return Fail(Code::InvalidArgument, __LINE__, kOutOfRange);
    }
    changed_ = std::isnan(doubleValue_) || doubleValue_ != aValue;
    doubleValue_ = aValue;
    return Result(Code::Success);
}

Result Parameter::SetBool(bool aValue) {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (readOnly_) return Fail(Code::NotAllowed, __LINE__, kReadOnly);
    return ChangeBool(aValue);
}

Result Parameter::ChangeBool(bool aValue) {
    if (!IsOfIntegerFamily()) return Fail(Code::NotAllowed, __LINE__, kNotInteger);
    if (integerMin_ >= 2 || integerMax_ < 0) {
        return Fail(Code::NotAllowed, __LINE__, "This parameter cannot be boolean");
    }
    const long long value = aValue ? 1 : 0;
    valueText_ = String(BoolText(aValue));
    changed_ = integerValue_ != value;
    integerValue_ = value;
    return Result(Code::Success);
}

Result Parameter::SetString(const String& aValue) {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (readOnly_) return Fail(Code::NotAllowed, __LINE__, kReadOnly);
    return ChangeString(aValue);
}

Result Parameter::ChangeString(const String& aValue) {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (type_ != TypeString) return Fail(Code::NotAllowed, __LINE__, kNotString);
    const bool differs = valueText_ != aValue;
    valueText_ = aValue;
    changed_ = differs;
    return Result(Code::Success);
}

Result Parameter::ResetDefault() {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    switch (type_) {
        case TypeEnumeration:
        case TypeInteger:
        case TypeBool:
            return SetInt(integerDefault_);
        case TypeDouble:
            return SetDouble(doubleDefault_);
        case TypeString:
            return SetString(defaultText_);
        case TypeGroup:
            return members_ != nullptr ? members_->ResetDefaults() : Result(Code::Success);
        default:
            return Result(Code::NotSet);
    }
}

long long Parameter::GetDefaultInt() const {
    if (IsMissing(this) || !IsOfIntegerFamily()) return kNoInt;
    return integerDefault_;
}

bool Parameter::GetDefaultBool() const { return !IsMissing(this) && integerValue_ != 0; }

double Parameter::GetDefaultDouble() const { return IsMissing(this) ? 0.0 : doubleValue_; }

const String& Parameter::GetDefaultString() const {
    if (IsMissing(this)) return EmptyText();
    if (type_ == TypeString || type_ == TypeBool) return defaultText_;
    return EntryOrEmpty(integerDefault_);
}

Result Parameter::SetDefaultInt(long long aValue) {
    if (!IsOfIntegerFamily()) return Fail(Code::NotAllowed, __LINE__, kNotInteger);
    if (!IsWithin(aValue, integerMin_, integerMax_)) {
        return Fail(Code::InvalidArgument, __LINE__, "Invalid default value");
    }
    integerDefault_ = aValue;
    return Result(Code::Success);
}

Result Parameter::SetDefaultDouble(double aValue) {
    if (type_ != TypeDouble) {
        return Fail(Code::NotAllowed, __LINE__, "Parameter is not an floating point type");
    }
    if (!IsWithin(aValue, doubleMin_, doubleMax_)) {
        return Fail(Code::InvalidArgument, __LINE__, "Invalid default value");
    }
    doubleDefault_ = aValue;
    return Result(Code::Success);
}

Result Parameter::SetDefaultString(const String& aValue) {
    if (type_ != TypeString) return Fail(Code::NotAllowed, __LINE__, kNotString);
    defaultText_ = aValue;
    return Result(Code::Success);
}

Result Parameter::SetDefaultBool(bool aValue) {
    if (type_ != TypeBool) {
        return Fail(Code::NotAllowed, __LINE__, "Parameter is not a boolean type");
    }
    integerDefault_ = aValue ? 1 : 0;
    return Result(Code::Success);
}

long long Parameter::GetMinInt() const { return integerMin_; }

long long Parameter::GetMaxInt() const { return integerMax_; }

double Parameter::GetMinDouble() const { return doubleMin_; }

double Parameter::GetMaxDouble() const { return doubleMax_; }

Result Parameter::GetRangeInt(long long& aMin, long long& aMax) const {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (type_ != TypeEnumeration && type_ != TypeInteger) {
        return Fail(Code::NotAllowed, __LINE__, kNotInteger);
    }
    aMin = integerMin_;
    aMax = integerMax_;
    return Result(Code::Success);
}

Result Parameter::GetRangeDouble(double& aMin, double& aMax) const {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (type_ != TypeDouble) return Fail(Code::NotAllowed, __LINE__, kNotInteger);
    aMin = doubleMin_;
    aMax = doubleMax_;
    return Result(Code::Success);
}

Result Parameter::SetRange(long long aMin, long long aMax) {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (!IsOfIntegerFamily()) return Fail(Code::NotAllowed, __LINE__, kNotInteger);
    integerMin_ = aMin;
    integerMax_ = aMax;
    return Result(Code::Success);
}

Result Parameter::SetRange(double aMin, double aMax) {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (type_ != TypeDouble) return Fail(Code::NotAllowed, __LINE__, "Invalid parameter type");
    if (IsOutsidePositiveDoubles(aMin) || IsOutsidePositiveDoubles(aMax)) {
        return Fail(Code::InvalidArgument, __LINE__,
                    "Given limits must be within the limits for the type");
    }
    doubleMin_ = aMin;
    doubleMax_ = aMax;
    return Result(Code::Success);
}

Result Parameter::SetMark(bool Parameter::* aMark, Result (Parameter::*aSetter)(bool), bool aOn) {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    this->*aMark = aOn;
    ForEachMember(members_, [=](Parameter* aMember) {
        (void)(aMember->*aSetter)(aOn);  // It fails only for a null member.
    });
    return Result(Code::Success);
}

Result Parameter::SetReadOnly(bool aOn) {
    return SetMark(&Parameter::readOnly_, &Parameter::SetReadOnly, aOn);
}

Result Parameter::SetHidden(bool aOn) {
    return SetMark(&Parameter::hidden_, &Parameter::SetHidden, aOn);
}

Result Parameter::SetVolatile(bool aOn) {
    return SetMark(&Parameter::volatile_, &Parameter::SetVolatile, aOn);
}

Result Parameter::SetEnabled(bool aOn) {
    return SetMark(&Parameter::enabled_, &Parameter::SetEnabled, aOn);
}

Result Parameter::SetPersistent(bool aOn) {
    return SetMark(&Parameter::persistent_, &Parameter::SetPersistent, aOn);
}

Result Parameter::SetAdvanced(bool aOn) {
    return SetMark(&Parameter::advanced_, &Parameter::SetAdvanced, aOn);
}

Result Parameter::SetRestartRequired(bool aOn) {
    return SetMark(&Parameter::restartRequired_, &Parameter::SetRestartRequired, aOn);
}

bool Parameter::IsReadOnly() const { return !IsMissing(this) && readOnly_; }

bool Parameter::IsHidden() const { return !IsMissing(this) && hidden_; }

bool Parameter::IsVolatile() const { return !IsMissing(this) && volatile_; }

bool Parameter::IsEnabled() const { return !IsMissing(this) && enabled_; }

bool Parameter::IsPersistent() const { return !IsMissing(this) && persistent_; }

bool Parameter::IsAdvanced() const { return !IsMissing(this) && advanced_; }

bool Parameter::IsRestartRequired() const { return !IsMissing(this) && restartRequired_; }

bool Parameter::HasChanged(bool aReset) const {
    if (IsMissing(this)) return false;
    if (type_ != TypeGroup) {
        const bool changed = changed_;
        if (aReset) changed_ = false;
        return changed;
    }
    bool changed = false;
    ForEachMember(members_, [&](const Parameter* aMember) {
        // Visit every member, so that all marks are cleared.
        changed = aMember->HasChanged(aReset) || changed;
    });
    return changed;
}

Result Parameter::AddEnumValue(const String& aName) {
    if (type_ != TypeEnumeration) return Fail(Code::NotAllowed, __LINE__, kNotEnumeration);

    auto entry = std::make_unique<String>(aName);
    void* const grown = std::realloc(entries_, (entryCount_ + 1ULL) * sizeof(String*));
    if (grown == nullptr) throw std::bad_alloc();
    entries_ = static_cast<String**>(grown);
    entries_[entryCount_] = entry.release();
    ++entryCount_;
    integerMax_ = static_cast<long long>(entryCount_) - 1;
    return Result(Code::Success);
}

Result Parameter::GetEnumValueCount(unsigned long& aCount) const {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (type_ != TypeEnumeration) return Fail(Code::NotAllowed, __LINE__, kNotEnumeration);
    aCount = entryCount_;
    return Result(Code::Success);
}

Result Parameter::GetEnumValue(unsigned long aIndex, String& aName) const {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (type_ != TypeEnumeration) return Fail(Code::NotAllowed, __LINE__, kNotEnumeration);
    if (aIndex >= entryCount_) {
        return Fail(Code::InvalidArgument, __LINE__, "Invalid enumeration value index");
    }
    aName = *entries_[aIndex];
    return Result(Code::Success);
}

const String& Parameter::GetEnumValueString(unsigned long aIndex) const {
    return IsMissing(this) ? EmptyText() : EntryOrEmpty(aIndex);
}

const String& Parameter::EntryOrEmpty(long long aIndex) const {
    const bool exists =
        type_ == TypeEnumeration && IsWithin<long long>(aIndex, 0, entryCount_ - 1LL);
    return exists ? *entries_[aIndex] : EmptyText();
}

Result Parameter::FindEnumValue(const String& aName, unsigned long& aIndex) const {
    if (IsMissing(this)) return Fail(Code::InvalidArgument, __LINE__, kMissing);
    if (type_ != TypeEnumeration) return Fail(Code::NotAllowed, __LINE__, kNotEnumeration);
    // Compare a copy: like the entries, its text may have been cut.
    const String name(aName);  // NOLINT(performance-unnecessary-copy-initialization): see above.
    for (aIndex = 0; aIndex < entryCount_; ++aIndex) {
        if (*entries_[aIndex] == name) return Result(Code::Success);
    }
    aIndex = kNoIndex;
    return Fail(Code::NotFound, __LINE__, "Enumeration value does not exist in for parameter");
}

Result Parameter::SetIp(unsigned char a1, unsigned char a2, unsigned char a3, unsigned char a4) {
    if (!IsMissing(this) && readOnly_) return Fail(Code::NotAllowed, __LINE__, kReadOnly);
    char text[16];
    std::snprintf(text, sizeof text, "%i.%i.%i.%i", a1, a2, a3, a4);
    return ChangeString(String(text));
}

Result Parameter::SetMac(unsigned char a1, unsigned char a2, unsigned char a3, unsigned char a4,
                         unsigned char a5, unsigned char a6) {
    if (!IsMissing(this) && readOnly_) return Fail(Code::NotAllowed, __LINE__, kReadOnly);
    char text[18];
    std::snprintf(text, sizeof text, "%.02x:%.02x:%.02x:%.02x:%.02x:%.02x", a1, a2, a3, a4, a5, a6);
    return ChangeString(String(text));
}

Result Parameter::GetIp(unsigned char& a1, unsigned char& a2, unsigned char& a3,
                        unsigned char& a4) {
    if (type_ != TypeString) return Result(Code::NotSupported);
    int fields[4] = {};
    const int read = std::sscanf(valueText_.GetAscii(), "%i.%i.%i.%i", &fields[0], &fields[1],
                                 &fields[2], &fields[3]);
    if (read != 4) return Result(Code::NotSupported);
    a1 = static_cast<unsigned char>(fields[0]);
    a2 = static_cast<unsigned char>(fields[1]);
    a3 = static_cast<unsigned char>(fields[2]);
    a4 = static_cast<unsigned char>(fields[3]);
    return Result(Code::Success);
}

Result Parameter::GetMac(unsigned char& a1, unsigned char& a2, unsigned char& a3, unsigned char& a4,
                         unsigned char& a5, unsigned char& a6) {
    if (type_ != TypeString) return Result(Code::NotSupported);
    unsigned int fields[6] = {};
    const int read = std::sscanf(valueText_.GetAscii(), "%x-%x-%x-%x-%x-%x", &fields[0], &fields[1],
                                 &fields[2], &fields[3], &fields[4], &fields[5]);
    if (read != 6) return Result(Code::NotSupported);
    a1 = static_cast<unsigned char>(fields[0]);
    a2 = static_cast<unsigned char>(fields[1]);
    a3 = static_cast<unsigned char>(fields[2]);
    a4 = static_cast<unsigned char>(fields[3]);
    a5 = static_cast<unsigned char>(fields[4]);
    a6 = static_cast<unsigned char>(fields[5]);
    return Result(Code::Success);
}

}  // namespace QvUserLib
