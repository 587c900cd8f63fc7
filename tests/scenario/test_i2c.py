"""The embedded controller on the I2C bus: what the library makes of it, and what the controller sees of the library."""
import subprocess

import pytest

from harness.module import Module
from harness.qmi import Program, vekctl

EC = "0x2c"


def seen(module):
    """The transfers since this was last asked: (direction, length, errno)."""
    return [(t["direction"], t["length"], t["error"]) for t in module.ctl("ec", "transfers")]


def watch_interrupts(module, *options):
    watcher = Program(module, "vekctl", "-v", "--json", "i2c", "watch", EC, *options, stderr=subprocess.STDOUT)
    watcher.wait_line('"watching"')
    return watcher


def test_what_one_program_writes_another_reads(module):
    assert vekctl(module, "i2c", "write", EC, "0x20", 1, 2, 255)[1] == {"written": 4}
    assert module.ctl("ec", "show", "32", "3")["registers"] == [1, 2, 255]
    assert vekctl(module, "i2c", "read", EC, 3, "--register", "0x20")[1] == {"bytes": "01 02 FF"}
    # A peer that nobody here wrote, with both messages in one transfer.
    assert module.shell(f"i2ctransfer -y 3 w1@{EC} 0x20 r3") == "0x01 0x02 0xff\n"
    module.shell(f"i2ctransfer -y 3 w3@{EC} 0x30 7 8")
    assert vekctl(module, "i2c", "read", EC, 2, "--register", "0x30")[1] == {"bytes": "07 08"}
    assert module.ctl("device", "show")["gpio"] == {"161": {"direction": 0, "level": 1}}


def test_the_controller_sees_reads_in_pieces_and_writes_whole(module):
    module.ctl("ec", "set", 0, *range(1, 256), 0)
    module.ctl("ec", "set", 0x10, 0)  # which a read clears
    vekctl(module, "i2c", "write", EC, 0)
    answer = vekctl(module, "i2c", "read", EC, 5000)[1]
    registers = [0 if i == 0x10 else (i + 1) % 256 for i in range(256)]
    assert list(bytes.fromhex(answer["bytes"])) == (registers * 20)[:5000], "the pieces join"
    assert seen(module) == [("write", 1, 0), ("read", 2048, 0), ("read", 2048, 0), ("read", 904, 0)]

    vekctl(module, "i2c", "write", EC, *([7] * 5000))
    assert seen(module) == [("write", 5000, 0)]
    assert vekctl(module, "i2c", "read", EC, 5122, check=False)[0] == 2


def test_a_device_that_refuses_or_stops_early(module):
    rows = [
        (["nack"], ["write", EC, 1], "No such device or address", ("write", 1, 6)),
        (["nack"], ["read", EC, 4], "No such device or address", ("read", 4, 6)),
        (["nack-data", "--bytes", 2], ["write", EC, 0x40, 5, 6], "Remote I/O error", ("write", 3, 121)),
        (["timeout"], ["read", EC, 4], "Connection timed out", ("read", 4, 110)),
    ]
    for fault, command, text, transfer in rows:
        module.ctl("ec", "fault", *fault, "--times", 1)
        status, _, records = vekctl(module, "-v", "i2c", *command, check=False)
        assert status == 1 and f"ioctl returned -1,{text}" in records, fault
        assert seen(module) == [transfer]
    assert module.ctl("ec", "show", 0x40, 2)["registers"] == [5, 0], "the byte before the refusal has arrived"

    status, _, records = vekctl(module, "-v", "i2c", "read", "0x2d", 1, check=False)
    assert status == 1 and "No such device or address" in records, "nobody has this address"

    module.ctl("ec", "fault", "short", "--bytes", 2)
    assert vekctl(module, "i2c", "read", EC, 4, "--register", 0)[1] == {"bytes": "4B 45 FF FF"}
    module.ctl("ec", "normal")
    assert vekctl(module, "i2c", "read", EC, 4, "--register", 0)[1] == {"bytes": "4B 45 43 01"}

    # The second piece of a long read fails: the third is not asked for.
    module.ctl("ec", "transfers")
    module.ctl("ec", "fault", "timeout", "--times", 2)
    assert vekctl(module, "i2c", "read", EC, 5000, check=False)[0] == 1
    assert seen(module) == [("read", 2048, 110)]


def test_interrupts_reach_the_one_who_has_the_bus_open(module):
    assert module.ctl("ec", "interrupt") == {"delivered": False}, "nobody listens yet"
    watcher = watch_interrupts(module, "--count", 3, "--register", "0x10")
    rows = [(5, "lid closed"), (6, "100% %s%n"), (7, "x" * 600)]
    for number, (cause, text) in enumerate(rows, 1):
        assert module.ctl("ec", "interrupt", text, "--cause", cause) == {"delivered": True}
        said = []
        while not any('"interrupt"' in line for line in said) or not any("irq_loop" in line for line in said):
            said.append(watcher.process.next_line())
        assert f'{{"event":"interrupt","number":{number},"register":{cause}}}' in said
        assert any(f"]-{text[:254]} " in line for line in said)
    assert watcher.process.popen.wait(10) == 0
    assert module.ctl("ec", "show", 0x10, 1)["registers"] == [0], "reading the cause clears it"


def test_the_example_asks_why_it_was_interrupted(module):
    example = module.start("ec_cause")
    example.wait_line("waiting")
    assert module.ctl("ec", "interrupt", "--cause", 42) == {"delivered": True}
    example.wait_line("^cause 42$")
    assert example.popen.wait(10) == 0


def test_a_second_opener_is_refused_until_the_first_has_gone(module):
    watcher = watch_interrupts(module)
    status, answer, records = vekctl(module, "-v", "i2c", "read", EC, 1, check=False)
    assert (status, answer) == (1, None)
    assert "i2c socket bind failed" in records and "another program has it open" in records
    assert module.ctl("ec", "interrupt") == {"delivered": True}
    watcher.wait_line('"interrupt"')
    assert watcher.stop("INT") == 130
    assert vekctl(module, "i2c", "read", EC, 1)[0] == 0


@pytest.mark.parametrize("address, options, status", [("0x12c", [], 2), ("0x12c", ["--ten-bit"], 1), ("0x400", ["--ten-bit"], 2)])
def test_addresses_beyond_seven_bits(module, address, options, status):
    """The bus is told the address before its width, and the kernel refuses more than 7 bits then."""
    answer = vekctl(module, "-v", "i2c", "read", address, 1, *options, check=False)
    assert answer[0] == status
    assert ("i2c ioctl set slave addr fail -1" in answer[2]) == (status == 1)


def test_an_address_of_the_scenario():
    with Module("[ec]\naddress = 0x40\n") as module:
        assert vekctl(module, "i2c", "read", "0x40", 1, "--register", 1)[1] == {"bytes": "45"}
        assert vekctl(module, "i2c", "read", EC, 1, check=False)[0] == 1
