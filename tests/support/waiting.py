"""What every test that drives other programs needs."""

import time

PATIENCE = 60


def wait_for(condition, what, seconds=PATIENCE):
    """Polls until the condition holds and returns its value; fails the test after a while."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise AssertionError(f"waited {seconds} s in vain for {what}")
