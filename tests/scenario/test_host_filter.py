"""The host-filter handshake, played by the laptop's side."""
import pytest

from harness.module import CommandFailed
from harness.wait import wait_for


def exchanges(module, *arguments):
    return [(one["line"], one["lines"], one["result"]) for one in module.ctl("host", "filter", *arguments)]


def test_the_driver_asks_and_is_ready(module, vyreld):
    assert module.at("AT+GTVYRSER=2") == ([], "OK")
    assert exchanges(module, "handshake") == [
        ("AT+GTVYRH2M=0,0,0", ["+GTVYRH2M: 0"], "OK"),
        ("AT+GTVYRH2M=0,0,1", ["+GTVYRH2M: 2"], "OK"),
        ("AT+GTVYRH2M=0,0,2", ["+GTVYRH2M: 0"], "OK"),
        ("AT+GTVYRH2M=0,1,0", ["+GTVYRH2M: 255"], "OK"),
    ]


def test_the_agent_hears_what_the_driver_says(module, vyreld):
    rows = [
        ("confirm", "disabled", "AT+GTVYRH2M=1,1,0", "filter disabled"),
        ("confirm", "enabled", "AT+GTVYRH2M=1,1,1", "filter enabled"),
        ("confirm", "busy", "AT+GTVYRH2M=1,1,2", "busy"),
        ("event", "end-user", "AT+GTVYRH2M=2,1,1", "end user event"),
        ("event", "uninstalled", "AT+GTVYRH2M=2,1,2", "filter uninstalled"),
        ("event", "radio-off", "AT+GTVYRH2M=2,1,3", "radio off"),
        ("event", "radio-on", "AT+GTVYRH2M=2,1,4", "radio on"),
        ("event", "acquire", "AT+GTVYRH2M=2,1,5", "lock wanted"),
        ("event", "release", "AT+GTVYRH2M=2,1,6", "lock released"),
        ("event", "end-user-notified", "AT+GTVYRH2M=2,1,7", "end user notified"),
    ]
    for kind, name, line, heard in rows:
        assert exchanges(module, kind, name) == [(line, [], "OK")]
        assert vyreld.wait_line("host filter").string == f"vyreld: host filter: {heard}"
    assert exchanges(module, "code", "0,0,2") == [("AT+GTVYRH2M=0,0,2", ["+GTVYRH2M: 2"], "OK")], "busy"
    assert exchanges(module, "code", "2,1,8") == [("AT+GTVYRH2M=2,1,8", [], "ERROR")]
    with pytest.raises(CommandFailed):
        module.ctl("host", "filter", "confirm", "asleep")


def test_reports_reach_the_driver_after_the_handshake(module, vyreld):
    watch = module.watch("mbim")
    at = module.at_client()
    assert at.command("AT") == ([], "OK")
    assert exchanges(module, "report", "device-manager", 3) == [("AT+GTVYRA2D=4,3", ["+GTVYRA2D: 0,2"], "OK")]
    assert exchanges(module, "handshake")[-1] == ("AT+GTVYRH2M=0,1,0", ["+GTVYRH2M: 3"], "OK")
    for subject, answer, line in (
        ("device-manager", ["+GTVYRA2D: 0,1"], "+GTVYRH2M: 0,2,7"),
        ("working-mode", [], "+GTVYRH2M: 1,2,7"),
        ("channel-lock", [], "+GTVYRH2M: 2,2,7"),
    ):
        [(_, lines, result)] = exchanges(module, "report", subject, 7)
        assert (lines, result) == (answer, "OK")
        assert watch.wait_for("+GTVYRH2M")["data"]["text"] == line + "\r"
        assert at.next_line() == line, "the AT port shows it too"


def test_without_a_daemon_the_handshake_ends_at_once(module):
    assert exchanges(module, "handshake") == [("AT+GTVYRH2M=0,0,0", [], "ERROR")]


def test_a_daemon_without_an_agent_runs_and_answers_the_error(module):
    with open(module.directory / "at_service.log", "w") as records:
        module.start("at_service", stderr=records)
    log = lambda: (module.directory / "at_service.log").read_text()
    wait_for(lambda: "registed success" in log() and "listening" in log(), what="at_service serves")
    assert module.at("AT+GTVYREC=6") == (["+GTVYREC: 1"], "OK")
    assert exchanges(module, "code", "0,0,0") == [("AT+GTVYRH2M=0,0,0", ["+GTVYRH2M: 0"], "OK")]
    assert exchanges(module, "confirm", "enabled") == [("AT+GTVYRH2M=1,1,1", [], "ERROR")]
    assert "vek_mbim_filter_enable_confirm_cb KORVANE_MIPC_T_RESPONSE_STRING failed! ERROR line=" in log()
