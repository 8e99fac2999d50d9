// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// An application's own settings: parameters in groups, their marks, and a copy that is edited and
// then accepted or discarded.

#include <cstdio>

#include "QvUserLib/QvUserLib.h"

using QvUserLib::Parameter;
using QvUserLib::ParameterRepository;

namespace {

enum : unsigned long { IdTrigger = 1, IdLevel = 2, IdEdge = 3, IdName = 4 };

/// Passes the parameter to the set, which then owns it.
void AddTo(ParameterRepository& aSet, Parameter* aParameter) {
    if (aSet.Add(aParameter).IsFailure()) delete aParameter;
}

void AddTriggerGroup(ParameterRepository& aSettings) {
    ParameterRepository* const members = new ParameterRepository("Trigger members", 0);

    Parameter* const level = new Parameter("Level", IdLevel);
    level->InitDouble(0.5, 0.1, 10.0);
    AddTo(*members, level);

    Parameter* const edge = new Parameter("Edge", IdEdge);
    edge->InitEnum();
    for (const char* const name : {"Rising", "Falling"}) (void)edge->AddEnumValue(name);
    AddTo(*members, edge);

    Parameter* const trigger = new Parameter("Trigger", IdTrigger);
    trigger->InitRepository(members);  // The group owns its members from here on.
    AddTo(aSettings, trigger);
}

void Show(const char* aTitle, ParameterRepository& aSettings) {
    Parameter* const trigger = aSettings.GetByID(IdTrigger);
    ParameterRepository* const members = trigger->GetRepository();
    std::printf("%s: level %.1f, edge %s, name %s, trigger %s\n", aTitle,
                members->GetByID(IdLevel)->GetDouble(),
                members->GetByID(IdEdge)->GetString().GetAscii(),
                aSettings.GetByID(IdName)->GetString().GetAscii(),
                trigger->HasChanged(/*aReset=*/false) ? "changed" : "unchanged");
}

}  // namespace

int main() {
    ParameterRepository settings("Settings", 100);
    AddTriggerGroup(settings);
    Parameter* const name = new Parameter("Name", IdName);
    name->InitString("Scope");
    AddTo(settings, name);
    Show("At first", settings);

    // A dialogue works on a copy; "Cancel" would drop it, "OK" assigns it.
    ParameterRepository edited(settings);
    ParameterRepository* const members = edited.GetByID(IdTrigger)->GetRepository();
    if (members->GetByID(IdLevel)->SetDouble(2.5).IsFailure()) return 1;
    if (members->GetByID(IdEdge)->SetInt(1).IsFailure()) return 1;
    Show("The copy", edited);
    Show("Still", settings);

    settings = edited;
    Show("Taken over", settings);

    // A mark set on a group is also set on its members.
    (void)settings.GetByID(IdTrigger)->SetReadOnly(true);  // Fails for a null object only.
    (void)settings.ResetDefaults();                        // Skips what is read-only.
    Show("Reset while read-only", settings);
}
