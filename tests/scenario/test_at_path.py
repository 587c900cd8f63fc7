"""AT commands all the way: a client, the AT server, the daemon with the library in it, and back."""


from harness.wait import wait_for

COMMANDS_LOG = "commands.log"


def on_disk(module, file):
    return module.run("od", "-An", "-tx1", f"/data/vyrel/{file}").stdout.split()


def test_reads_sets_and_tests_what_the_library_answers_itself(module, vyreld):
    at = module.at_client()
    rows = [
        ("AT+GTVYREN?", ["+GTVYREN: 0"], "OK"),
        ("AT+GTVYREN=?", ["+GTVYREN: (0,1)"], "OK"),
        ("AT+GTVYRSER=?", ["+GTVYRSER: (0,1,2)"], "OK"),
        ("AT+GTVYRSER=1", [], "OK"),
        ("at+gtvyrser?", ["+GTVYRSER: 1"], "OK"),
        ("AT+GTVYRDIAG=1", [], "OK"),
        ("AT+GTVYRDIAG?", ["+GTVYRDIAG: 1"], "OK"),
        ("AT+GTVYREN=1", [], "OK"),
        ("AT+GTVYREN?", ["+GTVYREN: 1"], "OK"),
    ]
    for line, lines, result in rows:
        assert at.command(line) == (lines, result), line
    assert module.run("cat", "/etc/vyrel_main_switch_flag.cfg").stdout[0] == "1"
    assert on_disk(module, "vyrel_service_diagnosis_mode")[:2] == ["01", "01"]


def test_a_changed_setting_is_backed_up_and_survives_the_daemon(module, vyreld):
    backups = (module.directory / COMMANDS_LOG).read_text().count("odm_upgrader backup\n")
    assert module.at("AT+GTVYRPOC=2") == ([], "OK")
    assert (module.directory / COMMANDS_LOG).read_text().count("odm_upgrader backup\n") == backups + 1

    module.run("pkill", "-KILL", "-x", "vyreld")
    wait_for(lambda: vyreld.popen.poll() is not None, what="vyreld has ended")
    assert module.at("AT+GTVYRPOC?") == ([], "ERROR")
    module.start_vyreld()
    assert module.at("AT+GTVYRPOC?") == (["+GTVYRPOC: 2"], "OK")


def test_refuses_what_is_wrong_and_goes_on(module, vyreld):
    at = module.at_client()
    for line in (
        "AT+GTVYREN", "AT+GTVYREN=", "AT+GTVYREN=2", "AT+GTVYREN=1,1", "AT+GTVYREN=x", "AT+GTVYREN=99999999999999999999",
        "AT+GTVYRSER=-1", "AT+GTVYREN=\"", "AT+GTVYREN=%s%n%n", "AT+GTESIMICCID=1", "AT+GTVYREN=" + "1" * 512,
        "AT+GTVYREN=" + "," * 500, "AT+GTVYREN=" + "\"" * 501, "AT+GTVYREN=\u20ac", "AT+GTAUTHCMD=\"0000\"", "AT+GTVYREN?x",
        "AT+GTVYREN=" + "A" * 1008, "AT+GTVYREN=" + "A" * 1009,
    ):
        assert at.command(line) == ([], "ERROR"), line
        assert at.command("AT+GTVYREN?") == (["+GTVYREN: 0"], "OK"), f"after {line}"


def test_guarded_commands_ask_for_the_diagnosis_mode(module, vyreld):
    assert module.at("AT+GTVYRSER=1") == ([], "OK")
    assert module.at("AT+GTVYRBS=1,262") == (["need enter diag mode first"], "ERROR")
    assert module.at("AT+GTVYRDIAG=1") == ([], "OK")
    assert module.at("AT+GTVYRBS=1,262")[1] == "OK"


def test_service_requests_reach_the_daemon_and_come_back(module, vyreld):
    assert module.at("AT+GTVYRBS=1,262") == ([], "OK")
    assert vyreld.wait_line("request").string == "vyreld: request 1 to the bootstrap: set, value 262, 0 more bytes"
    assert module.at("AT+GTVYRBS?") == (["+GTVYRBS: \n mcc: 262"], "OK")
    assert vyreld.wait_line("request").string == "vyreld: request 6 to the bootstrap: query, value 0, 0 more bytes"


def test_a_restarted_daemon_takes_over_in_the_middle(module, vyreld):
    at = module.at_client()
    for _ in range(3):
        assert at.command("AT+GTVYREN?") == (["+GTVYREN: 0"], "OK")
        module.run("pkill", "-KILL", "-x", "vyreld")
        assert at.command("AT+GTVYREN?") == ([], "ERROR")
        module.start_vyreld()
    assert at.command("AT+GTVYREN?") == (["+GTVYREN: 0"], "OK")


def test_a_stopped_daemon_answers_what_it_was_asked_and_not_more(module, vyreld):
    module.ctl("at-server", "daemon-timeout", 300)
    at = module.at_client()
    # A signal stops the threads one by one; all have when none is in another state.
    module.run("sh", "-c", "pkill -STOP -x vyreld; while grep -L 'State:.T' /proc/$(pidof vyreld)/task/*/status | grep -q .; do :; done")
    assert at.command("AT+GTVYRSER?") == ([], "ERROR")
    assert at.command("AT+GTVYRDIAG?") == ([], "ERROR")
    module.ctl("at-server", "daemon-timeout", 10_000)
    at.send("AT+GTVYREN?")
    module.run("pkill", "-CONT", "-x", "vyreld")
    assert at.answer() == (["+GTVYREN: 0"], "OK"), "not the answer to an earlier command"


def test_the_daemon_ends_when_it_is_told_to(module, vyreld):
    module.run("pkill", "-TERM", "-x", "vyreld")
    vyreld.wait_line("stopping")
    assert vyreld.popen.wait(5) == 0
