"""What processes take up, read from /proc: memory in MB, open descriptors, threads."""

import os
from pathlib import Path


def numbers(pid, file, *names):
    """The values of NAME: NUMBER lines of a file of the process."""
    lines = dict(line.split(":", 1) for line in Path(f"/proc/{pid}/{file}").read_text().splitlines() if ":" in line)
    return [int(lines[name].split()[0]) for name in names]


def usage(pid):
    """Nothing when the process has gone."""
    try:
        resident, threads = numbers(pid, "status", "VmRSS", "Threads")
        proportional, = numbers(pid, "smaps_rollup", "Pss")
        descriptors = len(list(Path(f"/proc/{pid}/fd").iterdir()))
    except (OSError, KeyError, ValueError):
        return None
    return {"resident": resident / 1024, "proportional": proportional / 1024, "descriptors": descriptors,
            "threads": threads}


def children(pid):
    try:
        tasks = list(Path(f"/proc/{pid}/task").iterdir())
        own = [int(child) for task in tasks for child in (task / "children").read_text().split()]
    except OSError:
        return []
    return own + [grandchild for child in own for grandchild in children(child)]


def having(mark):
    """The processes with that text in their environment."""
    found = []
    for folder in Path("/proc").iterdir():
        try:
            if folder.name.isdigit() and mark.encode() in (folder / "environ").read_bytes():
                found.append(int(folder.name))
        except OSError:
            pass
    return found


def nearest(name):
    """The process of that name that one of this process's ancestors has started."""
    ancestor = os.getpid()
    while ancestor > 1:
        for child in children(ancestor):
            if Path(f"/proc/{child}/comm").read_text().strip() == name:
                return child
        ancestor, = numbers(ancestor, "status", "PPid")
    raise LookupError(name)
