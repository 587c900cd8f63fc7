import time


def wait_for(condition, timeout=10, what=""):
    """The first true value of condition(), asked often; fails after `timeout` seconds."""
    deadline = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {timeout} s: {what or condition}")
        time.sleep(0.01)
