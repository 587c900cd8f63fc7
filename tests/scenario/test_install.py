"""What a prefix offers once everything has been installed there: to a daemon's build, and to a person's shell."""
import os
import re
import subprocess

import pytest

from harness.module import BUILD, PROJECT


def run(*command, **options):
    done = subprocess.run(command, text=True, capture_output=True, timeout=120, **options)
    assert done.returncode == 0, f"{command}:\n{done.stdout}{done.stderr}"
    return done.stdout


@pytest.fixture(scope="module")
def prefix(tmp_path_factory):
    """Installed for another place, with DESTDIR, and used where it lies: nothing may know a path of the build."""
    root = tmp_path_factory.mktemp("install")
    run("cmake", "--install", BUILD, "--prefix", "/opt/vek", env={**os.environ, "DESTDIR": str(root)})
    return root / "opt/vek"


def compiled(prefix, source, output):
    env = {**os.environ, "PKG_CONFIG_PATH": str(next(prefix.glob("lib/**/pkgconfig")))}
    flags = run("pkg-config", "--cflags", "--libs", "vek_pal", env=env).split()
    run("cc", "-std=c99", "-Wall", "-Wextra", "-Werror", "-o", str(output), str(source), *flags)


def in_box(prefix, script):
    return run(str(prefix / "bin/module-box"), "--with-module", "--", "sh", "-ec", script,
               env={name: value for name, value in os.environ.items() if name != "VEK_BUILD"}, cwd="/")


def test_the_daemon_of_the_readme_builds_with_pkg_config_and_serves_the_module(prefix):
    daemon = next(block for block in re.findall(r"```c\n(.*?)```", (PROJECT / "README.md").read_text(), re.S)
                  if "int main" in block)
    source = prefix / "daemon.c"
    source.write_text(daemon)
    compiled(prefix, source, prefix / "daemon")
    library = next(prefix.glob("lib/**/libvek_pal.so.1")).parent
    answer = in_box(prefix, f"""
        LD_LIBRARY_PATH={library} {prefix}/daemon 2>/tmp/records &
        until grep -q 'ipc server listening' /tmp/records; do sleep 0.01; done
        modulectl at AT+GTVYREN?
        printf '\\001\\001' >/data/vyrel/vyrel_service_diagnosis_mode  # requests pass in the diagnosis mode only
        modulectl at AT+GTVYRBS=1,262""")
    assert answer.split() == ["+GTVYREN:", "0", "OK", "OK"]


def test_cmake_finds_the_library(prefix):
    project = prefix / "user"
    project.mkdir()
    (project / "CMakeLists.txt").write_text(
        "cmake_minimum_required(VERSION 3.13)\nproject(user C)\nfind_package(vek_pal 1 REQUIRED)\n"
        "add_executable(user main.c)\ntarget_link_libraries(user vek_pal::vek_pal)\n")
    (project / "main.c").write_text(
        '#include <vek_pal.h>\nint main(void) { return vek_pal_crc16((const unsigned char *)"a", 1) == 0; }\n')
    run("cmake", "-S", str(project), "-B", str(project / "build"), f"-DCMAKE_PREFIX_PATH={prefix}")
    run("cmake", "--build", str(project / "build"))
    run(str(project / "build/user"))


def test_nothing_of_the_build_shows_in_the_prefix(prefix):
    named = subprocess.run(["grep", "-rlF", "-e", BUILD, "-e", str(PROJECT), str(prefix)], text=True, capture_output=True)
    assert (named.returncode, named.stdout) == (1, "")


def test_the_tools_find_library_module_and_each_other(prefix):
    daemon_and_tools = in_box(prefix, f"{prefix}/libexec/vek_pal/box/with-vyreld sh -ec 'modulectl at AT+GTVYREN?; vekctl info'")
    assert "+GTVYREN: 0" in daemon_and_tools and "model: " in daemon_and_tools


def completions(prefix, *words):
    """What bash offers for the last of the words."""
    script = 'source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); compopt() { :; }; ' \
             '_vek_complete "$1" "${@: -1}" "${COMP_WORDS[COMP_CWORD - 1]}"; echo "${COMPREPLY[@]}"'
    quoted = " ".join(f"'{word}'" for word in words)
    return in_box(prefix, f"bash -c '{script}' {prefix}/share/bash-completion/completions/{words[0]} {quoted}").split()


@pytest.mark.parametrize("words, offered", [
    (("vekctl", "--v"), {"--verbose"}),
    (("vekctl", "net", "st"), {"status"}),
    (("vekctl", "--json", "data", "up", "--type", ""), {"ipv4", "ipv6", "ipv4v6"}),
    (("vekctl", "data", "up", "--user", ""), set()),
    (("modulectl", "--run", "/run/module", "sms", "deliver", "--enc"), {"--encoding"}),
    (("modulectl", "modem", "answer", "WDS", "0x20", "no"), {"nothing", "no-result", "normally"}),
])
def test_bash_completes_what_help_tells(prefix, words, offered):
    assert set(completions(prefix, *words)) == offered
