"""What every test that drives other programs needs."""

import time

PATIENCE = 60


def wait_for(condition, what, seconds=PATIENCE):
    """Polls until the condition holds and returns its value; fails the test after a while. A condition
    that looks for a file which is not there does not hold: another program may be renaming it."""
    end = time.monotonic() + seconds
    missing = None
    while time.monotonic() < end:
        try:
            value = condition()
        except FileNotFoundError as error:
            value, missing = None, error
        if value:
            return value
        time.sleep(0.02)
    raise AssertionError(f"waited {seconds} s in vain for {what}") from missing
