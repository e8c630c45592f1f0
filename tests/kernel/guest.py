#!/usr/bin/env python3
"""Runs one command as root under a fuller Linux kernel than the machine's own may be: a guest in User-Mode
Linux, whose files are this machine's.

  guest.py [--preload LIBRARY] [--time-limit SECONDS] [--memory SIZE] [--skip-because WHY] -- COMMAND...

Prints what the command prints, and ends with its exit status. The command finds this machine's file
system as it is here, read-only, in the same working directory; /run, /dev/shm and $TMPDIR are its own
and writable. It needs neither root nor virtualization here.

  77   there is no such kernel here: it is not installed, or it does not come to running its first
       process; the reason is printed. With ORU_KERNEL_TESTS=required in the environment that is a
       failure, 1
  124  the guest did not end within the time limit, and was killed
  125  the guest ended without the command's exit status: it crashed
"""

import argparse
import os
import pathlib
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import threading

KERNEL = "linux.uml"
MODULES = pathlib.Path("/usr/lib/uml/modules")
SKIPPED, HUNG, CRASHED = 77, 124, 125
# What the guest's first process says first.
INIT_RUNS = b"guest: init runs\n"
# What the kernel itself says when it is told to end.
FAREWELLS = (b"sysrq: Power Off\n", b"reboot: Power down\n")


def what_is_missing():
    """Why no guest can run on this machine; None if nothing is known to be missing."""
    for program, package in ((KERNEL, "user-mode-linux"), ("modprobe", "kmod")):
        if not shutil.which(program, path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin"):
            return f"{program} is not installed (Debian's package {package})"
    if not MODULES.is_dir():
        return f"there are no modules in {MODULES} (Debian's package user-mode-linux)"
    return None


def folder_for_memory(size):
    """Where the guest keeps its memory: in a file that it maps, executable."""
    shm = "/dev/shm"
    if os.path.isdir(shm):
        found = os.statvfs(shm)
        if not found.f_flag & os.ST_NOEXEC and found.f_bavail * found.f_frsize > 2 * size:
            return shm
    return tempfile.gettempdir()


def leave_no_core():
    """A crash would write an image of the guest's memory into the working directory."""
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def kill_session(leader):
    try:
        os.killpg(leader, signal.SIGKILL)
    except ProcessLookupError:
        pass


class Watcher:
    """A process that kills a session when this one ends without having told it not to, however that
    comes: not all processes of the guest's kernel end with it."""

    def __init__(self, session):
        reading, self.pipe = os.pipe()
        if os.fork() == 0:
            try:
                os.setsid()
                os.closerange(0, reading)
                os.closerange(reading + 1, 256)
                if not os.read(reading, 1):
                    kill_session(session)
            finally:
                os._exit(0)
        os.close(reading)

    def all_is_well(self):
        os.write(self.pipe, b"x")
        os.close(self.pipe)


class Guest:
    def __init__(self, folder, command, preload, megabytes):
        self.folder = pathlib.Path(folder)
        self.command = command
        self.preload = preload
        self.megabytes = megabytes
        self.process = None
        self.hung = False
        self.init_ran = False

    def prepare(self):
        init = pathlib.Path(__file__).with_name("guest_init.sh")
        shutil.copyfile(init, self.folder / "init")
        (self.folder / "init").chmod(0o755)
        (self.folder / "uml").mkdir()
        (self.folder / "command").write_text(
            f"cd {shlex.quote(os.getcwd())} || exit 126\n{shlex.join(self.command)}\n")

    def kernel_command(self):
        return [KERNEL, f"mem={self.megabytes}M", "rootfstype=hostfs", "rootflags=/", "ro",
                f"init={self.folder}/init", f"ORU_SHARED={self.folder}",
                f"uml_dir={self.folder}/uml", "umid=guest", "con=null", "con0=fd:0,fd:1",
                "quiet", "loglevel=1"]

    def run(self, time_limit):
        environment = {**os.environ, "TMPDIR": folder_for_memory(self.megabytes << 20)}
        if self.preload:
            environment["LD_PRELOAD"] = self.preload
        self.process = subprocess.Popen(
            self.kernel_command(), env=environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True,
            preexec_fn=leave_no_core)
        watcher = Watcher(self.process.pid)
        timer = threading.Timer(time_limit, self.kill_as_hung)
        timer.start()
        try:
            self.pass_on_its_output()
            self.process.wait()
        finally:
            timer.cancel()
            kill_session(self.process.pid)
            watcher.all_is_well()

    def kill_as_hung(self):
        self.hung = True
        kill_session(self.process.pid)

    def pass_on_its_output(self):
        # Before its init runs, the kernel speaks of the host; that is of interest if it ends there.
        preface = []
        for line in self.process.stdout:
            line = line.replace(b"\r\n", b"\n")
            for farewell in FAREWELLS:
                line = line.removesuffix(farewell)
            if line == INIT_RUNS:
                self.init_ran = True
                continue
            if not self.has_started():
                preface.append(line)
                continue
            sys.stdout.buffer.write(line)
            sys.stdout.buffer.flush()
        self.preface = b"".join(preface)

    def has_started(self):
        return (self.folder / "started").exists()

    def status(self):
        try:
            return int((self.folder / "status").read_text())
        except (FileNotFoundError, ValueError):
            return None


def outcome(guest, time_limit):
    """The exit status of this program, and what there is to say."""
    status = guest.status()
    if status is not None:
        return status, None
    if guest.hung:
        return HUNG, f"the guest did not end within {time_limit:g} s; it was killed"
    if not guest.has_started():
        lines = guest.preface.decode(errors="replace").strip().splitlines() or ["it says nothing"]
        print("\n".join(lines[:-1]))
        if guest.init_ran:
            return CRASHED, f"the guest's first process did not come to the command: {lines[-1]}"
        return SKIPPED, f"the kernel of User-Mode Linux does not start here: {lines[-1]}"
    return CRASHED, f"the guest ended (status {guest.process.returncode}) before its command did"


def skip(why):
    """The exit status of a skip, after saying so."""
    print(f"skipped: {why}")
    if os.environ.get("ORU_KERNEL_TESTS") != "required":
        return SKIPPED
    print("guest: the tests in this kernel are required (ORU_KERNEL_TESTS)")
    return 1


def parse(arguments):
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--preload", help="a library for the guest's kernel to be started with")
    parser.add_argument("--time-limit", type=float, default=240.0, metavar="SECONDS")
    parser.add_argument("--memory", type=int, default=512, metavar="MEGABYTES")
    parser.add_argument("--skip-because", metavar="WHY", help="say so, and do nothing else")
    parser.add_argument("command", nargs="+")
    return parser.parse_args(arguments)


def main():
    options = parse(sys.argv[1:])
    if options.skip_because:  # no fault of this machine
        print(f"skipped: {options.skip_because}")
        return SKIPPED
    missing = what_is_missing()
    if missing:
        return skip(missing)
    with tempfile.TemporaryDirectory(prefix="oru-guest-", ignore_cleanup_errors=True) as folder:
        guest = Guest(folder, options.command, options.preload, options.memory)
        guest.prepare()
        guest.run(options.time_limit)
        status, said = outcome(guest, options.time_limit)
    if status == SKIPPED and said:
        return skip(said)
    if said:
        print(f"guest: {said}")
    return status


if __name__ == "__main__":
    sys.exit(main())
