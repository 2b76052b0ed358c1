"""What the tests with programs that nobody here wrote share: a network of their own, a service, an orderly end."""
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from ports import free_port  # for those that import this

SKIPPED = 77


class Namespace:
    """A network namespace with a loopback that takes multicast, or the machine's own where there are no rights."""

    def __init__(self):
        self.name = f"zefa{os.getpid()}"
        made = subprocess.run(["ip", "netns", "add", self.name], capture_output=True, text=True, check=False)
        self.private = made.returncode == 0
        self.reason = made.stderr.strip()
        if self.private:
            for arguments in (["link", "set", "lo", "up"], ["link", "set", "lo", "multicast", "on"],
                              ["route", "replace", "239.0.0.0/8", "dev", "lo", "src", "127.0.0.1"]):
                subprocess.run(["ip", "-n", self.name, *arguments], check=True)

    def command(self, arguments):
        return ["ip", "netns", "exec", self.name, *arguments] if self.private else list(arguments)

    def read(self, name):
        """The lines of a file of /proc/net, as it is in this network."""
        return subprocess.run(self.command(["cat", f"/proc/net/{name}"]), capture_output=True, text=True,
                              check=False).stdout.splitlines()

    def listens(self, port):
        sockets = self.read("udp")[1:] + self.read("udp6")[1:]
        return any(line.split()[1].endswith(f":{port:04X}") for line in sockets)

    def without_room(self):
        """Datagrams for which the sockets here had no room, since ever."""
        names, values = (line.split() for line in self.read("snmp") if line.startswith("Udp:"))
        return int(values[names.index("RcvbufErrors")])

    def close(self):
        if self.private:
            subprocess.run(["ip", "netns", "delete", self.name], check=False)


class Programs:
    """Programs in a namespace, each with a log in the folder; all end with the object."""

    def __init__(self, namespace, folder):
        self.namespace, self.folder, self.running = namespace, pathlib.Path(folder), {}

    def start(self, name, arguments):
        with (self.folder / f"{name}.log").open("wb") as log:
            self.running[name] = subprocess.Popen(self.namespace.command(arguments), stdout=log, stderr=log)

    def log(self, name):
        return (self.folder / f"{name}.log").read_text(errors="replace")

    def end(self, name, by=signal.SIGINT):
        process = self.running[name]
        process.send_signal(by)
        try:
            return process.wait(timeout=10)
        except subprocess.TimeoutExpired:
            process.kill()
            return process.wait()

    def await_port(self, port):
        for _ in range(400):
            if self.namespace.listens(port):
                return
            time.sleep(0.05)
        self.fail(f"nobody listens on port {port}")

    def close(self):
        for name in reversed(self.running):
            self.end(name, signal.SIGTERM)

    def service(self, binaries):
        """Starts the service, which gives up no packet because the machine has other work, and returns its address."""
        self.start("mxsd", [binaries / "mxsd", "--port", "0", "--longest-hold", "60000"])
        for _ in range(200):
            match = re.search(r"http://localhost:\d+/", self.log("mxsd"))
            if match:
                return match[0]
            if self.running["mxsd"].poll() is not None:
                break
            time.sleep(0.05)
        sys.exit("the service did not start: " + self.log("mxsd"))

    def print_logs(self):
        for name in self.running:
            print(f"--- {name}\n{self.log(name)[-4000:]}")

    def fail(self, why):
        self.print_logs()
        sys.exit(why)


def judge(namespace, attempt, untold=False):
    """Ends the test with what `attempt(programs, folder)` says is wrong, if anything is. When the system threw packets
    away meanwhile, which it does and counts once the buffer of a peer's socket is full, it is made again, twice at
    most; once where the peer loses packets by itself and tells nobody."""
    for left in (2, 1, 0):
        with tempfile.TemporaryDirectory() as folder:
            programs, before = Programs(namespace, folder), namespace.without_room()
            try:
                try:
                    wrong = attempt(programs, pathlib.Path(folder))
                    if not wrong:
                        return
                    programs.print_logs()
                except SystemExit as failed:
                    wrong = failed.code
                lost = namespace.without_room() - before
                if left == 0 or not (lost or untold and left == 2):
                    sys.exit(wrong)
            finally:
                programs.close()
        reason = f"{lost} packets had no room" if lost else "the peer loses packets by itself and tells nobody"
        print(f"{wrong}\n{reason}: once more")


def await_size(path, size, seconds):
    for _ in range(seconds * 10):
        if path.exists() and path.stat().st_size >= size:
            return True
        time.sleep(0.1)
    return False


def await_quiet(path, seconds):
    """Until a file has not grown for so long."""
    size, quiet = -1, 0
    while quiet < seconds * 10:
        size, before = path.stat().st_size, size
        quiet = quiet + 1 if size == before else 0
        time.sleep(0.1)


def capture(programs, file, port, command):
    """Has tshark write what goes to a port of the private loopback while `command` runs; returns what that printed.
    It captures for 90 seconds and 64 MB at most, whatever becomes of us."""
    # Datagrams that the kernel is to cut out of one buffer pass a capture uncut unless the link cannot take them.
    subprocess.run(["ip", "-n", programs.namespace.name, "link", "set", "lo", "gso_max_segs", "1"], check=True)
    programs.start("tshark", ["tshark", "-i", "lo", "-B", "64", "-f", f"udp port {port}", "-w", file, "-q",
                              "-a", "duration:90", "-a", "filesize:64000"])
    if not await_size(file, 1, 10):
        programs.fail("tshark does not capture")
    result = subprocess.run(programs.namespace.command(command), capture_output=True, text=True, timeout=60,
                            check=False)
    print(result.stdout, result.stderr, sep="")
    if result.returncode:
        programs.fail("the sender failed")
    await_quiet(file, 1)
    programs.end("tshark")
    return result.stdout


def dissect(file, port, fields, *options):
    """What tshark makes of each packet of a capture, field by field; the payload is RTP."""
    table = subprocess.run(["tshark", *options, "-r", file, "-d", f"udp.port=={port},rtp", "-T", "fields"]
                           + [word for field in fields for word in ("-e", field)],
                           capture_output=True, text=True, timeout=120, check=True).stdout
    return [dict(zip(fields, line.split("\t"))) for line in table.splitlines()]


def write_description(binaries, sdp, address, ports, *options):
    """The library's own text, byte for byte."""
    paths = [word for port in ports for word in ("--path", f"{address}:{port}")]
    subprocess.run([binaries / "zefa", "sdp", "write", "--source", "127.0.0.1", *paths, *options, "--output", sdp],
                   check=True)
    print(sdp.read_text())


def gstreamer_by_description(binaries, sdp, target, address, port, depayloader):
    """A receiver with the format that GStreamer itself reads out of the description."""
    described = subprocess.run([binaries / "gstreamer_description", sdp], capture_output=True, text=True, check=True)
    caps = described.stdout.splitlines()[0].replace("application/x-unknown", "application/x-rtp", 1)
    return (f"gst-launch-1.0 -e -q udpsrc address={address} port={port} buffer-size=8000000".split() + [f"caps={caps}"]
            + f"! {depayloader} ! filesink location={target} buffer-mode=unbuffered".split())
