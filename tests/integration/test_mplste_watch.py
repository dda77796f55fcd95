# SPDX-License-Identifier: MIT
"""mplste watch shows the rates of all tunnels, outlives its agent and leaves the terminal as it found it."""

import fcntl
import os
import pty
import re
import select
import signal
import subprocess
import struct
import termios
from pathlib import Path

import pytest
from support.stand_in import StandIn, await_true, tunnel

MPLSTE = Path(os.environ["MPLSTE_BUILD_DIR"]) / "mplste"
QUICK = "--interval", "0.2", "--timeout", "10", "--retries", "0"
IMPATIENT = "--timeout", "0.2"
ENTERED = "\x1b[?1049h\x1b[?25l\x1b[?7l"
LEFT = "\x1b[?7h\x1b[?25h\x1b[?1049l"


@pytest.fixture
def agent(tmp_path):
    with StandIn(tmp_path) as stand_in:
        stand_in.publish(tunnel("to-paris", 12, "10.0.0.9", packets=10**12, octets=10**14))
        yield stand_in


class Paper:
    """mplste watch with its output in a pipe."""

    def __init__(self, agent, *arguments):
        self.process = subprocess.Popen([MPLSTE, "watch", "--agent", agent.address, *QUICK, *arguments],
                                        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.text = ""
        self.seen = 0

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.communicate()

    def await_line(self, pattern):
        """The next line, after those awaited before, that pattern matches."""
        def look():
            if select.select([self.process.stdout], [], [], 0)[0]:
                self.text += os.read(self.process.stdout.fileno(), 65536).decode()
            found = re.compile(pattern, re.MULTILINE).search(self.text, self.seen)
            if found:
                self.seen = found.end()
            return found

        return await_true(look, pattern)


def rates(line):
    """packets/s and bytes/s of a tunnel's line."""
    return line.split()[4:6]


def test_rates_come_from_the_growth_of_the_64_bit_counters(agent):
    # Time enough between two readings to change both counters.
    with Paper(agent, "--interval", "1") as watch:
        assert rates(watch.await_line("^to-paris .*$").group()) == ["0.0", "0.0"]
        agent.publish(tunnel("to-paris", 12, "10.0.0.9", packets=10**12 + 100, octets=10**14 + 1000 * 2**32))
        packets, octets = map(float, rates(watch.await_line("^to-paris .* 1000000000100  .*$").group()))
        assert packets > 0
        # Both grew in the same time; the bytes by more than 32 bits hold. Rates are rounded to a tenth.
        assert octets / packets == pytest.approx(1000 * 2**32 / 100, rel=0.1)
        watch.await_line("^to-paris  12/1  10.0.0.9  up +0.0 +0.0 ")


def test_a_counter_that_went_back_is_shown_as_restarted(agent):
    with Paper(agent) as watch:
        watch.await_line("^to-paris .* 0.0 ")
        agent.publish(tunnel("to-paris", 12, "10.0.0.9", packets=7, octets=700))
        watch.await_line("^to-paris  12/1  10.0.0.9  up     restarted  restarted        7    700$")
        watch.await_line("^to-paris .* 0.0 ")


def test_it_says_when_the_agent_does_not_answer_and_goes_on_when_it_does(agent):
    with Paper(agent, *IMPATIENT) as watch:
        watch.await_line("^to-paris .* 0.0 ")
        agent.stop()
        watch.await_line(r"^\S+ \S+  no answer from udp:127\.0\.0\.1:\d+ within 0\.2 s: ")
        agent.start()
        watch.await_line("^to-paris .* 0.0 ")
        assert watch.process.poll() is None


def test_tunnels_come_and_go(agent):
    with Paper(agent) as watch:
        watch.await_line("^to-paris .* 0.0 ")
        agent.publish(tunnel("to-rome", 13, "10.0.0.8", operStatus=2, packets=5))
        watch.await_line("1 tunnel, 0 up, 1 down, ")
        watch.await_line("^to-rome .* down ")


def run(agent, *arguments):
    return subprocess.run([MPLSTE, "watch", "--agent", agent.address, *QUICK, *arguments], stdin=subprocess.DEVNULL,
                          capture_output=True, encoding="utf-8", timeout=60)


def test_a_count_ends_it_and_plain_output_holds_no_escape_sequences(agent):
    done = run(agent, "--count", "2")
    assert (done.returncode, done.stderr) == (0, "")
    assert done.stdout.count("1 tunnel, 1 up, 0 down, 0.0 packets/s, 0.0 bytes/s") == 2
    assert "\x1b" not in done.stdout


def test_a_script_learns_that_the_agent_did_not_answer(agent):
    agent.stop()
    done = run(agent, "--count", "1", *IMPATIENT)
    assert done.returncode == 2
    assert re.fullmatch(r"mplste: no answer from udp:\S+ within 0\.2 s: .*\n", done.stderr)


class Screen:
    """mplste watch in a terminal of its own, of 12 lines."""

    def __init__(self, agent, *arguments, shell=()):
        self.ours, self.theirs = pty.openpty()
        fcntl.ioctl(self.theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 12, 100, 0, 0))
        self.modes = termios.tcgetattr(self.theirs)
        self.text = ""
        self.process = subprocess.Popen(
            [*shell, MPLSTE, "watch", "--agent", agent.address, *QUICK, *arguments], stdin=self.theirs,
            stdout=self.theirs, stderr=subprocess.PIPE, start_new_session=True, env=os.environ | {"TERM": "xterm", "NO_COLOR": ""},
            preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.communicate()
        os.close(self.ours)
        os.close(self.theirs)

    def read(self):
        while select.select([self.ours], [], [], 0)[0]:
            # The terminal makes CR LF of each LF, also where there is a CR already.
            self.text += os.read(self.ours, 65536).decode().replace("\r\r\n", "\r\n")

    def await_text(self, pattern):
        def look():
            self.read()
            return re.search(pattern, self.text)

        return await_true(look, pattern)

    def type(self, keys):
        os.write(self.ours, keys)

    def end(self):
        """The exit status, once the terminal is found as it was."""
        def ended():
            self.read()  # Or the process may wait for room on the screen.
            return self.process.poll() is not None

        await_true(ended, "mplste to end")
        self.read()
        assert self.text.startswith(ENTERED) and self.text.endswith(LEFT)
        assert self.text.count(ENTERED) == self.text.count(LEFT)
        assert termios.tcgetattr(self.theirs) == self.modes
        return self.process.returncode


def test_the_screen_is_redrawn_and_given_back_with_q(agent):
    with Screen(agent) as screen:
        screen.await_text(r"\x1b\[H\x1b\[Kudp:127\.0\.0\.1:\d+  every 0\.2 s, [-\d]+ [:\d]+  \(q quits\)")
        screen.await_text("1 tunnel, 1 up, 0 down, 0 packets/s, 0 bytes/s")
        agent.publish(tunnel("to-paris", 12, "10.0.0.9", operStatus=2))
        screen.await_text("\x1b\\[31mdown\x1b\\[0m")
        screen.await_text("\x1b\\[33mrestarted\x1b\\[0m")
        screen.type(b"q")
        assert screen.end() == 0


def test_ctrl_c_gives_the_terminal_back(agent):
    with Screen(agent) as screen:
        screen.await_text("to-paris")
        screen.type(b"\x03")
        assert screen.end() == 0


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT])
def test_a_signal_gives_the_terminal_back_and_is_obeyed(agent, number):
    with Screen(agent) as screen:
        screen.await_text("to-paris")
        screen.process.send_signal(number)
        assert screen.end() == -number


def test_q_is_heard_while_no_answer_comes(agent):
    agent.stop()
    with Screen(agent, "--timeout", "3000") as screen:
        screen.await_text("q quits")
        screen.type(b"q")
        assert screen.end() == 0


def test_ctrl_z_gives_the_terminal_back_for_the_time(agent):
    # A shell with job control, which takes the terminal when mplste stops and gives it back on a line from the user.
    shell = "bash", "--norc", "-ic", '"$@"; echo now the shell; read line; fg', "shell"
    with Screen(agent, shell=shell) as screen:
        screen.await_text("to-paris")
        screen.type(b"\x1a")
        screen.await_text(re.escape(LEFT) + "(?s:.*)now the shell")
        assert termios.tcgetattr(screen.theirs) == screen.modes
        screen.type(b"\n")
        screen.await_text("now the shell(?s:.*)" + re.escape(ENTERED) + "(?s:.*)to-paris")
        screen.type(b"q")
        assert screen.end() == 0


def test_the_last_rows_stay_on_the_screen_while_the_agent_is_away(agent):
    with Screen(agent, *IMPATIENT) as screen:
        screen.await_text(r"to-paris .* 0 ")
        agent.stop()
        screen.await_text(r"\x1b\[31mno answer from [^\x1b]*\x1b\[0m\r\n\x1b\[K\r\n\x1b\[KNAME [^\x1b]*\r\n\x1b\[K"
                          r"to-paris  12/1  10\.0\.0\.9  up             -        -  1000000000000  ")
        agent.start()
        before = len(screen.text)
        await_true(lambda: screen.read() or "0 packets/s" in screen.text[before:], "rates after the agent's return")
        screen.type(b"q")
        assert screen.end() == 0


def test_more_tunnels_than_lines_are_counted(agent):
    variables = {}
    for number in range(1, 31):
        variables |= tunnel(f"t{number}", number, "10.0.0.9")
    agent.publish(variables)
    with Screen(agent) as screen:
        screen.await_text(r"t7 .*\r\n\x1b\[K\.\.\. 23 more\x1b\[H")
        assert "t8 " not in screen.text
        screen.type(b"q")
        assert screen.end() == 0


def test_a_count_ends_it_on_the_screen_too(agent):
    with Screen(agent, "--count", "2") as screen:
        assert screen.end() == 0
