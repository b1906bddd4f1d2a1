"""Crashes: what is told, what is written, what the next start finds.

A crash is made from outside, as by a debugger: a thread of the running program
is made to go on at an address where there is no code.
"""

import contextlib

import pytest

from harness import bundles, pictures, sound
from harness.integrity import WholeInstallation
from harness.minidump import Minidump
from harness.saver import SETTINGS_KEY
from harness.waiting import wait_until
from harness.webserver import WebServer, hang, redirect

pytestmark = pytest.mark.display(width=320, height=240)

NOWHERE = 0x10
ACCESS_VIOLATION, STACK_OVERFLOW, ABORTED = 0xC0000005, 0xC00000FD, 0xE0000002
CALL_OF_ITSELF = "e8fbffffff"  # a subroutine that does nothing else
SETTINGS_TITLE, ABOUT_TITLE = "Velmora 2  v 1.0", "About Velmora 2  v 1.0"
ABOUT_BUTTON, UPDATES_BUTTON = 1049, 1095
UPDATES_HOST = b"updates.velmora2.invalid"  # of the build that ships
WM_NULL, WM_COMMAND = 0, 0x0111
TOOL, TOOL_TITLE = "ReportErr.exe", "Velmora 2 error report"
DUMP_SIZE, SEND = 1007, 1  # controls of the tool
DAMAGED = (
    "The screensaver has encountered an error and has found that one or\n"
    "more of the screensaver files appears to have been corrupted.\n\n"
    "It is strongly advised that you re-install the screensaver.")
VERSIONS_KEY = r"Software\Wine\AppDefaults\Velmora2.scr"


class Stage:
    """An installed show that is about to crash."""

    def __init__(self, desktop, shown):
        self.desktop, self.hand, self.shown = desktop, desktop.hand, shown
        desktop.slides(shown)
        self.files = WholeInstallation(desktop)
        self.dump_file = desktop.data_folder() / "velmora_minidump.dmp"

    def start(self, *arguments, **settings):
        self.desktop.settings(**{"ImageDelay": "60.000000", **settings})
        self.run = self.desktop.start("/s", *arguments)
        return self.run

    def window(self):
        return self.hand.windows("VelmoraSaver")[0]

    def derail(self, module, address, main):
        """Has a thread go on at `address` while it is in a module's own code: a
        crash amid the system's could leave a lock behind that the dump needs."""
        window = self.window()
        thread = self.hand.value("window-thread", window["hwnd"])
        return self.hand.value("derail-in", window["pid"], module, address, thread, int(main))

    def open_settings(self, program="Velmora2.scr"):
        """The settings window."""
        self.run = self.desktop.start("/c", program=program)
        return self.hand.wait_for_box(SETTINGS_TITLE, alive=self.run.ended)

    def derail_waiting_thread(self, window):
        """Has a window's thread go on nowhere once it is woken."""
        thread = self.hand.value("window-thread", window["hwnd"])
        self.hand.ask("derail-waiting", thread, NOWHERE)
        self.hand.ask("post", window["hwnd"], WM_NULL, 0, 0)
        return thread

    def derail_main_thread(self, address=NOWHERE):
        return self.derail("Velmora2.scr", address, True)

    def derail_other_thread(self, module):
        return self.derail(module, NOWHERE, False)

    def wait_quiet_end(self):
        """The process ends without a box, and leaves the next start nothing."""
        assert self.run.wait_end(60) != 0
        assert [b for b in self.hand.boxes() if b["text"] != TOOL_TITLE] == []
        self.assert_nothing_left()

    def assert_nothing_left(self):
        assert [self.desktop.setting_dword(n) for n in ("CriticalError", "CrashFlag")] == [0, 0]
        assert self.hand.value("take-mutex", "VelmoraSaver", 0) in (0, 0x80), "the mutex is free"
        self.hand.ask("release-mutex")

    def tools(self):
        return self.hand.value("count-programs", TOOL)

    def dump(self):
        return Minidump(self.dump_file.read_bytes())

    def wait_for_tool(self):
        """The tool runs on once the program has ended; its controls."""
        assert self.tools() == 1
        window = wait_until("the tool's window", lambda: [
            w for w in self.hand.windows("#32770", TOOL_TITLE) if w["visible"]], 60)[0]
        return {c["id"]: c for c in self.hand.children(window["hwnd"])}

    def stored(self):
        """All that the registry has of the user's settings, but for the flags of runs."""
        hand, flags = self.hand, {"CrashFlag", "CriticalError", "DoChecksum"}
        return {name: hand.get_raw("HKCU", SETTINGS_KEY, name)
                for name in hand.value_names("HKCU", SETTINGS_KEY) if name not in flags}

    def assert_reported(self, thread, code=ACCESS_VIOLATION, program="Velmora2.scr"):
        """The tool runs, and the dump tells where that thread was."""
        assert self.tools() == 1
        dump = self.dump()
        assert (dump.thread_id, dump.code) == (thread, code)
        if code == ACCESS_VIOLATION:
            assert (dump.address, dump.eip) == (NOWHERE, NOWHERE)
        crashed = dump.thread()
        assert crashed.stack, "its stack is in the dump"
        ours = dump.module(program)
        assert ours.path == self.desktop.prefix.windows_path(self.desktop.install / program)
        assert ours.size > 100000
        return dump


@pytest.fixture
def stage(desktop, four_pictures):
    made = Stage(desktop, four_pictures)
    yield made
    made.hand.ask("end-programs", TOOL)
    made.files.remove()


def test_crash_on_the_main_thread_is_dumped_and_offered_for_a_report(stage, four_pictures):
    stage.start().wait_for_show()
    assert stage.desktop.setting_dword("DoChecksum") == 1
    thread = stage.derail_main_thread()
    stage.wait_quiet_end()
    dump = stage.assert_reported(thread)
    assert dump.thread().stack_start <= dump.esp
    wait_until("the tool has the dump",
               lambda: stage.wait_for_tool()[DUMP_SIZE]["text"].endswith(" KB"), 60)
    assert stage.wait_for_tool()[SEND]["enabled"]
    stage.hand.ask("end-programs", TOOL)
    run = stage.start().wait_for_show()
    assert not stage.hand.boxes(), "the crash has been told already"
    assert run.wait_for_picture(*four_pictures)
    assert run.quit() == 0
    assert stage.desktop.setting_dword("DoChecksum") == 0


def test_crash_on_the_loader_thread_is_dumped(stage):
    """The loader lives only while it decodes, so its pictures are large."""
    stage.desktop.slides([pictures.picture(f"{n}.jpg", 1600, 1200, n) for n in range(3)])
    stage.files = WholeInstallation(stage.desktop)
    stage.start(FastMode=0, Crossfade=1, ImageDelay="1.000000").wait_for_show()
    thread = stage.derail_other_thread("BTNexgenIPL32.dll")
    stage.wait_quiet_end()
    dump = stage.assert_reported(thread)
    assert len(dump.threads) > 1, "the main thread went on meanwhile"
    assert dump.module("BTNexgenIPL32.dll")


def test_crash_on_a_sound_thread_is_dumped(stage):
    server = sound.SoundServer()
    try:
        stage.desktop.prefix.environment.update(server.environment())
        stage.desktop.slide_file(bundles.slide_bundle(
            stage.shown, music=[("one.ogg", sound.tone(440, 5.0, ".ogg"))]))
        stage.files = WholeInstallation(stage.desktop)
        stage.start(PlayMusic=1, DefaultMusic=1).wait_for_show()
        thread = stage.derail_other_thread("fmod.dll")
        stage.wait_quiet_end()
        assert stage.assert_reported(thread).module("fmod.dll")
    finally:
        server.close()


def test_stack_overflow_is_dumped(stage):
    stage.start().wait_for_show()
    code = stage.hand.value("put-code", stage.window()["pid"], CALL_OF_ITSELF)
    thread = stage.derail_main_thread(code)
    stage.wait_quiet_end()
    dump = stage.assert_reported(thread, STACK_OVERFLOW)
    assert dump.eip == code
    assert len(dump.thread().stack) > 500_000, "all of its stack"


@pytest.mark.parametrize("inner", [None, (ABOUT_BUTTON, ABOUT_TITLE)], ids=["alone", "about box"])
def test_crash_while_the_settings_window_is_open_is_dumped(stage, inner):
    settings = window = stage.open_settings()
    if inner:
        stage.hand.ask("post", settings["hwnd"], WM_COMMAND, inner[0], 0)
        window = stage.hand.wait_for_box(inner[1], alive=stage.run.ended)
    before = stage.stored()
    thread = stage.derail_waiting_thread(window)
    stage.wait_quiet_end()
    stage.assert_reported(thread)
    assert stage.stored() == before
    stage.hand.ask("end-programs", TOOL)
    stage.open_settings()
    assert len(stage.hand.boxes()) == 1, "the crash has been told already"


def test_crash_on_the_update_checks_thread_is_dumped(stage):
    """The thread waits for an answer and crashes when the connection ends."""
    with contextlib.closing(WebServer()) as server:
        server.answer = hang
        redirect(stage.desktop.install / "Velmora2.exe", UPDATES_HOST, server.host)
        stage.files = WholeInstallation(stage.desktop)
        settings = stage.open_settings("Velmora2.exe")
        own = ("threads-from", settings["pid"], "Velmora2.exe")
        before = stage.hand.ask(*own)
        stage.hand.ask("post", settings["hwnd"], WM_COMMAND, UPDATES_BUTTON, 0)
        wait_until("the request", lambda: server.requests, alive=stage.run.ended)
        thread, = set(stage.hand.ask(*own)) - set(before)
        stage.hand.ask("derail-waiting", thread, NOWHERE)
    stage.wait_quiet_end()
    stage.assert_reported(thread, program="Velmora2.exe")


def test_call_of_abort_is_dumped_without_the_run_times_own_box(stage):
    stage.start().wait_for_show()
    thread = stage.derail_main_thread(stage.hand.value("function-address", "msvcrt.dll", "abort"))
    stage.wait_quiet_end()
    stage.assert_reported(thread, ABORTED)


def test_crash_with_damaged_files_is_told_and_not_reported(stage):
    run = stage.start().wait_for_show()
    stage.files.damage("fmod.dll")
    stage.derail_main_thread()
    box = stage.hand.wait_for_box("Velmora 2", alive=run.ended)
    assert box["message"] == DAMAGED
    stage.hand.answer_box(box)
    stage.wait_quiet_end()
    assert stage.tools() == 0
    assert not stage.dump_file.exists()


def test_crash_without_the_wish_to_report_leaves_nothing(stage):
    stage.start(ShowBugReport=0).wait_for_show()
    stage.derail_main_thread()
    stage.wait_quiet_end()
    assert stage.tools() == 0
    assert not stage.dump_file.exists()


def test_before_windows_xp_the_tool_starts_without_a_dump(stage):
    stage.hand.set_text("HKCU", VERSIONS_KEY, "Version", "win2k")
    try:
        stage.start().wait_for_show()
        assert "OS is Windows 2000" in stage.desktop.log()
        stage.derail_main_thread()
        stage.wait_quiet_end()
    finally:
        stage.hand.delete_tree("HKCU", VERSIONS_KEY)
    wait_until("the tool goes on without it",
               lambda: stage.wait_for_tool()[DUMP_SIZE]["text"] == "there is none", 60)
    assert not stage.dump_file.exists()


def test_without_the_systems_dump_library_the_tool_starts_without_a_dump(stage):
    overrides = stage.desktop.prefix.environment["WINEDLLOVERRIDES"]
    stage.desktop.prefix.environment["WINEDLLOVERRIDES"] = overrides + ";dbghelp="
    try:
        stage.start().wait_for_show()
        stage.derail_main_thread()
        stage.wait_quiet_end()
    finally:
        stage.desktop.prefix.environment["WINEDLLOVERRIDES"] = overrides
    wait_until("the tool goes on without it",
               lambda: stage.wait_for_tool()[DUMP_SIZE]["text"] == "there is none", 60)
    assert stage.dump_file.read_bytes() == b""
