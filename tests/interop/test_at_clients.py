"""AT clients that nobody here wrote."""
import re

TERMINAL, TCP = "/dev/ttyAT0,raw,echo=0", "TCP:127.0.0.1:40096"


def socat(module, address, text):
    return module.run("socat", "-t1", "-", address, input=text).stdout.split()


def test_socat_on_both_ports(module, vyreld):
    for address, echoed in ((TCP, []), (TERMINAL, ["AT+GTVYREN?"])):
        assert socat(module, address, "AT+GTVYREN?\r") == [*echoed, "+GTVYREN:", "0", "OK"]


def test_socat_hangs_up_in_the_middle_and_comes_back(module, vyreld):
    for address in (TCP, TERMINAL):
        for text in ("", "AT", "AT+GTVYREN?\r", "\0" * 5000):
            module.run("socat", "-u", "-", address, input=text)
        assert socat(module, address, "ATE0\rAT+CGMM\r")[-2:] == ["VK12-EA", "OK"]


def test_gammu_identifies_the_module_on_the_serial_port(module):
    configuration = module.directory / "gammurc"
    configuration.write_text("[gammu]\nport=/dev/ttyAT0\nconnection=at115200\n")
    for _ in range(2):  # it claims the port for itself, which must not outlast it
        shown = module.run("gammu", "-c", "/run/module/gammurc", "identify", check=False).stdout
        facts = dict(re.findall(r"^([\w ]+?) +: (.*?) *$", shown, re.MULTILINE))
        assert facts["Manufacturer"] == "VEK"
        assert "VK12-EA" in facts["Model"]
        assert "VK12.1.04.07_R2" in facts["Firmware"]
        assert facts["IMEI"] == "359072061234569"
        lines, result = module.at("AT+CIMI")
        assert facts.get("SIM IMSI") == (lines[0] if result == "OK" else None)
