"""A card that comes or goes in the middle of a slot switch, and in the protect situation: what the daemon is not told."""
import pytest

from harness.module import Module
from harness.qmi import Program
from harness.wait import wait_for

SLOW = "[sim.delays]\nslot = 20\nabsent = 20\ndetected = 300\nready = 300\n"


@pytest.fixture
def slow():
    with Module(SLOW) as module:
        yield module


class Switching:
    """`vekctl -v sim switch` with its records, as it runs. It registers for both kinds of events."""

    def __init__(self, module, slot):
        self.program = Program(module, "sh", "-c", f"vekctl -v --json sim switch {slot} 2>&1")
        self.program.wait_line("waitting sim slot switch sem")

    def end(self):
        self.program.wait_line('"waited_ms"')
        self.program.end()
        return "\n".join(self.program.process.lines)


def test_a_card_pulled_on_the_way_to_the_second_slot_is_hidden(slow):
    switching = Switching(slow, 2)
    switching.program.wait_line("card_state:0")
    slow.ctl("sim", "remove", 1)
    records = switching.end()
    assert "Update sim2_switch_flag TRUE" in records
    assert "sim1 not ready, but Current in swtich to sim2 process" in records


def test_a_card_that_comes_back_on_the_way_to_the_second_slot_is_hidden(slow):
    switching = Switching(slow, 2)
    slow.ctl("sim", "remove", 1)
    switching.program.wait_line("sim1 not ready")
    slow.ctl("sim", "insert", 1)
    records = switching.end()
    assert "sim1 ready, but current in swtich to sim2 process" in records
    assert "Update sim2_switch_flag FALSE" in records
    assert "sim1 plugIn" not in records


def test_a_card_that_is_gone_on_the_way_to_the_first_slot_is_hidden(slow):
    slow.ctl("sim", "slot", 2)
    wait_for(lambda: slow.ctl("sim", "status")["slots"][1]["state"] == "ready", what="the eSIM is up")
    records = Switching(slow, 1).end()
    assert "Update sim1_switch_flag TRUE" in records
    assert "sim1 remove, but current in swtich to sim1 process" in records
    assert "Update sim1_switch_flag FALSE" in records


def test_a_card_that_turns_up_in_the_protect_situation_is_hidden(slow):
    slow.ctl("sim", "remove", 1)
    slow.ctl("sim", "detect", 1, "present")
    switching = Switching(slow, 2)
    slow.ctl("sim", "insert", 1)
    records = switching.end()
    assert "In SIM protect scene" in records
    assert "sim1 ready, but current in sim protect scene" in records
    assert "sim1 plugIn" not in records


def test_a_switch_to_a_card_that_wants_its_pin_ends_there(slow):
    slow.ctl("sim", "pin", 2, "required", "1234")
    assert "switch sim slot and sim pin,post sem" in Switching(slow, 2).end()
    slow.ctl("sim", "puk", 1, "required")
    assert "switch sim slot and sim puk,post sem" in Switching(slow, 1).end()


def test_a_switch_to_a_slot_without_a_card_ends_when_it_is_active(slow):
    slow.ctl("sim", "remove", 2)
    records = Switching(slow, 2).end()
    assert "switch slot wait type is 2" in records
    assert "switch sim2 slot and sim2 slot acitve, post sem" in records
