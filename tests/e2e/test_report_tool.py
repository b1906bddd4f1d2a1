"""The report tool: what it waits for, what it shows, and what it sends."""

import base64
import os
import re
import resource
import shutil
import struct
import time

import pytest

from harness import places
from harness.deskhand import DeskHand
from harness.displays import settled
from harness.waiting import wait_until
from harness.webserver import WebServer, hang, redirect, reply, send

pytestmark = pytest.mark.display(width=640, height=560)

# The deployment value of the build that ships; see docs/building.md.
HOST = b"reports.velmora2.invalid"
TITLE, PREVIEW = "Velmora 2 error report", "What the report contains"
COMMENT, LOG, LOG_SIZE, DUMP, DUMP_SIZE, TOTAL = 1002, 1004, 1005, 1006, 1007, 1010
SHOW, STATUS, ANSWER, LINK, TEXT = 1011, 1012, 1013, 1014, 1015
SEND, CANCEL = 1, 2
FAILED = ("The error report was not able to be sent over the internet.  You may not be connected "
          "or may be behind a firewall.")
OLDER = ("It appears that there is a newer version of the software available that may address the "
         "issue you have experienced.  To visit the download page for the newest version, please "
         "click the link below.")
LOG_TEXT = b"---- Log begins on some day\0\r\nI Minimal[0001] Velmora 2 started.\r\n"


def dump_bytes(size=3000):
    """A dump with one stream, a comment, that fills it to a size."""
    head = struct.pack("<4sIIIIIQ", b"MDMP", 0xA793, 1, 32, 0, 0, 0)
    directory = struct.pack("<III", 10, size - 48, 44)
    return (head + directory).ljust(size, b"\x5a")


class Tool:
    """The tool in its surroundings: a user's folder, a server, a window."""

    def __init__(self, desktop):
        self.desktop, self.hand = desktop, desktop.hand
        self.folder = desktop.data_folder()
        self.folder.mkdir(parents=True, exist_ok=True)
        self.log_file = self.folder / "VelmoraLog.txt"
        self.dump_file = self.folder / "velmora_minidump.dmp"
        self.program = desktop.install / "ReportErr.exe"
        self.run = None

    def sends_to(self, host):
        redirect(self.program, HOST, host)

    def start(self, **options):
        self.run = self.desktop.start(program="ReportErr.exe", **options)
        return self.wait()

    def ended(self):
        return self.run.ended() if self.run else None

    def wait(self):
        self.window = wait_until(
            "the tool's window",
            lambda: [w for w in self.hand.windows("#32770", TITLE) if w["visible"]], 60,
            alive=self.ended)[0]["hwnd"]
        return self

    def is_open(self):
        return any(w["hwnd"] == self.window for w in self.hand.windows("#32770"))

    def controls(self):
        return {c["id"]: c for c in self.hand.children(self.window)}

    def text(self, control):
        return self.controls()[control]["text"]

    def wait_for_text(self, control, text):
        wait_until(f"the text {text!r}", lambda: text in self.text(control), 60, alive=self.ended)

    def press(self, control):
        button = self.controls()[control]
        assert button["visible"] and button["enabled"], control
        self.hand.ask("post", button["hwnd"], 0x00F5, 0, 0)  # BM_CLICK

    def move_mouse_to(self, control):
        left, top, right, bottom = self.controls()[control]["rect"]
        self.desktop.display.move_mouse((left + right) // 2, (top + bottom) // 2)

    def click(self, control):
        self.move_mouse_to(control)
        self.desktop.display.click()

    def enter_on(self, control):
        """Presses the Enter key while a control has the focus."""
        self.hand.ask("send", self.window, 0x0028, self.controls()[control]["hwnd"], 1)
        self.desktop.display.key("Return")

    def shot(self, control):
        """What the screen shows of a control."""
        left, top, right, bottom = self.controls()[control]["rect"]
        return settled(self.desktop.display)[top:bottom, left:right]

    def write(self, comment):
        self.click(COMMENT)
        self.desktop.display.xdotool("type", comment)
        wait_until("the comment", lambda: self.text(COMMENT) == comment, alive=self.ended)

    def whole_text(self):
        """What the tool says it would send, lines ended by one character."""
        self.press(SHOW)
        return self.close_preview()

    def close_preview(self):
        """Waits for the whole text, which it returns, and closes its window."""
        preview = wait_until("the whole text", lambda: self.hand.windows("#32770", PREVIEW), 60,
                             alive=self.ended)[0]
        text = next(c["text"] for c in self.hand.children(preview["hwnd"]) if c["id"] == TEXT)
        self.hand.ask("post", preview["hwnd"], 0x0111, CANCEL, 0)
        wait_until("the tool's own window", lambda: not self.hand.windows("#32770", PREVIEW))
        return text.replace("\r\n", "\n")

    def copies(self):
        """The folders that hold copies of log and dump."""
        return list(self.desktop.prefix.path.glob("drive_c/users/*/Temp/VelmoraReport*"))

    def leave(self):
        self.press(CANCEL)
        assert self.run.wait_end(60) == 0


@pytest.fixture
def tool(desktop):
    made = Tool(desktop)
    yield made
    made.hand.ask("end-programs", "ReportErr")


@pytest.fixture
def server(tool):
    made = WebServer()
    tool.sends_to(made.host)
    yield made
    made.close()


def answer(server, text):
    server.answer = send(reply(text.encode()))


def wait_for_report(server, tool):
    """The head and the body of the report that the server gets."""
    wait_until("a report", lambda: server.requests, 60, alive=tool.ended)
    head, _, body = server.requests[-1].partition(b"\r\n\r\n")
    return head.decode(), body


def fields(body):
    """The form as the server finds it."""
    form, _, dump = body.partition(b"&dumpData=")
    form, _, log = form.partition(b"&logData=")
    return form, log, dump


def test_report_is_sent_as_it_was_shown_and_only_when_told_to(tool, server):
    answer(server, "<status>4</status><link>http://127.0.0.83/new</link>")
    tool.log_file.write_bytes(LOG_TEXT)
    tool.dump_file.write_bytes(dump_bytes())
    tool.start()
    tool.write("It froze")
    shown = tool.whole_text()
    total = tool.text(TOTAL)
    assert not server.requests

    # The next start of the saver writes a new log; the report is about the old one.
    tool.log_file.write_bytes(b"another run")
    tool.dump_file.unlink()
    tool.press(SEND)
    head, body = wait_for_report(server, tool)
    assert head.startswith("POST /reports/velmora2_report.php HTTP/1.0")
    form, log, dump = fields(body)
    assert form == b"appName=Velmora 2 1.0&version=1.0&comments=It froze"
    assert log == LOG_TEXT.replace(b"\0", b" ")
    assert base64.b64decode(dump.replace(b"\n", b"")) == dump_bytes()
    assert shown.encode("cp1252") == body.replace(b"\r\n", b"\n")
    assert total == f"{len(body) / 1024:.1f} KB in all, to {server.host}"

    tool.wait_for_text(ANSWER, OLDER)
    controls = tool.controls()
    assert controls[LINK]["visible"] and controls[LINK]["enabled"]
    assert controls[LINK]["text"] == "http://127.0.0.83/new"
    assert not controls[SEND]["visible"] and controls[CANCEL]["text"] == "Close"
    tool.leave()
    assert len(server.requests) == 1
    assert not tool.copies()


def test_enter_presses_the_button_that_has_the_focus(tool, server):
    tool.log_file.write_bytes(LOG_TEXT)
    tool.start().write("x")
    tool.enter_on(SHOW)
    tool.close_preview()
    tool.enter_on(CANCEL)
    assert tool.run.wait_end(60) == 0
    assert not server.requests
    tool.start().write("x")
    tool.enter_on(SEND)
    wait_for_report(server, tool)
    tool.wait_for_text(ANSWER, "Thank you")
    tool.desktop.display.key("Return")
    assert tool.run.wait_end(60) == 0
    assert len(server.requests) == 1


def test_enter_presses_cancel_while_the_report_is_being_sent(tool, server):
    server.answer = hang
    tool.log_file.write_bytes(LOG_TEXT)
    tool.start().write("x")
    tool.enter_on(LOG)  # no button: so it is the one that stands out
    wait_for_report(server, tool)
    tool.desktop.display.key("Return")
    assert tool.run.wait_end(60) == 0


@pytest.fixture
def browser(tool, tmp_path):
    """Links that were opened so far, once all that were asked for are."""
    script, seen = tmp_path / "browser.sh", tmp_path / "seen"
    script.write_text(f'#!/bin/sh\necho "$@" >> {seen}\n')
    script.chmod(0o755)
    tool.hand.set_text("HKCU", r"Software\Wine\WineBrowser", "Browsers", str(script))

    def opened():
        wait_until("a link", seen.exists, 60)
        wait_until("the system's starter of browsers has ended",
                   lambda: tool.hand.value("count-programs", "winebrowser") == 0, 60)
        return seen.read_text().splitlines()

    yield opened
    tool.hand.delete_tree("HKCU", r"Software\Wine\WineBrowser")


def start_and_get(tool, server, link):
    """Has the server answer with a link."""
    answer(server, f"<msg>Look here.</msg><link>{link}</link>")
    tool.start().press(SEND)
    tool.wait_for_text(ANSWER, "Look here.")
    return tool


def test_link_of_the_answer_opens_in_the_browser(tool, server, browser):
    start_and_get(tool, server, "http://127.0.0.83/page?x=1&y=2").press(LINK)
    assert browser() == ["http://127.0.0.83/page?x=1&y=2"]


def test_double_click_on_the_link_opens_it_once(tool, server, browser):
    start_and_get(tool, server, "http://127.0.0.83/page")
    left, top, _, bottom = tool.controls()[LINK]["rect"]
    tool.desktop.display.move_mouse(left + 20, (top + bottom) // 2)
    tool.desktop.display.xdotool("click", "--repeat", 2, "--delay", 30, 1)
    browser()
    tool.leave()
    assert browser() == ["http://127.0.0.83/page"]


def test_ampersand_in_a_link_is_shown_and_makes_no_key_of_the_next_letter(tool, server, browser):
    start_and_get(tool, server, "http://127.0.0.83/p?x=1y=2")
    without = tool.shot(LINK)
    tool.leave()
    start_and_get(tool, server, "http://127.0.0.83/p?x=1&y=2").click(ANSWER)
    assert (tool.shot(LINK) != without).any()
    tool.desktop.display.key("alt+y")
    tool.desktop.display.key("Return")  # on "Close"
    assert tool.run.wait_end(60) == 0
    start_and_get(tool, server, "http://127.0.0.83/last").press(LINK)
    assert browser() == ["http://127.0.0.83/last"]


@pytest.mark.parametrize("link", ["C:\\windows\\notepad.exe", "file:///etc/passwd"])
def test_link_that_is_no_web_address_cannot_be_opened(tool, server, link):
    start_and_get(tool, server, link)
    assert not tool.controls()[LINK]["enabled"]


def test_parts_that_the_user_takes_out_are_not_sent(tool, server):
    tool.log_file.write_bytes(LOG_TEXT)
    tool.dump_file.write_bytes(dump_bytes())
    tool.start()
    for box, size in ((LOG, LOG_SIZE), (DUMP, DUMP_SIZE)):
        tool.press(box)
        tool.wait_for_text(size, "left out")
    tool.press(SEND)
    _, body = wait_for_report(server, tool)
    assert body == b"appName=Velmora 2 1.0&version=1.0&comments="
    tool.wait_for_text(ANSWER, "Thank you for sending this error report.")
    assert not tool.controls()[LINK]["visible"]


def test_report_that_cannot_be_sent_is_kept_and_may_be_tried_again(tool, server):
    server.close()
    tool.start()
    tool.write("Twice")
    tool.press(SEND)
    tool.wait_for_text(STATUS, FAILED)
    assert tool.text(SEND) == "&Try again"
    again = WebServer(server.host)
    try:
        tool.press(SEND)
        assert wait_for_report(again, tool)[1].endswith(b"comments=Twice")
        tool.wait_for_text(ANSWER, "Thank you")
    finally:
        again.close()


def test_user_may_leave_while_the_report_is_being_sent(tool, server):
    server.answer = hang
    tool.start().press(SEND)
    wait_for_report(server, tool)
    assert tool.text(STATUS) == "Sending the report..."
    assert not tool.controls()[SEND]["enabled"]
    tool.press(CANCEL)
    wait_until("the window is gone", lambda: not tool.is_open())
    assert tool.run.wait_end(60) == 0


def test_cancel_stops_a_report_that_is_on_its_way(tool, server):
    """Of one that is larger than what the system takes from the tool ahead."""
    tool.dump_file.write_bytes(dump_bytes(24 << 20))
    server.reading.clear()
    tool.start().press(SEND)
    wait_until("the report's beginning", lambda: server.begun, 120, alive=tool.ended)
    tool.press(CANCEL)
    wait_until("the window is gone", lambda: not tool.is_open(), 60)
    server.reading.set()
    assert tool.run.wait_end(60) == 0
    wait_until("the report's end", lambda: server.requests, 60)
    head, _, body = server.requests[0].partition(b"\r\n\r\n")
    assert len(body) < int(re.search(rb"Content-Length: (\d+)", head)[1])
    assert not tool.copies()


def limit_files():
    """No file of the process grows beyond this many bytes, as on a full disk."""
    resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))


def test_full_disk_costs_the_report_its_dump_and_the_user_is_told(tool, server):
    """Neither copies of log and dump can be made nor the dump's text, which has to go
    through a file."""
    log = LOG_TEXT.ljust(6000, b"x")
    tool.log_file.write_bytes(log)
    tool.dump_file.write_bytes(dump_bytes(9000))
    # Python ignores the signal that comes with a write beyond the limit; so must the tool.
    tool.start(restore_signals=False, preexec_fn=limit_files)
    assert tool.text(LOG_SIZE) == "5.9 KB" and tool.text(DUMP_SIZE) == "11.9 KB"
    tool.press(SEND)
    _, body = wait_for_report(server, tool)
    assert fields(body) == (b"appName=Velmora 2 1.0&version=1.0&comments=",
                            log.replace(b"\0", b" "), b"")
    tool.wait_for_text(ANSWER, "Thank you")
    assert tool.text(STATUS) == ("The crash dump couldn't be added to the report. "
                                 "Is the disk full?")
    assert tool.controls()[STATUS]["visible"]


def test_tool_that_crashes_ends_without_a_box_and_may_be_started_anew(tool, server):
    """Its worker waits for an answer and crashes when the connection ends; Wine would
    show its box."""
    server.answer = hang
    tool.log_file.write_bytes(LOG_TEXT)
    tool.dump_file.write_bytes(dump_bytes())
    tool.start().press(SEND)
    wait_for_report(server, tool)
    process = next(w["pid"] for w in tool.hand.windows("#32770", TITLE))
    main = tool.hand.value("window-thread", tool.window)
    worker, = set(tool.hand.ask("threads-from", process, "ReportErr.exe")) - {main}
    tool.hand.set_dword("HKCU", r"Software\Wine\WineDbg", "ShowCrashDialog", 1)
    try:
        tool.hand.ask("derail-waiting", worker, 0x10)
        server.close()
        assert tool.run.wait_end(60) != 0
        assert not tool.hand.boxes()
    finally:
        tool.hand.set_dword("HKCU", r"Software\Wine\WineDbg", "ShowCrashDialog", 0)
    left_behind, = tool.copies()
    tool.start()
    tool.wait_for_text(DUMP_SIZE, " KB")
    assert tool.log_file.read_bytes() == LOG_TEXT
    own, = tool.copies()
    assert own != left_behind
    tool.leave()
    assert not tool.copies()


def test_user_may_leave_at_once_and_nothing_is_sent(tool, server):
    tool.start().leave()
    assert not server.requests


@pytest.fixture
def starter(tool):
    """A program under the saver's name that starts the tool, as a crash does."""
    program = tool.desktop.install / "Velmora2.exe"
    shutil.copy2(places.deskhand(), program)
    hand = DeskHand(tool.desktop.prefix, program)
    yield hand
    hand.close()


def start_after_crash(tool, starter):
    starter.ask("start-program", tool.desktop.prefix.windows_path(tool.program))
    return tool.wait()


def test_tool_waits_for_the_dump_of_its_crash_and_passes_an_older_one_over(tool, starter):
    tool.dump_file.write_bytes(dump_bytes(2000))
    an_hour_ago = time.time() - 3600
    os.utime(tool.dump_file, (an_hour_ago, an_hour_ago))
    start_after_crash(tool, starter)
    assert tool.text(DUMP_SIZE) == "being written..."
    assert not tool.controls()[SEND]["enabled"]
    assert tool.controls()[CANCEL]["enabled"]
    tool.dump_file.write_bytes(dump_bytes(9000))
    tool.wait_for_text(DUMP_SIZE, " KB")
    assert tool.text(DUMP_SIZE) == "11.9 KB"
    assert tool.controls()[SEND]["enabled"]


def test_tool_goes_on_without_a_dump_once_the_crashed_program_has_ended(tool, starter):
    tool.dump_file.write_bytes(dump_bytes(9000)[:5000])
    start_after_crash(tool, starter)
    assert tool.text(DUMP_SIZE) == "being written..."
    tool.hand.ask("end-process", starter.pid)
    tool.wait_for_text(DUMP_SIZE, "there is none")
    assert not tool.controls()[DUMP]["enabled"]
    assert tool.controls()[SEND]["enabled"]
