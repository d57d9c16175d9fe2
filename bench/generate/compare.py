#!/usr/bin/python3
"""Compares `kopertal generate` with a peer templating library, as whole processes on the same page.

The runs alternate, so that whatever else the machine does meets both, and the least disturbed run of each counts.
Prints and records the promises with their marks. Needs the preset "bench" built, node with npm
and, to compare pages, soffice and pdfinfo.
"""

import argparse
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
sys.path.insert(0, str(HERE.parent))

import peer_template  # noqa: E402
from results import record  # noqa: E402

PEER = "docxtemplater"
ROUNDS = {10: 9, 1_000: 9, 10_000: 5, 100_000: 3}
PEER_UP_TO = 10_000

STREETS = ["ul. Długa", "ul. ks. Ignacego Skorupki", "al. Zjednoczenia", "os. Bolesława Chrobrego", "pl. Wolności"]
NAMES = ["Łukasz Gąsiorowski", "Barbara Wojciechowska-Kaczmarek", "Kancelaria Notarialna Ewa Dąbek",
         "Sąd Rejonowy, II Wydział Cywilny", "Miejski Ośrodek Pomocy Rodzinie, Dział Świadczeń i Obsługi Klienta"]


def recipients(count):
    for i in range(count):
        third = "II piętro, pokój 213\n" if i % 5 == 4 else ""
        yield f"{NAMES[i % 5]} {i + 1}\n{STREETS[i % 3]} {i % 200}/{i % 17}\n{third}{i % 100:02}-{i % 1000:03} Gdańsk\n\n"


def measure(command):
    """The wall time in seconds and the peak memory in MB of one process from start to end."""
    start = time.perf_counter()
    null = os.open(os.devnull, os.O_WRONLY)
    process = os.posix_spawnp(command[0], command, os.environ, file_actions=[(os.POSIX_SPAWN_DUP2, null, 1)])
    _, status, usage = os.wait4(process, 0)
    elapsed = time.perf_counter() - start
    os.close(null)
    if status != 0:
        sys.exit(f"failed: {' '.join(command)}")
    return elapsed, usage.ru_maxrss / 1024


def printed_pages(document):
    """The pages on which the word processor prints the document."""
    folder = document.parent
    subprocess.run(["soffice", f"-env:UserInstallation=file://{folder}/profile", "--headless", "--convert-to", "pdf",
                    "--outdir", folder, document], check=True, capture_output=True)
    information = subprocess.run(["pdfinfo", document.with_suffix(".pdf")], check=True, capture_output=True, text=True)
    return int(re.search(r"^Pages:\s+(\d+)", information.stdout, re.MULTILINE)[1])


class Contest:
    def __init__(self, program, folder):
        self.folder = folder
        self.template = folder / "peer.docx"
        peer_template.make(ROOT / "resources" / "template", self.template)
        self.program = program

    def commands(self, count):
        addresses = self.folder / f"{count}.txt"
        if not addresses.exists():
            addresses.write_text("".join(recipients(count)), encoding="utf-8")
        ours, peers = self.folder / "ours.docx", self.folder / "peers.docx"
        return {
            "ours": (ours, [self.program, "generate", str(addresses), "--output", str(ours), "--sender-name",
                            "Nadawca", "--sender-address", "ul. Prosta 1, 00-838 Warszawa"]),
            "peer": (peers, ["node", str(HERE / "fill.mjs"), str(self.template), str(addresses), str(peers)]),
        }

    def check_pages(self, count):
        for who, (output, command) in self.commands(count).items():
            measure(command)
            pages = printed_pages(output)
            if pages != -(-count // 10):
                sys.exit(f"{who}: {count} recipients took {pages} pages")

    def run(self, count):
        """The best of (seconds, MB) of alternating runs, by contestant."""
        runs = {}
        for _ in range(ROUNDS[count]):
            for who, (output, command) in self.commands(count).items():
                if who == "peer" and count > PEER_UP_TO:
                    continue
                output.unlink(missing_ok=True)
                runs.setdefault(who, []).append(measure(command))
        return {who: tuple(map(min, zip(*results))) for who, results in runs.items()}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", default=str(ROOT / "build" / "bench" / "bin" / "kopertal"))
    arguments = parser.parse_args()
    if not (HERE / "node_modules").exists():
        subprocess.run(["npm", "ci", "--ignore-scripts", "--no-audit", "--no-fund"], cwd=HERE, check=True)

    with tempfile.TemporaryDirectory() as folder:
        contest = Contest(arguments.program, pathlib.Path(folder))
        contest.check_pages(25)
        results = {count: contest.run(count) for count in ROUNDS}

    print(f"{'recipients':>10} {'ours':>9} {'peer':>9} {'ratio':>6} {'ours':>9} {'peer':>9}")
    for count, result in results.items():
        (seconds, memory), (peer_seconds, peer_memory) = result["ours"], result.get("peer", (None, None))
        peers = f"{peer_seconds:8.3f}s {peer_seconds / seconds:6.1f}" if peer_seconds else f"{'–':>9} {'–':>6}"
        print(f"{count:10} {seconds:8.3f}s {peers} {memory:7.0f}MB " + (f"{peer_memory:7.0f}MB" if peer_memory else ""))

    print()
    for count, mark in ((1_000, 8), (10_000, 4.5)):
        (seconds, _), (peer_seconds, _) = results[count]["ours"], results[count]["peer"]
        record(f"generate, {count // 1000} 000 recipients, whole process", seconds, "s", reference=PEER,
               reference_figure=peer_seconds, ratio=peer_seconds / seconds, relation=">=", mark=mark)
    (seconds, megabytes), (more, most) = results[10_000]["ours"], results[100_000]["ours"]
    record("generate, 10 000 recipients, peak memory", megabytes, "MB", reference=PEER,
           reference_figure=results[10_000]["peer"][1], relation="<=", mark=300)
    record("generate, 100 000 recipients", more, "s", reference="10 000", reference_figure=seconds,
           ratio=more / seconds, relation="<=", mark=13)
    record("generate, 100 000 recipients, peak memory", most, "MB", reference="10 000", reference_figure=megabytes,
           ratio=most / megabytes, relation="<=", mark=11)


if __name__ == "__main__":
    main()
