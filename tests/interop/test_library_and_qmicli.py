"""The library beside clients that nobody here wrote, on one modem at one time."""
from concurrent.futures import ThreadPoolExecutor

import pytest

from harness.module import Module
from harness.qmi import Program, fields, ids_lent_and_returned, qmicli, start_real_proxy, trace, vekctl


@pytest.fixture
def proxied():
    with Module() as module:
        start_real_proxy(module)
        yield module


def test_the_library_goes_through_libqmis_proxy(proxied):
    _, shown, _ = vekctl(proxied, "info")
    assert shown["imei"] == "359072061234569"
    assert shown["model"] == "VK12-EA"
    assert shown["firmware"] == "VK12.1.04.07"
    assert shown["manufactured"] == "20260601"
    assert shown["usb_ids"] == "12095A12"
    # The proxy has the device; a frame that came any other way would show it open twice.
    assert {entry["link"] for entry in trace(proxied)} == {"device"}
    assert not trace(proxied, message="CTL_INTERNAL_PROXY_OPEN"), "the proxy answers this itself"
    lent, returned = ids_lent_and_returned(proxied)
    assert lent and lent == returned


def test_without_a_proxy_the_library_opens_the_device():
    with Module("[modem]\nproxy = false\n") as module:
        assert vekctl(module, "info")[1]["imei"] == "359072061234569"
        assert {entry["link"] for entry in trace(module)} == {"device"}


@pytest.mark.parametrize("real_proxy", [False, True])
def test_the_library_and_qmicli_at_once_read_the_same(real_proxy):
    with Module('[modem]\nimei = "351756051523999"\n') as module:
        if real_proxy:
            start_real_proxy(module)

        def by_library(_):
            return vekctl(module, "info")[1]["imei"]

        def by_qmicli(_):
            return fields(qmicli(module, "--dms-get-ids").stdout)["IMEI"]

        with ThreadPoolExecutor(4) as pool:
            runs = [pool.submit(ask, None) for _ in range(10) for ask in (by_library, by_qmicli)]
            assert {run.result() for run in runs} == {"351756051523999"}
        lent, returned = ids_lent_and_returned(module)
        assert lent == returned
        assert module.ctl("modem", "clients") == []


@pytest.mark.parametrize("real_proxy", [False, True])
def test_two_daemons_at_once_both_hear(real_proxy):
    with Module() as module:
        if real_proxy:
            start_real_proxy(module)
        daemons = [Program(module, "vekctl", "--json", "sms", "watch") for _ in range(2)]
        for daemon in daemons:
            daemon.wait_line('"watching"')
        module.ctl("sms", "deliver", "--from", "+4912345", "hello")
        for daemon in daemons:
            daemon.wait_line('"event":"new","storage":"memory","index":0')
        for daemon in daemons:
            assert daemon.stop("TERM") == 143
        assert module.ctl("modem", "clients") == []
