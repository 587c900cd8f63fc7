"""Every sentence of the receivers' logs, as the library reads it and as pynmea2 does."""
import datetime
import json
import os
import subprocess
from pathlib import Path

import pynmea2
import pytest

from harness.module import BUILD, PROJECT

LOGS = sorted((PROJECT / "tests/data/nmea").glob("*.log"))
TYPES = {"GBS", "GGA", "GLL", "GSA", "GST", "GSV", "RMC", "VTG", "ZDA"}


def number(text):
    return float(text) if text not in (None, "") else None


def whole(text):
    return int(text) if text not in (None, "") else 0


def letter(text):
    return text[0] if text else None


def time(value):
    return value.strftime("%H:%M:%S.%f") if isinstance(value, datetime.time) else None


def coordinate(text, direction, degrees):
    if not text:
        return None
    return degrees if direction else 0.0


def coordinates(msg):
    return {"latitude": coordinate(msg.lat, msg.lat_dir, msg.latitude),
            "longitude": coordinate(msg.lon, msg.lon_dir, msg.longitude)}


def gga(msg):
    return {"time": time(msg.timestamp), **coordinates(msg), "fix_quality": whole(msg.gps_qual),
            "satellites_tracked": whole(msg.num_sats), "hdop": number(msg.horizontal_dil),
            "altitude": number(msg.altitude), "altitude_units": letter(msg.altitude_units),
            "height": number(msg.geo_sep), "height_units": letter(msg.geo_sep_units), "dgps_age": number(msg.age_gps_data)}


def rmc(msg):
    variation = number(msg.mag_variation)
    if variation is not None:
        variation *= {"E": 1, "W": -1}.get(msg.mag_var_dir, 0)
    return {"time": time(msg.timestamp), "valid": msg.status == "A", **coordinates(msg), "speed": number(msg.spd_over_grnd),
            "course": number(msg.true_course), "date": msg.datestamp.isoformat() if msg.datestamp else None,
            "variation": variation}


def gll(msg):
    mode = msg.faa_mode if len(msg.data) > 6 else None
    return {**coordinates(msg), "time": time(msg.timestamp), "status": letter(msg.status), "mode": letter(mode)}


def gsa(msg):
    ids = [whole(getattr(msg, f"sv_id{i:02}")) for i in range(1, 13)]
    return {"mode": letter(msg.mode), "fix_type": whole(msg.mode_fix_type), "sats": [i for i in ids if i],
            "pdop": number(msg.pdop), "hdop": number(msg.hdop), "vdop": number(msg.vdop)}


def gsv(msg):
    def sat(fields):
        return dict(zip(("nr", "elevation", "azimuth", "snr"), map(whole, fields + [""] * 4)))

    sats = [sat(msg.data[i:i + 4]) for i in range(3, min(len(msg.data), 19), 4)]
    return {"total_msgs": whole(msg.num_messages), "msg_nr": whole(msg.msg_num), "total_sats": whole(msg.num_sv_in_view),
            "sats": [sat for sat in sats if sat["nr"]]}


def vtg(msg):
    def when(unit, wanted, value):
        return number(value) if unit == wanted else None
    return {"true_track_degrees": when(msg.true_track_sym, "T", msg.true_track),
            "magnetic_track_degrees": when(msg.mag_track_sym, "M", msg.mag_track),
            "speed_knots": when(msg.spd_over_grnd_kts_sym, "N", msg.spd_over_grnd_kts),
            "speed_kph": when(msg.spd_over_grnd_kmph_sym, "K", msg.spd_over_grnd_kmph),
            "faa_mode": letter(msg.faa_mode) if len(msg.data) > 8 else None}


def zda(msg):
    day, month, year = (whole(text) for text in (msg.data + [""] * 6)[1:4])
    return {"time": time(msg.timestamp), "date": f"{year:04}-{month:02}-{day:02}" if day else None,
            "hour_offset": whole(msg.data[4]), "minute_offset": whole(msg.data[5])}


def gst(msg):
    names = ["rms_deviation", "semi_major_deviation", "semi_minor_deviation", "semi_major_orientation",
             "latitude_error_deviation", "longitude_error_deviation", "altitude_error_deviation"]
    return {"time": time(msg.timestamp), **{name: number(text) for name, text in zip(names, msg.data[1:8])}}


def gbs(msg):
    data = msg.data
    return {"time": time(msg.timestamp), "err_latitude": number(data[1]), "err_longitude": number(data[2]),
            "err_altitude": number(data[3]), "svid": whole(data[4]), "prob": number(data[5]), "bias": number(data[6]),
            "stddev": number(data[7])}


def close(ours, theirs):
    if isinstance(theirs, float) and isinstance(ours, (int, float)):
        # Digits that 32 bits do not hold are dropped.
        return ours == pytest.approx(theirs, rel=5e-9, abs=2e-9)
    return ours == theirs


def compare(ours):
    """Whether both read this sentence, alike; fails when they should have and did not."""
    text = ours.pop("sentence")
    try:
        theirs = pynmea2.parse(text, check=True)
    except pynmea2.ChecksumError:
        assert "error" in ours or "*" not in text, text  # a checksum that is missing is not wrong
        return False
    except pynmea2.ParseError:
        assert ours["error"] != "malformed", text
        return False
    kind = getattr(theirs, "sentence_type", None)
    if kind not in TYPES:
        # QZSS has a talker of its own, which pynmea2 takes for a manufacturer.
        assert "error" in ours or text.startswith("$PQ"), text
        return False
    expected = {"talker": theirs.talker, "type": kind, **globals()[kind.lower()](theirs)}
    assert ours.keys() == expected.keys(), text
    wrong = {name: (ours[name], expected[name]) for name in ours if not close(ours[name], expected[name])}
    assert not wrong, text
    return True


@pytest.mark.parametrize("log", LOGS, ids=lambda log: log.stem)
def test_reads_every_sentence_as_pynmea2_does(log):
    command = [os.path.join(BUILD, "bin/vekctl"), "--json", "gnss", "parse", log]
    output = subprocess.run(command, text=True, capture_output=True, check=True, timeout=60).stdout
    read = json.loads(output)["sentences"]
    lines = log.read_text("latin-1").splitlines()
    assert [it["sentence"] for it in read] == [line for line in lines if line.startswith("$")]
    assert sum(compare(it) for it in read) > 0


@pytest.mark.parametrize("names", ["gps", "glonass", "beidou", "galileo", "gps glonass beidou galileo"])
def test_the_simulated_receiver_speaks_nmea(module, names):
    constellations = names.split()
    module.ctl("gnss", "place", "-0.999999,179.999999,-3.7")  # 59.99994 minutes, which round up
    module.ctl("gnss", "constellations", *constellations)
    module.ctl("gnss", "cold-start", 2)
    assert module.at("AT+GTGPSPOWER=1")[1] == "OK"
    fixes = []
    for _ in range(3):
        [text], _ = module.at("AT+GTGPS?")
        header, *lines = text.split("\r\n")
        assert header == "+GTGPS:" and all(len(line) <= 80 for line in lines)
        epoch = {}
        for line in lines:
            epoch.setdefault(line[3:6], []).append(pynmea2.parse(line, check=True))
        [rmc_], [gga_] = epoch["RMC"], epoch["GGA"]
        fixes.append((rmc_.status, whole(gga_.gps_qual)))
        assert len(epoch["GSA"]) == (len(constellations) if rmc_.status == "A" else 1)
        assert {sat.talker for sat in epoch["GSV"]} <= {"GP", "GL", "BD", "GA"}
    assert fixes == [("V", 0), ("V", 0), ("A", 1)]
    assert (rmc_.latitude, rmc_.longitude) == pytest.approx((-1, 180), abs=1e-5)
    assert gga_.altitude == -3.7
    now = datetime.datetime.now(datetime.timezone.utc).replace(tzinfo=None)
    assert abs(rmc_.datetime.replace(tzinfo=None) - now) < datetime.timedelta(seconds=60)
