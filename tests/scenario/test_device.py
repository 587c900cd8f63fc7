"""The board as a daemon meets it: USB, control devices, wake locks, SAR index, reboot, backup."""
import re

from harness.module import PROJECT
from harness.qmi import vekctl
from harness.wait import wait_for

USB_STATE = "/sys/devices/platform/8a00000.ssusb/8a00000.dwc3/udc/8a00000.dwc3/state"


def device(module):
    return module.ctl("device", "show")


def test_the_laptops_state_is_what_the_port_says(module):
    rows = [("configured", "up"), ("CONNECTED", "up"), ("addressed", "up"), ("suspended", "down"), ("DISCONNECTED", "down")]
    for state, host in rows:
        module.ctl("usb", "state", state)
        assert module.shell(f"cat {USB_STATE}") == state + "\n"
        assert vekctl(module, "usb")[1] == {"host": host}

    module.ctl("usb", "state", "configured")
    assert vekctl(module, "usb", "off")[1] == {"usb": "off"}
    assert module.ctl("usb", "show") == {"mode": "none", "state": "not attached"}
    assert vekctl(module, "usb")[1] == {"host": "down"}
    module.ctl("usb", "mode", "peripheral")
    assert vekctl(module, "usb")[1] == {"host": "up"}

    module.ctl("device", "break", "usb-mode")
    status, _, reason = vekctl(module, "-v", "usb", "off", check=False)
    assert status == 1 and "failed to write none to /sys/devices/platform/8a00000.ssusb/mode" in reason


def test_a_sar_index_is_sent_only_while_the_host_is_up(module):
    assert vekctl(module, "sar", 7)[1] == {"sar_index": 7}
    assert device(module)["sar_index"] == 7
    assert module.at("AT+BODYSARON?") == (["+BODYSARON: 1,7"], "OK")

    watch = module.watch("at-server", "device")
    module.ctl("usb", "state", "suspended")
    status, answer, reason = vekctl(module, "sar", 3, check=False)
    assert (status, answer) == (1, None) and "not up" in reason
    assert device(module)["sar_index"] == 7

    module.ctl("usb", "state", "addressed")
    status, _, reason = vekctl(module, "-v", "sar", 256, check=False)
    assert status == 1 and "AT Response failed" in reason, "the AT server refuses it"
    assert vekctl(module, "sar", 0)[0] == 0
    assert watch.wait_for("SAR index")["data"] == {"sar_index": 0}, "nothing was sent in between"


def test_control_devices_take_what_their_drivers_take(module):
    rows = [("w-disable", "/dev/korv_wdis_ctl", "w_disable"), ("gpio-group", "/dev/korv_vyrel_ctl", "gpio_group")]
    for control, path, name in rows:
        module.shell(f"printf 1 > {path}")
        assert device(module)[name] == "off" and module.shell(f"cat {path}") == "1\n"
        assert module.run("sh", "-c", f"printf 2 > {path}", check=False).returncode != 0
        module.ctl("device", "break", control)
        assert module.run("sh", "-c", f"printf 0 > {path}", check=False).returncode != 0
        assert device(module)[name] == "off"
        module.ctl("device", "repair")
        module.shell(f"printf 0 > {path}")
        assert device(module)[name] == "on"


def test_a_timer_holds_its_wake_lock_while_its_callback_runs(module):
    watch = module.watch("device")
    beats = module.start("heartbeat")
    beats.wait_line(".")
    assert watch.wait_for("wake lock")["data"] == {"wake_lock": "timer", "held": True}
    assert watch.wait_for("wake lock")["data"] == {"wake_lock": "timer", "held": False}
    beats.popen.wait(20)
    wait_for(lambda: device(module)["wake_locks"] == [], what="the last callback's lock is released")

    assert module.shell("cat /sys/power/wake_unlock") == "timer\n"
    module.shell("printf mine > /sys/power/wake_lock; printf other > /sys/power/wake_lock")
    assert device(module)["wake_locks"] == ["mine", "other"]
    assert module.shell("cat /sys/power/wake_lock") == "mine other\n"
    assert module.run("sh", "-c", "printf unknown > /sys/power/wake_unlock", check=False).returncode != 0


def test_reboot_asks_first_and_restarts_the_module_but_not_the_box(module):
    status, _, reason = vekctl(module, "reboot", check=False)
    assert status == 2 and "--yes" in reason
    asked = module.run("script", "-qec", "vekctl reboot", "/dev/null", input="n\n", check=False)
    assert asked.returncode == 1 and "[y/N]" in asked.stdout
    assert device(module)["reboots"] == 0

    vekctl(module, "sar", 5)
    vekctl(module, "usb", "off")
    module.shell("printf mine > /sys/power/wake_lock; echo kept > /data/vyrel/test.txt; printf 1 > /dev/korv_wdis_ctl")
    watch = module.watch("device")
    assert vekctl(module, "reboot", "--yes")[1] == {"reboot": "begun"}
    assert watch.wait_for("reboot")["data"] == {"reboots": 1}
    assert "reboot -f\n" in (module.directory / "commands.log").read_text()
    after = device(module)
    assert (after["wake_locks"], after["sar_index"], after["w_disable"]) == ([], 0, "on")
    assert vekctl(module, "usb")[1] == {"host": "up"}
    assert module.shell("cat /data/vyrel/test.txt") == "kept\n"
    wait_for(lambda: vekctl(module, "modem", "status", check=False)[0] == 0, what="the modem is back")


def flagged_items():
    table = (PROJECT / "platform/Qualcomm/SDX12/nv/nvm_table.h").read_text()
    return re.findall(r'ap\(\d+, "(\S+)", kBackedUp\)', table)


def test_a_backup_holds_the_flagged_settings_and_comes_back(module):
    assert module.run("odm_upgrader", "restore", check=False).returncode == 1, "there is none yet"
    assert module.run("odm_upgrader", "wipe", check=False).returncode == 2
    flagged = flagged_items()
    assert len(flagged) == 29

    # A setting that a daemon writes starts it.
    module.start_vyreld()
    module.shell("".join(f"echo {name} > /data/vyrel/{name};" for name in [*flagged, "vyrel_ec_modem", "trust4.crt"]))
    assert module.at("AT+GTVYRPOC=2") == ([], "OK")
    assert sorted(module.shell("ls /mnt/customer/vyrel").split()) == sorted(flagged)

    module.shell("rm /data/vyrel/*; echo changed > /data/vyrel/trust4.crt")
    module.run("odm_upgrader", "restore")
    back = module.shell("ls /data/vyrel").split()
    assert sorted(back) == sorted([*flagged, "trust4.crt"])
    assert module.shell("cat /data/vyrel/vyrel_pidvid /data/vyrel/trust4.crt") == "vyrel_pidvid\nchanged\n"

    # An item that is gone leaves the next backup too, and many at once do not get into each other's way.
    module.shell("rm /data/vyrel/vyrel_pidvid; for i in 1 2 3 4 5 6 7 8; do odm_upgrader backup & done; wait")
    assert sorted(module.shell("ls /mnt/customer/vyrel").split()) == sorted(set(flagged) - {"vyrel_pidvid"})
