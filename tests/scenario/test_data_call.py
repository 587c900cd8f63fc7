"""Data calls over the operator's network: real interfaces, routes, name servers and packets."""
import json
import subprocess
import threading

import pytest

from harness.module import Module
from harness.qmi import trace, vekctl
from harness.wait import wait_for

APN = "internet.example"


def up(module, *options, apn=APN, check=True):
    return vekctl(module, "data", "up", "--apn", apn, *options, check=check)


def interface(module):
    """State and addresses of rmnet_data0."""
    shown = json.loads(module.shell("ip -json addr show dev rmnet_data0"))[0]
    return shown["operstate"], {a["local"] for a in shown["addr_info"]}, shown["mtu"]


def sent_and_received(module):
    shown = vekctl(module, "data", "status")[1]
    return shown["sent"], shown["received"]


def test_from_an_apn_to_the_internet_and_back(module):
    module.shell("echo 'search before' > /etc/resolv.conf")
    _, call, _ = up(module)
    assert (call["profile"], call["interface"], call["mtu"], call["network_mtu"]) == (1, "rmnet_data0", 1340, 1500)
    assert call["ipv4"] == {"address": "10.64.0.5/30", "gateway": "10.64.0.6", "dns": "10.11.12.1 10.11.12.2"}
    assert call["ipv6"] == {"address": "2001:db8:64:1::5/64", "gateway": "2001:db8:64:1::1", "dns": "2001:db8:53::1 2001:db8:53::2"}
    assert interface(module) == ("UP", {"10.64.0.5", "2001:db8:64:1::5"}, 1340)
    assert module.shell("cat /etc/resolv.conf") == "".join(
        f"nameserver {server}\n" for server in ["10.11.12.1", "10.11.12.2", "2001:db8:53::1", "2001:db8:53::2"]) + "search before\n"
    for family, address in [("-4", "10.64.0.5"), ("-6", "2001:db8:64:1::5")]:
        module.run("ping", family, "-c1", "-W2", "www.example")
        assert address in module.run("curl", "-sS", family, "http://www.example/").stdout
    sent, received = sent_and_received(module)
    assert len(module.run("curl", "-sS", "http://www.example/bytes/200000").stdout) == 200000
    assert sent_and_received(module)[1] - received > 200000
    assert vekctl(module, "data", "down")[1]["state"] == "down"
    assert interface(module)[:2] == ("DOWN", set())
    assert "default" not in module.shell("ip route; ip -6 route")
    assert module.ctl("network", "show")["sessions"] == []
    assert module.ctl("modem", "clients") == []
    assert vekctl(module, "data", "status")[1] == {"state": "down"}


def test_an_apn_that_differs_in_case_has_its_profile_and_a_new_one_gets_one(module):
    assert up(module, apn="INTERNET.Example")[1]["profile"] == 1
    vekctl(module, "data", "down")
    options = ["--type", "ipv4", "--auth", "pap", "--user", "me", "--password", "secret"]
    assert up(module, *options, apn="fresh.apn")[1]["profile"] == 3
    modified = trace(module, message="WDS_MODIFY_PROFILE_SETTINGS", type="request")[0]["tlvs"]
    assert [modified["profile." + name] for name in ("apn_name", "username", "password")] == ["fresh.apn", "me", "secret"]
    vekctl(module, "data", "down")
    assert up(module, "--type", "ipv4", apn="fresh.APN")[1]["profile"] == 3
    assert module.ctl("network", "show")["profiles"] == 3


@pytest.mark.parametrize("family, other", [("ipv4", "ipv6"), ("ipv6", "ipv4")])
def test_one_family_alone(module, family, other):
    _, call, _ = up(module, "--type", family)
    assert call[other] is None and call[family]["address"]
    assert [s["family"] for s in module.ctl("network", "show")["sessions"]] == [int(family[-1])]
    module.run("ping", "-" + family[-1], "-c1", "-W2", "www.example")


@pytest.mark.parametrize("refused, left", [("ipv4", "ipv6"), ("ipv6", "ipv4")])
def test_a_family_that_the_network_refuses(module, refused, left):
    module.ctl("network", "refuse", refused, 33)
    assert up(module, "--type", refused, check=False)[0] == 1
    _, call, _ = up(module)
    assert call[refused] is None
    module.run("ping", "-" + left[-1], "-c1", "-W2", "www.example")
    vekctl(module, "data", "down")
    module.ctl("network", "refuse", left, 33)
    status, _, records = vekctl(module, "-v", "data", "up", "--apn", APN, check=False)
    assert status == 1
    assert "Data call fail end reason type: 6,verbose :33," in records and "ipv4 & ipv6 data call fail" in records


def test_a_drop_is_heard_and_a_release_is_not():
    with Module() as module:
        for _ in range(2):  # the second time after a release and a new call
            up(module)
            assert vekctl(module, "data", "status")[1]["state"] == "up"
            assert module.ctl("network", "drop", "ipv4")["ended"] == 1
            wait_for(lambda: vekctl(module, "data", "status")[1]["state"] == "partly ended by the network", what="the daemon hears it")
            assert interface(module)[0] == "UP", "the other family goes on"
            vekctl(module, "data", "down")

        up(module)
        watcher = module.start("vekctl", "--json", "data", "watch")
        watcher.wait_line('"state":"up"')
        module.ctl("network", "drop")
        assert watcher.popen.wait(10) == 1
        assert vekctl(module, "data", "status")[1]["state"] == "ended by the network"
        assert up(module)[1]["state"] == "up", "a call that is over is in nobody's way"


@pytest.mark.parametrize("cause", [["network", "search"], ["network", "detach"], ["modem", "restart", "--down", 100]])
def test_whatever_ends_the_call_is_heard(module, cause):
    up(module)
    module.ctl(*cause)
    wait_for(lambda: vekctl(module, "data", "status")[1]["state"] == "ended by the network", what="the daemon hears it")
    assert interface(module)[:2] == ("DOWN", set())


def test_a_modem_that_restarts_while_a_call_comes_up(module):
    module.ctl("network", "setup-time", 60000)
    result = []
    waiting = threading.Thread(target=lambda: result.append(up(module, "--type", "ipv4", check=False)))
    waiting.start()
    wait_for(lambda: module.ctl("network", "show")["sessions"], what="the session is started")
    module.ctl("modem", "restart", "--down", 100)
    waiting.join(20)
    assert not waiting.is_alive(), "nobody waits for a modem that has forgotten"
    assert result[0][0] == 1
    module.ctl("network", "setup-time", 0)
    assert up(module)[1]["state"] == "up"


def test_giving_up_leaves_nothing_behind(module):
    module.ctl("network", "setup-time", 700)
    assert module.run("timeout", "-s", "INT", "0.3", "vekctl", "data", "up", "--apn", APN, check=False).returncode == 124
    wait_for(lambda: module.ctl("modem", "clients") == [], what="the call is taken down")
    assert module.ctl("network", "show")["sessions"] == []


def test_the_password_is_nobodys_business(module):
    up(module, "--auth", "pap", "--user", "me", "--password", "secret", apn="fresh.apn")
    assert "secret" not in module.shell("cat /proc/[0-9]*/cmdline | tr '\\0' ' '")


def test_an_interface_that_comes_late(module):
    module.ctl("network", "interface", "off")
    records = module.start("vekctl", "-v", "data", "up", "--apn", APN, "--type", "ipv4", stderr=subprocess.STDOUT)
    records.wait_line("wait rmnet_data0 setup")
    module.shell("ip link set rmnet_data0 up; ip addr add 10.64.0.5/30 dev rmnet_data0")
    records.wait_line("Interface rmnet_data0 has IP address: 10.64.0.5")
    records.wait_line("^state: up")


def test_nothing_from_outside_reaches_a_shell(module):
    trap = "x;touch /tmp/reached;$(touch /tmp/reached)`touch /tmp/reached`"
    up(module, apn=trap)
    vekctl(module, "data", "down")
    assert module.run("test", "-e", "/tmp/reached", check=False).returncode == 1
    commands = module.shell("cat /run/module/commands.log").splitlines()
    assert [c for c in commands if c.startswith("route")] == ["route add default dev rmnet_data0"]


def test_readers_never_see_half_an_answer(module):
    up(module)
    whole = set(vekctl(module, "data", "status")[1])
    reader = 'for i in $(seq 40); do vekctl --json data status || exit 1; done'
    readers = [module.start("sh", "-c", reader) for _ in range(3)]
    for i in range(5):
        module.run("curl", "-sS", "-o", "/dev/null", "http://www.example/bytes/1000")
    for process in readers:
        assert process.popen.wait(30) == 0
        lines = [process.next_line() for _ in range(40)]
        assert all(set(json.loads(line)) == whole for line in lines)
