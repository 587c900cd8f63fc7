"""A file of its own: this waits 70 s, beside everything else."""
import subprocess
import time


def test_an_interface_that_never_comes(module):
    module.ctl("network", "interface", "off")
    start = time.monotonic()
    process = module.start("vekctl", "-v", "data", "up", "--apn", "internet.example", stderr=subprocess.STDOUT)
    process.wait_line("fail to setup interface", timeout=100)
    assert process.popen.wait(10) == 1
    assert sum("wait rmnet_data0 setup" in line for line in process.lines) == 14
    assert 69 < time.monotonic() - start < 85
