"""The module's AT server: its clients on one side, a daemon that may behave badly on the other."""
import time
from pathlib import Path

import pytest

import harness
from harness.at_client import AtClient
from harness.wait import wait_for

SCRIPTED = Path(harness.__file__).parent / "scripted_daemon.py"


@pytest.fixture
def daemon(module):
    daemon = module.start("/usr/bin/python3", SCRIPTED)
    daemon.wait_line("running")
    return daemon


def test_answers_every_line_once_whatever_it_is(module):
    at = module.at_client()
    rows = [
        ("AT", [], "OK"),
        ("at", [], "OK"),
        ("ATE0V1Q0", [], "OK"),
        ("ATE5", [], "ERROR"),
        ("ATE0X", [], "ERROR"),
        ("AT+CGMM", ["VK12-EA"], "OK"),
        ("at+cgsn", ["359072061234569"], "OK"),
        ("AT+CGSN=?", [], "OK"),
        ("AT+CGSN=1", [], "ERROR"),
        ("AT+NOSUCH", [], "ERROR"),
        ("AT+", [], "ERROR"),
        ("AT=?", [], "ERROR"),
        ("hello", [], "ERROR"),
        ("A", [], "ERROR"),
        ("%s%n%x", [], "ERROR"),
        ("AT+CGMM" + "A" * 100_000, [], "ERROR"),
        ("AT\xff\xfe", [], "ERROR"),
        ("A\0T\x1b+C\x07GMM", ["VK12-EA"], "OK"),
        ("AT+CGXX\b\bMM", ["VK12-EA"], "OK"),
    ]
    for line, lines, result in rows:
        assert at.command(line) == (lines, result), line[:40]
    at.socat.write("\r\n\r\n\r\nAT+CGMM\r\r\nAT\r")
    assert at.answer() == (["VK12-EA"], "OK")
    assert at.answer() == ([], "OK")


def test_each_connection_has_its_own_echo(module):
    terminal, tcp = module.at_client(AtClient.TERMINAL), module.at_client()
    assert terminal.command("AT+CGMM") == (["AT+CGMM", "VK12-EA"], "OK")
    assert terminal.command("ATE0") == (["ATE0"], "OK")
    assert terminal.command("AT+CGMM") == (["VK12-EA"], "OK")
    assert tcp.command("ATE1") == ([], "OK")
    assert tcp.command("AT") == (["AT"], "OK")
    assert terminal.command("AT") == ([], "OK")


def test_a_terminal_serves_one_client_after_another(module):
    for _ in range(5):
        terminal = module.at_client(AtClient.TERMINAL)
        assert terminal.command("AT+CGMM")[1] == "OK"
        terminal.send("AT+CGMM")  # whose answer nobody fetches
        terminal.close()


def test_stops_drops_and_starts(module):
    at = module.at_client()
    assert at.command("AT") == ([], "OK")
    assert module.ctl("at-server", "drop") == {"closed": 1}
    assert at.next_line() is None
    at = module.at_client()
    assert at.command("AT") == ([], "OK")

    module.ctl("at-server", "stop")
    assert at.next_line() is None
    assert module.run("socat", "-", AtClient.TCP, check=False, input="").returncode != 0
    assert module.run("test", "-e", "/dev/ttyAT0", check=False).returncode != 0

    module.ctl("at-server", "start")
    assert module.at_client().command("AT") == ([], "OK")
    assert module.at_client(AtClient.TERMINAL).command("ATE0")[1] == "OK"
    assert module.ctl("status")["at-server"]["running"] is True


def test_forwards_the_line_without_its_end_and_shows_the_answer(module, daemon):
    at = module.at_client()
    assert at.command("AT+GTVYRCNT=some \"text\", more") == ([' more'], "OK")
    assert daemon.wait_line("AT").string == 'AT+GTVYRCNT=some "text", more'
    assert at.command("AT+GTVYRCNT=error,why not") == (["why not"], "ERROR")
    lines, result = at.command("AT+GTVYRCNT=long,8188")
    assert (lines, result) == (["x" * 8188], "OK")
    longest = "AT+GTVYRCNT=" + "y" * 1007
    assert at.command(longest) == (["y" * 1007], "OK")
    assert at.command(longest + "y") == ([], "ERROR"), "the daemon would get it cut"


def test_clients_wait_for_each_other_only_where_the_daemon_is_asked(module, daemon):
    first, second, third = (module.at_client() for _ in range(3))
    first.send("AT+GTVYRCNT=wait,1.5,one")
    wait_for(lambda: daemon.next_line().startswith("AT+GTVYRCNT=wait"))
    second.send("AT+GTVYRCNT=two")
    assert third.command("AT+CGMM") == (["VK12-EA"], "OK")
    assert not first.has_output() and not second.has_output()
    assert second.answer() == (["two"], "OK")
    assert first.answer() == (["one"], "OK")


def ask_impatiently(module, at, line):
    module.ctl("at-server", "daemon-timeout", 300)
    try:
        return at.command(line)
    finally:
        module.ctl("at-server", "daemon-timeout", 15_000)


def test_a_late_answer_is_nobodys(module, daemon):
    events = module.watch("at-server")
    at = module.at_client()
    for text in ("first", "second"):
        assert ask_impatiently(module, at, f"AT+GTVYRCNT=wait,0.5,late-{text}") == ([], "ERROR")
        assert at.command(f"AT+GTVYRCNT={text}") == ([text], "OK")
        events.wait_for("a late answer was dropped")


def test_a_daemon_that_owes_an_answer_for_ever_is_asked_again(module, daemon):
    at = module.at_client()
    for bad in ("silent", "stub"):
        assert ask_impatiently(module, at, f"AT+GTVYRCNT={bad}") == ([], "ERROR")
        assert at.command("AT+GTVYRCNT=good") == (["good"], "OK")


def test_no_daemon_or_one_that_dies_is_an_error_at_once(module, daemon):
    at = module.at_client()
    started = time.monotonic()
    assert at.command("AT+GTVYRCNT=die") == ([], "ERROR")
    assert at.command("AT+GTVYRCNT=nobody") == ([], "ERROR")
    assert time.monotonic() - started < 5, "the limit is 15 s"


def test_unsolicited_lines_reach_every_connection_in_full(module, daemon):
    tcp, terminal = module.at_client(), module.at_client(AtClient.TERMINAL)
    assert terminal.command("ATE0")[1] == "OK"
    assert tcp.command("AT") == ([], "OK")
    tcp.send("AT+GTVYRCNT=wait,0.3,answer")
    module.shell("printf '+GTVYRPOC: CHECK' | socat -u - UNIX-SENDTO:/data/vek_pal_fwa.sock")
    assert terminal.next_line() == "+GTVYRPOC: CHECK"
    assert tcp.answer() == (["+GTVYRPOC: CHECK", "answer"], "OK")


def test_a_client_that_leaves_takes_nothing_with_it(module, daemon):
    leaving, staying = module.at_client(), module.at_client()
    assert leaving.command("AT") == ([], "OK")
    leaving.send("AT+GTVYRCNT=wait,0.3,unheard")
    wait_for(lambda: daemon.next_line().startswith("AT+GTVYRCNT=wait"))
    leaving.close()
    assert staying.command("AT+GTVYRCNT=heard") == (["heard"], "OK")
