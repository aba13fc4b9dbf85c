"""The root that everything measured runs in, and the servers that are started in it."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent.parent
BUILD = HERE / "build/release"
SNMPD = shutil.which("snmpd", path="/usr/sbin:/usr/bin")
SNMP_PORT = 1161
PATH = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin"}
SNMP_CONFIGURATION = """
agentaddress udp:127.0.0.1:%d
createUser bench MD5 benchbench DES benchbench
rouser bench authPriv
sysName bench
extend -cacheTime -1 mac /bin/sh /snmp/mac
extend -cacheTime -1 firmware /bin/sh /snmp/firmware
""" % SNMP_PORT


def run(*command, **options):
    return subprocess.run([str(word) for word in command], check=True, text=True,
                          stdout=subprocess.PIPE, **options).stdout


def copy_program(program, root):
    """Copies a program with its libraries to where the root's loader looks."""
    shutil.copy(program, root / "usr/sbin")
    for library in re.findall(r"=> (/\S+)", run("ldd", program)):
        if not (root / "lib" / pathlib.Path(library).name).exists():
            shutil.copy(library, root / "lib")


def lay_root(lines):
    """The simulated unit's root as the simulator lays it, with the servers it is compared with."""
    root = pathlib.Path(tempfile.mkdtemp(prefix="mfgpd-bench-"))
    unit = subprocess.Popen([HERE / "simunit/mfgp-sim", "up", "--net", "shared", "--state", root,
                             "--daemon", BUILD / "mfgpd"], stdout=subprocess.PIPE, text=True)
    ready = unit.stdout.readline()
    unit.terminate()
    unit.wait()
    if "ready" not in ready:
        raise SystemExit("bench: the simulated unit did not start")
    run("mount", "-t", "proc", "proc", root / "proc")
    run("mount", "--bind", "/dev/null", root / "dev/null")
    copy_program(BUILD / "bench-floor", root)
    (root / "valgrind").mkdir()
    for part in ("callgrind-amd64-linux", "vgpreload_core-amd64-linux.so", "default.supp"):
        if os.path.exists(f"/usr/libexec/valgrind/{part}"):
            shutil.copy(f"/usr/libexec/valgrind/{part}", root / "valgrind")
    if SNMPD:
        copy_program(SNMPD, root)
        (root / "snmp").mkdir()
        (root / "snmp/snmpd.conf").write_text(SNMP_CONFIGURATION)
        for name, line in lines.items():
            (root / "snmp" / name).write_text(line + "\n")
    return root


def in_root(root, *command):
    return [shutil.which("busybox"), "chroot", root, *command]


class Server:
    """A server in the root, started by `with`; its output goes to the unit's log."""

    def __init__(self, root, port, *command, under=(), environment={}):
        self.root, self.port = root, port
        self.program = [str(word) for word in command]
        self.command = [str(word) for word in (*under, *in_root(root, *command))]
        self.environment = PATH | environment
        self.log = root / "log/stdout"
        self.processes = root / "proc"

    def __enter__(self):
        with open(self.log, "a") as log:
            self.process = subprocess.Popen(self.command, stdout=log, stderr=log, env=self.environment)
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        self.await_port(opened=False)  # strace ends before what it traces

    def first_answer(self, datagram):
        """Starts the server until it answers; milliseconds from the start."""
        return int(run(BUILD / "bench-start", self.root, self.port, datagram.hex(), *self.program,
                       env=self.environment)) / 1e6

    def wait(self):
        """Until the server has opened its port."""
        self.await_port(opened=True)
        return self

    def await_port(self, opened):
        for _ in range(2000):
            with open("/proc/net/udp") as sockets:
                if (f":{self.port:04X} " in sockets.read()) == opened:
                    return
            time.sleep(0.01)
        raise SystemExit(f"bench: the port is {'not' if opened else 'still'} open: {self.command}")

    def await_rest(self):
        """Until what is traced waits for the next datagram; else it is in a stop of its tracer."""
        tracer = self.process.pid
        server = (self.processes / f"{tracer}/task/{tracer}/children").read_text().strip()
        while ") S " not in (self.processes / f"{server}/stat").read_text():
            time.sleep(0.01)

    def resident(self):
        """Kilobytes of memory."""
        status = (self.processes / f"{self.process.pid}/status").read_text()
        return int(re.search(r"VmRSS:\s+(\d+)", status).group(1))


def daemon(root, **options):
    return Server(root, 1040, "/usr/sbin/mfgpd", **options)


def floor(root, form, **options):
    port = {"echo": 2001, "naive": 2002, "arena": 2003}[form]
    return Server(root, port, "/usr/sbin/bench-floor", form, port, **options)


def snmpd(root):
    return Server(root, SNMP_PORT, "/usr/sbin/snmpd", "-f", "-C", "-c", "/snmp/snmpd.conf", "-Ln",
                  environment={"SNMP_PERSISTENT_DIR": "/snmp/state", "MIBS": ""})
