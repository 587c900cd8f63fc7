"""Every operation of the reference's tables, from the AT port to the daemon: which request arrives, with what in it."""
import re

from harness.module import PROJECT

REFERENCE = (PROJECT / "docs/at-commands.md").read_text()
SERVICES = {
    "GTVYRDEV": "device manager", "GTVYRBS": "bootstrap", "GTVYRCNT": "connection manager", "GTVYRSPC": "PC client",
    "GTVYRESIM": "eSIM manager", "GTVYRLOG": "logging manager", "GTVYRRECO": "recovery manager",
    "GTVYREC": "embedded-controller manager",
}
ROW = re.compile(r"^\| `AT\+(\w+)=(\d+)(.*?)` \| (.*?) \| (.*?) \| (.*?) \|$", re.M)
RANGE = re.compile(r"`\w+` (\d+) to \d+( digits| hexadecimal digits| characters)?")


def example(least, unit):
    return (str(least), int(least), 0) if not unit else (f'"{"1" * int(least)}"', None, int(least) + 1)


def operations():
    """(command, request number, line with the least values, its first number, bytes of payload, line without or None)"""
    counted = {}
    for command, operation, parameters, ranges, bare, request in ROW.findall(REFERENCE):
        if request == "none":
            continue
        number = counted[command] = counted.get(command, -1) + 1
        values = [example(*found) for found in RANGE.findall(ranges)]
        numbers = [value for _, value, _ in values if value is not None]
        payload = sum(size for _, _, size in values) + 4 * max(0, len(numbers) - 1)
        head = f"AT+{command}={operation}"
        line = ",".join([head] + [text for text, _, _ in values])
        yield command, number, line, (numbers or [0])[0], payload, head if bare == "asks the daemon" and values else None


def test_each_request_reaches_the_daemon_with_its_record(module, vyreld):
    rows = list(operations())
    assert len(rows) == 53
    for command, number, line, value, payload, bare in rows:
        module.at(line)
        start, _, record = vyreld.wait_line("request").string.partition(", ")
        assert start.startswith(f"vyreld: request {number} to the {SERVICES[command]}: "), line
        assert record == f"value {value}, {payload} more bytes", line
        if bare is not None:
            module.at(bare)
            seen = vyreld.wait_line("request").string
            assert seen == f"vyreld: request {number} to the {SERVICES[command]}: query, value 0, 0 more bytes", bare


def test_what_is_out_of_range_reaches_nobody(module, vyreld):
    rows = [
        'AT+GTVYRBS=1,0', 'AT+GTVYRBS=1,1000', 'AT+GTVYRBS=1', 'AT+GTVYRBS=1,262,1', 'AT+GTVYRBS=1,"262"', 'AT+GTVYRBS=1,-1',
        'AT+GTVYRBS=0,bare', 'AT+GTVYRBS=0,""', 'AT+GTVYRBS=0,"' + "x" * 256 + '"', 'AT+GTVYRBS=8', 'AT+GTVYRBS=x',
        'AT+GTVYRESIM=3,"8949020000123456789x"', 'AT+GTVYREC=4,"123"', 'AT+GTVYRCNT=1,1', 'AT+GTVYRSPC=4,30,',
    ]
    for line in rows:
        assert module.at(line) == ([], "ERROR"), line
    assert module.at("AT+GTVYRBS=6")[1] == "OK"
    assert "request 6 to the bootstrap" in vyreld.wait_line("request").string, "the first that got through"


def test_arguments_of_511_characters_are_read(module, vyreld):
    log = module.directory / "vyreld.log"
    for length, read in ((511, True), (512, False)):
        arguments = '0,"' + "x" * (length - 4) + '"'
        assert module.at("AT+GTVYRBS=" + arguments) == ([], "ERROR")
        assert (f"GTVYRBS: input params is : {arguments}" in log.read_text()) == read


def test_settings_survive_the_daemon(module, vyreld):
    assert module.at('AT+GTVYRBS=0,"https://kept.example"') == ([], "OK")
    assert module.at("AT+GTVYRDEV=1,77") == ([], "OK")
    module.run("pkill", "-KILL", "-x", "vyreld")
    module.start_vyreld()
    assert module.at("AT+GTVYRBS=0") == (["+GTVYRBS: \n url: https://kept.example"], "OK")
    assert module.at("AT+GTVYRDEV=1") == (["+GTVYRDEV: \n exception handling time: 77"], "OK")
