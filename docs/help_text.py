#!/usr/bin/python3
"""What a program's --help tells, in Markdown for its manual page, so that the page never knows less than the program.

help_text.py commands|options PROGRAM
"""
import re
import subprocess
import sys

COLUMN = 30  # where CLI11's second column starts


def help_of(program, *path):
    return subprocess.run([program, *path, "--help"], check=True, capture_output=True, text=True).stdout


def sections(program, path):
    """The help of a command: {"summary": text, "usage": text, "Options": [(name and form, text)], ...}."""
    parts = {"summary": "", "usage": ""}
    for block in help_of(program, *path).strip().split("\n\n"):
        head, *lines = block.splitlines()
        if head in ("Options:", "Positionals:", "Subcommands:"):
            parts[head[:-1]] = rows(lines)
        elif "\nUsage: " in block:
            parts["summary"], parts["usage"] = block.replace("\n", " ").split(" Usage: ")
    assert parts["usage"], f"{program} {' '.join(path)}: --help without a usage line"
    return parts


def rows(lines):
    """CLI11's two columns; a first column that is too wide has its text on the next line."""
    found = []
    for line, following in zip(lines, [*lines[1:], ""]):
        if line.startswith(" " * COLUMN):
            continue
        if following.startswith(" " * COLUMN):
            found.append((line.strip(), following.strip()))
        else:
            found.append((line[2:COLUMN].strip(), line[COLUMN:].strip()))
    return [row for row in found if not row[0].startswith("-h,")]


def plain(form):
    """Without CLI11's repetitions: TEXT:TEXT, and INT:value in {a->1,b->2} OR {1,2}."""
    form = re.sub(r"\w+:value in (\{[^}]*\}).*", lambda found: re.sub(r"->\w+", "", found[1]), form)
    return re.sub(r"\b(\w+):\1\b", r"\1", form)


def escaped(text):
    return re.sub(r"([\\`*_{}\[\]<>#|~^$@'\"])", r"\\\1", text)


def entry(name, form, text, indent=""):
    form = f" *{escaped(plain(form))}*" if form else ""
    return f"{indent}**{escaped(name)}**{form}\n{indent}:   {escaped(text) or '&nbsp;'}\n"


def entries(rows_of_help, indent=""):
    for first, text in rows_of_help:
        name, _, form = first.removesuffix(" REQUIRED").partition(" ")
        yield entry(name, form, text, indent)


def commands(program, path=()):
    """Every command below `path` that has none below itself."""
    help_text = sections(program, path)
    for name, _ in help_text.get("Subcommands", []):
        yield from commands(program, (*path, name))
    if path and "Subcommands" not in help_text:
        arguments = help_text["usage"].partition(" [OPTIONS] ")[2]
        yield entry(" ".join(path), arguments, help_text["summary"] + ".")
        yield from entries(help_text.get("Positionals", []) + help_text.get("Options", []), indent="    ")


def options(program):
    """The program's own options, which stand in two columns in every help."""
    text = help_of(program)
    if "[OPTIONS]" in text.partition("\n\n")[0]:
        return entries(sections(program, ())["Options"])
    found = re.findall(r"^  (-\S+(?: [A-Z]+)?) {2,}(.*(?:\n {12,}.*)*)", text, re.M)
    return entries((name, " ".join(words.split())) for name, words in found if not name.startswith("-h"))


if __name__ == "__main__":
    print("\n".join({"commands": commands, "options": options}[sys.argv[1]](sys.argv[2])))
