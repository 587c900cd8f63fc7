"""Waiting for a refresh of the modem's configuration that never completes: the longest wait there is."""
import time

from harness.qmi import vekctl


def test_the_wait_ends_after_ten_seconds(module):
    start = time.monotonic()
    status, answer, reason = vekctl(module, "modem", "wait-refresh", check=False)
    assert 10 <= time.monotonic() - start < 14
    assert (status, answer) == (1, None) and "within 10 s" in reason
