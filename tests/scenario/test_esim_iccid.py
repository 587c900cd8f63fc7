"""AT+GTESIMICCID? from an AT client: through the daemon and its library to the card, and back."""
import pytest

from harness.module import Module
from harness.wait import wait_for

EID = "89001012000000000000000000987610"
TRAVEL, WORK, SHORT = "89880010000001234563", "89880010000009876548", "8933100000000043219"
# The card answers on the slot that is active: on the second one nothing has to be switched.
ON_THE_ESIM = f"""
[sim]
active_slot = 2
[sim.delays]
slot = 5
absent = 5
detected = 5
ready = 5
[sim.slot2]
eid = "{EID}"
enabled = 1
profiles = [
  {{ name = "Travel", iccid = "{TRAVEL}", imsi = "001010987654321" }},
  {{ name = "Work", iccid = "{WORK}", imsi = "001010555000111" }},
]
"""


class Asked:
    """A module with a daemon, and what its records say about the command."""

    def __init__(self, module):
        self.module = module
        self.daemon = module.start_vyreld()

    def iccid(self):
        """The answer, or None for ERROR."""
        self.records_before = len(self.records(whole=True))
        lines, result = self.module.at("AT+GTESIMICCID?")
        assert result in ("OK", "ERROR") and len(lines) == (result == "OK")
        return lines[0].removeprefix('+GTESIMICCID: "').removesuffix('"') if lines else None

    def records(self, whole=False):
        text = (self.module.directory / "vyreld.log").read_text()
        return text if whole else text[self.records_before :]

    def open_channels(self):
        """Channels that the card still has open: it gives the lowest free one."""
        lines, _ = self.module.at('AT+CSIM=10,"0070000001"')
        return int(lines[0].split('"')[1][:2], 16) - 1 if lines[0].endswith('9000"') else 3


@pytest.fixture(scope="module")
def asked():
    with Module(ON_THE_ESIM) as module:
        yield Asked(module)


@pytest.fixture(autouse=True)
def nothing_left_over(asked):
    yield
    asked.module.ctl("modem", "normal")
    asked.module.ctl("sim", "esim", "tag95", "state")
    enable(asked.module, TRAVEL)


def enable(module, iccid):
    module.ctl("sim", "esim", "profiles", "enable", iccid)
    wait_for(lambda: module.ctl("sim", "status")["slots"][1]["state"] == "ready", what="the eSIM has started")


def test_the_enabled_one_of_several_profiles(asked):
    assert asked.iccid() == TRAVEL
    assert asked.open_channels() == 0
    enable(asked.module, WORK)
    assert asked.iccid() == WORK
    asked.module.ctl("sim", "esim", "profiles", "add", SHORT, "001010111222333")
    enable(asked.module, SHORT)
    assert asked.iccid() == SHORT + "F", "a filler stays"
    asked.module.ctl("sim", "esim", "profiles", "delete", SHORT)


def test_no_enabled_profile_is_an_error(asked):
    asked.module.ctl("sim", "esim", "profiles", "disable", TRAVEL)
    wait_for(lambda: asked.module.at("AT+CSIM=8,\"80F20000\"")[1] == "OK", what="the eSIM has started")
    assert asked.iccid() is None
    assert "get iccid failed!" in asked.records() and "AT+GTESIMICCID? run failed!" in asked.records()
    assert asked.open_channels() == 0


def test_a_profile_class_where_the_state_is_expected_is_an_error(asked):
    asked.module.ctl("sim", "esim", "tag95", "class")
    assert asked.iccid() is None
    assert "get iccid failed!" in asked.records()


# On the usual channel what went wrong leaves the channel open, for the next run to close.
@pytest.mark.parametrize(
    "instruction, how, records, left_open",
    [
        ("AA", "error", ["send term cap fail 2", "send termal cap failed!"], 0),
        ("AA", "6D00", None, 0),  # a card without it goes on
        ("70", "error", ["open channel excuse fail 2", "open apdu channel failed!"], 0),
        ("70", "no-answer", ["open channel excuse fail 3", "open apdu channel failed!"], 0),
        ("70", "6A81", ["get iccid failed!"], 0),
        ("A4", "error", ["selete isdr fail 2", "select isdr failed!"], 1),
        ("A4", "6A82", ["get iccid failed!"], 0),
        ("E2", "error", ["get profile fail 2"], 1),
        ("E2", "no-answer", ["get profile fail 3"], 1),
        ("E2", "6985", ["get iccid failed!"], 0),
    ],
)
def test_a_step_that_fails(asked, instruction, how, records, left_open):
    asked.module.ctl("sim", "apdu", instruction, how)
    answer = asked.iccid()
    asked.module.ctl("modem", "normal")
    if records is None:
        assert answer == TRAVEL
    else:
        assert answer is None
        for record in [*records, "AT+GTESIMICCID? run failed!"]:
            assert record in asked.records()
    assert asked.open_channels() == left_open
    assert asked.iccid() == TRAVEL, "the next run finds its channel"


def test_with_the_usual_channel_taken_another_one_is_used_and_closed(asked):
    """Channel 1 is closed first: somebody takes it again between the two."""
    for _ in range(2):
        asked.module.at('AT+CSIM=10,"0070000001"')
    asked.module.ctl("sim", "apdu", "70", "9000", "--times", 1)  # the closing does nothing
    assert asked.iccid() == TRAVEL
    assert "current channel id: 3" in asked.records()
    for channel in (1, 2):
        asked.module.at(f'AT+CSIM=10,"007080{channel:02d}00"')
    assert asked.open_channels() == 0


def test_the_at_server_hangs_up_or_is_gone(asked):
    for _ in range(3):
        asked.module.ctl("at-server", "drop")
        assert asked.iccid() == TRAVEL, "the command is sent again over a new connection"
    asked.module.ctl("at-server", "stop")
    assert asked.iccid() is None
    assert "send term cap fail 1" in asked.records()
    asked.module.ctl("at-server", "start")
    assert asked.iccid() == TRAVEL


def test_from_the_first_slot_and_back(asked):
    asked.module.ctl("sim", "slot", 1)
    wait_for(lambda: asked.module.ctl("sim", "status")["slots"][0]["state"] == "ready", what="the first slot's card")
    assert asked.iccid() == TRAVEL
    assert asked.module.ctl("sim", "status")["active_slot"] == 1
    asked.module.ctl("sim", "apdu", "E2", "error")
    assert asked.iccid() is None
    assert asked.module.ctl("sim", "status")["active_slot"] == 1, "a failure comes back too"
    asked.module.ctl("sim", "slot", 2)
