"""The box itself: what is private to it, what it lets through, and the commands that start one."""
import os
import subprocess
import time

from harness.module import BOX, BUILD, PROJECT


def box(*arguments, **options):
    return subprocess.run([BOX, *map(str, arguments)], capture_output=True, text=True, timeout=60, **options)


def test_the_exit_status_is_the_commands_or_says_that_there_was_no_box(tmp_path):
    rows = [
        (["--bare", "--", "true"], 0),
        (["--bare", "--", "sh", "-c", "exit 7"], 7),
        (["sh", "-c", "exit 7"], 7),
        (["--bare", "--", "sh", "-c", "kill -9 $$"], 128 + 9),
        ([], 125),
        (["--no-such-option", "true"], 125),
        (["--run"], 125),
        (["--join", tmp_path, "--", "true"], 125),
        (["--with-module", "--build", tmp_path, "--", "true"], 125),
        (["--scenario", tmp_path / "none", "--", "true"], 125),
    ]
    for arguments, status in rows:
        done = box(*arguments)
        assert done.returncode == status, (arguments, done.stderr)
        assert (status != 125) or done.stderr, "a reason is given"


def test_nothing_in_it_reaches_the_outside(tmp_path):
    (tmp_path / "shared").mkdir()
    script = f"""
      echo 1 > /data/vyrel/x && echo 1 > /etc/resolv.conf && echo 1 > /dev/shm/sem.x && echo 1 > /file && rm /etc/passwd &&
      test "$(printf timer >> /sys/power/wake_lock; cat /sys/power/wake_lock)" = timer &&
      ! touch {PROJECT}/x && ! touch /usr/x && ipcmk -Q > {tmp_path}/shared/queue && hostname other && ip -o link"""
    before = subprocess.run(["ipcs", "-q"], capture_output=True, text=True).stdout
    for kind in (["--bare"], []):
        done = box(*kind, "--share", tmp_path / "shared", "--", "sh", "-c", script)
        assert done.returncode == 0, done.stderr
        assert [line.split()[1] for line in done.stdout.splitlines()] == ["lo:"]
    assert "queue" in (tmp_path / "shared/queue").read_text()
    assert subprocess.run(["ipcs", "-q"], capture_output=True, text=True).stdout == before
    assert os.path.exists("/etc/passwd") and not os.path.exists("/file")


def test_the_modules_own_tools_are_on_record():
    done = box("--", "sh", "-c", "odm_upgrader backup; reboot -f; mount -o remount rw /; cat /run/module/commands.log")
    assert done.stdout == "odm_upgrader backup\nreboot -f\nmount -o remount rw /\n"


def test_its_network_can_be_built_up_as_a_modules():
    script = """
      ip link add rmnet_data0 type veth peer name operator && ip netns add far && ip link set operator netns far &&
      nsenter --net=/run/netns/far sh -c 'ip address add 10.1.0.1/24 dev operator && ip link set operator up' &&
      ip address add 10.1.0.2/24 dev rmnet_data0 && ip link set rmnet_data0 up && route add default dev rmnet_data0 &&
      ping -c1 -W5 10.1.0.1 >/dev/null && cat /sys/devices/virtual/net/rmnet_data0/statistics/rx_bytes"""
    done = box("--", "sh", "-c", script)
    assert done.returncode == 0, done.stderr
    assert int(done.stdout) > 0


def test_a_bare_box_costs_next_to_nothing():
    times = []
    for _ in range(10):
        started = time.monotonic()
        assert box("--bare", "--", "true").returncode == 0
        times.append(time.monotonic() - started)
    assert min(times) < 0.1, "about 0.01 s on an idle machine"


def test_it_ends_with_the_one_who_started_it(tmp_path):
    starter = subprocess.Popen(["sh", "-c", f"'{BOX}' --run '{tmp_path}' -- sleep 1000; true"])
    while not (tmp_path / "box.json").exists() or box("--join", tmp_path, "--", "true").returncode != 0:
        time.sleep(0.05)
    starter.kill()
    starter.wait()
    for _ in range(100):
        if box("--join", tmp_path, "--", "true").returncode != 0:
            return
        time.sleep(0.05)
    raise AssertionError("the box lives on")


def test_the_tour_does_what_it_says_and_notices_when_it_does_not(tmp_path):
    demo = subprocess.run([PROJECT / "simulator/box/demo", BUILD], capture_output=True, text=True, timeout=60)
    assert demo.returncode == 0, demo.stdout
    tour = PROJECT / "simulator/box/tour"
    without_daemon = box("--with-module", "--build", BUILD, "--", "timeout", "-s", "KILL", "50", "bash", tour)
    assert without_daemon.returncode != 0
    assert "should have said" in without_daemon.stdout


def test_the_shell_has_a_module_and_a_daemon():
    shell = subprocess.run(
        [PROJECT / "simulator/box/shell", BUILD], input="modulectl at AT+GTVYREN?\nexit 3\n", capture_output=True, text=True, timeout=60
    )
    assert "+GTVYREN: 0\nOK" in shell.stdout
    assert shell.returncode == 3
