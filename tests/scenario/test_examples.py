"""The examples that the reference quotes do what they say."""
import re


def test_a_worker_says_that_it_is_done(module):
    assert module.run("worker").stdout == "counted to 3\n"


def test_settings_outlive_the_program(module):
    said = [re.findall(r"interval: (\d+) s", module.run("settings").stdout) for _ in range(2)]
    assert said == [["60", "61"], ["61", "62"]]


def test_messages_reach_a_daemon_that_has_asked_the_at_server(module):
    daemon = module.start("messages")
    assert daemon.wait_line(r"firmware: (\S+)")[1] == module.at("AT+CGMR")[0][0]
    daemon.wait_line("listening")
    module.run("messages", "hello")
    daemon.wait_line("note: hello")


def test_a_heartbeat_comes_out_of_its_queue(module):
    assert len(re.findall(r"^\S+ [0-9a-f]{4}$", module.run("heartbeat").stdout, re.M)) == 3
