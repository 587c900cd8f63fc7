"""Cards that come and go, PINs, files, and the slots: through vekctl, and as the library's events."""
import json

import pytest

from harness.module import Module
from harness.qmi import Program, vekctl
from harness.wait import wait_for

QUICK = '[sim.delays]\nslot = 5\nabsent = 5\ndetected = 5\nready = 5\n'


class SimWatch:
    """`vekctl sim watch`: what a daemon hears."""

    def __init__(self, module):
        self.module = module
        self.program = Program(module, "vekctl", "--json", "sim", "watch")
        self.next()

    def next(self):
        return json.loads(self.program.process.next_line())

    def event(self):
        """The next event in one word or two: "plug-in", "status 1 ready"."""
        event = self.next()
        return event["event"] if event["event"] != "status" else f'status {event["slot"]} {event["meaning"]}'

    def events(self, count):
        return [self.event() for _ in range(count)]

    def stays_silent(self):
        """Nothing comes, up to a card error that is made here as the last event."""
        slot = self.module.ctl("sim", "status")["active_slot"]
        self.module.ctl("sim", "error", slot)
        assert self.event() == f"status {slot} no usable card"


@pytest.fixture
def quick():
    with Module(QUICK) as module:
        yield module


@pytest.fixture
def watch(quick):
    return SimWatch(quick)


def shown(module, *what):
    """What vekctl shows, or the complaint."""
    status, data, complaint = vekctl(module, "sim", *what, check=False)
    return data if status == 0 else complaint


def status(module):
    return shown(module, "status")["meaning"]


def test_a_card_in_the_first_slot_comes_and_goes(quick, watch):
    quick.ctl("sim", "remove", 1)
    assert watch.events(2) == ["plug-out", "status 1 no usable card"]
    assert status(quick) == "no usable card"
    assert "no identity" in shown(quick, "imsi")
    assert "no card number" in shown(quick, "iccid")
    quick.ctl("sim", "insert", 1)
    assert watch.events(2) == ["plug-in", "status 1 ready"]
    assert shown(quick, "imsi") == {"imsi": "001010123456789"}


def test_events_go_on_after_a_modem_restart_and_tell_what_was_missed(quick, watch):
    quick.ctl("modem", "stop")
    quick.ctl("sim", "remove", 1)
    quick.ctl("modem", "start")
    assert watch.events(2) == ["plug-out", "status 1 no usable card"]
    quick.ctl("sim", "insert", 1)
    assert watch.events(2) == ["plug-in", "status 1 ready"]


def test_a_pin_is_asked_for_and_three_wrong_ones_block_it(quick, watch):
    quick.ctl("sim", "pin", 1, "required", "4711")
    assert watch.events(2) == ["status 1 no usable card", "status 1 PIN required"]
    assert "wants its PIN" in shown(quick, "imsi")
    assert "does not take this PIN" in shown(quick, "verify-pin", "0000")
    assert shown(quick, "verify-pin", "4711") == {"pin": "accepted"}
    assert watch.event() == "status 1 ready"
    assert shown(quick, "reset", "1") == {"reset": 1}
    assert watch.events(2) == ["status 1 no usable card", "status 1 PIN required"], "without power the card forgets"
    for tries_left in (2, 1, 0):
        complaint = vekctl(quick, "-v", "sim", "verify-pin", "0000", check=False)[2]
        assert f"verify PIN failed, {tries_left} tries left" in complaint
    assert watch.event() == "status 1 PUK required"
    assert "resp.error=35" in vekctl(quick, "-v", "sim", "verify-pin", "4711", check=False)[2]
    assert status(quick) == "PUK required"
    assert quick.ctl("sim", "puk", 1, "enter", "00000000", "1234")["retries"] == 9
    assert quick.ctl("sim", "puk", 1, "enter", "12345678", "1234")["outcome"] == "accepted"
    assert watch.event() == "status 1 ready"


@pytest.mark.parametrize("applications", ["usim", "isim,usim", "isim,csim,usim", "sim"])
def test_the_right_application_counts_wherever_it_stands(quick, applications):
    quick.ctl("sim", "remove", 1)
    quick.ctl("sim", "insert", 1, "--apps", applications, "--pin", "1111")
    wait_for(lambda: status(quick) == "PIN required", what="the card has started")
    assert shown(quick, "verify-pin", "1111") == {"pin": "accepted"}
    assert status(quick) == "ready"
    assert shown(quick, "imsi") == {"imsi": "001010123456789"}


@pytest.mark.parametrize("content", ["08", "FFFFFFFFFFFFFFFFFF", "0809101010325476F9", "0409"])
def test_a_spoilt_identity_is_none(quick, content):
    quick.ctl("sim", "file", 1, "3F007FFF6F07", content)
    assert "no identity" in shown(quick, "imsi")
    quick.ctl("sim", "file", 1, "3F007FFF6F07")
    assert shown(quick, "imsi") == {"imsi": "001010123456789"}


def test_there_and_back_only_the_other_card_is_told(quick, watch):
    assert shown(quick, "switch", "2")["slot"] == 2
    assert watch.events(2) == ["status 2 no usable card", "status 2 ready"], "this daemon did not ask for the switch"
    assert shown(quick, "iccid") == {"iccid": "89880010000001234563"}
    assert shown(quick, "imsi") == {"imsi": "001010987654321"}
    assert shown(quick, "switch", "1")["slot"] == 1
    assert watch.events(2) == ["status 1 no usable card", "status 1 ready"]
    watch.stays_silent()


def test_an_esim_without_a_profile_says_so(quick, watch):
    assert shown(quick, "switch", "2")["slot"] == 2
    watch.events(2)
    quick.ctl("sim", "esim", "profiles", "disable", "89880010000001234563")
    assert watch.event() == "status 2 no eSIM profile"
    assert wait_for(lambda: status(quick) == "no eSIM profile", what="the card's status")
    quick.ctl("sim", "esim", "profiles", "enable", "89880010000009876548")
    wait_for(lambda: watch.event() == "status 2 ready", what="the profile is up")
    assert shown(quick, "iccid") == {"iccid": "89880010000009876548"}


def test_a_slot_that_forgets_its_card_when_it_is_left_is_no_news(quick):
    """The modem then reports the first slot empty on the way out, and a card on the way back."""
    quick.ctl("sim", "inactive-slot", "unknown")
    hears = quick.start_vyreld()
    quick.ctl("sim", "esim", "profiles", "disable", "89880010000001234563")
    assert quick.at("AT+GTESIMICCID?")[1] == "ERROR"  # there and back, by the daemon itself
    quick.ctl("sim", "error", 1)
    hears.wait_line("SIM status 0, slot 0")
    assert not [line for line in hears.lines if "plug" in line], hears.lines


def test_the_esims_number_is_asked_of_the_at_server(quick):
    assert shown(quick, "eid") == {"eid": "89001012000000000000000000123437"}
    quick.ctl("sim", "remove", 2)
    assert "no number of an eSIM" in shown(quick, "eid")


def test_protect_is_a_card_that_only_the_line_reports(quick):
    assert shown(quick, "protect") == {"protect": False}
    quick.ctl("sim", "remove", 1)
    assert shown(quick, "protect") == {"protect": False}
    quick.ctl("sim", "detect", 1, "present")
    assert shown(quick, "protect") == {"protect": True}


def test_a_card_in_error_is_ready_again_after_a_reset(quick, watch):
    quick.ctl("sim", "error", 1, 3)
    assert watch.event() == "status 1 no usable card"
    assert shown(quick, "reset", "1") == {"reset": 1}
    assert watch.events(2) == ["status 1 no usable card", "status 1 ready"]


def test_who_waits_for_readiness_hears_of_it(quick):
    quick.ctl("sim", "delay", "ready", 600)
    quick.ctl("sim", "power", 1, "off")
    quick.ctl("sim", "power", 1, "on")
    waited = shown(quick, "wait")
    assert waited["status"] == 7
    assert 100 < waited["waited_ms"] < 2000
    assert shown(quick, "wait")["waited_ms"] < 100


@pytest.mark.parametrize("message, complaint", [("0x47", "does not tell the SIM's status"), ("0x2F", "does not tell the SIM's status")])
def test_a_refused_question_is_no_status(quick, message, complaint):
    quick.ctl("modem", "answer", "UIM", message, "error", 3)
    assert complaint in shown(quick, "status")
