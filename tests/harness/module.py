import json
import os
import shutil
import socket
import subprocess
import tempfile
from pathlib import Path

from harness.at_client import AtClient
from harness.process import Process
from harness.wait import wait_for

PROJECT = Path(__file__).resolve().parents[2]
BOX = str(PROJECT / "simulator/box/module-box")
BUILD = os.environ.get("VEK_BUILD", str(PROJECT / "build/host"))


class CommandFailed(Exception):
    """modulectl's command did not work; the text says why."""


class Watch:
    """What happens in the module, as it happens: `modulectl watch`."""

    def __init__(self, connection):
        self._file = connection.makefile("r")
        self._connection = connection
        self._next()  # says that watching has begun

    def _next(self):
        line = self._file.readline()
        if not line:
            raise AssertionError("the module has gone")
        return json.loads(line)["data"]

    def wait_for(self, text, timeout=10):
        """The next event with `text` in its text: {"topic", "text", "data"}."""
        self._connection.settimeout(timeout)
        while True:
            event = self._next()
            if text in event["text"]:
                return event


class Module:
    """A module in a box. `scenario` is TOML text."""

    def __init__(self, scenario=None):
        self.directory = Path(tempfile.mkdtemp(prefix="box-"))
        arguments = [BOX, "--with-module", "--run", str(self.directory), "--build", BUILD]
        if scenario is not None:
            file = self.directory / "scenario.toml"
            file.write_text(scenario)
            arguments += ["--scenario", str(file)]
        self._output = open(self.directory / "box.log", "w+")
        # Its standard input is a pipe that ends with this process, and the box with it.
        self._box = subprocess.Popen([*arguments, "--", "cat"], stdin=subprocess.PIPE, stdout=self._output, stderr=self._output)
        self._control = None
        wait_for(self._connect, what="a control socket")

    def __enter__(self):
        return self

    def __exit__(self, failure, *_):
        ended = self.stop()
        if failure is None:
            # Among others, what a sanitizer found.
            assert ended == 0, (self.directory / "box.log").read_text()
            shutil.rmtree(self.directory, ignore_errors=True)
        else:
            print(f"the module's files are in {self.directory}")

    def _connect(self):
        if self._box.poll() is not None:
            raise AssertionError((self.directory / "box.log").read_text())
        try:
            self._control = self._new_connection()
        except OSError:
            return False
        self._answers = self._control.makefile("r")
        return True

    def _new_connection(self):
        connection = socket.socket(socket.AF_UNIX)
        connection.connect(str(self.directory / "control.sock"))
        return connection

    def stop(self):
        self._box.stdin.close()
        try:
            self._box.wait(10)
        except subprocess.TimeoutExpired:
            self._box.kill()
            self._box.wait()
        self._output.close()
        return self._box.returncode

    # --- modulectl ---

    def ctl(self, *arguments):
        """Runs a command of modulectl and returns its data, or its text when it has no data."""
        self._control.sendall(json.dumps({"argv": [str(a) for a in arguments]}).encode() + b"\n")
        answer = json.loads(self._answers.readline())
        if not answer["ok"]:
            raise CommandFailed(answer["error"])
        return answer["data"] if answer["data"] is not None else answer["text"]

    def watch(self, *topics):
        connection = self._new_connection()
        connection.sendall(json.dumps({"argv": ["watch", *topics]}).encode() + b"\n")
        return Watch(connection)

    # --- programs in the box ---

    def command(self, *arguments):
        """What to start, out here, for a program to run in the box."""
        return [BOX, "--build", BUILD, "--join", str(self.directory), "--", *map(str, arguments)]

    def run(self, *arguments, check=True, **options):
        """Runs a program in the box to its end; its output is text."""
        done = subprocess.run(self.command(*arguments), text=True, capture_output=True, timeout=60, **options)
        if check and done.returncode != 0:
            raise AssertionError(f"{arguments} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
        return done

    def shell(self, script, **options):
        return self.run("sh", "-c", script, **options).stdout

    def start(self, *arguments, **options):
        return Process(self.command(*arguments), **options)

    def start_vyreld(self):
        """Starts the example daemon; its records go to vyreld.log in the run directory."""
        log = self.directory / "vyreld.log"
        with open(log, "a") as records:
            earlier = records.tell()
            daemon = self.start("vyreld", stderr=records)
        daemon.wait_line("running")
        wait_for(lambda: "ipc server listening" in log.read_text()[earlier:], what="vyreld listens")
        return daemon

    def at_client(self, address=AtClient.TCP):
        return AtClient(self, address)

    def at(self, line):
        """One AT command without a client of one's own: (information lines, result)."""
        answer = self.ctl("at", line)
        return answer["lines"], answer["result"]
