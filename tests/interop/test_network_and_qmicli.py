"""qmicli and the library see one network: serving system, signal, profiles and sessions."""
import re

import pytest

from harness.module import Module
from harness.qmi import fields, qmicli, start_real_proxy, vekctl


@pytest.fixture(scope="module", params=["modem's socket", "libqmi's proxy"])
def module(request):
    with Module('[network]\nmcc = "310"\nmnc = "004"\nname = "Far away"\n') as running:
        if request.param == "libqmi's proxy":
            start_real_proxy(running)
        yield running


def test_the_serving_system(module):
    module.ctl("network", "roam")
    ours = vekctl(module, "net", "status")[1]
    theirs = fields(qmicli(module, "--nas-get-serving-system").stdout)
    module.ctl("network", "register")
    assert (theirs["Registration state"], theirs["Roaming status"], theirs["PS"]) == ("registered", "on", "attached")
    assert ours["registration"] == "roaming"
    assert (theirs["MCC"], theirs["MNC"], theirs["MNC with PCS digit"], theirs["Description"]) == ("310", "4", "yes", "Far away")
    assert (ours["mcc"], ours["mnc"]) == ("310", "004")
    assert int(theirs["3GPP cell ID"]) == ours["cell_id"]
    assert int(theirs["LTE tracking area code"]) == ours["area"]
    system = qmicli(module, "--nas-get-system-info").stdout
    assert re.search(r"LTE service:\n\t+Status: 'available'", system)
    assert fields(system)["MNC"] == "004"


def test_the_signal_of_several_technologies(module):
    for radio, rssi in [("gsm", -91), ("umts", -82), ("lte", -73), ("nr5g", -64)]:
        module.ctl("network", "signal", radio, "--rssi", rssi)
    shown = qmicli(module, "--nas-get-signal-info").stdout
    for technology, rssi in [("GSM", -91), ("WCDMA", -82), ("LTE", -73)]:
        assert re.search(rf"{technology}:\n\t+RSSI: '{rssi} dBm'", shown)
    assert vekctl(module, "net", "status")[1]["rssi"] == -73


def test_a_profile_that_qmicli_makes_is_the_librarys_and_the_other_way_round(module):
    made = qmicli(module, "--wds-create-profile=3gpp,name=n,apn=by.qmicli,pdp-type=IPV4,auth=CHAP,username=u,password=p").stdout
    index = int(fields(made)["Profile index"])
    call = vekctl(module, "data", "up", "--apn", "BY.QMICLI", "--type", "ipv4")[1]
    vekctl(module, "data", "down")
    assert call["profile"] == index
    assert vekctl(module, "data", "up", "--apn", "by.library", "--type", "ipv6", "--auth", "pap", "--user", "me")[1]["profile"] == index + 1
    vekctl(module, "data", "down")
    shown = qmicli(module, "--wds-get-profile-list=3gpp").stdout.split(f"[{index + 1}]")[1]
    assert fields(shown)["APN"] == "by.library"
    assert (fields(shown)["PDP type"], fields(shown)["Auth"], fields(shown)["Username"]) == ("ipv6", "pap", "me")


def test_the_attach_list(module):
    vekctl(module, "net", "attach-apn", "--profile", 2)
    assert fields(qmicli(module, "--wds-get-lte-attach-pdn-list").stdout)["Current list"] == "2"
    qmicli(module, "--wds-set-lte-attach-pdn-list=1,2")
    assert vekctl(module, "net", "attach-apn")[1]["profile"] == 1


def test_the_librarys_session_is_the_one_that_qmicli_reads(module):
    call = vekctl(module, "data", "up", "--apn", "internet.example", "--type", "ipv4")[1]
    client = next(c["client"] for c in module.ctl("modem", "clients") if c["service"] == "WDS")
    using = [f"--client-cid={client}", "--client-no-release-cid"]
    assert "Connection status: 'connected'" in qmicli(module, "--wds-get-packet-service-status", *using).stdout
    settings = fields(qmicli(module, "--wds-get-current-settings", *using).stdout)
    assert settings["IPv4 address"] == call["ipv4"]["address"].partition("/")[0]
    assert settings["IPv4 gateway address"] == call["ipv4"]["gateway"]
    assert settings["IPv4 primary DNS"] == call["ipv4"]["dns"].split()[0]
    assert int(settings["MTU"]) == call["network_mtu"]
    vekctl(module, "data", "down")


def test_a_session_of_qmiclis_own(module):
    started = qmicli(module, "--wds-start-network=3gpp-profile=1,ip-type=6", "--client-no-release-cid").stdout
    handle, client = fields(started)["Packet data handle"], fields(started)["CID"]
    module.run("ip", "-6", "route", "add", "default", "dev", "rmnet_data0")
    module.run("ping", "-6", "-c1", "-W2", "2001:db8:80::80")
    settings = fields(qmicli(module, "--wds-get-current-settings", f"--client-cid={client}", "--client-no-release-cid").stdout)
    assert re.fullmatch(r"2001:db8:64:[0-9a-f]+::5/64", settings["IPv6 address"])
    assert "Network stopped" in qmicli(module, f"--wds-stop-network={handle}", f"--client-cid={client}").stdout
    refused = qmicli(module, "--wds-get-current-settings", check=False)
    assert "OutOfCall" in refused.stderr


def test_a_refused_session_says_why(module):
    module.ctl("network", "refuse", "ipv4", 33)
    refused = qmicli(module, "--wds-start-network=3gpp-profile=1,ip-type=4", check=False)
    module.ctl("network", "refuse", "ipv4")
    assert "QMI protocol error (14): 'CallFailed'" in refused.stderr
    assert "verbose call end reason (6,33): [3gpp] option-unsubscribed" in refused.stderr
