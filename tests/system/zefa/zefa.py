#!/usr/bin/python3
"""The command line tool against the service: every command, its JSON, its exit codes and its sentences.

    zefa.py --bin FOLDER --pages FOLDER CASE     --bin holds zefa and mxsd, --pages zefa.1 and zefa.bash
    zefa.py --list

Packets stay on the loopback."""
import argparse
import ctypes
import http.client
import http.server
import json
import os
import pathlib
import pty
import random
import re
import resource
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
from ports import free_port

GOOD, COMPLAINTS, USAGE, NO_SERVICE, REFUSED, FILE, NOTHING = range(7)
SKIPPED = 77
SENDS_LATE = "--longest-hold", "60000"  # for a service on a machine with other work, which gives up packets otherwise
VIDEO = ("sampling=YCbCr-4:2:2; width=1280; height=720; exactframerate=50; depth=8; TCS=SDR; colorimetry=BT709; "
         "PM=2110GPM; SSN=ST2110-20:2017;")
SLOT_BYTES = 1280 * 720 * 2
FIELDS = VIDEO.replace("width=1280; height=720; exactframerate=50",
                       "width=720; height=576; interlace; exactframerate=25")
FRAME_BYTES = 720 * 576 * 2
AUDIO_SLOT_BYTES = 480 * 2 * 2  # 10 ms


def description(format_=VIDEO, port=5000, address="127.0.0.1", session="", media=""):
    return "\r\n".join(["v=0", "o=- 1 1 IN IP4 127.0.0.1", "s=test", *([session] if session else []), "t=0 0",
                        f"m=video {port} RTP/AVP 96", f"c=IN IP4 {address}", "a=rtpmap:96 raw/90000",
                        f"a=fmtp:96 {format_}", "a=ts-refclk:ptp=IEEE1588-2008:traceable", "a=mediaclk:direct=0", media])


AUDIO = "\r\n".join(["v=0", "o=- 1 1 IN IP4 127.0.0.1", "s=test", "t=0 0", "m=audio {port} RTP/AVP 97",
                     "c=IN IP4 127.0.0.1", "a=rtpmap:97 L16/48000/2", "a=ptime:1", "a=mediaclk:direct=0", ""])


def leave_the_machines_network():
    """This process and what it starts get a network of their own, so that no message of PTP leaves the machine."""
    if shutil.which("ip") is None or ctypes.CDLL(None, use_errno=True).unshare(0x40000000) != 0:  # CLONE_NEWNET
        raise unittest.SkipTest("no right to make a network namespace: " + os.strerror(ctypes.get_errno()))
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True, timeout=20)


def with_settings_of_the_machine(etc, settings):
    """For preexec_fn: a program that sees the folder `etc` for /etc, and these log settings of the machine in it."""
    if subprocess.run(["unshare", "--mount", "true"], capture_output=True, check=False).returncode != 0:
        raise unittest.SkipTest("no right to make a mount namespace")
    (etc / "quillmont").mkdir(parents=True)
    (etc / "quillmont" / "zefaline.conf").write_text(settings)
    if os.path.exists("/etc/ld.so.cache"):
        shutil.copy("/etc/ld.so.cache", etc)
    system = ctypes.CDLL(None, use_errno=True)

    def enter():
        if (system.unshare(0x00020000) != 0  # CLONE_NEWNS
                or system.mount(None, b"/", None, 0x44000, None) != 0  # MS_REC | MS_PRIVATE
                or system.mount(os.fsencode(etc), b"/etc", None, 0x1000, None) != 0):  # MS_BIND
            raise OSError(ctypes.get_errno(), "no /etc of its own")

    return enter


class OtherService(http.server.BaseHTTPRequestHandler):
    """The service, but for what it tells of its flow rail."""
    protocol_version = "HTTP/1.1"

    def pass_on(self):
        behind = http.client.HTTPConnection("127.0.0.1", self.server.behind, timeout=20)
        body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
        behind.request(self.command, self.path, body, dict(self.headers))
        answer = behind.getresponse()
        told = re.sub(*self.server.change, answer.read())
        self.send_response(answer.status)
        for name, value in answer.getheaders():
            if name.lower() not in ("content-length", "transfer-encoding", "connection"):
                self.send_header(name, value)
        self.send_header("Content-Length", str(len(told)))
        self.end_headers()
        self.wfile.write(told)
        behind.close()

    do_GET = do_PUT = do_POST = do_DELETE = pass_on

    def log_message(self, *_):
        pass


class Zefa(unittest.TestCase):
    bin = pages = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="zefa-test-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.url = None

    def start_service(self, *options):
        log = open(self.folder / "mxsd.log", "w+b")
        service = subprocess.Popen([self.bin / "mxsd", "--port", "0", *options], stdout=log, stderr=log)
        self.addCleanup(log.close)
        self.addCleanup(service.wait, 20)
        self.addCleanup(service.terminate)
        end = time.monotonic() + 20
        while time.monotonic() < end and service.poll() is None:
            found = re.search(rb"http://localhost:\d+/", (self.folder / "mxsd.log").read_bytes())
            if found:
                self.url = found[0].decode()
                return service
            time.sleep(0.02)
        self.fail("the service did not start: " + (self.folder / "mxsd.log").read_text())

    def stand_before_the_service(self, key, instead):
        """The service is found where `instead` stands for this part of what it answers."""
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), OtherService)
        server.behind, server.change = int(re.search(r":(\d+)/", self.url)[1]), (key, instead)
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.url = f"http://localhost:{server.server_port}/"

    def start(self, *words, service=True, stdout=subprocess.PIPE, **more):
        options = ["--service", self.url] if service and self.url else []
        return subprocess.Popen([self.bin / "zefa", *words, *options], stdout=stdout, stderr=subprocess.PIPE, **more)

    def zefa(self, *words, expect=GOOD, service=True, **more):
        """Runs the program; its standard output and standard error stream as text."""
        result = subprocess.run([self.bin / "zefa", *words,
                                 *(["--service", self.url] if service and self.url else [])],
                                capture_output=True, timeout=60, check=False, **more)
        out, err = result.stdout.decode(errors="replace"), result.stderr.decode(errors="replace")
        self.assertEqual(expect, result.returncode, f"{words}\n{out}{err}")
        return out, err

    def on_a_terminal(self, *words, expect=GOOD):
        """Runs the program with a terminal for its standard output: what the terminal gets, and standard error."""
        terminal, output = pty.openpty()
        self.addCleanup(os.close, terminal)
        running = self.start(*words, stdout=output)
        self.addCleanup(running.kill)
        os.close(output)
        shown = b""
        while True:
            try:
                shown += os.read(terminal, 65536)
            except OSError:  # nobody has it open any more
                break
        _, err = running.communicate(timeout=60)
        self.assertEqual(expect, running.returncode, f"{words}\n{shown}\n{err}")
        return shown.decode(), err.decode()

    def json(self, *words, **more):
        return json.loads(self.zefa(*words, "--json", **more)[0])

    def write(self, name, content):
        path = self.folder / name
        path.write_bytes(content.encode() if isinstance(content, str) else content)
        return str(path)

    # The service at a glance.

    def test_StatusTellsVersionsAndNumbers(self):
        self.start_service()
        status = self.json("status")
        self.assertEqual(self.url, status["service"])
        self.assertTrue(status["railFits"])
        for key in ("serviceVersion", "libraryVersion", "railVersion"):
            self.assertRegex(status[key], r"^\d+\.\d+\.\d+\.\d+$")
        self.assertEqual(len(self.json("cores")["cores"]), status["cores"])
        self.assertEqual(len(self.json("interfaces")["interfaces"]), status["interfaces"])
        out, err = self.zefa("status")
        self.assertRegex(out, rf"(?m)^Service +{re.escape(self.url)}$")
        self.assertEqual("", err)

    def test_CoresAreThoseOfTheSystem(self):
        self.start_service()
        cores = self.json("cores")["cores"]
        self.assertEqual({int(name[3:]) for name in os.listdir("/sys/devices/system/cpu")
                          if re.fullmatch(r"cpu\d+", name)}, {core["core"] for core in cores})
        for core in cores:
            self.assertRegex(core["id"], r"^[0-9a-f]{16}$")
            self.assertIn(core["conductor"], ("available", "in use", "not available"))
        out, _ = self.zefa("cores")
        self.assertEqual(len(cores) + 1, len(out.splitlines()))
        self.assertRegex(out.splitlines()[0], r"^ *Core +Used +Speed")

    def test_InterfacesKnowTheLoopback(self):
        self.start_service()
        loopback = [each for each in self.json("interfaces")["interfaces"] if each["name"] == "lo"]
        self.assertEqual(1, len(loopback))
        self.assertEqual("127.0.0.1/8", loopback[0]["address"])
        self.assertEqual("00:00:00:00:00:00", loopback[0]["mac"])
        self.assertRegex(self.zefa("interfaces")[0], r"(?m)^lo +127\.0\.0\.1/8 ")

    def test_ConductorsAreNoneWhenNobodyShares(self):
        self.start_service()
        self.assertEqual({"conductors": []}, self.json("conductors"))
        self.assertEqual("No conductor is shared.\n", self.zefa("conductors")[0])

    def test_ConductorsTellTheCoreOfASharedOne(self):
        self.start_service()
        program = self.bin / "sharing_application"
        sharing = subprocess.Popen([program, self.url], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(sharing.wait, 20)
        self.addCleanup(sharing.communicate)
        self.assertEqual(b"shared\n", sharing.stdout.readline())
        conductors = self.json("conductors")["conductors"]
        self.assertEqual([0], [each["core"] for each in conductors])
        self.assertGreaterEqual(conductors[0]["loadPercent"], 0)
        again = self.json("conductors")["conductors"]
        self.assertEqual([conductors[0]["id"]], [each["id"] for each in again], "looking at it does not end it")
        self.assertIn(conductors[0]["id"], self.zefa("conductors")[0])

    def test_WatchPrintsAgainAsOftenAsCountSays(self):
        self.start_service()
        out, _ = self.zefa("cores", "--watch", "--count", "3", "--interval", "10", "--json")
        rounds = [json.loads(line) for line in out.splitlines()]
        self.assertEqual(3, len(rounds))
        self.assertEqual([core["id"] for core in rounds[0]["cores"]], [core["id"] for core in rounds[2]["cores"]])
        out, _ = self.zefa("cores", "--watch", "--count", "2", "--interval", "10")
        self.assertEqual(2, out.count("Conductor"))

    def test_WatchOnATerminalRedrawsTheScreen(self):
        self.start_service()
        shown, err = self.on_a_terminal("status", "--watch", "--count", "2", "--interval", "10")
        before, *screens = shown.split("\x1b[H\x1b[J")
        self.assertEqual(("", 2, ""), (before, len(screens), err))
        for screen in screens:
            self.assertRegex(screen, rf"^Service +{re.escape(self.url)}\r\n")

    def test_WatchEndsWithAnInterruptAndExitCode0(self):
        self.start_service()
        watching = self.start("status", "--watch", "--json", "--interval", "3600000")
        self.assertTrue(json.loads(watching.stdout.readline()))
        watching.send_signal(2)
        watching.communicate(timeout=20)
        self.assertEqual(GOOD, watching.returncode)

    def test_AServiceThatGoesAwayDuringAWatchIsExitCode3(self):
        service = self.start_service()
        watching = self.start("cores", "--watch", "--json", "--interval", "50")
        watching.stdout.readline()
        service.kill()
        _, err = watching.communicate(timeout=30)
        self.assertEqual(NO_SERVICE, watching.returncode, err)
        self.assertRegex(err, b"zefa: The (cores could not be listed|status of a core could not be read): "
                              b"Communication error\\.")

    def test_AServiceWithAnotherFlowRailIsLookedAtAndGetsNoMedia(self):
        self.start_service()
        self.stand_before_the_service(rb'("FlowRailVersion" *: *)\d+', rb"\g<1>1")
        self.assertFalse(self.json("status")["railFits"])
        file = self.write("video.sdp", description(port=free_port()))
        self.assertEqual("zefa: The service has another version of the flow rail: no media can be exchanged with it.\n",
                         self.zefa("receive", file, expect=REFUSED)[1])

    def test_AServiceThatAnswersWithNonsenseIsExitCode3(self):
        self.start_service()
        self.stand_before_the_service(rb'"FlowRailVersion"', b'nonsense')
        _, err = self.zefa("status", expect=NO_SERVICE)
        self.assertEqual(f"zefa: No session with the service {self.url}: Communication error.\n", err)

    # What goes wrong before anything is done.

    def test_AServiceThatIsNotThereIsExitCode3(self):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            url = f"http://localhost:{probe.getsockname()[1]}/"
            for command in ("status", "cores", "interfaces", "conductors", "ptp"):
                out, err = self.zefa(command, "--service", url, expect=NO_SERVICE)
                self.assertEqual("", out)
                self.assertEqual(f"zefa: No session with the service {url} (is it running?): Communication error.\n",
                                 err)

    def test_CommandLinesThatCannotBeCarriedOutAreExitCode2WithASentence(self):
        for words, sentence in {
                (): "A command is missing.",
                ("look",): 'There is no command "look".',
                ("sdp",): "sdp wants one of check, show, write and diff.",
                ("status", "--color"): "There is no option --color here.",
                ("status", "now"): '"now" is one word too many.',
                ("status", "--count", "0"): f'--count wants a number from 1 to {2**64 - 1}, not "0".',
                ("status", "--count", "3"): "--count wants --watch.",
                ("ptp", "--interval", "10"): "--interval wants --watch.",
                ("status", "--service", "http://example.com/"):
                    "--service wants an address of this machine, as http://localhost:7420/.",
                ("ptp", "--profile", "0"): "--profile and --interface belong together.",
                ("ptp", "--hybrid"): "--hybrid wants --profile and --interface.",
                ("sdp", "check"): "FILE is missing.",
                ("sdp", "write", "--path", "239.0.0.1"):
                    '--path wants ADDRESS:PORT, as 239.0.0.1:5004, not "239.0.0.1".',
                ("sdp", "write", "--name", 50 * "x"): "--name has room for 49 bytes.",
                ("sdp", "write", "--essence", "audio", "--depth", "8"): "--depth says nothing about audio.",
                ("send", "a.sdp"): "--input is missing: the file with the samples.",
                ("--completion",): "--completion wants the name of a shell: bash.",
        }.items():
            out, err = self.zefa(*words, expect=USAGE)
            self.assertEqual("", out)
            self.assertEqual(f"zefa: {sentence}", err.splitlines()[0])

    def test_AnAddressThatTheLibraryCannotTakeIsExitCode2(self):
        _, err = self.zefa("status", "--service", "http://localhost :7420/", expect=USAGE)
        self.assertRegex(err.splitlines()[0], r"^zefa: --service http://localhost :7420/ is no address: .*\.$")

    def test_FilesThatCannotBeReadAreExitCode5(self):
        missing = str(self.folder / "missing.sdp")
        for words in (("sdp", "check", missing), ("sdp", "show", missing), ("sdp", "diff", missing, missing),
                      ("receive", missing)):
            self.assertEqual(f"zefa: {missing} could not be read: No such file or directory.\n",
                             self.zefa(*words, expect=FILE)[1])

    def test_ReadErrorsAreExitCode5AndNoEndOfTheFile(self):
        memory = "/proc/self/mem"  # nothing lies where it begins
        self.assertEqual(f"zefa: {memory} could not be read: Input/output error.\n",
                         self.zefa("sdp", "check", memory, expect=FILE)[1])
        folder = os.open(self.folder, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        self.assertEqual("zefa: - is a folder.\n", self.zefa("sdp", "check", "-", expect=FILE, stdin=folder)[1])

    def test_ReadingThatIsInterruptedIsExitCode5(self):
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        checking = self.start("sdp", "check", pipe)
        self.addCleanup(checking.kill)
        self.addCleanup(os.close, os.open(pipe, os.O_WRONLY))  # waits until it is being read
        checking.send_signal(signal.SIGINT)
        _, err = checking.communicate(timeout=60)
        self.assertEqual((FILE, f"zefa: {pipe} was not read to its end: interrupted.\n"),
                         (checking.returncode, err.decode()))

    def test_WritingThatIsInterruptedIsExitCode5(self):
        pipe = self.folder / "pipe"  # that nobody reads
        os.mkfifo(pipe)
        writing = self.start("sdp", "write", "--output", pipe)
        self.addCleanup(writing.kill)
        status = pathlib.Path(f"/proc/{writing.pid}/status")
        while writing.poll() is None and not int(re.search(r"SigCgt:\s*(\w+)", status.read_text())[1], 16) & 2:
            time.sleep(0.01)  # until it hears interrupts
        writing.send_signal(signal.SIGINT)
        _, err = writing.communicate(timeout=60)
        self.assertEqual((FILE, f"zefa: {pipe} was not written to its end: interrupted.\n"),
                         (writing.returncode, err.decode()))

    def test_MemoryThatRunsOutIsExitCode4(self):
        _, err = self.zefa("sdp", "check", "/dev/zero", expect=REFUSED,
                           preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (1 << 29, 1 << 29)))
        self.assertEqual("zefa: std::bad_alloc\n", err)

    def test_WithoutAFolderForTheSettingsOfTheReaderIsExitCode5(self):
        file = self.write("good.sdp", description())
        _, err = self.zefa("sdp", "check", file, expect=FILE, env={**os.environ, "TMPDIR": str(self.folder / "none")})
        self.assertRegex(err, r"^zefa: There is no folder for temporary files: .*\.\n$")
        _, err = self.zefa("sdp", "check", file, expect=FILE, env={**os.environ, "TMPDIR": "/proc"})
        self.assertRegex(err, r"^zefa: No folder for the log settings could be made: .*\.\n$")

    def test_SettingsThatCannotBeWrittenLeaveNoFolderBehind(self):
        def fill_the_disk():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (0, 0))

        file = self.write("good.sdp", description())
        place = self.folder / "temporary"
        place.mkdir()
        _, err = self.zefa("sdp", "check", file, expect=FILE, env={**os.environ, "TMPDIR": str(place)},
                           preexec_fn=fill_the_disk)
        self.assertRegex(err, r"zefaline\.conf takes no more: File too large\.\n$")
        self.assertEqual([], list(place.iterdir()))

    def test_AClosedStandardStreamIsNoOtherFile(self):
        missing = str(self.folder / "missing.sdp")
        out, _ = self.zefa("sdp", "check", missing, expect=FILE, preexec_fn=lambda: os.close(2))
        self.assertEqual("", out, "the sentence goes nowhere")
        _, err = self.zefa("--version", expect=FILE, preexec_fn=lambda: os.close(1))
        self.assertEqual("zefa: The standard output takes no more: Bad file descriptor.\n", err)

    def test_TheLogOfTheLibraryStaysOutOfTheOutput(self):
        self.start_service()
        (self.folder / "quillmont").mkdir()
        self.write("quillmont/zefaline.conf", "DebugFilter = Error Warning Debug\nDebugOutput = StdOutputLog\n")
        out, err = self.zefa("status", "--json", env={**os.environ, "XDG_CONFIG_HOME": str(self.folder)})
        self.assertEqual(self.url, json.loads(out)["service"])
        if not os.path.exists("/etc/quillmont/zefaline.conf"):
            self.assertIn("[QUILLMONT ZEFA][Debug]", err)

    # PTP.

    def test_PtpShowsConfigurationAndStatus(self):
        self.start_service()
        ptp = self.json("ptp")
        self.assertIn("domain", ptp["config"])
        self.assertIn("portState", ptp["status"])
        self.assertRegex(self.zefa("ptp")[0], r"(?m)^Port state +\w+")

    def test_PtpIsConfiguredFromAProfile(self):
        leave_the_machines_network()
        self.start_service()
        ptp = self.json("ptp", "--profile", "0", "--interface", "lo", "--domain", "5", "--delay", "p2p", "--hybrid")
        self.assertEqual({"domain": 5, "priority1": 128, "priority2": 128, "delayMechanism": "p2p",
                          "logMinDelayReqInterval": -3, "hybridMode": True, "timeStamping": "software"},
                         {key: ptp["config"][key] for key in ("domain", "priority1", "priority2", "delayMechanism",
                                                              "logMinDelayReqInterval", "hybridMode",
                                                              "timeStamping")})
        self.assertEqual(ptp["config"], self.json("ptp")["config"], "the configuration holds")

    def test_PtpRefusesAnInterfaceThatIsNotThere(self):
        self.start_service()
        _, err = self.zefa("ptp", "--profile", "1", "--interface", "nowhere0", expect=USAGE)
        self.assertRegex(err, r"zefa: There is no interface nowhere0; there are: .*lo \(127\.0\.0\.1\)")

    # Descriptions.

    def test_CheckOfAGoodDescriptionIsExitCode0(self):
        file = self.write("good.sdp", description())
        self.assertEqual(f"{file}: accepted; complaints of the reader: 0, hints: 0\n", self.zefa("sdp", "check", file)[0])
        self.assertEqual([], self.json("sdp", "check", file)["complaints"])

    def test_CheckTellsTheReadersOwnWordsAndWhereTheyBelong(self):
        file = self.write("bad.sdp", description(VIDEO.replace("depth=8", "depth=9")))
        out, _ = self.zefa("sdp", "check", file, expect=COMPLAINTS)
        self.assertEqual([f'{file}:8:82: error (reader), depth: Unsupported depth value "9".',
                          f"{file}: error (reader): Error in ZEFA_ReadSDP when parsing the SDP : 2",
                          f"{file}: refused; complaints of the reader: 2, hints: 0"], out.splitlines())
        report = self.json("sdp", "check", file, expect=COMPLAINTS)
        self.assertFalse(report["accepted"])
        self.assertEqual({"line": 8, "column": 82, "kind": "error", "source": "reader", "key": "depth",
                          "text": 'Unsupported depth value "9".'}, report["complaints"][0])
        self.assertIsNone(report["complaints"][1]["line"])

    def test_CheckOfAWarningIsExitCode1(self):
        file = self.write("warned.sdp", description(VIDEO.replace("TCS=SDR; ", "")))
        report = self.json("sdp", "check", file, expect=COMPLAINTS)
        self.assertTrue(report["accepted"])
        self.assertEqual([("warning", "reader", "TCS", 8)],
                         [(each["kind"], each["source"], each["key"], each["line"]) for each in report["complaints"]])

    def test_CheckTellsWhatTheReaderThrows(self):
        file = self.write("throws.sdp", description().replace("RTP/AVP 96", "RTP/AVP 96 "))
        out, _ = self.zefa("sdp", "check", file, expect=COMPLAINTS)
        self.assertIn(f"{file}: error (reader): the reading ended with an exception: invalid stoi argument\n", out)
        self.assertRegex(out, rf"(?m)^{re.escape(file)}:5:25: hint \(zefa\), m=: .*a blank to spare")

    def test_WhereTheMachinesLogSettingsRuleCheckSaysSoAndTellsTheResultAlone(self):
        unclocked = self.write("unclocked.sdp", description().replace("a=mediaclk:direct=0\r\n", ""))
        bad = self.write("bad.sdp", description(VIDEO.replace("depth=8", "depth=9")))
        own = with_settings_of_the_machine(self.folder / "etc", "DebugFilter = Emergency\n")
        self.assertEqual([f"{bad}: error (reader): refused: Operation failed",
                          f"{bad}: refused; complaints of the reader: 1, hints: 0",
                          "The log settings of this machine (/etc/quillmont/zefaline.conf) rule: what the reader says "
                          "may be missing here."],
                         self.zefa("sdp", "check", bad, expect=COMPLAINTS, preexec_fn=own)[0].splitlines())
        self.assertTrue(self.json("sdp", "check", bad, expect=COMPLAINTS, preexec_fn=own)["logOfThisMachine"])
        self.assertEqual("description: error (writer): refused: Operation failed\n",
                         self.zefa("sdp", "write", "--from", unclocked, expect=COMPLAINTS, preexec_fn=own)[1])

    def test_HintsAloneAreExitCode0UnlessStrict(self):
        file = self.write("interlaced.sdp", description(
            VIDEO.replace("width=1280; height=720; exactframerate=50",
                          "width=1920; height=1080; interlace; exactframerate=25")))
        out, _ = self.zefa("sdp", "check", file)
        self.assertRegex(out, r":8:\d+: hint \(zefa\), exactframerate: .*set 1920x1080i50 ")
        self.zefa("sdp", "check", "--strict", file, expect=COMPLAINTS)

    def test_CheckGivesHintsForWhatTheFieldDoes(self):
        connection = self.write("connection.sdp",
                                description(session="c=IN IP4 127.0.0.1").replace("c=IN IP4 127.0.0.1\r\na=", "a="))
        report = self.json("sdp", "check", connection, expect=COMPLAINTS)
        self.assertIn(("hint", "zefa", "c=", 4),
                      [(each["kind"], each["source"], each["key"], each["line"]) for each in report["complaints"]])
        ancillary = self.write("anc.sdp", description("DID_SDID={0x61,0x02}").replace("raw", "smpte291"))
        report = self.json("sdp", "check", ancillary, expect=COMPLAINTS)
        self.assertIn(("hint", "zefa", "SSN", 8),
                      [(each["kind"], each["source"], each["key"], each["line"]) for each in report["complaints"]])

    def test_CheckReadsTheStandardInputAndAnyBytes(self):
        for content in (b"", b"\0\xff\xfe", bytes(range(256)) * 40, b"m=" * 5000, b"m=\n" * 500):
            out, err = self.zefa("sdp", "check", "-", expect=COMPLAINTS, input=content)
            self.assertIn("-: refused; complaints of the reader: ", out)
            self.assertEqual("", err)

    def test_ShowTellsTheFieldsAsTableAndJson(self):
        file = self.write("good.sdp", description())
        shown = self.json("sdp", "show", file)
        self.assertEqual({"sessionName": "test", "essence": "video", "payloadType": 96,
                          "paths": [{"destination": "127.0.0.1", "port": 5000, "source": "127.0.0.1"}],
                          "video": {"standard": "1280x720p50", "sampling": "YCbCr-4:2:2", "depth": "8",
                                    "colorimetry": "BT709", "tcs": "SDR", "packing": "2110GPM"},
                          "mediaClock": "direct", "refClock": "traceable"}, shown)
        out, _ = self.zefa("sdp", "show", file)
        self.assertRegex(out, r"(?m)^video\.standard +1280x720p50$")
        self.assertRegex(out, r"(?m)^paths\.0\.port +5000$")

    def test_ShowOfARefusedDescriptionIsExitCode1(self):
        file = self.write("bad.sdp", description(VIDEO.replace("depth=8", "depth=9")))
        out, err = self.zefa("sdp", "show", file, expect=COMPLAINTS)
        self.assertEqual("", out)
        self.assertIn('Unsupported depth value "9".', err)
        self.assertIn(f"zefa: {file} was refused by the reader.\n", err)
        file = self.write("throws.sdp", description().replace("RTP/AVP 96", "RTP/AVP 96 "))
        _, err = self.zefa("sdp", "show", file, expect=COMPLAINTS)
        self.assertRegex(err, rf"(?m)^{re.escape(file)}:5:25: hint \(zefa\), m=: .*a blank to spare")

    def test_DiffTellsTheFieldsThatDiffer(self):
        a = self.write("a.sdp", description())
        b = self.write("b.sdp", description(VIDEO.replace("depth=8", "depth=10"), port=5002))
        self.assertEqual([{"name": "paths.0.port", "a": 5000, "b": 5002},
                          {"name": "video.depth", "a": "8", "b": "10"}],
                         self.json("sdp", "diff", a, b, expect=COMPLAINTS))
        out, _ = self.zefa("sdp", "diff", a, b, expect=COMPLAINTS)
        self.assertRegex(out, r"(?m)^video\.depth +8 +10$")
        more = self.write("more.sdp", description().replace("s=test", "s=test\r\ni=words"))
        self.assertEqual([{"name": "sessionDescription", "a": None, "b": "words"}],
                         self.json("sdp", "diff", a, more, expect=COMPLAINTS))

    def test_DiffOfTheSameFieldsInOtherLinesIsExitCode0(self):
        a = self.write("a.sdp", description())
        b = self.write("b.sdp", description(VIDEO.replace("; ", ";")).replace("\r\n", "\n"))
        self.assertEqual([], self.json("sdp", "diff", a, b))
        self.assertEqual("No field differs.\n", self.zefa("sdp", "diff", a, b)[0])

    def test_WriteMakesADescriptionThatReadsBack(self):
        file = str(self.folder / "written.sdp")
        self.zefa("sdp", "write", "--standard", "1920x1080i59.94", "--sampling", "YCbCr-4:4:4", "--depth", "12",
                  "--colorimetry", "BT2020", "--tcs", "HLG", "--path", "239.0.0.1:5000", "--path", "239.0.1.1:5002",
                  "--source", "10.0.0.1", "--payload", "112", "--name", "one", "--info", "two", "--tsmode", "SAMP",
                  "--tsdelay", "7", "--mediaclk", "sender", "--refclk", "ptp=08-00-11-FF-FE-21-E1-B0:127",
                  "--output", file)
        self.assertEqual({"sessionName": "one", "sessionDescription": "two", "essence": "video", "payloadType": 112,
                          "paths": [{"destination": "239.0.0.1", "port": 5000, "source": "10.0.0.1"},
                                    {"destination": "239.0.1.1", "port": 5002, "source": "10.0.0.1"}],
                          "video": {"standard": "1920x1080i59.94", "sampling": "YCbCr-4:4:4", "depth": "12",
                                    "colorimetry": "BT2020", "tcs": "HLG", "packing": "2110GPM"},
                          "mediaClock": "sender", "refClock": "ptp=08-00-11-FF-FE-21-E1-B0:127", "tsMode": "SAMP",
                          "tsDelayUs": 7}, self.json("sdp", "show", file))

    def test_WriteKnowsAudioAndAncillaryData(self):
        audio, anc = str(self.folder / "audio.sdp"), str(self.folder / "anc.sdp")
        self.zefa("sdp", "write", "--essence", "audio", "--codec", "L16", "--rate", "96000", "--channels", "8",
                  "--ptime", "0.125", "--channel-order", "SMPTE2110.(51,ST)", "--refclk", "localmac=00-11-22-33-44-55",
                  "--output", audio)
        shown = self.json("sdp", "show", audio)
        self.assertEqual({"codec": "L16", "rate": "96000", "channels": 8, "packetTimeMs": "0.125",
                          "channelOrder": "SMPTE2110.(51,ST)"}, shown["audio"])
        self.assertEqual("localmac=00-11-22-33-44-55", shown["refClock"])
        out, _ = self.zefa("sdp", "write", "--essence", "anc", "--standard", "1920x1080p50", "--output", anc)
        self.assertEqual("", out)
        self.assertEqual("anc", self.json("sdp", "show", anc)["essence"])

    def test_WriteBeginsWithADescriptionAndPrintsText(self):
        file = self.write("good.sdp", description())
        out, _ = self.zefa("sdp", "write", "--from", file, "--depth", "10")
        self.assertIn("m=video 5000 RTP/AVP 96\r\n", out)
        again = self.write("again.sdp", out)
        self.assertEqual([{"name": "video.depth", "a": "8", "b": "10"}],
                         self.json("sdp", "diff", file, again, expect=COMPLAINTS))

    def test_WriteTakesOffsetAndClockFromItsOptions(self):
        local, traceable = str(self.folder / "local.sdp"), str(self.folder / "traceable.sdp")
        self.zefa("sdp", "write", "--refclk", "localmac=00-11-22-33-44-55", "--troff", "40", "--output", local)
        self.assertEqual(40, self.json("sdp", "show", local)["video"]["trOffsetUs"])
        self.zefa("sdp", "write", "--from", local, "--refclk", "traceable", "--output", traceable)
        self.assertEqual([{"name": "refClock", "a": "localmac=00-11-22-33-44-55", "b": "traceable"}],
                         self.json("sdp", "diff", local, traceable, expect=COMPLAINTS))

    def test_WriteRefusesAClockThatIsNone(self):
        for clock in ("gps", "ptp=08-00-11-FF-FE-21-E1-B0", "ptp=08-00-11-FF-FE-21-E1-B0:256", "ptp=08-00:1",
                      "localmac=00-11-22-33-44"):
            _, err = self.zefa("sdp", "write", "--refclk", clock, expect=USAGE)
            self.assertEqual("zefa: --refclk wants traceable, ptp=00-11-22-33-44-55-66-77:127 or "
                             f'localmac=00-11-22-33-44-55, not "{clock}".', err.splitlines()[0])

    def test_WriteTellsWhatTheWriterRefuses(self):
        file = self.write("unclocked.sdp", description().replace("a=mediaclk:direct=0\r\n", ""))
        out, err = self.zefa("sdp", "write", "--from", file, expect=COMPLAINTS)
        self.assertEqual("", out)
        self.assertEqual("description: error (writer): Error in ZEFA_WriteSDP when writing the SDP : 2\n", err)
        answer = self.json("sdp", "write", "--from", file, expect=COMPLAINTS)
        self.assertIsNone(answer["sdp"])
        self.assertEqual("writer", answer["complaints"][0]["source"])

    # Streams.

    def test_ReceiveOfNothingIsExitCode6(self):
        self.start_service()
        file = self.write("video.sdp", description(port=free_port()))
        _, err = self.zefa("receive", file, "--timeout", "1", expect=NOTHING)
        self.assertEqual("zefa: Nothing arrived for 1 s.\n", err)

    def test_ReceivedMediaOnTheStandardOutputStandsAlone(self):
        self.start_service()
        port = free_port()
        file = self.write("video.sdp", description(port=port))
        sent = self.write("sent", bytes([0x80, 0x10]) * (SLOT_BYTES // 2))
        sending = self.start("send", file, "--input", sent, "--loop")
        self.addCleanup(sending.communicate)
        self.addCleanup(sending.terminate)
        receiving = self.start("receive", file, "--output", "-", "--slots", "2", "--timeout", "20", "--json")
        out, err = receiving.communicate(timeout=60)
        self.assertEqual(GOOD, receiving.returncode, err)
        self.assertEqual(2 * SLOT_BYTES, len(out))
        self.assertEqual(2, json.loads(err.splitlines()[-1])["slots"])

    def test_CountersOnATerminalStayInTheirLine(self):
        self.start_service()
        file = self.write("video.sdp", description(port=free_port()))
        shown, err = self.on_a_terminal("receive", file, "--timeout", "1", "--interval", "10", expect=NOTHING)
        self.assertRegex(shown, r"^(\r\x1b\[K +\d\.\d s  0 slots  [^\r\n]*  0 in the ring){2,}\r\n$")
        self.assertEqual("zefa: Nothing arrived for 1 s.\n", err)

    def test_ATerminalThatGoesAwayEndsTheStream(self):
        self.start_service()
        terminal, output = pty.openpty()
        receiving = self.start("receive", self.write("video.sdp", description(port=free_port())), "--timeout", "60",
                               "--interval", "10", stdout=output)
        self.addCleanup(receiving.kill)
        os.close(output)
        self.assertTrue(os.read(terminal, 1))
        os.close(terminal)
        _, err = receiving.communicate(timeout=60)
        self.assertEqual((FILE, "zefa: The standard output takes no more: Input/output error.\n"),
                         (receiving.returncode, err.decode()))

    def test_AServiceThatGoesAwayDuringAStreamIsExitCode3(self):
        service = self.start_service()
        file = self.write("video.sdp", description(port=free_port()))
        receiving = self.start("receive", file, "--timeout", "60", "--json", "--interval", "10")
        self.addCleanup(receiving.kill)
        self.assertTrue(receiving.stdout.readline())
        service.kill()
        _, err = receiving.communicate(timeout=60)
        self.assertEqual(NO_SERVICE, receiving.returncode, err)
        self.assertIn("zefa: clean-up: ZEFA_StopStream: Communication error", err.decode().splitlines())

    def test_AReaderThatGoesAwayEndsTheStream(self):
        self.start_service()
        file = self.write("audio.sdp", AUDIO.format(port=free_port()))
        sending = self.start("send", file, "--input", self.write("sent", bytes(AUDIO_SLOT_BYTES)), "--loop")
        self.addCleanup(sending.communicate)
        self.addCleanup(sending.terminate)
        receiving = self.start("receive", file, "--output", "-")
        self.addCleanup(receiving.kill)
        self.assertEqual(b"\0", receiving.stdout.read(1))
        self.zefa("receive", file, "--timeout", "1", expect=REFUSED)  # the port has one receiver
        receiving.stdout.close()
        err = receiving.stderr.read().decode()
        self.assertEqual(FILE, receiving.wait(20), err)
        self.assertEqual("zefa: The standard output takes no more: Broken pipe.", err.splitlines()[-1])
        self.zefa("receive", file, "--slots", "1", "--timeout", "20")

    def test_ALostTerminalEndsTheStreamUnlessItIsToGoOn(self):
        self.start_service()
        file = self.write("video.sdp", description(port=free_port()))
        words = ("receive", file, "--json", "--interval", "10")
        receiving = self.start(*words)
        self.addCleanup(receiving.kill)
        receiving.stdout.readline()
        receiving.send_signal(signal.SIGHUP)
        _, err = receiving.communicate(timeout=20)
        self.assertEqual((GOOD, b""), (receiving.returncode, err))

        staying = self.start(*words, preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))  # as nohup does
        self.addCleanup(staying.kill)
        staying.stdout.readline()
        staying.send_signal(signal.SIGHUP)
        for _ in range(5):  # more than one that waited to be read and the last one before an end
            self.assertTrue(staying.stdout.readline())
        staying.terminate()
        staying.communicate(timeout=20)
        self.assertEqual(GOOD, staying.returncode)

    def test_AReaderThatStandsStillHoldsUpNoInterrupt(self):
        self.start_service()
        file = self.write("video.sdp", description(port=free_port()))
        sending = self.start("send", file, "--input", self.write("sent", bytes(SLOT_BYTES)), "--loop")
        self.addCleanup(sending.communicate)
        self.addCleanup(sending.terminate)
        receiving = self.start("receive", file, "--output", "-", "--timeout", "60")
        self.addCleanup(receiving.kill)
        self.assertEqual(b"\0", receiving.stdout.read(1))  # a slot is more than the pipe holds
        receiving.send_signal(signal.SIGINT)
        self.assertEqual(GOOD, receiving.wait(20), receiving.stderr.read())
        receiving.communicate()

    def test_AnOutputIsLeftAsItIsWhenNothingCanBeReceived(self):
        self.start_service()
        file = self.write("video.sdp", description(port=free_port()))
        kept = self.write("kept", "of yesterday")
        self.zefa("receive", file, "--output", kept, "--queue", "0", expect=USAGE)
        self.zefa("receive", file, "--output", kept, "--interface", "nowhere0", expect=USAGE)
        self.assertEqual("of yesterday", pathlib.Path(kept).read_text())

    def test_ReceiveSaysWhatADescriptionLacks(self):
        self.start_service()
        two = self.write("two.sdp", description(media="m=audio 5004 RTP/AVP 97\r\nc=IN IP4 127.0.0.1\r\n"
                                                "a=rtpmap:97 L24/48000/2\r\na=ptime:1\r\n"))
        self.assertEqual(f"zefa: {two} holds media that are not paths of one stream; choose one with --media: 0 video "
                         "raw, 1 audio L24.", self.zefa("receive", two, expect=USAGE)[1].splitlines()[0])
        self.assertEqual(f"zefa: {two} has no media 2; there are: 0 video raw, 1 audio L24.",
                         self.zefa("receive", two, "--media", "2", expect=USAGE)[1].splitlines()[0])
        for what, text in {"the sampling": description(VIDEO.replace("YCbCr-4:2:2", "KEY")),
                           "the coding": AUDIO.replace("L16", "L20"),
                           "the packet time": AUDIO.replace("ptime:1", "ptime:4"),
                           "the rate": AUDIO.replace("48000", "44100")}.items():
            file = self.write("unsaid.sdp", text.format(port=5000))
            self.assertEqual(f"zefa: {file} does not say {what} in words that the library takes; zefa sdp check {file} "
                             "tells more.\n", self.zefa("receive", file, expect=COMPLAINTS)[1])
        raster = self.write("raster.sdp", description(VIDEO.replace("1280", "1270")))
        self.assertIn("leads to no video standard; choose it with --standard",
                      self.zefa("receive", raster, expect=USAGE)[1])
        multicast = self.write("multicast.sdp", description(address="239.100.1.77"))
        self.assertIn("zefa: No interface belongs to the network of 239.100.1.77; choose one with --interface.",
                      self.zefa("receive", multicast, expect=USAGE)[1])

    def test_RefusalsOfTheServiceAreExitCode4(self):
        self.start_service("--memory-limit", "1M")
        file = self.write("video.sdp", description(port=free_port()))
        _, err = self.zefa("receive", file, "--timeout", "1", expect=REFUSED)
        self.assertRegex(err, r"^zefa: The .* (refused|opened|started): ")

    def transfer(self, text, content, *options, slots, lead_in=0, queue=8):
        """Sends the file `content` by one zefa and receives it with another, which runs before the first packet: all
        slots of the file, but for a `lead_in` that the service keeps. Nothing is lost on the way, by the counters of
        both. Gives the bytes that were received."""
        self.start_service(*SENDS_LATE)
        file, got = self.write("stream.sdp", text), self.folder / "received"
        sent = self.write("sent", content)
        receiving = self.start("receive", file, "--output", str(got), "--json", "--interval", "100", "--slots",
                               str(slots), "--queue", str(slots), "--timeout", "20", *options)
        self.addCleanup(receiving.kill)
        self.assertEqual(0, json.loads(receiving.stdout.readline())["slots"], "the counters come while nothing does")
        out, _ = self.zefa("send", file, "--input", sent, "--json", "--queue", str(queue), *options)
        counters = json.loads(out.splitlines()[-1])
        self.assertEqual({"slots": slots + lead_in, "slotsFilled": 0, "packetsLost": 0},
                         {key: counters[key] for key in ("slots", "slotsFilled", "packetsLost")})
        out, err = receiving.communicate(timeout=60)
        self.assertEqual(GOOD, receiving.returncode, err)
        received = json.loads(out.splitlines()[-1])
        self.assertEqual({"slots": slots, "packets": counters["packets"], "packetsLost": 0, "holes": 0,
                          "slotsDropped": 0, "drops": 0},
                         {key: received[key] for key in ("slots", "packets", "packetsLost", "holes", "slotsDropped",
                                                         "drops")})
        return got.read_bytes()

    def assert_same_slots(self, expected, received, slot_bytes):
        self.assertEqual(len(expected), len(received))
        other = [at // slot_bytes for at in range(0, len(expected), slot_bytes)
                 if expected[at:at + slot_bytes] != received[at:at + slot_bytes]]
        self.assertEqual([], other, "slots that are not as they were sent")

    def test_VideoThatOneSendsTheOtherReceives(self):
        frames = random.Random(1).randbytes(10 * FRAME_BYTES)
        received = self.transfer(description(FIELDS, free_port()), frames, "--standard", "720x576i50", slots=10)
        self.assert_same_slots(frames, received, FRAME_BYTES)

    def test_AudioThatOneSendsTheOtherReceives(self):
        samples = random.Random(2).randbytes(20 * AUDIO_SLOT_BYTES)
        received = self.transfer(AUDIO.format(port=free_port()), samples, slots=20)
        self.assert_same_slots(samples, received, AUDIO_SLOT_BYTES)

    def test_OneMediaOfSeveralIsTakenByItsNumber(self):
        samples = random.Random(3).randbytes(3 * AUDIO_SLOT_BYTES)
        audio = AUDIO.format(port=free_port())
        several = description(port=free_port(), media=audio[audio.index("m="):])
        self.assert_same_slots(samples, self.transfer(several, samples, "--media", "1", slots=3), AUDIO_SLOT_BYTES)

    def test_AncillaryPacketsThatOneSendsTheOtherReceives(self):
        # By the first frame, slot 5 of the file, the receiver finds where frames begin; the one behind it is its slot
        # 0. Slots 11, 12, 21 and 22 have no lines, and are frames all the same.
        def lines(slot, number):
            return [f"{number} {packet}\n" for packet in ("0 9 V 61 01 296 269 14f", f"0 571 V 41 05 {0x200 + slot:x}",
                                                          "0 9 H 60 60 200")]

        slots = [5, *range(6, 11), *range(13, 21), *range(23, 36)]
        content = "".join(line for slot in slots for line in lines(slot, slot))
        received = self.transfer(description("exactframerate=50; SSN=ST2110-40:2018;", port=free_port()), content,
                                 "--standard", "1920x1080p50", slots=30, lead_in=1)
        self.assertEqual(sorted(line for slot in slots[1:] for line in lines(slot, slot - 6)),
                         sorted(received.decode().splitlines(keepends=True)))

    def test_AncillaryPacketsGoOnWithTheFirstOneInALoop(self):
        self.start_service()
        file = self.write("anc.sdp", description("exactframerate=50; SSN=ST2110-40:2018;", port=free_port()))
        packets = self.write("packets", "5 0 9 H 60 60\n6 0 9 H 60 60\n")
        out, _ = self.zefa("send", file, "--input", packets, "--standard", "1920x1080p50", "--loop", "--slots", "5",
                           "--json")
        self.assertEqual(5, json.loads(out.splitlines()[-1])["slots"])

    def test_AncillaryTextThatIsNoneIsExitCode5(self):
        self.start_service()
        file = self.write("anc.sdp", description("exactframerate=50; SSN=ST2110-40:2018;"))
        packets = self.write("packets", "0 0 9 H 60 60\nnonsense\n")
        _, err = self.zefa("send", file, "--input", packets, "--standard", "1920x1080p50", expect=FILE)
        self.assertIn(f"zefa: {packets}:2: this is no packet", err)

    def test_SendEndsWithItsFileAndALastSlotThatIsFilledWithZeros(self):
        samples = random.Random(4).randbytes(2 * AUDIO_SLOT_BYTES + 1)
        received = self.transfer(AUDIO.format(port=free_port()), samples, slots=3)
        self.assert_same_slots(samples + bytes(AUDIO_SLOT_BYTES - 1), received, AUDIO_SLOT_BYTES)

    def test_SendWaitsUntilALongRingIsSent(self):
        # 4.5 seconds of slots go into the ring at once.
        samples = random.Random(5).randbytes(150 * 3 * AUDIO_SLOT_BYTES)
        received = self.transfer(AUDIO.format(port=free_port()), samples, "--packets-per-slot", "30", slots=150,
                                 queue=150)
        self.assert_same_slots(samples, received, 3 * AUDIO_SLOT_BYTES)

    def test_SendThatEndsWithSlotsInTheRingIsExitCode6(self):
        self.start_service()
        file = self.write("audio.sdp", AUDIO.format(port=free_port()))
        sent = self.write("sent", "a slot of 3 s")
        _, err = self.zefa("send", file, "--input", sent, "--packets-per-slot", "3000", "--timeout", "1",
                           expect=NOTHING)
        self.assertEqual("zefa: The service sent no slot for 1 s; dropped at the end: 1.\n", err)

    def test_SendOfAFileThatIsEmptiedIsExitCode5(self):
        self.start_service()
        file = self.write("audio.sdp", AUDIO.format(port=free_port()))
        sent = self.write("sent", bytes(AUDIO_SLOT_BYTES * 3 // 2))
        sending = self.start("send", file, "--input", sent, "--loop")
        self.addCleanup(sending.kill)
        self.assertTrue(sending.stdout.readline())
        os.truncate(sent, 0)
        _, err = sending.communicate(timeout=30)
        self.assertEqual((FILE, f"zefa: {sent} holds nothing any more.\n"), (sending.returncode, err.decode()))

    def pipe(self, content=b""):
        """The name of a pipe with `content` in it, and with a writer that writes no more."""
        path = self.folder / "pipe"
        os.mkfifo(path)
        writer = os.open(path, os.O_RDWR)
        self.addCleanup(os.close, writer)
        os.write(writer, content)
        return str(path)

    def test_SendFromAPipeThatStandsStillHearsTheLimits(self):
        self.start_service()
        file, pipe = self.write("audio.sdp", AUDIO.format(port=free_port())), self.pipe()
        out, _ = self.zefa("send", file, "--input", pipe, "--seconds", "1", "--json")
        self.assertEqual(0, json.loads(out.splitlines()[-1])["slots"])
        _, err = self.zefa("send", file, "--input", pipe, "--timeout", "1", expect=NOTHING)
        self.assertEqual(f"zefa: {pipe} gave nothing for 1 s.\n", err)

    def test_SendFromAPipeThatStandsStillEndsWithAnInterruptAndSendsNoHalfSlot(self):
        self.start_service(*SENDS_LATE)
        file = self.write("audio.sdp", AUDIO.format(port=free_port()))
        sending = self.start("send", file, "--input", self.pipe(bytes(AUDIO_SLOT_BYTES * 5 // 2)), "--json",
                             "--interval", "10", "--timeout", "60")
        self.addCleanup(sending.kill)
        while json.loads(sending.stdout.readline())["packets"] < 20:  # of two slots
            pass
        sending.send_signal(signal.SIGINT)
        out, err = sending.communicate(timeout=30)
        self.assertEqual((GOOD, b""), (sending.returncode, err))
        counters = json.loads(out.splitlines()[-1])
        self.assertEqual((2, 20), (counters["slots"], counters["packets"]))

    def test_SendFromAPipeWaitsForWhatWasSentAndNotForTheRestOfASlot(self):
        self.start_service()
        file, half = self.write("audio.sdp", AUDIO.format(port=free_port())), bytes(AUDIO_SLOT_BYTES // 2)
        out, _ = self.zefa("send", file, "--input", self.pipe(half), "--seconds", "1", "--timeout", "100", "--json")
        self.assertEqual(0, json.loads(out.splitlines()[-1])["packets"])

    # Help, man page, completion.

    def test_HelpAndVersionNeedNoService(self):
        out, _ = self.zefa("--help")
        for command in ("status", "cores", "interfaces", "conductors", "ptp", "receive", "send", "sdp check",
                        "sdp show", "sdp write", "sdp diff"):
            self.assertRegex(out, rf"(?m)^  {command} ")
            own, _ = self.zefa(*command.split(), "--help")
            self.assertTrue(own.startswith(f"Usage: zefa {command}"), own)
        self.assertRegex(self.zefa("--version")[0], r"^zefa \d+\.\d+\.\d+\n$")

    def test_TheManPageHasNoWarnings(self):
        page = self.pages / "zefa.1"
        self.assertEqual(page.read_text(), self.zefa("--man")[0])
        if not shutil.which("man"):
            self.skipTest("man is not installed (package man-db); the unit tests look at the page all the same")
        result = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", page], capture_output=True, timeout=60,
                                check=True, env={**os.environ, "MANWIDTH": "100", "MANPAGER": "cat"})
        self.assertEqual(b"", result.stderr)
        self.assertIn(b"zefa sdp diff A B", result.stdout)

    def test_BashCompletesCommandsOptionsAndWords(self):
        completion = self.pages / "zefa.bash"
        self.assertEqual(completion.read_text(), self.zefa("--completion", "bash")[0])

        def completed(*words):
            script = (f"set -u; source {completion}; COMP_WORDS=({' '.join(repr(word) for word in words)}); "
                      f"COMP_CWORD={len(words) - 1}; _zefa; printf '%s\\n' \"${{COMPREPLY[@]-}}\"")
            return subprocess.run(["bash", "--norc", "-c", script], capture_output=True, text=True, timeout=20,
                                  check=True).stdout.split()

        self.assertEqual(["status"], completed("zefa", "st"))
        self.assertEqual(["check", "show", "write", "diff"], completed("zefa", "sdp", ""))
        self.assertEqual(["--json"], completed("zefa", "sdp", "show", "--j"))
        self.assertEqual(["--service", "--json", "--watch", "--interval", "--count", "--help"],
                         completed("zefa", "cores", ""))
        self.assertEqual(["BT601", "BT709"], [word for word in completed("zefa", "sdp", "write", "--colorimetry", "BT")
                                              if not word.startswith("BT2")])
        self.assertEqual(["little"], completed("zefa", "receive", "a.sdp", "--endianness", "l"))
        self.assertEqual([], completed("zefa", "sdp", "check", ""), "bash offers files")
        self.assertEqual(["bash"], completed("zefa", "--completion", ""))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", type=pathlib.Path)
    parser.add_argument("--pages", type=pathlib.Path)
    parser.add_argument("--list", action="store_true")
    parser.add_argument("case", nargs="?")
    arguments = parser.parse_args()
    names = [name for name in unittest.TestLoader().getTestCaseNames(Zefa)]
    if arguments.list:
        print("\n".join(name[5:] for name in names))
        return 0
    Zefa.bin, Zefa.pages = arguments.bin.resolve(), arguments.pages.resolve()
    suite = unittest.TestSuite(Zefa(name) for name in names if arguments.case in (None, name[5:]))
    if not suite.countTestCases():
        sys.exit(f"There is no case {arguments.case}.")
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    for _, reason in result.skipped:
        print("skipped: " + reason)
    return 1 if not result.wasSuccessful() else SKIPPED if result.skipped else 0


if __name__ == "__main__":
    sys.exit(main())
