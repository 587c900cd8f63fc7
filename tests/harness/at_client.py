import re

from harness.process import Process

FINAL = re.compile(r"^(OK|ERROR|\+CM[ES] ERROR: .*)$")


class AtClient:
    """A client of the module's AT server: socat, on TCP or on the terminal."""

    TCP = "TCP:127.0.0.1:40096"
    TERMINAL = "/dev/ttyAT0,raw,echo=0"

    def __init__(self, module, address=TCP):
        self.socat = Process(module.command("socat", "-t0.1", "-", address))

    def send(self, line):
        self.socat.write(line + "\r\n")

    def next_line(self, timeout=10):
        """The next line that is not empty; None when the server has closed the connection."""
        while True:
            line = self.socat.next_line(timeout)
            if line is None or line.strip("\r"):
                return line

    def answer(self, timeout=20):
        """What comes up to and with the next final result: (information lines, result)."""
        lines = []
        while True:
            line = self.next_line(timeout)
            if line is None:
                raise ConnectionError("the AT server closed the connection")
            if FINAL.match(line):
                return lines, line
            lines.append(line)

    def command(self, line, timeout=20):
        self.send(line)
        return self.answer(timeout)

    def has_output(self):
        return self.socat.has_output()

    def close(self):
        self.socat.end()
