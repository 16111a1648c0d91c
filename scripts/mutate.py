# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
"""Tries the faults of mutants.py on the tests; mutate.sh describes the options."""

import argparse
import os
import pathlib
import re
import resource
import secrets
import shutil
import signal
import subprocess
import sys

import mutants

# The whole-program tests that should see a fault in a file: the first beginning that fits counts.
# The unit tests are those of the same folder.
WHOLE_PROGRAM_TESTS = [
    ("src/net/Bonjour", "Advertisement"),
    ("src/net/DownloadFile", "Transfers"),
    ("src/net/", "BadInput Transfers"),
    ("src/server/", "PairingDialog UrlOpening Clipboard BadInput Transfers Advertisement"),
    ("src/interaction/", "TypingOnTheDesktop"),
    ("src/app/", "Invocation StartAndEnd TrayIcon TrayByDBus Preferences SettingsFile"),
    ("src/startup/", "Preferences SettingsFile"),
    ("client/lib/", "Quillmote QuillmoteDiscovery QuillmoteSend QuillmoteType QuillmoteManners"),
]
# What QtTest writes about a function, and what ctest writes about a whole test.
FAILURE = re.compile(r"\d+: FAIL!  : (\w+::\w+\([^)]*\))|\s*\d+/\d+ Test +#\d+: (\w+) \.*\*\*\*(.*)")
# A fault that eats all memory must not disturb the machine.
MOST_MEMORY = 6 * 1024 ** 3


class Workshop:
    """A copy of the tree with a build of its own."""

    def __init__(self, root):
        self.root = root
        self.tree = root / "build/mutate/tree"
        self.build = root / "build/mutate/build"

    def configure(self):
        command = ["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja",
                   "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0",
                   "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold", "-DVORNA_BUILD_TESTS=ON"]
        subprocess.run(command, stdout=subprocess.DEVNULL, check=True)

    def copy_tree(self):
        """Copies only what differs, so that little is built anew."""
        command = ["git", "-C", self.root, "ls-files", "-z", "-c", "-o", "--exclude-standard"]
        names = subprocess.check_output(command, text=True).rstrip("\0").split("\0")
        names = {name for name in names if (self.root / name).is_file()}
        for name in names:
            source, target = self.root / name, self.tree / name
            if not target.exists() or source.read_bytes() != target.read_bytes():
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source, target)
        for path in self.tree.rglob("*"):
            if path.is_file() and str(path.relative_to(self.tree)) not in names:
                path.unlink()

    def builds(self, targets):
        command = ["nice", "ninja", "-C", self.build, "-j2", *targets]
        return subprocess.run(command, stdout=subprocess.DEVNULL).returncode == 0

    def first_failure(self, tests):
        """Runs the tests until the first one fails; nothing when all pass."""
        command = ["nice", "ctest", "--test-dir", self.build, "-V", "--stop-on-failure",
                   "-R", f"^({'|'.join(tests)})$"]
        with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              errors="replace", start_new_session=True,
                              preexec_fn=limit_memory) as process:
            for line in process.stdout:
                if failure := FAILURE.match(line):
                    os.killpg(process.pid, signal.SIGKILL)
                    return " ".join(filter(None, failure.groups()))
        return None if process.returncode == 0 else "ctest"


def limit_memory():
    resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))


def unit_tests(tree, path):
    """Those of the file's own class first."""
    of_client = path.startswith("client/")
    folder = "client" if of_client else "unit/" + pathlib.PurePath(path).parent.name
    names = sorted(file.stem for file in (tree / "tests" / folder).glob("tst_*.cpp"))
    own = "tst_" + pathlib.PurePath(path).stem
    return sorted(names, key=lambda name: not name.startswith(own))


def whole_program_tests(path):
    return next(["tst_" + name for name in names.split()]
                for beginning, names in WHOLE_PROGRAM_TESTS if path.startswith(beginning))


def stages(tree, path):
    """The tests that should see a fault in this file, the fast ones first, each with its targets."""
    for test in unit_tests(tree, path):
        yield [test], [test]
    tests = whole_program_tests(path)
    yield tests, [*tests, "VornaServer", "quillmote"]


def try_fault(workshop, fault):
    """The failure that it causes, "" when no test fails, nothing when it does not compile."""
    path = workshop.tree / fault.path
    text = path.read_text()
    path.write_text(fault.applied_to(text))
    try:
        for tests, targets in stages(workshop.tree, fault.path):
            if not workshop.builds(targets):
                return None
            if failure := workshop.first_failure(tests):
                return failure
        return ""
    finally:
        path.write_text(text)


def check_without_fault(workshop, faults):
    """A test that fails anyway would seem to catch everything."""
    tests, targets = set(), set()
    for path in {fault.path for fault in faults}:
        for some_tests, some_targets in stages(workshop.tree, path):
            tests.update(some_tests)
            targets.update(some_targets)
    if not workshop.builds(sorted(targets)):
        print("The tree does not build without a fault.", file=sys.stderr)
        sys.exit(2)
    if failure := workshop.first_failure(sorted(tests)):
        print(f"Fails without a fault: {failure}", file=sys.stderr)
        sys.exit(2)


def report(number, fault, root, outcome):
    print(f"{number}. {fault.path}:{fault.line} {outcome}".rstrip())
    print(fault.difference((root / fault.path).read_text()), flush=True)


def try_faults(workshop, faults, count):
    tried = caught = 0
    for number, fault in faults:
        if tried == count:
            break
        failure = try_fault(workshop, fault)
        if failure is None:
            report(number, fault, workshop.tree, "does not compile, not counted")
            continue
        tried += 1
        caught += failure != ""
        report(number, fault, workshop.tree, f"caught by {failure}" if failure else "NOT CAUGHT")
    print(f"{caught} of {tried} caught")
    return 0 if caught == tried else 1


def read_options():
    parser = argparse.ArgumentParser(prog="mutate.sh")
    parser.add_argument("root", type=pathlib.Path)
    parser.add_argument("--seed", type=int, default=secrets.randbelow(1_000_000))
    parser.add_argument("--count", type=int, default=40)
    parser.add_argument("--only", type=int)
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--no-check", action="store_true")
    return parser.parse_args()


def numbered(tree, options):
    faults = list(enumerate(mutants.drawn(tree, options.seed), start=1))
    return faults[options.only - 1:options.only] if options.only else faults


def main():
    options = read_options()
    print(f"seed {options.seed}", flush=True)
    if options.list:
        for number, fault in numbered(options.root, options)[:options.count]:
            report(number, fault, options.root, "")
        return 0
    workshop = Workshop(options.root)
    workshop.copy_tree()
    faults = numbered(workshop.tree, options)
    count = min(options.count, len(faults))
    workshop.configure()
    if not options.no_check:
        check_without_fault(workshop, [fault for _, fault in faults[:count]])
    return try_faults(workshop, faults, count)


sys.exit(main())
