"""AT+CSIM: the card as a terminal talks to it, from any AT client."""
import pytest

from harness.module import Module
from harness.wait import wait_for

ISD_R = "A4040010A0000005591010FFFFFFFF8900000100"
FCI = "6F1F8410A0000005591010FFFFFFFF8900000100A5049F6501FFE00582030202029000"
USIM = "A4040007A0000000871002"


@pytest.fixture(scope="module")
def module():
    with Module() as running:
        yield running


@pytest.fixture(autouse=True)
def fresh(module):
    """The first slot's card has just been switched on."""
    module.ctl("sim", "slot", 1)
    module.ctl("sim", "power", 1, "off")
    module.ctl("sim", "power", 1, "on")
    wait_for(lambda: module.ctl("sim", "status")["slots"][0]["state"] == "ready", what="the card has started")


def apdu(module, command):
    """The card's answer in hex, or the AT server's complaint."""
    lines, result = module.at(f'AT+CSIM={len(command)},"{command}"')
    if result != "OK":
        return result
    length, answer = lines[0].removeprefix("+CSIM: ").split(",")
    assert int(length) == len(answer) - 2
    return answer.strip('"')


def test_files(module):
    assert apdu(module, "00A40000022FE2") == "9000"
    assert apdu(module, "00B0000000") == apdu(module, "00B000000A") == "988812010000000010F29000"
    assert apdu(module, "00B0000003") == "9888129000"
    assert apdu(module, "00B0000202") == "12019000"
    assert apdu(module, "00B000FF01") == "6B00"
    assert apdu(module, "00" + USIM).endswith("9000")
    assert apdu(module, "00A40000026F07") == "9000"
    assert apdu(module, "00B0000009") == "0809101010325476989000"
    assert apdu(module, "00A40000026F99") == "6A82"


def test_a_locked_file(module):
    module.ctl("sim", "pin", 1, "required")
    wait_for(lambda: module.ctl("sim", "status")["slots"][0]["state"] == "PIN required", what="the card has started")
    assert apdu(module, "00" + USIM).endswith("9000")
    assert apdu(module, "00A40000026F07") == "9000"
    assert apdu(module, "00B0000009") == "6982"
    module.ctl("sim", "pin", 1, "off")


def test_channels(module):
    assert [apdu(module, "0070000001") for _ in range(4)] == ["019000", "029000", "039000", "6A81"]
    assert apdu(module, "0070800200") == "9000"
    assert apdu(module, "02F2000000") == "6881"
    assert apdu(module, "0070800200") == "6881"
    assert apdu(module, "0070000001") == "029000", "the lowest that is free"
    assert apdu(module, "03" + USIM).endswith("9000")


def test_only_an_esim_has_a_list_of_profiles(module):
    assert apdu(module, "80AA000005A903830107") == "6D00"
    assert apdu(module, "00" + ISD_R + "00") == "6A82"
    assert apdu(module, "80E2910008BF2D045C025A9500") == "6985"
    module.ctl("sim", "slot", 2)
    wait_for(lambda: module.ctl("sim", "status")["slots"][1]["state"] == "ready", what="the eSIM has started")
    assert apdu(module, "80AA000005A903830107") == "9000"
    assert apdu(module, "80E2910008BF2D045C025A9500") == "6985", "nothing is selected yet"
    assert apdu(module, "00" + ISD_R + "00") == FCI
    travel, work = "5A0A98880001000010325436", "5A0A98880001000090785684"
    assert apdu(module, "80E2910008BF2D045C025A9500") == f"BF2D24A022E30F{travel}950101E30F{work}9501009000"
    assert apdu(module, "80E2910003BF2D00") == f"BF2D2CA02AE313{travel}9F700101950101E313{work}9F7001009501009000"
    assert apdu(module, "80E2910006BF2D035C015A") == f"BF2D1EA01CE30C{travel}E30C{work}9000"
    assert apdu(module, "80E2910005BF2D035A01FF") == "BF2D038101019000"
    assert apdu(module, "80E2910003BF2E00") == "6A88"


@pytest.mark.parametrize("command, answer", [("40F20000", "6E00"), ("00FF0000", "6D00"), ("00A4040010A000", "6700"), ("00A40500", "6A86"), ("00700100", "6A86")])
def test_what_the_card_does_not_understand(module, command, answer):
    assert apdu(module, command) == answer


@pytest.mark.parametrize("line", ['AT+CSIM=8,"00F2000"', 'AT+CSIM=7,"00F2000"', 'AT+CSIM=8,"00F2000G"', "AT+CSIM=8,00F20000", 'AT+CSIM=4,"00F2"', "AT+CSIM=", 'AT+CSIM=8,"', 'AT+CSIM=99999999999999999999,"00F20000"'])
def test_what_is_no_command(module, line):
    assert module.at(line) == ([], "+CME ERROR: 50")


def test_without_a_card_that_answers(module):
    status = "00F20000"
    module.ctl("sim", "error", 1)
    assert apdu(module, status) == "+CME ERROR: 13"
    module.ctl("sim", "remove", 1)
    assert apdu(module, status) == "+CME ERROR: 10"
    module.ctl("sim", "delay", "detected", 200)
    module.ctl("sim", "insert", 1)
    assert apdu(module, status) == "+CME ERROR: 14", "it is starting"
    wait_for(lambda: apdu(module, status) == "9000", what="the card answers")
