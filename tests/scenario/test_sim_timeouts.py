"""Waits of the SIM services that run to their end. They take as long as they take: side by side."""
import time
from concurrent.futures import ThreadPoolExecutor

from harness.module import Module
from harness.qmi import vekctl


def timed(module, *what):
    start = time.monotonic()
    status, data, complaint = vekctl(module, "-v", "sim", *what, check=False)
    return status, data, complaint, time.monotonic() - start


def readiness_that_never_comes():
    with Module('[sim.slot1]\npin = "1234"\n') as module:
        status, _, records, took = timed(module, "wait")
        assert status == 1 and "the SIM is not ready" in records
        assert "wait sim ready done." in records
        assert 4.9 < took < 7


def a_switch_whose_request_is_refused():
    with Module() as module:
        module.ctl("modem", "answer", "UIM", "0x46", "error", 3)
        status, _, records, took = timed(module, "switch", 2)
        assert status == 1 and "QMI_UIM_SWITCH_SLOT_REQ_V01 fail" in records
        assert "waitting sim slot switch sem" in records
        assert 9.9 < took < 12
        assert module.ctl("sim", "status")["active_slot"] == 1


def a_switch_to_where_it_is_already():
    with Module() as module:
        status, data, records, took = timed(module, "switch", 1)
        assert status == 0 and data["slot"] == 1 and "switch slot wait type is 1" in records
        assert 9.9 < took < 12


def a_switch_that_never_takes_effect():
    with Module() as module:
        module.ctl("sim", "delay", "ready", "never")
        status, data, records, took = timed(module, "switch", 2)
        assert status == 0 and data["slot"] == 2 and "switch slot wait type is 0" in records
        assert 9.9 < took < 12


def test_waits_run_to_their_end():
    waits = [readiness_that_never_comes, a_switch_whose_request_is_refused, a_switch_to_where_it_is_already, a_switch_that_never_takes_effect]
    with ThreadPoolExecutor(len(waits)) as pool:
        for wait in [pool.submit(wait) for wait in waits]:
            wait.result()
