"""Every exchange of docs/at-commands.md, as it stands there, against a module with vyreld."""
import re

import pytest

from harness.module import PROJECT, Module

REFERENCE = (PROJECT / "docs/at-commands.md").read_text()


def sections():
    for section in re.split(r"^## ", REFERENCE, flags=re.M)[1:]:
        exchanges = re.findall(r"^```at\n(.*?)^```", section, flags=re.M | re.S)
        if exchanges:
            yield pytest.param("".join(exchanges), id=section.splitlines()[0])


def exchanges(block):
    """(command, information lines, result), each."""
    command, lines = None, []
    for line in block.splitlines():
        if command is None:
            command = line
        elif line in ("OK", "ERROR"):
            yield command, lines, line
            command, lines = None, []
        else:
            lines.append(line)
    assert command is None, f"{command} has no result"


@pytest.mark.parametrize("block", sections())
def test_answers_as_documented(block):
    with Module() as module:
        module.start_vyreld()
        for command, lines, result in exchanges(block):
            shown, final = module.at(command)
            assert ("\n".join(shown).splitlines(), final) == (lines, result), command


def test_every_command_has_its_section():
    table = re.findall(r"^\| \[(AT\+\w+)\]\((#[\w-]+)\)", REFERENCE, flags=re.M)
    assert len(table) == 16
    titles = {"#" + re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-") for title in re.findall(r"^## (.*)$", REFERENCE, flags=re.M)}
    assert {anchor for _, anchor in table} <= titles
