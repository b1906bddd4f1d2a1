"""Waiting for events. Nothing here sleeps a fixed time and hopes."""

import os
import time

# How often its limit each wait may last; what comes in time doesn't wait longer for it.
PATIENCE = float(os.environ.get("VELMORA_TEST_PATIENCE", "4"))


class TooLate(AssertionError):
    """What was waited for didn't happen within a generous limit."""


def wait_until(what, condition, seconds=30.0, step=0.02, alive=None):
    """The first true result of `condition()`. `what` says it in words.

    `alive()` may tell that waiting is in vain: it returns a text then, and
    None while all is well.
    """
    limit = time.monotonic() + seconds * PATIENCE
    while True:
        result = condition()
        if result:
            return result
        reason = alive() if alive else None
        if reason:
            result = condition()  # it may have come just before the end
            if result:
                return result
            raise TooLate(f"{what}: {reason}")
        if time.monotonic() > limit:
            raise TooLate(f"{what}: not within {seconds * PATIENCE:.0f} s")
        time.sleep(step)
