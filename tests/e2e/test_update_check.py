"""The update check as a user starts it: the settings window's button, the program's own
request over the wire, the answer in its window."""

import contextlib

import pytest

from harness import webserver
from harness.waiting import wait_until
from harness.webserver import hang, redirect, reply, send

# The deployment value of the build that ships; see docs/building.md.
HOST = b"updates.velmora2.invalid"
UPDATES_BUTTON, REPLY, LINK, CLOSE, CANCEL = 1095, 1123, 1124, 1, 2
WM_COMMAND = 0x0111

UNABLE = "Unable to query the internet for an update. Code: "
FOUND = "An update was found!  Please click the link below to visit the download page."
PAGE = b"<html><head><title>Error</title></head><body><h1>Out of order</h1></body></html>"
ADDRESS = "http://example.invalid/get"
LINK_TAG = f"<link>{ADDRESS}</link>".encode()
LONG = b"x" * 2_500_000


@pytest.fixture
def server():
    made = webserver.WebServer()
    yield made
    made.close()


class Settings:
    """The settings window of a program that asks `host` for updates."""

    def __init__(self, desktop, host):
        self.hand = desktop.hand
        redirect(desktop.install / "Velmora2.exe", HOST, host)
        self.run = desktop.start(program="Velmora2.exe")
        self.window = self.hand.wait_for_box("Velmora 2  v 1.0", alive=self.run.ended)["hwnd"]

    def post(self, window, command):
        self.hand.ask("post", window, WM_COMMAND, command, 0)

    def controls(self, window):
        return {child["id"]: child for child in self.hand.children(window)}

    @contextlib.contextmanager
    def check(self):
        """The update window; gone at the end."""
        self.post(self.window, UPDATES_BUTTON)
        box = self.hand.wait_for_box("Checking for Updates", alive=self.run.ended)["hwnd"]
        yield box
        wait_until("the update window is gone",
                   lambda: box not in [b["hwnd"] for b in self.hand.boxes()],
                   alive=self.run.ended)

    def answer(self):
        """What a check shows as its message and its link."""
        with self.check() as box:
            wait_until("an answer", lambda: self.controls(box)[REPLY]["visible"],
                       alive=self.run.ended)
            controls = wait_until(
                "the answer's text",
                lambda: (shown := self.controls(box))[REPLY]["text"] and shown,
                alive=self.run.ended)
            assert controls[CLOSE]["visible"] and not controls[CANCEL]["visible"]
            self.post(box, CLOSE)
            if controls[LINK]["text"]:
                self.hand.answer_box(self.hand.wait_for_box("Are you sure?"), 6)
        return controls[REPLY]["text"], controls[LINK]["text"]


ANSWERS = {
    "no update": (send(reply(b"<msg>You have the latest version.</msg>")),
                  "You have the latest version.", ""),
    "an update": (send(reply(LINK_TAG)), FOUND, ADDRESS),
    "an update with a text": (send(reply(LINK_TAG + b"<msg>New!</msg>")), "New!", ADDRESS),
    "no web address": (send(reply(b"<link>calc.exe</link>")), FOUND, "calc.exe"),
    "nothing": (send(reply(b"")), UNABLE + "0", ""),
    "a page": (send(reply(PAGE)), UNABLE + "0", ""),
    "status 500": (send(reply(PAGE, "500 Internal Server Error")), UNABLE + "0", ""),
    "pieces": (send(b"HTTP/1.0 200 OK\r\n\r\n", b"<m", b"sg>in pie", b"ces</msg", b">", pause=0.2),
               "in pieces", ""),
    "five megabytes": (send(reply(LONG + b"<msg>found</msg>" + LONG)), "found", ""),
    "a NUL": (send(reply(b"<msg>before</msg>\0<msg>behind</msg>")), "before", ""),
    "cut off": (send(b"HTTP/1.0 200 OK\r\nContent-Length: 500\r\n\r\n<msg>half a sen"),
                "half a sen", ""),
}


def test_answers_of_all_kinds(desktop, server):
    settings = Settings(desktop, server.host)
    shown = {}
    for name, (answer, _, _) in ANSWERS.items():
        server.answer = answer
        shown[name] = settings.answer()
    assert shown == {name: (message, link) for name, (_, message, link) in ANSWERS.items()}
    assert settings.run.running()


def test_the_question_over_the_wire(desktop, server):
    Settings(desktop, server.host).answer()
    assert len(server.requests) == 1
    head, _, body = server.requests[0].partition(b"\r\n\r\n")
    line, *headers = head.decode().split("\r\n")
    assert line == "POST /updates/velmora2_update.php HTTP/1.0"
    assert sorted(headers) == [
        "Accept: */*", "Cache-Control: no-cache", "Content-Length: 14",
        "Content-Type: application/x-www-form-urlencoded", f"Host: {server.host}",
        "User-Agent: CHTTPRequest Client"]
    assert body == b"version=1.0\r\n\0"


# Whether the system sees an error or just an end depends on its timing.
def test_a_connection_that_breaks_is_a_failure(desktop, server):
    server.answer = webserver.break_off
    message, link = Settings(desktop, server.host).answer()
    assert message.startswith(UNABLE)
    assert link == ""


def test_without_a_server_the_failure_is_told(desktop, server):
    server.close()
    message, link = Settings(desktop, server.host).answer()
    assert message.startswith(UNABLE) and message != UNABLE + "0"
    assert link == ""


def test_a_server_that_never_answers_can_be_left(desktop, server):
    server.answer = hang
    settings = Settings(desktop, server.host)
    with settings.check() as box:
        wait_until("the request", lambda: server.requests, alive=settings.run.ended)
        settings.post(box, CANCEL)
    # The program goes on as if nothing had been, with the late worker behind it.
    server.answer = send(reply(b"<msg>now</msg>"))
    assert settings.answer() == ("now", "")
    server.close()
    settings.post(settings.window, CANCEL)
    assert settings.run.wait_end() == 0
