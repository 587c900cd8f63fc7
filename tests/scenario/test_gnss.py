"""Acquisitions on a module whose receiver, or AT server, has a good or a bad day. Each takes seconds: all run at once."""
import json
from concurrent.futures import ThreadPoolExecutor

import pytest

from harness.module import PROJECT, CommandFailed, Module

LOG = PROJECT / "tests/data/nmea/navika-100-fix.log"


def lose_the_server(module):
    """In the pause after the first poll."""
    watch = module.watch("at-server")
    watch.wait_for("AT+GTGPS?")
    module.ctl("at-server", "stop")



# What happens to the module, the acquisition's seconds, and what happens meanwhile.
CASES = {
    "fix at once": ([("gnss", "place", "-22.951900,-43.210503,-3.7"), ("gnss", "cold-start", 0)], 20, None),
    "fix late": ([("gnss", "cold-start", 1), ("gnss", "fault", "garbled", "--polls", 1)], 20, None),
    "replayed log": ([("gnss", "play", LOG)], 20, None),
    "no fix": ([("gnss", "cold-start", 9)], 2, None),
    "errors": ([("gnss", "fault", "error")], 2, None),
    "silent": ([("gnss", "fault", "silent")], 2, None),
    "in a tunnel": ([("gnss", "cold-start", 0), ("gnss", "fault", "no-fix")], 2, None),
    "server lost": ([("gnss", "cold-start", 9)], 4, lose_the_server),
}


class Outcome:
    def __init__(self, name):
        commands, seconds, meanwhile = CASES[name]
        with Module() as module:
            for command in commands:
                module.ctl(*command)
            with ThreadPoolExecutor(1) as other:
                started = other.submit(meanwhile, module) if meanwhile else None
                done = module.run("vekctl", "-v", "--json", "gnss", "fix", "--timeout", seconds, check=False)
                if started:
                    started.result(10)
            self.status = done.returncode
            self.fix = json.loads(done.stdout) if done.returncode == 0 else None
            self.records = done.stderr
            self.receiver = module.ctl("gnss", "show")
            self.queues = module.shell("tail -n +2 /proc/sysvipc/msg")


@pytest.fixture(scope="module")
def outcomes():
    with ThreadPoolExecutor(len(CASES)) as pool:
        yield {name: pool.submit(Outcome, name) for name in CASES}


@pytest.fixture
def outcome(outcomes, request):
    return outcomes[request.param].result(120)


def of(*names):
    return pytest.mark.parametrize("outcome", names, indirect=True)


@of("fix at once")
def test_a_warm_receiver_gives_a_fix_at_once(outcome):
    assert outcome.status == 0, outcome.records
    assert (outcome.fix["latitude"], outcome.fix["longitude"]) == pytest.approx((-22.951900, -43.210503), abs=1e-5)
    assert outcome.fix["altitude"] == -3.7
    assert outcome.fix["satellites"] == 14 and outcome.fix["constellation"] == "several"
    assert "mlat=-22.95190" in outcome.fix["map"]
    assert outcome.records.count("AT response!!!") == 1


@of("fix late")
def test_a_cold_receiver_gives_one_late(outcome):
    assert outcome.status == 0, outcome.records
    assert outcome.records.count("GNSS data is invalid.") == 1
    assert outcome.records.count("GNSS data is valid.") == 1


@of("replayed log")
def test_a_replayed_log_gives_the_position_that_it_was_taken_at(outcome):
    assert outcome.status == 0, outcome.records
    assert (outcome.fix["latitude"], outcome.fix["longitude"]) == pytest.approx((37.965442, -122.532424), abs=1e-5)


@of("no fix", "errors", "silent", "in a tunnel")
def test_without_a_fix_the_time_limit_ends_it(outcome):
    assert outcome.status == 1
    assert "Timeout: location data is invalid." in outcome.records
    assert "vekctl: no fix within 2 s" in outcome.records


@of("server lost")
def test_a_server_that_goes_away_costs_polls_and_the_switching_off(outcome):
    assert outcome.status == 1
    assert "Failed to get location AT response. Ret=-1, RLen=0" in outcome.records
    assert "Failed to send AT command: AT+GTGPSPOWER=0" in outcome.records
    assert outcome.receiver["on"]


@of(*(name for name in CASES if name != "server lost"))
def test_the_receiver_is_off_afterwards(outcome):
    assert not outcome.receiver["on"]


@of(*CASES)
def test_no_queue_stays(outcome):
    assert outcome.queues == ""


def test_a_receiver_travels_its_journey(module):
    module.ctl("gnss", "cold-start", 0)
    assert "km" in module.ctl("gnss", "route", "46,14,300", "46,15,900", "--speed", 3600)  # a kilometre a second
    assert module.at("AT+GTGPSPOWER=1") == ([], "OK")

    def at():
        [text], result = module.at("AT+GTGPS?")
        assert result == "OK"
        fields = next(line for line in text.split("\r\n") if line.startswith("$GNGGA")).split(",")
        return float(fields[4]), float(fields[9])

    before = at()
    module.shell("sleep 0.5")
    after = at()
    assert before[0] < after[0] < 1500 and 300 <= before[1] < after[1] < 900


def test_a_receiver_turns_down_what_makes_no_sense(module):
    for command in [("place", "91,0"), ("place", "1"), ("place", "a,1,2"), ("place", "1,,2"), ("route", "1,1"), ("play", "/nowhere"),
                    ("play", "/proc/self/status"), ("constellations", "moon"), ("fault", "odd"), ("cold-start", -1)]:
        with pytest.raises(CommandFailed):
            module.ctl("gnss", *command)
    assert module.at("AT+GTGPS?") == ([], "ERROR")
    assert module.at("AT+GTGPSPOWER=2") == ([], "ERROR")
    assert module.at("AT+GTGPSPOWER?") == (["+GTGPSPOWER: 0"], "OK")
