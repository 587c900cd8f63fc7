"""Twenty thousand commands through the whole path."""
import os

# What AddressSanitizer keeps back of freed memory would look like growth.
os.environ.setdefault("ASAN_OPTIONS", "quarantine_size_mb=0:thread_local_quarantine_size_kb=0")

COMMANDS = 20_000
CLIENTS = 4
# What cannot depend on the order in which the clients' commands come.
MIX = [
    ("AT+GTVYREN?", ["+GTVYREN: 0"], "OK"),
    ("AT+GTVYREN=?", ["+GTVYREN: (0,1)"], "OK"),
    ("AT+GTVYRSER?", ["+GTVYRSER: 0"], "OK"),
    ("AT+CGMM", ["VK12-EA"], "OK"),
    ("AT+GTVYREN=7", [], "ERROR"),
    ("AT+GTVYRCNT=1", ["+GTVYRCNT: ", " connect: 0"], "OK"),
    ("AT+NOSUCH", [], "ERROR"),
]


def consumption(module, program):
    """(resident kilobytes, open descriptors)"""
    script = f"p=$(pidof {program}); awk '/VmRSS/ {{print $2}}' /proc/$p/status; ls /proc/$p/fd | wc -l"
    kilobytes, descriptors = module.shell(script).split()
    return int(kilobytes), int(descriptors)


def exchange(clients, count):
    """Keeps every client's pipe full, and checks every answer against its command."""
    answered = 0
    for start in range(0, count, CLIENTS * len(MIX)):
        for number, client in enumerate(clients):
            order = MIX[number:] + MIX[:number]
            client.socat.write("".join(line + "\r\n" for line, _, _ in order))
        for number, client in enumerate(clients):
            for line, lines, result in MIX[number:] + MIX[:number]:
                assert client.answer() == (lines, result), line
                answered += 1
    return answered


def test_none_is_lost_none_is_answered_twice_and_nothing_grows(module, vyreld):
    clients = [module.at_client() for _ in range(CLIENTS)]
    exchange(clients, 2_000)  # whatever is allocated once, is now
    before = {program: consumption(module, program) for program in ("vyreld", "module-sim")}

    assert exchange(clients, COMMANDS) >= COMMANDS

    for client in clients:
        assert client.command("ATI")[0][0] == "VEK", "an answer too many would come first"
    for program, (kilobytes, descriptors) in before.items():
        kilobytes_now, descriptors_now = consumption(module, program)
        assert descriptors_now == descriptors, program
        assert kilobytes_now - kilobytes < 512, f"{program}: {kilobytes} kB, then {kilobytes_now} kB"
