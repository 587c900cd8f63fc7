"""QMI clients that nobody here wrote, and what the modem saw of everybody."""
import json
import re

from harness.wait import wait_for

DEVICE = "/dev/cdc-wdm0"


def qmicli(module, *arguments, proxy=True, check=True):
    """Runs qmicli in the box; its messages about the pseudo terminal are left out."""
    way = ["-p"] if proxy else []
    done = module.run("qmicli", "-d", DEVICE, "--device-open-qmi", *way, *arguments, check=check)
    done.stderr = "\n".join(line for line in done.stderr.splitlines() if "-Warning **" not in line)
    return done


def start_real_proxy(module):
    """libqmi's own proxy instead of the modem's."""
    module.ctl("modem", "proxy", "off")
    proxy = module.start("/usr/libexec/qmi-proxy", "--no-exit")
    wait_for(lambda: "@qmi-proxy" in module.shell("cat /proc/net/unix"), what="qmi-proxy listens")
    return proxy


def trace(module, **wanted):
    """The frames that passed, oldest first, as `modulectl trace` shows them; only those with these values."""
    shown = module.run("modulectl", "--json", "trace").stdout.splitlines()
    entries = [json.loads(line)["data"] for line in shown]
    return [e for e in entries if e and "message" in e and all(e.get(key) == value for key, value in wanted.items())]


def ids_lent_and_returned(module):
    """The client ids that were given out and those that were given back, as sorted lists of (service, id)."""

    def pairs(message, member):
        frames = trace(module, message=message, type="response")
        done = [f["tlvs"][member] for f in frames if f["tlvs"]["resp"]["result"] == 0]
        return sorted((pair["service"], pair["cid"]) for pair in done)

    return pairs("CTL_ALLOCATE_CID", "allocation"), pairs("CTL_RELEASE_CID", "release")


class Program:
    """A program in the box that can be sent signals there."""

    def __init__(self, module, *arguments, **options):
        self._module = module
        self.process = module.start("sh", "-c", 'echo $$; exec "$@"', "sh", *arguments, **options)
        self._pid = self.process.next_line()
        self.wait_line = self.process.wait_line
        self.end = self.process.end

    def signal(self, name):
        """Nothing happens when it has just ended by itself."""
        self._module.run("kill", "-" + name, self._pid, check=False)

    def stop(self, signal="TERM"):
        """Its exit status after the signal."""
        self.signal(signal)
        return self.process.popen.wait(10)


def vekctl(module, *arguments, check=True):
    """(exit status, what it printed as data, standard error)."""
    done = module.run("vekctl", "--json", *arguments, check=check)
    return done.returncode, json.loads(done.stdout) if done.stdout else None, done.stderr


def fields(text):
    """qmicli's "Name: 'value'" lines as a dictionary."""
    return dict(re.findall(r"^\s*([^:'\n]+?)\s*: '?([^'\n]*)'?$", text, re.MULTILINE))
