"""A modem that hangs, resets, talks nonsense or has nothing left to lend; and what the library makes of it."""
import time

import pytest

from harness.module import Module
from harness.qmi import Program, ids_lent_and_returned, qmicli, trace, vekctl
from harness.wait import wait_for

SERIAL_NUMBERS = ("DMS", "0x25")
IMEI = "359072061234569"


def elapsed(action):
    start = time.monotonic()
    result = action()
    return time.monotonic() - start, result


def test_an_unanswered_call_ends_at_its_time_limit_and_the_next_works(module):
    module.ctl("modem", "answer", *SERIAL_NUMBERS, "nothing", "--times", 1)
    took, (status, shown, complaint) = elapsed(lambda: vekctl(module, "info", check=False))
    assert 2.9 < took < 4.5
    assert status == 1
    assert shown["imei"] is None and "no imei" in complaint
    assert shown["model"] == "VK12-EA"
    assert vekctl(module, "info")[1]["imei"] == IMEI


def test_a_late_answer_is_not_taken_for_the_next_requests(module):
    module.ctl("modem", "answer", *SERIAL_NUMBERS, "late", 3200, "--times", 1)
    module.ctl("modem", "answer", "DMS", "0x79", "late", 600, "--times", 1)  # so that the late one overtakes it
    status, shown, _ = vekctl(module, "info", check=False)
    assert status == 1
    assert shown["imei"] is None
    assert shown["model"] == "VK12-EA"
    answers = [entry["message"] for entry in trace(module, service="DMS", type="response")]
    assert answers[0] == "DMS_GET_DEVICE_SERIAL_NUMBERS", "it came, in the middle of the next request"


def test_a_refusal_is_passed_on(module):
    module.ctl("modem", "answer", *SERIAL_NUMBERS, "error", 46)
    module.ctl("modem", "answer", "DMS", "0x7C", "no-result")
    took, (status, shown, complaint) = elapsed(lambda: vekctl(module, "-v", "info", check=False))
    assert took < 2
    assert status == 1
    assert shown["imei"] is None and shown["firmware"] is None
    assert "Sending QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01 failed: rc=0 (), resp.result=1.[0x01], resp.error=46.[0x2e]" in complaint
    module.ctl("modem", "normal")
    assert vekctl(module, "info")[0] == 0


def test_a_hanging_modem_is_reported_in_time_and_recovers(module):
    module.ctl("modem", "silence", "on")
    took, (status, shown, complaint) = elapsed(lambda: vekctl(module, "info", check=False))
    assert took < 6
    assert (status, shown) == (3, None)
    assert "gives no client of its DMS service" in complaint
    module.ctl("modem", "silence", "off")
    assert vekctl(module, "info")[1]["imei"] == IMEI


def test_without_a_modem_the_message_says_so(module):
    module.ctl("modem", "stop")
    status, _, complaint = vekctl(module, "info", check=False)
    assert status == 3
    assert "there is no /dev/cdc-wdm0" in complaint
    module.ctl("modem", "start")
    assert vekctl(module, "info")[0] == 0


@pytest.mark.parametrize("way", ["socket", "device"])
def test_a_restart_in_the_middle_of_a_request(module, way):
    if way == "device":
        module.ctl("modem", "proxy", "off")
    module.ctl("modem", "answer", *SERIAL_NUMBERS, "nothing")
    program = Program(module, "vekctl", "--json", "info")
    wait_for(lambda: trace(module, message="DMS_GET_DEVICE_SERIAL_NUMBERS"), what="the request is under way")
    took, _ = elapsed(lambda: (module.ctl("modem", "restart", "--down", 200), program.wait_line('"imei":null')))
    assert took < 2.5, "the request ends when the modem goes, not at its limit"
    assert program.end() == 1
    module.ctl("modem", "normal")
    module.ctl("modem", "start")
    assert vekctl(module, "info")[1]["imei"] == IMEI


@pytest.mark.parametrize("restart", [["--down", "300"], ["--soft"]])
@pytest.mark.parametrize("way", ["socket", "device"])
def test_a_restart_during_a_wait_for_an_indication(module, way, restart):
    if way == "device":
        module.ctl("modem", "proxy", "off")
    daemon = Program(module, "vekctl", "--json", "modem", "wait-refresh")

    def registered():
        return [c for c in module.ctl("modem", "clients") if c["service"] == "PDC" and c["events"]]

    wait_for(registered, what="the daemon has registered")
    module.ctl("modem", "restart", *restart)
    # The daemon makes no call: the library reconnects and registers again.
    wait_for(lambda: len(trace(module, message="PDC_INDICATION_REGISTER", type="request")) == 2, what="it says so again")
    wait_for(registered, what="the daemon is registered again")
    assert module.ctl("refresh", "complete")["told"] == 1
    daemon.wait_line('"refresh":"complete"')
    assert daemon.end() == 0
    assert module.ctl("modem", "clients") == []


@pytest.mark.parametrize("way", ["socket", "device"])
@pytest.mark.parametrize("garbage", ["ffa55a0001000080", "01", "01ffff80", "010300800200", "00" * 300])
def test_garbage_on_the_wire_costs_no_more_than_a_request(module, way, garbage):
    if way == "device":
        module.ctl("modem", "proxy", "off")
    daemon = Program(module, "vekctl", "--json", "modem", "wait-refresh")
    wait_for(lambda: [c for c in module.ctl("modem", "clients") if c["events"]], what="the daemon has registered")
    module.ctl("modem", "garbage", garbage)

    # Half a frame may swallow the first refresh, but none for ever.
    def heard():
        module.ctl("refresh", "complete")
        return daemon.process.popen.poll() is not None

    wait_for(heard, timeout=4, what="the daemon hears again")
    assert daemon.end() == 0
    assert vekctl(module, "info")[0] == 0


def test_when_the_ids_are_used_up_the_library_says_so_and_a_free_one_helps():
    with Module("[modem]\nclient_ids = 2\n") as module:
        for _ in range(2):
            qmicli(module, "--dms-noop", "--client-no-release-cid")
        status, _, complaint = vekctl(module, "-v", "info", check=False)
        assert status == 3
        assert "client ids are used up" in complaint and "error: 5" in complaint
        qmicli(module, "--dms-noop", "--client-cid=1")  # takes it over, and gives it back
        assert vekctl(module, "info")[1]["imei"] == IMEI


def test_fifty_runs_give_back_what_they_were_lent(module):
    """Every fifth is ended by SIGTERM in the middle of a request, five of fifty by SIGKILL; ten ids are enough."""
    killed = 0
    for run in range(50):
        ending = "TERM" if run % 5 == 0 else "KILL" if run % 8 == 4 else None
        if ending:
            module.ctl("modem", "answer", "DMS", "0x79", "nothing", "--times", 1)
            before = len(trace(module, message="DMS_GET_MODEL", type="request"))
            program = Program(module, "vekctl", "--json", "info")
            wait_for(lambda: len(trace(module, message="DMS_GET_MODEL", type="request")) > before, what="a request is under way")
            assert program.stop(ending) == (143 if ending == "TERM" else -9)
            killed += ending == "KILL"
        else:
            assert vekctl(module, "info")[0] == 0
    lent, returned = ids_lent_and_returned(module)
    assert len(lent) == 50 and killed == 5
    assert len(returned) == 50 - killed, "whatever ended otherwise gave its id back"
    clients = module.ctl("modem", "clients")
    assert len(clients) == killed and {client["link"] for client in clients} == {""}
