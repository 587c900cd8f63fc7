"""Clients that talk nonsense to the modem: it answers what it can, and goes on."""
import json

from harness.module import Module
from harness.qmi import fields, qmicli, trace, vekctl

# Runs in the box: real frames with bytes changed, cut, repeated and joined, on connections that come and go.
NONSENSE = """
import random, select, socket, sys
seeds = [bytes.fromhex(line) for line in sys.argv[2:]]
dice = random.Random(int(sys.argv[1]))
opening = bytes.fromhex("011b0000000000 0100ff1000 010d00") + b"/dev/cdc-wdm0"
opening = opening[:1] + (len(opening) - 1).to_bytes(2, "little") + opening[3:]
answers = 0
for _ in range(30):
    with socket.socket(socket.AF_UNIX) as client:
        client.connect("\\0qmi-proxy")
        client.sendall(opening)
        try:
            for _ in range(40):
                frame = bytearray(dice.choice(seeds))
                for _ in range(dice.choice([0, 1, 1, 2, 5])):
                    frame[dice.randrange(6, len(frame))] = dice.choice([0, 1, 0x7F, 0x80, 0xFF, dice.randrange(256)])
                if dice.random() < 0.1:
                    frame = frame[: dice.randrange(1, len(frame))]
                    frame[1:3] = max(len(frame) - 1, 0).to_bytes(2, "little")
                client.sendall(frame)
                if select.select([client], [], [], 0.002)[0]:
                    answers += bool(client.recv(65536))
        except OSError:
            pass  # the modem may hang up on nonsense
print(answers)
"""


def requests(module):
    """Frames of real requests, as qmicli and the library send them."""
    for question in ("--dms-get-ids", "--dms-set-operating-mode=online", "--get-service-version-info", "--nas-get-serving-system",
                     "--nas-get-system-info", "--wds-get-profile-list=3gpp", "--wms-get-routes", "--uim-get-card-status",
                     "--wds-create-profile=3gpp,name=n,apn=a", "--wds-modify-profile=3gpp,1,apn=b", "--uim-get-slot-status"):
        qmicli(module, question, check=False)
    vekctl(module, "info")
    return sorted({entry["hex"] for entry in trace(module, type="request") if entry["message"] != "CTL_INTERNAL_PROXY_OPEN"})


def test_nonsense_does_not_bring_the_modem_down():
    with Module("[modem]\nclient_ids = 250\n") as module:
        seeds = requests(module)
        assert len(seeds) > 15
        answers = sum(int(module.run("python3", "-c", NONSENSE, seed, *seeds).stdout) for seed in range(3))
        assert answers > 300, "it was not all turned away at the door"
        module.ctl("modem", "restart", "--soft")  # the ids that nonsense took
        assert fields(qmicli(module, "--dms-get-ids").stdout)["IMEI"] == "359072061234569"
        notes = [json.loads(line)["data"].get("note", "") for line in module.run("modulectl", "--json", "trace").stdout.splitlines() if json.loads(line)["data"]]
        assert not [note for note in notes if "record" in note or "table" in note], "a fault of the modem's own"
