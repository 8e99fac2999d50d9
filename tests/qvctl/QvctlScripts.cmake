# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# What others make of the tool's output: shells, validators, terminals.

set(folder ${PROJECT_SOURCE_DIR}/tests/qvctl)
set(qvctl ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:qvctl>)

# The manual page that is installed.
add_test(
    NAME QvctlManual.IsWhatTheParserTakes
    COMMAND
        ${CMAKE_COMMAND} -D EMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR} -D
        QVCTL=$<TARGET_FILE:qvctl> -D VERB=manual -D
        FILE=${PROJECT_SOURCE_DIR}/tools/qvctl/qvctl.1 -P ${folder}/Compare.cmake
)
set_tests_properties(QvctlManual.IsWhatTheParserTakes PROPERTIES LABELS unit TIMEOUT 60)

find_program(QV_GROFF groff)
if(QV_GROFF)
    add_test(NAME QvctlManual.IsWellFormed
             COMMAND ${QV_GROFF} -man -z -ww -Tutf8 ${PROJECT_SOURCE_DIR}/tools/qvctl/qvctl.1
    )
    set_tests_properties(
        QvctlManual.IsWellFormed PROPERTIES LABELS unit TIMEOUT 60 FAIL_REGULAR_EXPRESSION "."
    )
endif()

# Bash, with a script that is made first.
find_program(QV_BASH bash)
if(QV_BASH)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/qvctl-completion.bash)
    add_test(NAME QvctlCompletion.IsMade
             COMMAND ${QV_BASH} -c "exec \"\${@:2}\" completion bash >\"$1\"" bash ${script} ${qvctl}
    )
    set_tests_properties(
        QvctlCompletion.IsMade PROPERTIES LABELS unit TIMEOUT 60 FIXTURES_SETUP completion
    )

    # qv_add_completion_test(NAME EXPECTED WORD…)
    function(qv_add_completion_test name expected)
        add_test(NAME QvctlCompletion.${name}
                 COMMAND ${QV_BASH} ${folder}/complete.sh ${script} "${expected}" qvctl ${ARGN}
        )
        set_tests_properties(
            QvctlCompletion.${name} PROPERTIES LABELS unit TIMEOUT 60 FIXTURES_REQUIRED completion
        )
    endfunction()

    qv_add_completion_test(VerbsComeFirst "show set save stream" s)
    qv_add_completion_test(OptionsOfTheVerbFollow "--packets" stream --pa)
    qv_add_completion_test(NamesOfParametersAreTheDevices "Gain Mode Gauge \\$\\(exit\\ 9\\)\\ x" get nothing)
    qv_add_completion_test(AssignmentsEndWithTheirSign "Gain=" set Ga)
    qv_add_completion_test(EntriesFollowTheSign "8\\ bit Fast" set Mode =)
    qv_add_completion_test(AnEntryIsCompleted "Fast" set Gain = 3 Mode = Fa)
    qv_add_completion_test(NumbersHaveNoEntries nothing set Gain = nothing)
    qv_add_completion_test(DevicesAreOfferedByNumber "0 1" get --device nothing)
    qv_add_completion_test(LevelsAreOfferedByName "warn" get --log-level w)
    qv_add_completion_test(VerbsHaveHelp "reset" help rese)
    qv_add_completion_test(FilesStandBehindAnOptionForThem "schema_test.py" stream --out sche)
    qv_add_completion_test(FilesStandWhereTheVerbTakesThem "schema_test.py" write sche)
    qv_add_completion_test(ShellsAreOfferedByName "bash powershell" completion nothing)
    qv_add_completion_test(ActionsComeFirst "install status remove" driver nothing)
    qv_add_completion_test(FilesFollowAnAction "schema_test.py" driver install sche)
    qv_add_completion_test(NothingIsOfferedForANumber nothing stream --packets nothing)
    qv_add_completion_test(NamesOfADeviceAreOffered "SamplingInterval=" set Sam)
    qv_add_completion_test(EntriesOfADeviceAreOffered "Triggered" set OperatingMode = Tr)
    list(JOIN qvctl " " command)
    set_tests_properties(
        QvctlCompletion.NamesOfADeviceAreOffered QvctlCompletion.EntriesOfADeviceAreOffered
        PROPERTIES LABELS device RESOURCE_LOCK sample-devices ENVIRONMENT "QVCTL=${command}"
    )
endif()

# Debian's, which knows Debian's packages.
find_program(QV_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
if(QV_PYTHON)
    # qv_add_python_test(NAME LABEL SCRIPT ARGUMENT…)
    function(qv_add_python_test name label script)
        add_test(NAME ${name} COMMAND ${QV_PYTHON} ${folder}/${script} ${ARGN})
        set_tests_properties(${name} PROPERTIES LABELS ${label} TIMEOUT 60 SKIP_RETURN_CODE 77)
        if(label STREQUAL "device")
            set_tests_properties(${name} PROPERTIES RESOURCE_LOCK sample-devices COST 50)
        endif()
    endfunction()

    # qv_add_schema_test(NAME DEFINITION ARGUMENT…)
    function(qv_add_schema_test name definition)
        qv_add_python_test(
            QvctlSchema.${name} device schema_test.py
            ${PROJECT_SOURCE_DIR}/tools/qvctl/qvctl.schema.json ${definition} ${qvctl} ${ARGN}
        )
    endfunction()

    qv_add_schema_test(List list list)
    qv_add_schema_test(ListAll listPresent list --all)
    qv_add_schema_test(ListOfAbsentDevices listAbsent list --all --present=no)
    qv_add_schema_test(Info info info)
    qv_add_schema_test(ShowOfAllParameters show show --all)
    qv_add_schema_test(Get get get Gain OperatingMode Label)
    qv_add_schema_test(Set set set Gain=6 OperatingMode=Continuous)
    qv_add_schema_test(SetAsADryRun set set Gain=7 --dry-run)
    # Half a character, which the driver refuses.
    qv_add_schema_test(SetThatTheDriverRefuses set set "Label=\\ud800" --all-or-nothing)
    qv_add_schema_test(Reset reset reset)
    set(saved ${CMAKE_CURRENT_BINARY_DIR}/saved.json)
    qv_add_schema_test(Save save save ${saved})
    set_tests_properties(QvctlSchema.Save PROPERTIES FIXTURES_SETUP saved-profile)
    qv_add_schema_test(Load load load ${saved} --dry-run)
    qv_add_schema_test(Keep keep keep ${saved} --only Gain --count 1)
    qv_add_schema_test(KeepWhatDoesNotFit keep keep ${folder}/other-profile.json --count 1)
    qv_add_schema_test(DiffWithTheDevice diff diff ${saved})
    qv_add_schema_test(DiffOfTwoFiles diff diff ${saved} ${folder}/other-profile.json)
    qv_add_python_test(
        QvctlSchema.SavedFile device profile_schema_test.py
        ${PROJECT_SOURCE_DIR}/tools/qvctl/profile.schema.json
        ${PROJECT_SOURCE_DIR}/tests/corpus/profiles ${saved}
    )
    set_tests_properties(
        QvctlSchema.Load QvctlSchema.Keep QvctlSchema.DiffWithTheDevice QvctlSchema.DiffOfTwoFiles
        QvctlSchema.SavedFile PROPERTIES FIXTURES_REQUIRED saved-profile
    )
    qv_add_schema_test(Watch watch watch Temperature --every 1 --count 3)
    qv_add_schema_test(WatchFromTheBeginning watch watch Gain --initial --seconds 0.1)
    qv_add_schema_test(StreamOfRawBytes stream stream --packets 1 --quiet --raw)
    qv_add_schema_test(WatchDevices watchDevices watch --devices --initial --seconds 0.1)
    qv_add_schema_test(WaitForAnArrival wait wait --for arrival)
    qv_add_schema_test(WaitForARemoval wait wait --for removal --device 99)
    qv_add_schema_test(WaitWithoutEnd failure wait --for arrival --device 99 --timeout 10ms)
    qv_add_schema_test(StreamToAFile stream stream --packets 20 --quiet --out NUL)
    qv_add_schema_test(StreamWithoutFile stream stream --packets 1 --quiet --verify)
    # Nothing that a read of the loop-back would get.
    qv_add_schema_test(Write write write NUL --quiet)
    qv_add_schema_test(WriteOfBytes writeBytes write --in 00)
    qv_add_schema_test(Read read read)
    qv_add_schema_test(Control control control 0x22:0x801:buffered:any)
    qv_add_schema_test(Md5 md5 md5 ${PROJECT_SOURCE_DIR}/LICENSE)
    qv_add_schema_test(Doctor doctor doctor)
    qv_add_schema_test(
        DoctorWithProblem doctor doctor --interface {0f6b1f2e-8f0a-4f53-9a64-1c2f7e5d9b30}
    )
    qv_add_schema_test(DriverStatus driver driver status)
    qv_add_schema_test(DriverWithoutDevices driver driver remove --id ROOT/NOWHERE)
    qv_add_schema_test(Version version version)
    qv_add_schema_test(Refusal set set Gain=1000 Unknown=1)
    qv_add_schema_test(WrongUsage failure set)
    qv_add_schema_test(NoDevice failure show --device 99)

    qv_add_python_test(
        QvctlColours.AppearOnATerminal unit terminal_test.py terminal coloured ${qvctl} unknown
    )
    qv_add_python_test(
        QvctlColours.DoNotAppearInAPipe unit terminal_test.py pipe plain ${qvctl} unknown
    )
    qv_add_python_test(
        QvctlColours.DoNotAppearWithNoColor unit terminal_test.py terminal plain ${qvctl} unknown
    )
    set_tests_properties(QvctlColours.DoNotAppearWithNoColor PROPERTIES ENVIRONMENT NO_COLOR=1)

    # The line with it is longer than the terminal is wide.
    set(unknown_class "{0f6b1f2e-8f0a-4f53-9a64-1c2f7e5d9b30}")
    qv_add_python_test(
        QvctlDoctor.BreaksLinesBetweenWordsOnATerminal unit terminal_test.py terminal
        ${unknown_class} ${qvctl} doctor --interface ${unknown_class}
    )
    qv_add_python_test(
        QvctlDoctor.DoesNotBreakLinesInAPipe unit terminal_test.py pipe
        "no device has had the interface ${unknown_class}" ${qvctl} doctor --interface
        ${unknown_class}
    )
endif()
