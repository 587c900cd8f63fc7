"""libqmi's command line and the modem's message service. It can ask for little there: routes, and a reset of the client."""


def qmicli(module, *arguments, check=True):
    return module.run("qmicli", "-p", "-d", "/dev/cdc-wdm0", "--device-open-qmi", *arguments, check=check)


def test_shows_the_routes(module):
    shown = qmicli(module, "--wms-get-routes").stdout
    assert "Got 5 SMS routes" in shown
    assert shown.count("store-and-notify") == 5
    assert shown.count("Storage Type: uim") == 1, "the class for the card goes to the card"


def test_a_changed_route_decides_where_the_next_message_goes(module):
    route = "--wms-set-routes=type=point,class={},storage={},receipt-action={}"
    assert "Successfully set SMS routes" in qmicli(module, route.format(1, "uim", "store-and-notify")).stdout
    assert module.ctl("sms", "deliver", "--class", 1, "x") == [{"arrival": "stored", "storage": "sim", "index": 0}]
    qmicli(module, route.format("none", "nv", "discard"))
    assert module.ctl("sms", "deliver", "x") == [{"arrival": "discarded"}]
    qmicli(module, route.format("none", "none", "transfer-only"))
    assert module.ctl("sms", "deliver", "x") == [{"arrival": "handed over"}]
    assert "discard" not in qmicli(module, "--wms-get-routes").stdout


def test_resets_and_is_told_what_is_not_known(module):
    assert "Successfully performed WMS service reset" in qmicli(module, "--wms-reset").stdout
    assert "InvalidQmiCommand" in qmicli(module, "--wms-get-supported-messages", check=False).stderr
