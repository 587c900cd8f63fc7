"""Registration, signal, cell and operator, from what happens on the air to what a daemon hears."""
import pytest

from harness.module import Module
from harness.qmi import vekctl
from harness.wait import wait_for


def status(module):
    return vekctl(module, "net", "status", check=False)[1]


def test_every_registration_state_is_seen(module):
    assert status(module)["registration"] == "home"
    for command, state in [("roam", "roaming"), ("deny", "denied"), ("search", "searching"), ("register", "home"), ("detach", "detached")]:
        module.ctl("network", command)
        assert status(module)["registration"] == state


def test_attaching_again_is_asked_for(module):
    module.ctl("network", "detach")
    vekctl(module, "net", "attach")
    assert status(module)["registration"] == "home"


def test_the_radio_goes_off_and_on(module):
    vekctl(module, "net", "radio", "off")
    off = status(module)
    assert (off["radio"], off["registration"], off["mcc"], off["cell_id"], off["rssi"]) == ("off", "searching", None, None, None)
    vekctl(module, "net", "radio", "on")
    assert (status(module)["radio"], status(module)["registration"]) == ("on", "home")


@pytest.mark.parametrize("mcc, mnc", [("262", "02"), ("310", "004"), ("001", "01")])
def test_an_operators_code_has_as_many_digits_as_it_has(mcc, mnc):
    with Module(f'[network]\nmcc = "{mcc}"\nmnc = "{mnc}"\n') as module:
        shown = status(module)
        assert (shown["mcc"], shown["mnc"]) == (mcc, mnc)


def test_cells_of_several_technologies(module):
    module.ctl("network", "signal", "gsm", "--rssi", -90)
    module.ctl("network", "signal", "umts", "--rssi", -80)
    assert status(module)["rssi"] == -61, "the LTE cell's"
    module.ctl("network", "cell", "umts", "--id", 0x1234567, "--area", 0x4321)
    module.ctl("network", "signal", "lte", "--off")
    shown = status(module)
    assert (shown["generation"], shown["cell_id"], shown["area"], shown["rssi"]) == ("3G", 0x1234567, 0x4321, -80)
    module.ctl("network", "cell", "gsm", "--id", 77)
    assert (status(module)["generation"], status(module)["cell_id"]) == ("2G", 77)


def test_changes_are_heard_also_after_the_modem_was_gone(module):
    watcher = module.start("vekctl", "--json", "net", "watch")
    watcher.wait_line('"registration":"home"')
    module.ctl("network", "roam")
    watcher.wait_line('"registration":"roaming"')
    module.ctl("modem", "restart", "--down", 200)
    wait_for(lambda: any(c["service"] == "NAS" and c["events"] for c in module.ctl("modem", "clients")), what="registered for events again")
    module.ctl("network", "deny")
    watcher.wait_line('"registration":"denied"')
    watcher.popen.terminate()


def test_the_attach_apn_is_shown_and_replaced(module):
    assert vekctl(module, "net", "attach-apn")[1] == {
        "profile": 1, "apn": "internet.example", "type": "ipv4v6", "while_roaming": "ipv4v6", "auth": "none", "user": ""}
    assert vekctl(module, "net", "attach-apn", "--apn", "IMS")[1]["profile"] == 2, "the profile that has it, case ignored"
    made = vekctl(module, "net", "attach-apn", "--apn", "new.apn", "--type", "ipv6", "--auth", "chap", "--user", "u", "--password", "p")[1]
    assert made == {"profile": 3, "apn": "new.apn", "type": "ipv6", "while_roaming": "ipv6", "auth": "chap", "user": "u"}
    assert module.ctl("network", "show")["attach_list"] == [3]
    assert vekctl(module, "net", "attach-apn", "--profile", 1)[1]["profile"] == 1
    assert vekctl(module, "net", "attach-apn", "--profile", 9, check=False)[0] == 1
