"""qmicli on the modem: directly on the device, through the modem's own socket, and through libqmi's proxy."""
import pytest

from harness.module import Module
from harness.qmi import Program, fields, ids_lent_and_returned, qmicli, start_real_proxy, trace
from harness.wait import wait_for

SCENARIO = """
[modem]
imei = "351756051523999"
imei_version = "07"
meid = "A100000009E2B3"
firmware = "VK12.2.00.01"
"""


@pytest.fixture(scope="module", params=["device", "modem's socket", "libqmi's proxy"])
def way(request):
    with Module(SCENARIO) as module:
        if request.param == "libqmi's proxy":
            start_real_proxy(module)
        yield lambda *arguments, **options: qmicli(module, *arguments, proxy=request.param != "device", **options)


@pytest.fixture
def ask(way):
    def successfully(*arguments):
        return way(*arguments).stdout

    return successfully


def test_the_services_and_their_versions(ask):
    shown = ask("--get-service-version-info")
    for line in ("ctl (1.5)", "wds (1.67)", "dms (1.14)", "nas (1.25)", "wms (1.35)", "uim (1.46)", "pdc (1.0)"):
        assert line in shown


@pytest.mark.parametrize("options", [["--device-open-version-info"], ["--device-open-sync"]])
def test_opening_with_a_question_first(ask, options):
    assert ask(*options, "--dms-noop") == ""


def test_who_the_module_is(ask):
    ids = fields(ask("--dms-get-ids"))
    assert ids["ESN"] == "0"
    assert ids["IMEI"] == "351756051523999"
    assert ids["MEID"] == "A100000009E2B3"
    assert ids["IMEI SV"] == "07"


@pytest.mark.parametrize("option, text", [
    ("--dms-get-manufacturer", "VEK"),
    ("--dms-get-model", "VK12-EA"),
    ("--dms-get-revision", "VK12.2.00.01"),
    ("--dms-get-hardware-revision", "1.0"),
    ("--dms-get-software-version", "VK12.2.00.01"),
])
def test_what_any_modem_tells_of_itself(ask, option, text):
    assert f"'{text}'" in ask(option) or f": {text}" in ask(option)


@pytest.mark.parametrize("mode", ["low-power", "persistent-low-power", "factory-test", "online"])
def test_the_operating_mode_is_what_was_set(ask, mode):
    assert "Operating mode set successfully" in ask(f"--dms-set-operating-mode={mode}")
    shown = fields(ask("--dms-get-operating-mode"))
    assert shown["Mode"] == mode
    assert shown["HW restricted"] == "no"


# What qmicli prints about a module on which nobody has changed anything.
PLAIN_QUERIES = {
    "--nas-get-serving-system": """
        Registration state: 'registered'
        CS: 'attached'
        PS: 'attached'
        Selected network: '3gpp'
        [0]: 'lte'
        Roaming status: 'off'
        Description: 'Test network'
        3GPP cell ID: '27447299'
        LTE tracking area code: '4660'
        MNC with PCS digit: 'no'""",
    "--nas-get-signal-info": """
        LTE:
        RSSI: '-61 dBm'
        RSRQ: '-11 dB'
        RSRP: '-92 dBm'
        SNR: '13.4 dB'""",
    "--nas-get-system-info": """
        LTE service:
        Status: 'available'
        Domain: 'cs-ps'
        Cell ID: '27447299'
        MCC: '001'
        MNC: '01'
        Tracking Area Code: '4660'""",
    "--wds-get-profile-list=3gpp": """
        [1] 3gpp - internet
        APN: 'internet.example'
        PDP type: 'ipv4-or-ipv6'
        Auth: 'none'
        No roaming: 'no'
        [2] 3gpp - ims""",
    "--wds-get-lte-attach-pdn-list": """
        Current list: '1'
        Pending list: n/a""",
    "--wds-get-packet-service-status": """
        Connection status: 'disconnected'""",
    "--wds-set-ip-family=4": "",
    "--wms-get-routes": """
        Got 5 SMS routes:
        Message Type: point
        Message Class: none
        Receipt Action: store-and-notify""",
}


@pytest.mark.parametrize("question", PLAIN_QUERIES)
def test_plain_queries(ask, question):
    shown = [line.strip().removeprefix("[/dev/cdc-wdm0] ") for line in ask(question).splitlines()]
    for line in PLAIN_QUERIES[question].splitlines():
        assert line.strip() in ["", *shown]


@pytest.mark.parametrize(
    "question, error",
    [
        ("--wds-get-current-settings", "QMI protocol error (15): 'OutOfCall'"),
        ("--loc-noop", "QMI protocol error (31): 'InvalidServiceType'"),
        ("--dms-get-capabilities", "QMI protocol error (71): 'InvalidQmiCommand'"),
        ("--dms-get-band-capabilities", "QMI protocol error (71): 'InvalidQmiCommand'"),
    ],
)
def test_what_the_modem_does_not_have(way, question, error):
    refused = way(question, check=False)
    assert refused.returncode == 1
    assert error in refused.stderr


def test_every_id_that_was_lent_comes_back():
    with Module() as module:
        for way in (False, True):
            for _ in range(12):  # more runs than a service has ids
                qmicli(module, "--dms-get-ids", proxy=way)
        lent, returned = ids_lent_and_returned(module)
        assert len(lent) == 24
        assert lent == returned


def test_a_refresh_reaches_who_asked_for_it():
    with Module() as module:
        start_real_proxy(module)
        monitor = Program(module, "qmicli", "-d", "/dev/cdc-wdm0", "--device-open-qmi", "-p", "--pdc-monitor-refresh")
        wait_for(lambda: module.ctl("refresh", "start")["told"] == 1, what="qmicli has registered")
        monitor.wait_line("start")
        module.ctl("refresh", "complete")
        monitor.wait_line("complete")
        monitor.stop()


def test_a_reset_ends_what_was_going_on_and_a_new_start_answers():
    with Module() as module:
        start_real_proxy(module)
        qmicli(module, "--dms-set-operating-mode=offline")
        refused = qmicli(module, "--dms-set-operating-mode=online", check=False)
        assert "QMI protocol error (60): 'InvalidTransition'" in refused.stderr
        qmicli(module, "--dms-set-operating-mode=reset", check=False)
        module.shell("until [ ! -e /dev/cdc-wdm0 ]; do sleep 0.01; done; until [ -e /dev/cdc-wdm0 ]; do sleep 0.01; done")
        assert fields(qmicli(module, "--dms-get-operating-mode").stdout)["Mode"] == "online"


def test_the_trace_names_what_passed():
    with Module() as module:
        qmicli(module, "--dms-get-ids")
        (answer,) = trace(module, message="DMS_GET_DEVICE_SERIAL_NUMBERS", type="response")
        assert answer["service"] == "DMS" and answer["client"] == 1 and answer["direction"] == "from modem"
        assert answer["tlvs"]["imei"] == "359072061234569"
        assert answer["hex"].startswith("01") and len(answer["hex"]) // 2 == 1 + int.from_bytes(bytes.fromhex(answer["hex"][2:6]), "little")
        text = module.run("modulectl", "trace").stdout
        assert "proxy 1 <-- DMS_GET_DEVICE_SERIAL_NUMBERS response, client 1, transaction 1\n    success\n" in text
        assert '    imei: "359072061234569"\n' in text
        assert "service: 2 (DMS)" in text


def test_the_trace_can_be_followed(module):
    follower = Program(module, "modulectl", "trace", "--follow", "--service", "DMS")
    qmicli(module, "--dms-get-ids")
    follower.wait_line("--> DMS_GET_DEVICE_SERIAL_NUMBERS request")
    follower.wait_line('imei: "359072061234569"')
    module.ctl("modem", "stop")
    assert not any("CTL_" in line for line in follower.process.lines)
    follower.stop()
