#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

"""Writes docs/reliability.md anew: loads and attacks the release build, and lets the tests cause every
fault in the build with sanitizers. Takes an hour; exit status 1 when a promise was broken.
"""

import argparse
import os
import re
import subprocess
import sys
from collections import defaultdict
from pathlib import Path
from typing import NamedTuple

ROOT = Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs" / "reliability.md"

# Fault, what is promised, the test program that causes it, its functions.
FAULTS = [
    ("out of descriptors",
     "connected clients are served; further ones wait, at less than 5 % of a core, and are served "
     "once there is room",
     "tst_Load", ["connectionsBeyondTheDescriptorsWaitForThem"]),
    ("more files than descriptors",
     "further files are discarded, the desktop has what it needs, the server keeps running",
     "tst_Load", ["filesBeyondTheDescriptorsAreNotOpened"]),
    ("connections come and go while descriptors are short", "none of the reserve is used up",
     "tst_Load", ["connectionsThatComeAndGoDoNotUseUpTheReserve"]),
    ("a client that connects and disconnects without a pause", "others are still served",
     "tst_Load", ["connectionsThatComeAndGoHoldNobodyUp"]),
    ("2,000 clients at once", "all are answered", "tst_Load", ["aCrowdIsServed"]),
    ("3,000 connections one after another", "no descriptor is left, memory settles",
     "tst_Load", ["connectionsOneAfterAnotherLeaveNothing"]),
    ("11,000 tokens on one connection", "all are answered, memory settles",
     "tst_Load", ["manyTokensOnOneConnectionTakeNoMemory"]),
    ("floods of five kinds", "another client is still answered",
     "tst_Load", ["floodOfTokensDoesNotHoldUpOthers"]),
    ("a client that never reads its answers", "disconnected, others unharmed",
     "tst_Load", ["deviceThatNeverReadsIsDisconnected"]),
    ("a client that stores ever more", "disconnected, others unharmed",
     "tst_Load", ["deviceThatStoresTooMuchIsDisconnected"]),
    ("12 clients that store more together than is allowed",
     "the one that holds most is disconnected, others unharmed",
     "tst_Load", ["storesOfManyDevicesAreLimitedInAll"]),
    ("a clipboard of more than 16 MiB, and one that never ends", "answered with an error in time",
     "tst_Clipboard", ["endlessTextIsAnError", "ownerHasASecondInAll"]),
    ("random bytes, odd encodings, odd commands, tokens of 16 MiB, many keys",
     "others are served, nothing crashes",
     "tst_BadInput", ["randomBytesAreSurvived", "oddBytesAreSurvived", "oddCommandIsSurvived",
                      "hugeTokenIsSurvived", "manyKeysAreSurvived"]),
    ("a reset during a huge token, or while its command is carried out", "others are served",
     "tst_BadInput", ["resetDuringAHugeTokenIsSurvived", "resetDuringTheDispatchIsSurvived"]),
    ("a reset at each step of each command", "others are served, the light goes orange",
     "tst_Faults", ["resetsAtEveryStepAreSurvived"]),
    ("the cable of a device is pulled", "noticed within 40 s, the light goes orange",
     "tst_Faults", ["deviceWhoseCableIsPulledIsNoticed"]),
    ("a device disconnects while the user is asked about it", "the answer still counts",
     "tst_PairingDialog", ["deviceThatLeftIsRememberedWhenAccepted",
                           "deviceThatLeftIsForgottenWhenRejected"]),
    ("more than 16 questions at once", "the next one is refused",
     "tst_PairingDialog", ["seventeenthQuestionIsRefusedAtOnce"]),
    ("questions are open, or a device asks again and again",
     "the menu stays usable, no box covers it, and the program's end refuses the devices",
     "tst_PairingUnderPressure", ["menuCanBeUsedWhileAQuestionIsOpen",
                                  "quitWhileQuestionsAreOpenRefusesTheDevices",
                                  "endRefusesTheDevices",
                                  "deviceThatAsksAgainAndAgainLeavesTheMenuUsable"]),
    ("300 devices that come and go", "ten balloons per second, the newest is shown",
     "tst_Notifications", ["stormOfDevicesIsAnnouncedInBrief"]),
    ("the notification daemon is stopped, or replaced",
     "at most 16 messages are in flight; markup is escaped for a daemon that interprets it",
     "tst_Notifications", ["haltedDaemonIsSentSixteenMessages",
                           "daemonThatIsHaltedFromTheStartIsSentNothing",
                           "replacedDaemonIsAskedWhatItReads", "namesAreShownAsWritten"]),
    ("SIGTERM and SIGKILL while a dialog is open",
     "the device is disconnected; SIGTERM ends in order and stores the paired devices",
     "tst_PairingDialog", ["endWithOpenDialogsIsInOrder", "killAmidADialogLetsTheDeviceGo"]),
    ("SIGTERM and SIGKILL during keys", "no key is down; SIGTERM ends in order",
     "tst_Faults", ["endAmidAFloodOfKeysLeavesNoKeyDown"]),
    ("SIGKILL during floods of keys and clicks", "the guard releases what is down, and nothing else",
     "tst_InputGuard", ["whatIsDownAtAKillIsReleased", "killsAmidFloodsLeaveNothingDown",
                        "aKillWhileTheDisplayIsBusyLeavesNothingDown",
                        "whatOthersHoldStaysDown"]),
    ("the guard is ended, or asked to end", "the server keeps serving; the guard ignores the request",
     "tst_InputGuard", ["aServerWithoutAGuardServes", "theGuardStaysWhileTheServerRuns"]),
    ("SIGTERM and SIGKILL during a file", "what has arrived is in the file",
     "tst_Transfers", ["bytesAreKeptWhenTheServerEnds"]),
    ("a device disconnects during a file", "what has arrived is in the file",
     "tst_Transfers", ["bytesOfADeviceThatLeftAreKept"]),
    ("the disk is full while a file arrives", "what fits is kept, others are served",
     "tst_Transfers", ["fullDiskKeepsWhatFitted"]),
    ("the download directory is removed while a file arrives",
     "others are served, the directory is not created again",
     "tst_Faults", ["folderRemovedMeanwhileIsSurvived"]),
    ("the download directory is missing, or not permitted",
     "nothing is written, others are served",
     "tst_Transfers", ["missingDownloadFolderIsNotMade", "folderWithoutPermissionTakesNothing"]),
    ("file names that lead outside, to a folder, to a named pipe",
     "nothing is written there, the server does not wait",
     "tst_Transfers", ["nameThatCannotBeStoredTakesNothing", "namedPipeDoesNotStopTheServer"]),
    ("links in the download directory that lead outside, to a named pipe, nowhere; also without "
     "`openat2`", "nothing is written there, the server does not wait",
     "tst_DownloadDirectory", ["linkLeadsNowhereOutside", "pipeBehindALinkDoesNotStopTheServer",
                               "pipeThatIsReadGetsNothing"]),
    ("the download directory is not an absolute path",
     "nothing is written, the user is warned once per file",
     "tst_DownloadDirectory", ["withoutAFullPathNothingIsSaved"]),
    ("a file that cannot be opened", "no descriptor is held for it",
     "tst_DownloadDirectory", ["transferHoldsOneDescriptor"]),
    ("400 addresses as fast as they are answered",
     "50 and then 5 per second are opened, all are answered",
     "tst_UrlOpening", ["floodOfAddressesStartsFewPrograms"]),
    ("a file of 256 MiB", "memory does not grow with it",
     "tst_Transfers", ["largeFileTakesNoMemory"]),
    ("the tray ends and comes back", "keeps serving at less than 5 % of a core, the icon comes back",
     "tst_Faults", ["trayThatGoesAndComesBackIsUsedAgain"]),
    ("the session bus ends", "keeps serving at less than 5 % of a core",
     "tst_Faults", ["lostSessionBusIsSurvived"]),
    ("the X server ends", "the server ends with status 1, connections are closed",
     "tst_Faults", ["lostDisplayEndsTheServer"]),
    ("avahi-daemon ends and comes back",
     "keeps serving at less than 5 % of a core, then found again",
     "tst_Advertisement", ["lostDaemonCostsNoProcessorTime",
                           "serverSurvivesTheDaemonAndIsFoundAgainWhenItIsBack"]),
    ("the clock is set back by ten years and forward again", "keeps serving at less than 5 % of a core",
     "tst_Faults", ["clockSetBackAndForthIsSurvived"]),
    ("the power is cut at any step of writing the settings",
     "they are the old ones or the new ones", "tst_PowerCut", ["settingsAreTheOldOrTheNew"]),
    ("settings that are garbage, unreadable or a folder; a home that is missing or disappears",
     "the server starts and serves",
     "tst_SettingsFile", ["garbageIsSurvived", "unreadableFileIsSurvived",
                          "folderInItsPlaceIsSurvived", "readOnlyFolderIsSurvived",
                          "missingHomeIsSurvived", "homeThatGoesMeanwhileIsSurvived"]),
    ("a lock is left beside the settings", "the server waits two seconds, then writes them",
     "tst_SettingsFile", ["leftOverLockHoldsUpNeitherPreferencesNorEnd"]),
]

HEAD = """\
# Reliability

What the server promises under load and when something around it fails, and what was measured. \
`bench/reliability.py` generates this page; edit the script.

## Loads

The release build on Xvfb with openbox and a tray, all on one machine that does other work as \
well. Afterwards the X server is asked, and no key and no button is down.

| load | promised | measured | held |
|---|---|---|---|
"""

ATTACK_HEAD = """
A short connection spends most of its time on the two balloons that announce it.

## Attacks

The same, by peers that never pause. `bench/attacks` and `bench/kills` run them.

| attack | promised | measured | held |
|---|---|---|---|
"""

SESSION_HEAD = """
## Attacks on the session socket

The same, by programs of the same user, on the [session socket](session.md). \
`bench/session_attacks` runs them. The first row, without an attack, shows what the machine takes; \
with real-time priority, its other work does not count.

| attack | promised | measured | held |
|---|---|---|---|
"""

FAULT_HEAD = """
## Faults

Each is caused by a test of the whole program, built with the address and undefined behaviour \
sanitizers, on a real X server. At its end each test checks on the X server that no key and no \
button is down. The figures are those of the sanitized build, with other tests running beside it.

| fault | promised | measured | held | test |
|---|---|---|---|---|
"""

TAIL = """
## What is not promised

- **The X server ends:** the toolkit ends the program at once, with status 1. Connections are \
closed. Bytes that have arrived are in their files, but devices paired in that run are not \
remembered. The program does not restart itself.
- **The tray ends:** the server keeps running without an icon, and the icon comes back with the \
tray. At its start the server needs a tray.
- **SIGKILL:** devices paired in that run are not remembered. Without the guard, 3 of 300 kills \
left a key or button down. Received bytes are in their files. A lock such as Caps Lock that was \
switched off for a key stays off. If the X server hangs for longer than 0.9 s at that moment, or \
the guard is killed too, a key may stay down.
- **A token in pieces or merged with another** is lost, see [the \
protocol](protocol.md#3-one-read-is-one-token).
- **Several floods at once:** long tokens are parsed in turns, so others wait hardly longer for \
eight floods than for one. Floods of short tokens add up.
"""

# "12: PASS   : tst_Faults::name(row) figures", as ctest -V passes it on from a test program.
RESULT = re.compile(r"^\d+: (PASS|FAIL!|XFAIL|XPASS|SKIP|QINFO) *: (tst_\w+::\w+)\((.*?)\) ?(.*)$",
                    re.MULTILINE)


def build(sections):
    """Builds what the sections need."""
    benches = [program for section in sections for program in SECTIONS[section].benches]
    if benches:
        run_cmake("release", ["VornaServer", *benches])
    if "faults" in sections:
        run_cmake("dev", ["all"])


def run_cmake(preset, targets):
    subprocess.run(["cmake", "--preset", preset], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", "--preset", preset, "--target", *targets], check=True,
                   stdout=subprocess.DEVNULL)


def bench_rows(program, share):
    """The rows that the bench prints, and whether the promises held."""
    release = ROOT / "build" / "release"
    run = subprocess.run([release / "bench" / program, share], text=True,
                         stdout=subprocess.PIPE,
                         env=os.environ | {"VORNA_SERVER": str(release / "VornaServer")})
    return run.stdout, run.returncode == 0


def test_results():
    """The results of the test functions: name -> results, name -> figures."""
    programs = "|".join(sorted({program for _, _, program, _ in FAULTS}))
    run = subprocess.run(["ctest", "--preset", "dev", "-j2", "-V", "-R", f"^({programs})$"],
                         text=True, stdout=subprocess.PIPE)
    results, figures = defaultdict(set), defaultdict(list)
    for kind, name, row, text in RESULT.findall(run.stdout):
        if kind == "QINFO":
            figures[name].append(f"{row}: {text}" if row else text)
        else:
            results[name].add(kind)
    return results, figures


def fault_rows():
    """The rows of all faults, and whether the promises held."""
    results, figures = test_results()
    rows, all_held = "", True
    for fault, promise, program, functions in FAULTS:
        names = [f"{program}::{function}" for function in functions]
        held = all(results[name] == {"PASS"} for name in names)
        all_held = all_held and held
        measured = " ".join(figure for name in names for figure in figures[name])
        tests = "`" + program + "`: " + ", ".join(f"`{function}`" for function in functions)
        rows += f"| {fault} | {promise} | {measured} | {'yes' if held else '**no**'} | {tests} |\n"
    return rows, all_held


class Section(NamedTuple):
    head: str
    benches: list[str]  # whose rows it has; without one, those of the tests


SECTIONS = {
    "loads": Section(HEAD, ["reliability"]),
    "attacks": Section(ATTACK_HEAD, ["attacks", "kills"]),
    "sessions": Section(SESSION_HEAD, ["session_attacks"]),
    "faults": Section(FAULT_HEAD, []),
}


def measured_rows(section, share):
    """The rows of the section, measured now, and whether the promises held."""
    if not section.benches:
        return fault_rows()
    results = [bench_rows(program, share) for program in section.benches]
    return "".join(rows for rows, _ in results), all(held for _, held in results)


def present_rows(section):
    """The rows that the page has of the section."""
    heading = re.search("^## .*\n", section.head, re.MULTILINE)[0]
    below = PAGE.read_text().partition(heading)[2].partition("\n## ")[0]
    rows = re.findall(r"^\|.*\n", below, re.MULTILINE)
    return "".join(rows[2:])  # without the table's head


def main():
    arguments = argparse.ArgumentParser(description=__doc__)
    arguments.add_argument("--share", type=int, choices=range(1, 101), default=100, metavar="1-100",
                           help="of the load, in hundredths")
    arguments.add_argument("sections", nargs="*", metavar="section", default=[],
                           help=f"measure only these of {', '.join(SECTIONS)}; the others keep "
                                "their rows")
    asked = arguments.parse_args()
    if not set(asked.sections) <= set(SECTIONS):
        arguments.error("unknown section")
    os.chdir(ROOT)
    measured = asked.sections or list(SECTIONS)
    build(measured)
    page, all_held = "", True
    for name, section in SECTIONS.items():
        rows, held = (measured_rows(section, str(asked.share)) if name in measured
                      else (present_rows(section), True))
        page += section.head + rows
        all_held = all_held and held
    PAGE.write_text(page + TAIL)
    print(f"Written: {PAGE.relative_to(ROOT)}")
    return 0 if all_held else 1


if __name__ == "__main__":
    sys.exit(main())
