"""The library's conversions, on random bytes, against tools that know nothing of it."""

import base64
import binascii
import os
import random
import subprocess

import pytest

CONVERT = os.path.join(os.environ["VEK_BUILD"], "tests", "interop", "convert")
LENGTHS = [1, 2, 3, 4, 47, 48, 49, 63, 64, 65, 127, 300, 5000]


def run(*command, stdin=b""):
    return subprocess.run(command, input=stdin, stdout=subprocess.PIPE, check=True).stdout


def convert(name, data):
    return run(CONVERT, name, stdin=data)


@pytest.fixture(params=LENGTHS, name="data")
def random_bytes(request):
    return random.Random(request.param).randbytes(request.param)


def test_base64_is_that_of_openssl_and_coreutils(data):
    text = convert("base64-encode", data)
    assert text == run("openssl", "base64", "-A", stdin=data)
    assert text == run("base64", "-w0", stdin=data)
    assert convert("base64-decode", text) == data
    assert run("openssl", "base64", "-d", "-A", stdin=text) == data


def test_base64_in_lines_is_read_whole(data):
    """OpenSSL's lines of 64 characters; a count of characters that is no multiple of 4 is padded with line ends."""
    lines = run("openssl", "base64", stdin=data)
    lines += b"\n" * (-len(lines) % 4)
    assert convert("base64-decode", lines).rstrip(b"\0") == data.rstrip(b"\0")


def test_hex_is_that_of_coreutils(data):
    text = convert("hex-encode", data)
    assert text == run("basenc", "--base16", "-w0", stdin=data).lower()
    assert convert("hex-decode", text) == data
    assert convert("hex-decode", text.upper()) == data


def test_crc_is_that_of_binascii(data):
    assert convert("crc16", data) == b"%04x" % binascii.crc_hqx(data, 0)


def test_septets_are_the_bits_of_one_long_number(data):
    septets = bytes(byte & 0x7F for byte in data)
    number = sum(septet << 7 * place for place, septet in enumerate(septets))
    if len(septets) % 8 == 7:
        number |= 0x0D << 7 * len(septets)
    packed = number.to_bytes((7 * len(septets) + 7) // 8, "little")
    assert convert("septets-pack", septets) == packed
    assert convert("septets-unpack", packed)[: len(septets)] == septets


@pytest.mark.parametrize("text", [b"YW=j", b"YWJ", b"YWJjYWJ-", b"YWJj YWJ", base64.b64encode(b"abc") + b"===="])
def test_what_is_no_base64_is_refused(text):
    assert subprocess.run([CONVERT, "base64-decode"], input=text, stdout=subprocess.PIPE).returncode == 1
