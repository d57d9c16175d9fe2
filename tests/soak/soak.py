#!/usr/bin/python3
"""Drives the real program for many minutes and judges whether it stays as it was.

    tests/soak/soak.py [--build build/release] [--minutes 20] [--pause 1] [--seed 1] [--keep FOLDER]

Presses real keys on a display of its own, in a network, a session bus and folders of its own: registers are made,
texts pasted and undone, tabs switched, sheets opened and closed, a table of some hundred numbers refreshed from a
stand-in of the tracking service; meanwhile the paired phone's server gets pages, photos, broken uploads, slow
clients and crowds (phones.py). --pause is the phones' mean pause in seconds; under the sanitizers (--build
build/asan) photos are read ten times as slowly, and 8 is right.

Every minute's medians are printed. The run fails when the program stops to answer, grows, does not end with 0 at
Ctrl+Q, leaves a process, file or socket behind, or a sanitizer reports. Growth is judged between the second and the
last quarter, for in the first one caches fill up; what is allowed stands with ALLOWED.

Needs what the tests need, the photo maker from `cmake --build build/dev --target SoakPhotos`, and no other than
Debian's python3.
"""

import argparse
import json
import os
import random
import shutil
import statistics
import subprocess
import sys
import tempfile
import threading
import time
import zipfile
from pathlib import Path

import processes
from phones import Phones

ROOT = Path(__file__).resolve().parents[2]
SUPPORT = ROOT / "tests/support"
PORT = 8745
PATIENCE = 60  # seconds, for a sanitized program on a loaded machine
SAMPLING = 5  # seconds
NUMBERS = [f"{n:020}" for n in range(1, 301)] + ["cut", "reset", "close", "garbage", "badzip"]
TIDY_AFTER = 20  # documents

# What is compared of the second and the last quarter, and by how much it may grow: a share, and besides. Memory that is
# freed is not always given back, so that a twentieth and some megabytes more are no leak; one of 20 kB a page, or of
# 1 MB a register, is beyond that in 20 minutes. Connections come and go, up to one for each number and phone: what is
# lost shows in the fewest. The proportional memory is shown alone: it grows when others that map the same libraries end.
ALLOWED = {"resident": (statistics.median, 0.05, 6), "display": (statistics.median, 0.05, 4),
           "descriptors": (min, 0, 12), "threads": (min, 0, 2)}


class Fault(Exception):
    pass


def await_that(what, condition):
    deadline = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > deadline:
            raise Fault(f"not seen: {what}")
        time.sleep(0.05)


def xdotool(*arguments):
    return subprocess.run(["xdotool", *arguments], capture_output=True, text=True, timeout=PATIENCE).stdout.strip()


def press(*keys):
    xdotool("key", "--delay", "25", *keys)
    time.sleep(0.25)


def click(x, y):
    xdotool("getactivewindow", "mousemove", "--window", "%1", str(x), str(y), "click", "1")


def await_window(title):
    await_that(f"the window {title!r}", lambda: xdotool("getactivewindow", "getwindowname") == title)


def addresses(count):
    return "".join(f"Łucja Próbna {n}\nul. Długa {n} m. 4\n80-{n % 1000:03} Gdańsk\n\n" for n in range(count))


class Desk:
    """The program with its user, in folders of its own."""

    def __init__(self, program, folder, seed, endpoint, authority):
        self.program = program
        self.random = random.Random(seed)
        self.acts = {}
        self.folders = {name: folder / name for name in ("home", "config", "runtime", "temporary", "registers", "texts")}
        for path in self.folders.values():
            path.mkdir(mode=0o700)
        self.mark = f"KOPERTAL_SOAK={folder}"
        self.environment = dict(
            os.environ, HOME=str(self.folders["home"]), XDG_CONFIG_HOME=str(self.folders["config"]),
            XDG_RUNTIME_DIR=str(self.folders["runtime"]), XDG_CACHE_HOME=str(self.folders["home"] / ".cache"),
            XDG_DATA_HOME=str(self.folders["home"] / ".local"), TMPDIR=str(self.folders["temporary"]),
            KOPERTAL_SOAK=str(folder), BROWSER="false", KOPERTAL_TRACKING_ENDPOINT=endpoint, SSL_CERT_FILE=authority,
            # Small, for they grow for an hour: what was freed, and where each block was ever asked for.
            ASAN_OPTIONS="quarantine_size_mb=16:malloc_context_size=2:detect_leaks=1", UBSAN_OPTIONS="print_stacktrace=1",
            LSAN_OPTIONS=f"suppressions={SUPPORT}/leaks.supp:print_suppressions=0")
        self.settings = self.folders["config"] / "kopertal/settings.json"
        self.settings.parent.mkdir()
        self.settings.write_text(json.dumps({
            "sender.name": "Nadawca", "sender.address": "ul. Nowa 1", "iphone.mode": "paired",
            "paths.saveFolder": str(self.folders["registers"])}))
        self.log = folder / "log"
        self.process = subprocess.Popen([program, "--verbose"], env=self.environment, stdout=subprocess.DEVNULL,
                                        stderr=self.log.open("w"))
        await_window("Kopertal")
        press("ctrl+2")  # the tab that starts the server
        self.open_file("\n".join(NUMBERS))
        press("ctrl+a", "ctrl+c", "ctrl+2", "ctrl+v", "Return")
        await_that("the register", lambda: "tracking.sentBooks" in self.settings.read_text())

    def is_running(self):
        return self.process.poll() is None

    def open_file(self, text):
        """As the file manager does: by a second start, which hands the file to the first."""
        file = self.folders["texts"] / "adresy.txt"
        file.write_text(text)
        subprocess.run([self.program, file], env=self.environment, check=True, timeout=PATIENCE)
        time.sleep(0.5 + len(text) / 500_000)

    def mode(self):
        return json.loads(self.settings.read_text())["iphone.mode"]

    # What the user does; each ends with the main window as it was, and checks something that only an answering program
    # brings about.

    def registers(self):
        folder = self.folders["registers"]
        for old in sorted(folder.iterdir())[:-TIDY_AFTER]:
            old.unlink()
        count = self.random.choice((7, 300, 2500))
        self.open_file(addresses(count))
        before = set(folder.iterdir())
        press("ctrl+Return")
        await_that("a register", lambda: [path for path in set(folder.iterdir()) - before if path.suffix == ".docx"])
        (made,) = set(folder.iterdir()) - before
        if zipfile.ZipFile(made).testzip():
            raise Fault(f"a damaged register: {made}")
        time.sleep(1)
        press("Escape")

    def edits(self):
        self.open_file(addresses(self.random.choice((3000, 4000))))
        press("ctrl+a", "ctrl+c", "ctrl+End")
        press(*["ctrl+v"] * 3)
        press(*["ctrl+z"] * 2)
        press("ctrl+shift+z", "ctrl+z")
        xdotool("type", "--delay", "20", "Jan\nul. Krótka 2\n")
        press("ctrl+BackSpace", "ctrl+z", "ctrl+BackSpace")

    def tabs(self):
        for _ in range(self.random.randrange(4, 12)):
            press("ctrl+2", "ctrl+1")

    def refreshes(self):
        press("ctrl+2", "F5")
        time.sleep(2)
        click(250, 350)  # a row
        press(*["Down"] * self.random.randrange(20), "Home", "ctrl+1")

    def windows(self):
        press("ctrl+comma")
        await_window("Ustawienia — Kopertal")
        press("Return", "alt+F4")
        await_window("Kopertal")
        press("F1")
        await_window("Kopertal — pomoc")
        press("Escape")
        await_window("Kopertal")

    def sheets(self):
        press("ctrl+2")
        click(240, 135)  # the field for a number
        press("Tab", "space")  # Skanuj
        time.sleep(1)
        press("Escape")
        for choice, mode in ((("Tab", "space"), "qr"), (("Return",), "paired")):
            press("ctrl+2", "alt+w", "s")
            time.sleep(0.5)
            press(*choice)
            await_that(f"the mode {mode}", lambda: self.mode() == mode)
            time.sleep(2)
            press("Escape")
        press("ctrl+1")

    def work(self, until):
        acts = [self.registers, self.edits, self.tabs, self.refreshes, self.windows, self.sheets]
        while time.monotonic() < until:
            for act in self.random.sample(acts, len(acts)):
                if not self.is_running():
                    raise Fault("the program has gone")
                act()
                self.acts[act.__name__] = self.acts.get(act.__name__, 0) + 1

    def quit(self):
        await_window("Kopertal")
        press("ctrl+q")
        try:
            code = self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            return ["it does not end"]
        faults = [f"it ended with {code}"] if code else []
        time.sleep(1)
        faults += [f"a process is left: {pid}" for pid in processes.having(self.mark)]
        left = {"runtime": ("kopertal.socket",), "temporary": ("*",), "registers": ("*.docx?*",),
                "config": ("kopertal/*.json?*",)}
        for name, patterns in left.items():
            faults += [f"left behind: {path}" for pattern in patterns for path in self.folders[name].glob(pattern)]
        words = self.log.read_text(errors="replace")
        faults += [f"its log: {line}" for line in words.splitlines() if " kopertal." not in line][:40]
        return faults


class Sampling:
    """Takes a sample every few seconds from its start to close()."""

    def __init__(self, pid):
        self.pid = pid
        self.display = processes.nearest("Xvfb")
        self.samples = []
        self.start = time.monotonic()
        self.end = threading.Event()
        self.thread = threading.Thread(target=self.run)
        self.thread.start()

    def run(self):
        while not self.end.wait(SAMPLING):
            own = processes.usage(self.pid)
            display = processes.usage(self.display)
            if not own or not display:
                continue
            others = [use for child in processes.children(self.pid) if (use := processes.usage(child))]
            self.samples.append({"time": time.monotonic() - self.start, **own, "display": display["resident"],
                                 "children": len(others),
                                 "childrenMemory": sum(other["proportional"] for other in others)})

    def close(self):
        self.end.set()
        self.thread.join()

    def table(self):
        names = ("resident", "proportional", "descriptors", "threads", "children", "childrenMemory", "display")
        lines = ["minute" + "".join(f"{name:>15}" for name in names)]
        minutes = {}
        for sample in self.samples:
            minutes.setdefault(int(sample["time"] / 60) + 1, []).append(sample)
        for minute, samples in minutes.items():
            lines.append(f"{minute:6}" + "".join(
                f"{statistics.median(sample[name] for sample in samples):15.1f}" for name in names))
        return "\n".join(lines)

    def faults(self):
        quarter = len(self.samples) // 4
        if not quarter:
            return ["too few samples"]
        faults = []
        for name, (figure, share, besides) in ALLOWED.items():
            before, after = (figure(sample[name] for sample in samples)
                             for samples in (self.samples[quarter:2 * quarter], self.samples[-quarter:]))
            if after > before * (1 + share) + besides:
                faults.append(f"{name} grew from {before:.1f} to {after:.1f}")
        return faults


def soak(arguments, folder):
    photos = folder / "photos"
    photos.mkdir()
    subprocess.run([ROOT / "build/dev/bin/SoakPhotos", photos], check=True)
    service = subprocess.Popen([SUPPORT / "tracking_service.py"], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    ready = json.loads(service.stdout.readline())
    program = arguments.build.resolve() / "bin/kopertal"
    desk = Desk(program, folder, arguments.seed, ready["https"] + "service", ready["authority"])
    sampling = Sampling(desk.process.pid)
    phones = Phones(PORT, [photo.read_bytes() for photo in sorted(photos.iterdir())], arguments.seed, arguments.pause)
    faults = []
    try:
        desk.work(time.monotonic() + 60 * arguments.minutes)
    except (Fault, subprocess.SubprocessError) as fault:
        faults.append(str(fault))
        if shutil.which("import"):
            subprocess.run(["import", "-window", "root", folder / "screen.png"], check=False)
    finally:
        sampling.close()
        phones.close()
    faults += sampling.faults()
    faults += [f"a phone's {failure}" for failure in phones.failures[:20]]
    try:
        faults += desk.quit()
    except Fault as fault:
        faults.append(str(fault))
    finally:
        desk.process.kill()
        service.stdin.close()
        service.wait()
    log = desk.log.read_text(errors="replace")
    print(sampling.table())
    print("the user:", desk.acts, "the phones:", dict(phones.counts))
    print("photos read:", log.count("kopertal.photo: zdjęcie po"), "requests to the service:",
          log.count("kopertal.http: zapytanie") // 2, "registers:", log.count("dokument gotowy"))
    print("\n".join(f"FAULT: {fault}" for fault in faults) or "flat, answering, clean", flush=True)
    return 1 if faults else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=Path, default=ROOT / "build/release")
    parser.add_argument("--minutes", type=float, default=20)
    parser.add_argument("--pause", type=float, default=1)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--keep", type=Path, help="a folder for the program's log")
    arguments = parser.parse_args()
    if "KOPERTAL_SOAK_INSIDE" not in os.environ:
        os.execvpe(SUPPORT / "own-network", [
            "own-network", SUPPORT / "with-display", "dbus-run-session", "--", "/usr/bin/python3", __file__,
            *sys.argv[1:]], dict(os.environ, KOPERTAL_SOAK_INSIDE="1"))
    with tempfile.TemporaryDirectory() as folder:
        try:
            code = soak(arguments, Path(folder))
        finally:
            for kept in ("log", "screen.png"):
                if arguments.keep and (Path(folder) / kept).exists():
                    arguments.keep.mkdir(parents=True, exist_ok=True)
                    shutil.copy(Path(folder) / kept, arguments.keep)
    sys.exit(code)


if __name__ == "__main__":
    main()
