"""Waiting for a refresh of the modem's configuration that completes."""
import time

from harness.qmi import Program, trace, vekctl
from harness.wait import wait_for


def test_the_wait_ends_with_the_refresh_and_not_with_its_start(module):
    waiting = Program(module, "vekctl", "--json", "modem", "wait-refresh")
    wait_for(lambda: trace(module, message="PDC_INDICATION_REGISTER", type="response"), what="it has registered")
    assert module.ctl("refresh", "start")["told"] == 1
    time.sleep(0.2)
    assert waiting.process.popen.poll() is None and not waiting.process.has_output()
    module.ctl("refresh", "complete")
    waiting.wait_line('"refresh":"complete"')
    assert waiting.process.popen.wait(10) == 0
