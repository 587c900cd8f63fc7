"""Short messages from the network to what a daemon reads of them: modem, wire, library, decoder."""
import json
import subprocess
from pathlib import Path

import pytest

from harness.module import BUILD
from harness.wait import wait_for

VECTORS = json.loads((Path(__file__).parents[1] / "data/sms-vectors.json").read_text())["vectors"]
SEPTETS = "@£$¥èéùìòÇØøÅåÆæßÉ !\"#¤%&'()*+,-./0123456789:;<=>?¡ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖÜÑ§¿abcdefghijklmnopqrstuvwxyzäöüñà"
SENDER = "+447700900123"


class Watcher:
    """`vekctl sms watch`: the events that a daemon would get, with each new message read back."""

    def __init__(self, module, *options):
        self.process = module.start("vekctl", "-v", "--json", "sms", "watch", *options, stderr=subprocess.STDOUT)
        self.process.wait_line('"watching"')

    def event(self, timeout=10):
        return json.loads(self.process.wait_line('^{"event".*', timeout).string)

    def record(self, text, timeout=20):
        self.process.wait_line(text, timeout)


@pytest.fixture
def watcher(module):
    return Watcher(module, "--read")


@pytest.fixture(scope="module")
def gammu():
    """An encoder of another origin: makes the bytes of an incoming message."""
    encoder = subprocess.Popen([f"{BUILD}/tests/gammu_encode"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def encode(coding, text, parts=(0, 0, 0)):
        octets = text if coding == "8bit" else text.encode("utf-16-be")
        print(coding, SENDER, *parts, octets.hex() or "-", file=encoder.stdin, flush=True)
        return encoder.stdout.readline().strip()

    yield encode
    encoder.stdin.close()
    encoder.wait()


def deliver(module, message):
    [delivery] = module.ctl("sms", "deliver", "--hex", message)
    assert delivery["arrival"] == "stored"


def turned(alphabet, start, length):
    return "".join(alphabet[(start + i) % len(alphabet)] for i in range(length))


def texts_of_every_length():
    """(coding, text, the bytes to be read)"""
    for length in range(161):
        text = turned(SEPTETS, length, length)
        yield "7bit", text, text.encode("latin-1")
    for pairs in range(1, 81):
        text = turned("[]{}~^\\|€", pairs, pairs)
        yield "7bit", text, text.replace("€", "?").encode("latin-1")
    for length in range(141):
        octets = bytes((length + 7 * i) % 256 for i in range(length))
        yield "8bit", octets, octets
    for length in range(71):
        text = turned("Žluťoučký кот 漢字", length, length)
        yield "ucs2", text, text.encode("utf-16-be")


def test_messages_of_every_length_and_encoding_come_through(module, watcher, gammu):
    for coding, text, expected in texts_of_every_length():
        deliver(module, gammu(coding, text))
        event = watcher.event()
        assert event.get("hex") == expected.hex().upper(), f"{coding} of {len(text)}: {event}"
        module.ctl("sms", "delete", event["storage"], event["index"])


def test_every_part_of_a_long_message_is_read(module, watcher, gammu):
    text = turned(SEPTETS, 0, 400)
    for part in range(3):
        piece = text[153 * part:153 * (part + 1)]
        deliver(module, gammu("7bit", piece, (76, 3, part + 1)))
        assert watcher.event()["text"] == piece


@pytest.mark.parametrize("options, text", [
    ([], "Hello {world} [~^|\\]"),
    (["--from", "InfoTel"], "Ünïcode: кот 漢字 😀"),
    (["--encoding", "ucs2", "--class", "0"], "Flash"),
    (["--service-centre", ""], "no service centre"),
    ([], turned(SEPTETS + "{}", 3, 700)),
    (["--wide-reference"], turned("{} ab", 3, 500)),
    ([], turned("漢字😀", 1, 200)),
], ids=["extension", "unicode", "forced", "no-centre", "parts", "wide-parts", "unicode-parts"])
def test_a_text_given_to_the_module_is_read_as_it_was(module, watcher, options, text):
    deliveries = module.ctl("sms", "deliver", *options, text)
    read = b"".join(bytes.fromhex(watcher.event()["hex"]) for _ in deliveries)
    assert text in (read.decode("latin-1"), read.decode("utf-16-be", "replace"))


def test_what_is_refused_harms_nothing(module, watcher):
    for vector in VECTORS:
        module.ctl("sms", "deliver", "--hex", vector["hex"], *(["--cdma"] if vector["kind"] == "cdma" else []))
        event = watcher.event()
        assert event["mode"] == ("cdma" if vector["kind"] == "cdma" else "gw")
        if vector["kind"] == "cdma":
            continue
        if vector.get("refused"):
            assert "hex" not in event, vector["name"]
        else:
            assert event["hex"] == vector["text_latin1_hex"], vector["name"]


def test_a_full_store_is_reported_and_room_lets_the_next_message_in(module, watcher):
    module.ctl("sms", "capacity", "sim", 2)
    module.ctl("sms", "deliver", "--storage", "sim", "--times", 3, "x")
    events = [watcher.event() for _ in range(3)]
    assert [(event["event"], event["storage"], event.get("index")) for event in events] == [
        ("new", "sim", 0), ("new", "sim", 1), ("full", "sim", None)]
    module.run("vekctl", "sms", "delete", "sim", 0)
    assert watcher.event()["index"] == 0


def test_an_unknown_indication_is_logged_and_the_next_message_heard(module, watcher):
    assert module.ctl("sms", "indicate", "0x47", "01010007")["told"] == 1
    watcher.record(r"Info, unknown the indication msg_id: 71\.")
    module.ctl("sms", "indicate", "0x01", "100100AA")  # too short to name a message
    module.ctl("sms", "deliver", "still here")
    assert watcher.event()["text"] == "still here"


@pytest.mark.parametrize("kind", [[], ["--soft"]])
def test_events_go_on_after_the_modem_has_restarted(module, watcher, kind):
    module.ctl("sms", "deliver", "before")
    assert watcher.event()["text"] == "before"
    module.ctl("modem", "restart", *kind)
    watcher.record("wms vek_pal_set_event_report_req success")
    module.ctl("sms", "deliver", "after")
    assert watcher.event()["text"] == "after"
    module.ctl("sms", "capacity", "memory", 2)
    module.ctl("sms", "deliver", "one too many")
    assert watcher.event()["event"] == "full"


def test_messages_wait_in_the_network_while_the_module_is_not_registered(module, watcher):
    module.ctl("modem", "w-disable", "on")
    [delivery] = module.ctl("sms", "deliver", "late")
    assert delivery["arrival"] == "unreachable"
    module.ctl("modem", "w-disable", "off")
    module.run("qmicli", "-p", "-d", "/dev/cdc-wdm0", "--device-open-qmi", "--dms-set-operating-mode=online")
    assert watcher.event()["text"] == "late"


def test_the_class_decides_the_storage_and_reading_marks_as_read(module):
    [delivery] = module.ctl("sms", "deliver", "--class", 2, "for the card")
    assert delivery["storage"] == "sim"
    tag = lambda: module.ctl("sms", "list")["stored"][0]["tag"]
    assert tag() == "not read"
    answer = json.loads(module.run("vekctl", "--json", "sms", "read", "sim", delivery["index"]).stdout)
    assert answer["text"] == "for the card"
    assert tag() == "read"


def test_deletes_one_or_all_of_a_storage(module):
    module.ctl("sms", "deliver", "--times", 3, "memory")
    module.ctl("sms", "deliver", "--storage", "sim", "sim")
    places = lambda: [(one["storage"], one["index"]) for one in module.ctl("sms", "list")["stored"]]
    module.run("vekctl", "sms", "delete", "memory", 1)
    assert places() == [("sim", 0), ("memory", 0), ("memory", 2)]
    assert module.run("vekctl", "sms", "delete", "memory", 1, check=False).returncode == 1
    module.run("vekctl", "sms", "delete-all", "memory")
    assert places() == [("sim", 0)]
    assert module.ctl("sms", "list")["last_delete_mode"] == 0, "always CDMA, whatever is stored"


def test_a_modem_that_refuses_or_hangs_is_reported(module):
    module.ctl("sms", "deliver", "x")
    module.ctl("modem", "answer", "WMS", "0x22", "error", 14, "--times", 1)
    assert module.run("vekctl", "sms", "read", "memory", 0, check=False).returncode == 1
    module.ctl("modem", "answer", "WMS", "0x01", "error", 14)
    refused = module.run("vekctl", "-v", "sms", "read", "memory", 0, check=False)
    assert refused.returncode == 3
    assert "wms vek_pal_set_event_report_req failed." in refused.stderr


def test_the_example_prints_and_deletes_what_comes_in(module):
    inbox = module.start("inbox")
    inbox.wait_line("waiting")
    module.ctl("sms", "deliver", "first\f")
    module.ctl("sms", "deliver", "--storage", "sim", "second")
    inbox.wait_line(r"^first\.$")
    inbox.wait_line("^second$")
    wait_for(lambda: module.ctl("sms", "list")["stored"] == [], what="both are deleted")


def test_decoding_needs_no_module():
    vekctl = [f"{BUILD}/bin/vekctl", "--json", "sms", "decode"]
    for vector in VECTORS:
        options = ["--cdma"] if vector["kind"] == "cdma" else []
        done = subprocess.run([*vekctl, *options, vector["hex"]], text=True, capture_output=True)
        assert done.returncode == (1 if vector.get("refused") else 0), vector["name"]
        if vector.get("refused"):
            continue
        answer = json.loads(done.stdout)
        assert answer["address"] == vector["number"], vector["name"]
        assert answer["hex"] == vector["text_latin1_hex"], vector["name"]
        if answer["encoding"] == "UCS2":
            assert answer["text"] == vector["std_text"]
