"""qmicli on the cards and slots, beside the library."""
import re

import pytest

from harness.module import Module
from harness.qmi import Program, fields, qmicli, vekctl
from harness.wait import wait_for

SCENARIO = """
[sim.delays]
slot = 5
absent = 5
detected = 5
ready = 5
[sim.slot1]
iccid = "8944000000001234567"
imsi = "262021122334455"
applications = ["isim", "usim"]
"""


@pytest.fixture
def module():
    with Module(SCENARIO) as running:
        yield running


def ready(module, slot):
    wait_for(lambda: module.ctl("sim", "status")["slots"][slot - 1]["state"] == "ready", what="the card has started")


def slots(module):
    """The physical slots, each as a dictionary of what qmicli shows of it."""
    shown = qmicli(module, "--uim-get-slot-status").stdout
    return [fields(part) for part in re.split(r"Physical slot \d:", shown)[1:]]


def test_the_slots_and_a_switch_that_both_see(module):
    first, second = slots(module)
    assert (first["Card status"], first["Slot status"], first["Logical slot"]) == ("present", "active", "1")
    assert (first["ICCID"], first["Num apps"], first["Is eUICC"]) == ("8944000000001234567", "2", "no")
    assert (second["Slot status"], second["Is eUICC"]) == ("inactive", "yes")
    assert second["EID"] == "89001012000000000000000000123437"

    assert "Successfully switched slots" in qmicli(module, "--uim-switch-slot=2").stdout
    ready(module, 2)
    assert [slot["Slot status"] for slot in slots(module)] == ["inactive", "active"]
    assert vekctl(module, "sim", "slot")[1] == {"slot": 2}
    assert vekctl(module, "sim", "switch", "1")[1]["slot"] == 1
    assert [slot["Slot status"] for slot in slots(module)] == ["active", "inactive"]
    refused = qmicli(module, "--uim-switch-slot=3", check=False)
    assert "physical slot 3 is unavailable" in refused.stderr

    module.ctl("sim", "remove", 1)
    assert slots(module)[0]["Card status"] == "absent"


def test_the_card_and_its_applications(module):
    shown = qmicli(module, "--uim-get-card-status").stdout
    assert "Primary GW:   slot '1', application '2'" in shown
    assert "Card state: 'present'" in shown
    assert re.findall(r"Application type: +'(.*)'", shown) == ["isim (5)", "usim (2)"]
    assert "A0:00:00:00:87:10:02:FF:44:FF:12:89:00:00:01:00" in shown
    module.ctl("sim", "remove", 1)
    shown = qmicli(module, "--uim-get-card-status").stdout
    assert "Card state: 'absent'" in shown
    assert shown.count("session doesn't exist") == 4


@pytest.mark.parametrize(
    "path, content",
    [
        ("0x3F00,0x7FFF,0x6F07", "08:29:26:20:11:22:33:44:55"),
        ("0x3F00,0x7F20,0x6F07", "08:29:26:20:11:22:33:44:55"),
        ("0x3F00,0x2FE2", "98:44:00:00:00:00:21:43:65:F7"),
        ("0x3F00,0x7FFF,0x6FAD", "00:00:00:02"),
    ],
)
def test_files(module, path, content):
    shown = qmicli(module, f"--uim-read-transparent={path}").stdout
    assert "SW1: '0x90'" in shown and content in shown


def test_a_file_that_is_missing_or_locked(module):
    missing = qmicli(module, "--uim-read-transparent=0x3F00,0x7FFF,0x6F99", check=False)
    assert "QMI protocol error (80): 'SimFileNotFound'" in missing.stderr
    assert "SW1: '0x6a'" in missing.stdout + missing.stderr
    module.ctl("sim", "pin", 1, "required")
    locked = qmicli(module, "--uim-read-transparent=0x3F00,0x7FFF,0x6F07", check=False)
    assert "QMI protocol error (82): 'AccessDenied'" in locked.stderr


def test_the_pin_whoever_enters_it(module):
    module.ctl("sim", "pin", 1, "required", "4711")
    wait_for(lambda: module.ctl("sim", "status")["slots"][0]["state"] == "PIN required", what="the card has started")
    assert "pin1-or-upin-pin-required" in qmicli(module, "--uim-get-card-status").stdout
    wrong = qmicli(module, "--uim-verify-pin=PIN1,0000", check=False)
    assert "QMI protocol error (12): 'IncorrectPin'" in wrong.stderr
    counts = fields(wrong.stdout + wrong.stderr)
    assert (counts["Verify"], counts["Unblock"]) == ("2", "10")
    assert "PIN verified successfully" in qmicli(module, "--uim-verify-pin=PIN1,4711").stdout
    assert vekctl(module, "sim", "status")[1]["status"] == 7
    assert "NoEffect" in qmicli(module, "--uim-verify-pin=PIN1,4711", check=False).stderr


def test_protection_change_and_unblocking_of_a_pin(module):
    def pin_state():
        return module.ctl("sim", "status")["slots"][0]["pin"]["state"]

    qmicli(module, "--uim-set-pin-protection=PIN1,enable,1234")
    assert pin_state() == "verified"
    qmicli(module, "--uim-change-pin=PIN1,1234,5555")
    qmicli(module, "--uim-sim-power-off=1")
    qmicli(module, "--uim-sim-power-on=1")
    wait_for(lambda: module.ctl("sim", "status")["slots"][0]["state"] == "PIN required", what="the card has started")
    for _ in range(3):
        assert "IncorrectPin" in qmicli(module, "--uim-verify-pin=PIN1,1234", check=False).stderr, "it was changed"
    assert "PinBlocked" in qmicli(module, "--uim-verify-pin=PIN1,5555", check=False).stderr
    assert vekctl(module, "sim", "status")[1]["status"] == 3
    wrong = qmicli(module, "--uim-unblock-pin=PIN1,00000000,6666", check=False)
    assert fields(wrong.stdout + wrong.stderr)["Unblock"] == "9"
    qmicli(module, "--uim-unblock-pin=PIN1,12345678,6666")
    assert vekctl(module, "sim", "status")[1]["status"] == 7
    qmicli(module, "--uim-set-pin-protection=PIN1,disable,6666")
    assert pin_state() == "disabled"


def test_the_power_of_a_card(module):
    assert "Successfully performed SIM power off" in qmicli(module, "--uim-sim-power-off=1").stdout
    assert "Card state: 'error: power-down" in qmicli(module, "--uim-get-card-status").stdout
    assert vekctl(module, "sim", "status")[1]["status"] == 0
    assert "Successfully performed SIM power on" in qmicli(module, "--uim-sim-power-on=1").stdout
    ready(module, 1)


def test_a_monitor_hears_of_every_change(module):
    monitor = Program(module, "qmicli", "-d", "/dev/cdc-wdm0", "--device-open-qmi", "-p", "--uim-monitor-slot-status")
    wait_for(lambda: [c for c in module.ctl("modem", "clients") if c["service"] == "UIM" and c["events"]], what="it has registered")
    module.ctl("sim", "remove", 1)
    monitor.wait_line("Received slot status indication")
    monitor.wait_line("Card status: absent")
    vekctl(module, "sim", "switch", "2")
    monitor.wait_line("Received slot status indication")
    monitor.wait_line("Slot status: inactive")
    monitor.stop()
