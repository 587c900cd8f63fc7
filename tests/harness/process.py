import queue
import re
import subprocess
import threading
import time


class Process:
    """A program whose output is read as it comes, line by line."""

    def __init__(self, arguments, **popen_arguments):
        self.lines = []  # all that have been read so far
        self._unread = queue.Queue()
        self.popen = subprocess.Popen(arguments, stdin=subprocess.PIPE, stdout=subprocess.PIPE, **popen_arguments)
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.popen.stdout:
            self._unread.put(line.decode(errors="replace").rstrip("\r\n"))
        self._unread.put(None)

    def write(self, data):
        self.popen.stdin.write(data if isinstance(data, bytes) else data.encode())
        self.popen.stdin.flush()

    def next_line(self, timeout=10):
        """The next line of output; None at its end."""
        try:
            line = self._unread.get(timeout=timeout)
        except queue.Empty:
            raise AssertionError(f"no output within {timeout} s, the last was {self.lines[-5:]}") from None
        if line is not None:
            self.lines.append(line)
        return line

    def has_output(self):
        return not self._unread.empty()

    def wait_line(self, pattern, timeout=10):
        """Reads on to the first line that `pattern` is found in, and returns the match."""
        deadline = time.monotonic() + timeout
        while True:
            line = self.next_line(max(0.01, deadline - time.monotonic()))
            if line is None:
                raise AssertionError(f"ended before {pattern!r}: {self.lines[-5:]}")
            found = re.search(pattern, line)
            if found:
                return found

    def end(self, timeout=10):
        """Closes the program's input and waits for it to end by itself."""
        self.popen.stdin.close()
        return self.popen.wait(timeout)
