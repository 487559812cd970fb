"""An installed agent beside file systems that may be maltreated: what the drivers in this directory
(attack, endure, faults, fleet-hosts, fleet-nodes, limits, memcheck, roads, slices) stand on. Not started by itself.
"""

import glob
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.realpath(__file__)))
PARTS = ("input", "output", "log")
LOCKS = "log/vox_scan_res"
COMPANION, STARTS = f"{LOCKS}.lck", f"{LOCKS}.starts"
CANNOT_BEGIN = 77  # nothing can be mounted here; CTest counts it as skipped
SECONDS = 60  # what runs longer hangs
LISTS = ("largest-files", "largest-directories", "least-accessed", "oldest-not-backed-up", "largest-orphans",
         "oldest-orphans", "largest-file-types")


def enter_namespace():
    """Starts the script again in a mount namespace of its own, as root of a user namespace for other users."""
    if os.environ.get("AGENT_HOST_INSIDE") == "1":
        return
    inside = ["unshare", *([] if os.geteuid() == 0 else ["-r"]), "-m", "--propagation", "private"]
    if subprocess.run([*inside, "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
        print("no mount namespace can be had here, so there is nothing to scan")
        sys.exit(CANNOT_BEGIN)
    os.environ["AGENT_HOST_INSIDE"] = "1"
    os.execvp("unshare", [*inside, sys.executable, *sys.argv])


def enter_own_world(*programs):
    """Starts the script again with mounts, a network, a name, processes and temporary files of its own, of which none is
    left however it ends. It needs root and these programs."""
    if os.environ.get("AGENT_HOST_INSIDE") == "1":
        return
    missing = [program for program in programs if shutil.which(program) is None]
    inside = ["unshare", "--mount", "--net", "--uts", "--pid", "--fork", "--kill-child", "--mount-proc",
              "--propagation", "private"]
    if missing:
        print(f"there is no {', '.join(missing)} here: scripts/install-packages fleet")
        sys.exit(CANNOT_BEGIN)
    if os.geteuid() != 0 or subprocess.run([*inside, "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
        print("namespaces of its own take root")
        sys.exit(CANNOT_BEGIN)
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as directory:
        os.chmod(directory, 0o711)  # for servers that run as somebody else
        # SIGTERM says nothing to unshare, nor to the first process of a namespace; SIGKILL of the one ends the other.
        world = subprocess.Popen(["setpriv", "--pdeathsig", "KILL", *inside, sys.executable, *sys.argv],
                                 env={**os.environ, "AGENT_HOST_INSIDE": "1", "TMPDIR": directory})
        signal.signal(signal.SIGTERM, lambda *_: world.kill())
        signal.signal(signal.SIGINT, signal.SIG_IGN)  # the world hears of it, too
        code = world.wait()
    sys.exit(code if code >= 0 else 128 - code)


class AgentHost:
    """An agent's install tree, and a tmpfs to scan. A job is told by its run number."""

    def __init__(self, build):
        self.directory = tempfile.mkdtemp()
        self.agent, self.tree, self.told = (os.path.join(self.directory, name) for name in ("agent", "tree", "told"))
        subprocess.run(["cmake", "--install", build, "--prefix", self.agent], check=True, stdout=subprocess.DEVNULL)
        with open(f"{self.agent}/bin/Agent", "w", encoding="ascii") as program:
            program.write(f'#!/bin/sh\necho "$@" >>{self.told}\n')
        os.chmod(f"{self.agent}/bin/Agent", 0o755)
        self.mount(self.tree)

    def mount(self, path):
        """Access times stand still, so that results are the same each time."""
        os.makedirs(path, exist_ok=True)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "noatime,nr_inodes=0", "tree", path], check=True)

    def remove(self):
        subprocess.run(["umount", "-l", self.tree], check=False)
        shutil.rmtree(self.directory, ignore_errors=True)

    @staticmethod
    def data(run):
        return f"j.0001_scan.{run:08}"

    def path(self, part, run, suffix):
        return f"{self.agent}/{part}/srv/{self.data(run)}.{suffix}"

    def scandef(self, *options):
        """@return a definition"""
        words = [f"{self.agent}/bin/scandef", "--job", "j", *options]
        return subprocess.run(words, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout

    def fill(self):
        """A small tree in which every statistic finds something."""
        for name in ("watched/below/deep", "b", "c"):
            os.makedirs(f"{self.tree}/{name}")
        for i, name in enumerate(("watched/f.txt", "watched/below/g.log", "b/h.txt", "b/i", "c/j.tar")):
            with open(f"{self.tree}/{name}", "wb") as file:
                file.write(b"x" * 5000 * i)
            os.utime(f"{self.tree}/{name}", (1e9 + i, 1e9 + i))
        os.link(f"{self.tree}/b/i", f"{self.tree}/c/i")
        os.symlink("nowhere", f"{self.tree}/link")
        try:
            os.chown(f"{self.tree}/b/h.txt", 54321, 54321)
        except OSError:
            pass  # in a user namespace there is nobody else

    def complete_definition(self):
        """@return one with every statistic, a monitored directory and a selection"""
        return self.scandef(
            "--filesystem", self.tree, "--monitor", "watched",
            "--statistic", "all", "--summary", "--by-owner", "--by-group", "--size-distribution", "--by-access",
            "--by-modification", *(word for name in LISTS for word in (f"--{name}", "3")),
            "--statistic", "some", "--where", "type=file and name like '%.txt' and owner like 'r*'", "--summary",
            "--statistic", "directories", "--directories", "--summary", "--largest-files", "3")

    def job(self, run, *options):
        return [f"{self.agent}/bin/scan", "-scan", "-jobname", "j", "-sidrunnumber", "1", "-jobrunnumber", str(run),
                "-servername", "srv", *options]

    def define(self, definition, run=1):
        os.makedirs(f"{self.agent}/input/srv", exist_ok=True)
        with open(self.path("input", run, "dat"), "wb") as file:
            file.write(definition)

    def clear(self):
        """What earlier runs have left."""
        for part in PARTS:
            shutil.rmtree(f"{self.agent}/{part}", ignore_errors=True)
        if os.path.exists(self.told):
            os.remove(self.told)

    def scan(self, definition, run=1, options=(), environment=None, under=(), **process):
        """@param under the words of a program that runs the job
        @param process what else subprocess.run is told
        @return the code, negative for a signal, None for a hang; and what the job said"""
        self.define(definition, run)
        try:
            done = subprocess.run([*under, *self.job(run, *options)],
                                  env={"PATH": os.environ["PATH"], **(environment or {})},
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                  timeout=SECONDS, check=False, **process)
        except subprocess.TimeoutExpired:
            return None, ""
        return done.returncode, done.stdout.decode("utf-8", "replace")

    def text_of(self, part, run=1, suffix="dat"):
        """A file of a run, or None."""
        try:
            with open(self.path(part, run, suffix), encoding="latin-1") as file:
                return file.read()
        except FileNotFoundError:
            return None

    def files(self):
        """All that runs have left, by names below the install tree."""
        return {os.path.relpath(path, self.agent) for part in PARTS
                for path in glob.glob(f"{self.agent}/{part}/**", recursive=True) if os.path.isfile(path)}

    def told_codes(self):
        """The codes that the agent's program was told, low eight bits each."""
        try:
            with open(self.told, encoding="utf-8") as file:
                return [int(code) % 256 for code in re.findall(r"-exitCode (-?\d+)", file.read())]
        except FileNotFoundError:
            return []

    def locks(self):
        """The resource file's lines behind its first."""
        try:
            with open(f"{self.agent}/{LOCKS}", encoding="latin-1") as file:
                return file.read().splitlines()[1:]
        except FileNotFoundError:
            return []
