#!/usr/bin/python3
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
"""Types and points into a program on a real desktop (gnome or plasma), through its portal.

The desktop has no screen, and buses of its own. It refuses root, so root starts it as user 1000 of a
user namespace. A consent that it asks for is given through its accessibility.
"""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import time

DESKTOP = sys.argv[1]
DIALOG = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../support/wayland/portal_dialog.py")
LIMIT = 30
BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:path=%s</listen>%s<policy context="default">
<allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>
"""
# Neither may start services of the machine but these.
SERVICES = [
    "org.freedesktop.portal.Desktop",
    "org.freedesktop.impl.portal.desktop.gnome",
    "org.freedesktop.impl.portal.desktop.kde",
    "org.freedesktop.impl.portal.PermissionStore",
    "org.a11y.Bus",
    "ca.desrt.dconf",
]
SHELLS = {
    "gnome": "gnome-shell --headless --wayland --no-x11 --wayland-display=wayland-9 --virtual-monitor 1280x720",
    "plasma": "kwin_wayland --virtual --width 1280 --height 720 --no-lockscreen --socket wayland-9",
}
NAMES = {"gnome": "GNOME", "plasma": "KDE"}

children = []


def run(command, **options):
    child = subprocess.Popen(command, **options)
    children.append(child)
    return child


def wait(condition, what, limit=LIMIT):
    end = time.monotonic() + limit
    while not (result := condition()):
        if time.monotonic() > end:
            raise SystemExit("%s: not in time: %s" % (DESKTOP, what))
        time.sleep(0.05)
    return result


def start_bus(folder, name, services=""):
    path = os.path.join(folder, name)
    with open(path + ".conf", "w", encoding="utf-8") as file:
        file.write(BUS % (path, services))
    run(["dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + path + ".conf"])
    wait(lambda: os.path.exists(path), name)
    return "unix:path=" + path


def start_desktop(folder):
    services = os.path.join(folder, "services")
    os.mkdir(services)
    for name in SERVICES:
        file = "/usr/share/dbus-1/services/%s.service" % name
        if os.path.exists(file):
            with open(file, encoding="utf-8") as source, open(
                os.path.join(services, name + ".service"), "w", encoding="utf-8"
            ) as copy:
                copy.writelines(line for line in source if not line.startswith("Systemd"))
    environment = os.environ
    for name in ("HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME"):
        environment[name] = os.path.join(folder, name.lower())
        os.mkdir(environment[name])
    environment.pop("DISPLAY", None)
    environment.update(
        XDG_RUNTIME_DIR=folder,
        LC_ALL="C.UTF-8",
        XDG_CURRENT_DESKTOP=NAMES[DESKTOP],
        XDG_SESSION_TYPE="wayland",
        XDG_SESSION_CLASS="user",
        LIBGL_ALWAYS_SOFTWARE="1",
        GSETTINGS_BACKEND="memory",
        XDG_MENU_PREFIX="plasma-",
        DBUS_SYSTEM_BUS_ADDRESS=start_bus(folder, "system"),
        WAYLAND_DISPLAY="wayland-9",
    )
    environment["DBUS_SESSION_BUS_ADDRESS"] = start_bus(
        folder, "session", "<servicedir>%s</servicedir>" % services
    )
    shell_environment = {key: value for key, value in environment.items() if key != "WAYLAND_DISPLAY"}
    with open(os.path.join(folder, "shell.log"), "wb") as log:
        run(SHELLS[DESKTOP].split(), env=shell_environment, stdout=log, stderr=log)
    wait(lambda: os.path.exists(os.path.join(folder, "wayland-9")), "the compositor")
    environment["QT_QPA_PLATFORM"] = "wayland"


class Poster:
    """The program under test."""

    def __init__(self):
        # The toolkit's own connection to the compositor leaks at its end, and is not needed.
        environment = dict(os.environ, QT_QPA_PLATFORM="offscreen")
        self.process = run(
            [os.environ["POSTING_PROGRAM"]],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, env=environment,
        )

    def ask(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        return self.process.stdout.readline().strip()

    def end(self):
        self.process.stdin.close()
        if self.process.wait(LIMIT) != 0:
            raise SystemExit("%s: the program failed" % DESKTOP)


def press_in_dialog(deed):
    subprocess.run([DIALOG, deed], check=True)


def consent(poster):
    """GNOME asks at every session, Plasma of this age only programs that it knows."""
    if poster.ask("ready") != "ready 1":
        raise SystemExit("%s: the consent does not come from the desktop" % DESKTOP)
    if DESKTOP == "gnome":
        press_in_dialog("check box:Allow remote interaction")
        time.sleep(0.5)
        if poster.ask("ready") != "ready 1":
            raise SystemExit("gnome: nobody has consented yet")
        press_in_dialog("button:Share")
    wait(lambda: poster.ask("ready") == "ready 0", "the session")


def main():
    folder = tempfile.mkdtemp(prefix="vorna-", dir="/tmp")
    os.chmod(folder, 0o700)
    try:
        start_desktop(folder)
        record = os.path.join(folder, "record")
        run([os.environ["CONTROLS_PROGRAM"], record, "maximized"], env=dict(os.environ, GDK_BACKEND="wayland"))

        def state():
            if not os.path.exists(record):
                return {}
            with open(record, encoding="utf-8") as file:
                return json.load(file)

        wait(lambda: "text" in state(), "the program to type into")
        poster = Poster()
        consent(poster)
        exercise(poster, state)
        poster.end()
        print("%s: typed and pointed" % DESKTOP)
    finally:
        for child in reversed(children):
            child.terminate()
        for child in reversed(children):
            try:
                child.wait(5)
            except subprocess.TimeoutExpired:
                child.kill()
        if "VORNA_KEEP" not in os.environ:
            shutil.rmtree(folder, ignore_errors=True)


def exercise(poster, state):
    # GNOME begins with its overview, and a seat without devices loses the first keys and moves.
    poster.ask("escape")
    time.sleep(1)
    # Where the pointer begins is known to nobody; the corner is.
    poster.ask("move 5000 5000")
    poster.ask("to 640 180")
    wait(lambda: poster.ask("press") and poster.ask("release") and poster.ask("text x") == "text 1" and
         (time.sleep(0.5) or "x" in state()["text"]), "the first key")
    before = state()["text"]
    text = "Hello, World! (1+2=3) {~@#} The quick brown fox. " * 10
    started = time.monotonic()
    if poster.ask("text " + text) != "text 1":
        raise SystemExit("%s: the text was not typed" % DESKTOP)
    print("%s: %d characters in %.2f s" % (DESKTOP, len(text), time.monotonic() - started))
    wait(lambda: state()["text"] == before + text, "the text, but: %r" % state()["text"][-80:])
    poster.ask("control a")
    poster.ask("text replaced")
    wait(lambda: state()["text"] == "replaced", "the shortcut, but: %r" % state()["text"][-80:])
    # The list is in the middle of the window, the slider below it.
    poster.ask("to 640 390")

    # GTK takes what comes first for a touch without a move.
    def scrolls_by(amount):
        before = state()["list"]
        poster.ask("scroll 0 %d" % amount)
        time.sleep(0.3)
        return state()["list"] - before

    wait(lambda: scrolls_by(240) > 50, "the wheel")
    wait(lambda: 10 < scrolls_by(60) < 30, "half a notch")
    wait(lambda: scrolls_by(-240) < -50, "the wheel, backwards")
    poster.ask("to 640 609")
    poster.ask("press")
    for _ in range(10):
        poster.ask("move 20 0")
    poster.ask("release")
    wait(lambda: 60 < state()["slider"] < 70, "the slider, but: %s" % state()["slider"])
    if poster.ask("where") != "where 840 609":
        raise SystemExit("%s: the pointer is elsewhere" % DESKTOP)


if "--inside" not in sys.argv and os.getuid() == 0:
    os.execvp(
        "unshare",
        ["unshare", "--user", "--map-user=1000", "--map-group=1000", "--", *sys.argv, "--inside"],
    )
main()
