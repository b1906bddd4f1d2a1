"""Where the numbers come from.

Memory, descriptors and threads are the kernel's. Handles are those of the Wine
server's tables, GDI objects those of the process's own table, USER objects those of
the desktop's table: `hand` counts them, since the system's calls for it say 0 here.
"""

import pathlib
import subprocess
import time

from .series import KILOBYTES, Gauge

HELD = 50  # of each kind, to see that the gauges see them


def _status(process, field):
    """A number of /proc/PID/status, kB for memory."""
    for line in pathlib.Path(f"/proc/{process}/status").read_text().splitlines():
        if line.startswith(field + ":"):
            return int(line.split()[1])
    raise KeyError(field)


def _open_files(process):
    return len(list(pathlib.Path(f"/proc/{process}/fd").iterdir()))


def process_folders():
    return [folder for folder in pathlib.Path("/proc").iterdir() if folder.name.isdigit()]


def processes_of(prefix):
    """The running processes of a Wine prefix, its server among them: [(id, name)]."""
    marker = f"WINEPREFIX={prefix.path}".encode()
    found = []
    for folder in process_folders():
        try:
            if marker in (folder / "environ").read_bytes().split(b"\0"):
                found.append((int(folder.name), (folder / "comm").read_text().strip()))
        except OSError:  # it has ended, or isn't ours to look into
            continue
    return found


def zombies(sessions):
    """How many ended processes of these sessions nobody has asked about."""
    count = 0
    for folder in process_folders():
        try:
            state, _, _, session = (folder / "stat").read_text().rpartition(")")[2].split()[:4]
        except (OSError, ValueError):
            continue
        count += state == "Z" and int(session) in sessions
    return count


def wine_server(prefix):
    return next(process for process, name in processes_of(prefix) if name.startswith("wineserver"))


def x_windows(display):
    """How many windows there are on the X server. Ctrl+C, which ends a run after this
    start, doesn't reach the program that counts them."""
    tree = subprocess.run(["xwininfo", "-root", "-tree"], env=display.environment(), check=True,
                          capture_output=True, text=True, start_new_session=True).stdout
    return sum(line.strip().startswith("0x") for line in tree.splitlines())


def _handles(hand, process=None):
    """Of one process, or of all."""
    return sum(p["handles"] for p in hand.ask("handles")
               if process is None or p["pid"] == process)


def check(hand, looks=20):
    """Raises unless the gauges count exactly what is made and given back, in one of some
    looks: a desktop that has just come up still makes something of its own."""
    for _ in range(looks):
        fault = _miscount(hand)
        if not fault:
            return
        time.sleep(0.5)
    raise RuntimeError(f"handles, GDI and USER objects can't be counted here: {fault}")


def _miscount(hand):
    """What the gauges say of things that are made and given back; None if it is right."""
    def look():
        return (_handles(hand, hand.pid), hand.value("gdi-objects", hand.pid),
                hand.value("user-objects"))
    hand.ask("hold", HELD)  # the system's own part of it is made once
    hand.ask("let-go")
    before = look()
    hand.ask("hold", HELD)
    held = look()
    hand.ask("let-go")
    after = look()
    if [h - b for h, b in zip(held, before)] == [HELD] * 3 and before == after:
        return None
    return f"{before}, with {HELD} more of each {held}, without them {after}"


def of_surroundings(desktop):
    """What outlives a program."""
    server, display = wine_server(desktop.prefix), desktop.display
    return [
        Gauge("Wine server's memory", KILOBYTES, 512, lambda: _status(server, "RssAnon")),
        Gauge("Wine server's files", read=lambda: _open_files(server)),
        Gauge("X server's memory", KILOBYTES, 1024,
              lambda: _status(display.process.pid, "RssAnon")),
        Gauge("X server's files", read=lambda: _open_files(display.process.pid)),
        Gauge("USER objects of the desktop", read=lambda: desktop.hand.value("user-objects")),
    ]


def of_program(desktop, host_process, process):
    """What a running program holds; its number on the host and in Windows."""
    hand = desktop.hand
    return [
        Gauge("memory", KILOBYTES, 1024, lambda: _status(host_process, "RssAnon")),
        Gauge("address space", KILOBYTES, 4096, lambda: _status(host_process, "VmSize")),
        Gauge("open files", read=lambda: _open_files(host_process)),
        Gauge("threads", read=lambda: _status(host_process, "Threads")),
        Gauge("handles", read=lambda: _handles(hand, process)),
        Gauge("GDI objects", read=lambda: hand.value("gdi-objects", process)),
    ]


def of_desktop_without_programs(desktop, sessions):
    """What is left of programs that have ended; `sessions` are theirs on the host."""
    prefix, hand = desktop.prefix, desktop.hand
    return [
        Gauge("handles of all processes", read=lambda: _handles(hand)),
        Gauge("Windows processes", allowance=0, read=lambda: len(hand.ask("handles"))),
        Gauge("host processes", allowance=0, read=lambda: len(processes_of(prefix))),
        Gauge("zombies", allowance=0, read=lambda: zombies(sessions)),
        Gauge("X windows", allowance=0, read=lambda: x_windows(desktop.display)),
        Gauge("files", allowance=0,
              read=lambda: sum(p.is_file() for p in prefix.folder.rglob("*"))),
    ]
