"""The laptop's MBIM events on their way to the daemon, and the daemon's words on their way to the laptop."""
import pytest

from harness.module import CommandFailed
from harness.wait import wait_for


def received(module):
    """What the MBIM function has got since it was last asked; waits for the first text, which takes a way of its own."""
    return wait_for(lambda: module.ctl("mbim", "received"))


def test_each_event_reaches_the_daemon_with_its_values(module, vyreld):
    rows = [
        (("open", 1), "MBIM open status 1"),
        (("open", "--", -7), "MBIM open status -7"),
        (("pin", 1, "1234"), "MBIM PIN status 1, a PIN of 4 characters"),
        (("pin", 0), "MBIM PIN status 0, a PIN of 0 characters"),
        (("slot-mapping", 1, 1), "MBIM slot mapping 1, SIM 1"),
        (("connect", 1, "internet.example"), 'MBIM connect status 1, APN "internet.example"'),
        (("connect", 0, "%s%n"), 'MBIM connect status 0, APN "%s%n"'),
    ]
    for event, shown in rows:
        module.ctl("mbim", *event)
        assert vyreld.wait_line("MBIM").string == "vyreld: " + shown


def test_a_payload_that_is_too_short_is_dropped(module, vyreld):
    for message_id in (0, 1, 2, 3):
        for payload in ("", "01", "010000"):
            module.ctl("mbim", "raw", message_id, payload)
    module.ctl("mbim", "raw", 2, "01000000010000")
    module.ctl("mbim", "raw", 1, "01000000" + "39" * 1016)  # a PIN that the datagram's end terminates
    assert vyreld.wait_line("MBIM").string.endswith("a PIN of 1016 characters"), "the first that is not too short"
    module.ctl("mbim", "open", 5)
    assert vyreld.wait_line("MBIM").string.endswith("MBIM open status 5")


def test_the_daemon_synchronises_when_it_starts_and_when_the_laptop_opens(module, vyreld):
    assert received(module) == ["VEK_PAL_MBIM_SYNC"]
    watch = module.watch("mbim")
    module.ctl("mbim", "open", 1)
    assert watch.wait_for("VEK_PAL_MBIM_SYNC")["data"]["kind"] == "sync"
    assert module.ctl("mbim", "received") == ["VEK_PAL_MBIM_SYNC"]


def test_lines_for_the_laptop_arrive_as_they_were_sent(module, vyreld):
    assert received(module) == ["VEK_PAL_MBIM_SYNC"]
    for value, line in ((1, "+GTVYRPOC: ACTIVE"), (0, "+GTVYRPOC: DEACTIVE"), (2, "+GTVYRPOC: CHECK")):
        assert module.at(f"AT+GTVYRPOC={value}") == ([], "OK")
        assert received(module) == [line]


def test_an_event_without_a_daemon_fails(module):
    with pytest.raises(CommandFailed, match="no daemon takes it"):
        module.ctl("mbim", "open", 1)
