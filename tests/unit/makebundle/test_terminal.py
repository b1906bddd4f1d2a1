"""MakeBundle on a terminal: the progress line is rewritten in place and gone at the end."""

import os
import pathlib
import pty
import re
import subprocess

FIXTURES = pathlib.Path(os.environ["MAKEBUNDLE_FIXTURES"])
PICTURES = 60  # so large that the work lasts well over the half second before the line shows


def run_on_terminal(arguments, cwd):
    """All that the program draws on a terminal of its own, and its exit code."""
    ours, theirs = pty.openpty()
    command = [os.environ["RUN_WINDOWS_PROGRAM"], os.environ["MAKEBUNDLE"]] + arguments
    process = subprocess.Popen(command, cwd=cwd, stdin=theirs, stdout=theirs, stderr=theirs)
    os.close(theirs)
    drawn = b""
    while True:
        try:
            piece = os.read(ours, 65536)
        except OSError:  # the last one on the other end has left
            break
        if not piece:
            break
        drawn += piece
    os.close(ours)
    return drawn.decode("utf-8"), process.wait()


def test_progress_line(tmp_path):
    pictures = tmp_path / "pictures"
    pictures.mkdir()
    for number in range(PICTURES):
        (pictures / f"{number}.jpg").symlink_to(FIXTURES / "large.jpg")
    drawn, status = run_on_terminal(["pack", "out.bdl", "--pictures", "pictures"], tmp_path)
    assert status == 0, drawn
    text = re.sub(r"\x1b\[[?0-9;]*[a-zA-Z]", "", drawn)
    steps = [int(step) for step in re.findall(rf"(\d+) of {PICTURES}: \d+\.jpg", text)]
    assert len(steps) > 1 and steps == sorted(steps)
    result = f"out.bdl: {PICTURES} pictures"
    assert result in text
    assert "\n" not in text[: text.index(result)], "the line stays where it is, and leaves no trace"
    assert f"of {PICTURES}:" not in text[text.index(result) :]
