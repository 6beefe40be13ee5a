"""Servers on one store in PostgreSQL, behind HAProxy as Docs/haproxy.cfg sets it up, on this machine alone: what the
programs of this folder measure. Everything stands in a folder in memory, which goes with them."""
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import tempfile
import time
import urllib.error
import urllib.request

ROOT = pathlib.Path(__file__).resolve().parents[2]
POSTGRES = pathlib.Path("/usr/lib/postgresql/15/bin")
FIRST_PORT = 25000
SERVICES = ("model", "management", "messaging")
WITH_PARENT = ("setpriv", "--pdeathsig=KILL")


def wait_until(condition, what, seconds=30, log=None):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise SystemExit(f"{what} did not happen within {seconds} s.\n{log.read_text() if log else ''}")
        time.sleep(0.05)


def text_of(url):
    """None when nobody answers, or not with 200."""
    try:
        with urllib.request.urlopen(url, timeout=5) as answer:
            return answer.read().decode()
    except (urllib.error.URLError, ConnectionError, TimeoutError):
        return None


def processor_seconds(identifier):
    """Of a process with those that it started and that have ended."""
    fields = pathlib.Path(f"/proc/{identifier}/stat").read_text().rsplit(")", 1)[1].split()
    return sum(int(field) for field in fields[11:15]) / os.sysconf("SC_CLK_TCK")


def end(process, how):
    if process.poll() is None:
        process.send_signal(how)
    return process.wait(30)


class Database:
    """A cluster of its own, by the user postgres: it serves nobody as root. Written to disk as usual, but for the disk."""

    def __init__(self, folder):
        self.folder = folder
        shutil.chown(folder, "postgres", "postgres")
        os.chmod(folder, 0o755)
        self.run("initdb", "-D", folder / "data", "-U", "nexar", "-A", "trust", "-E", "UTF8", "--locale=C.UTF-8", "--no-sync")
        self.start()
        self.run("createdb", "-h", folder, "-U", "nexar", "team")
        self.url = f"postgresql://nexar@/team?host={folder}"

    def run(self, program, *arguments):
        command = [POSTGRES / program, *arguments]
        return subprocess.run(["setpriv", "--reuid=postgres", "--regid=postgres", "--clear-groups", *command], cwd="/",
                              check=True, capture_output=True, text=True).stdout

    def start(self):
        command = [POSTGRES / "postgres", "-D", self.folder / "data", "-k", self.folder, "-c", "listen_addresses=",
                   "-c", "max_connections=200", "-c", "dynamic_shared_memory_type=mmap"]
        with open(self.folder / "postgres.log", "ab") as log:
            self.process = subprocess.Popen(
                ["setpriv", "--reuid=postgres", "--regid=postgres", "--clear-groups", "--pdeathsig=KILL", *command],
                cwd="/", stdout=log, stderr=log)
        wait_until(lambda: subprocess.run([POSTGRES / "pg_isready", "-q", "-h", self.folder]).returncode == 0,
                   "The start of PostgreSQL")

    def restart(self):
        end(self.process, signal.SIGINT)
        self.start()

    def processor_seconds(self):
        children = pathlib.Path(f"/proc/{self.process.pid}/task/{self.process.pid}/children").read_text().split()
        return sum(processor_seconds(identifier) for identifier in [self.process.pid, *children])

    def ask(self, statement):
        """The rows, as lists of texts."""
        text = self.run("psql", "-XAtq", "-F", "\t", "-h", self.folder, "-U", "nexar", "team", "-c", statement)
        return [line.split("\t") for line in text.splitlines()]


class Servers:
    """Any number of servers on a store. Each has four ports of its own."""

    def __init__(self, binaries, folder, store, options=()):
        self.program = pathlib.Path(binaries) / "nexar-server"
        self.folder, self.store, self.options = folder, store, list(options)
        self.processes = {}

    def port(self, number, service):
        return FIRST_PORT + 10 * number + SERVICES.index(service)

    def operation_port(self, number):
        return FIRST_PORT + 10 * number + len(SERVICES)

    def start(self, number, *more):
        ports = [f"--{name}port={self.port(number, service)}"
                 for name, service in (("", "model"), ("management-", "management"), ("messaging-", "messaging"))]
        command = [self.program, "--store", self.store, "--listen", "127.0.0.1", *ports,
                   f"--operation-port={self.operation_port(number)}", *self.options, *more]
        with open(self.folder / f"server-{number}.log", "ab") as log:
            self.processes[number] = subprocess.Popen([*WITH_PARENT, *command], stdout=log, stderr=log)
        wait_until(lambda: self.health(number) is not None, f"The start of server {number}")

    def health(self, number):
        return text_of(f"http://127.0.0.1:{self.operation_port(number)}/health")

    def requests(self, number):
        """How many there were, by route."""
        text = text_of(f"http://127.0.0.1:{self.operation_port(number)}/metrics")
        counts = {}
        for route, count in re.findall(r'^nexar_requests_total\{route="([^"]*)",.*\} (\d+)$', text, re.MULTILINE):
            counts[route] = counts.get(route, 0) + int(count)
        return counts

    def memory(self, number):
        """Resident, in MiB."""
        text = pathlib.Path(f"/proc/{self.processes[number].pid}/status").read_text()
        return int(re.search(r"VmRSS:\s+(\d+)", text)[1]) / 1024

    def processor_seconds(self, number):
        return processor_seconds(self.processes[number].pid)

    def kill(self, number):
        end(self.processes.pop(number), signal.SIGKILL)

    def stop(self, number):
        return end(self.processes.pop(number), signal.SIGTERM)


class Balancer:
    """HAProxy before the first `count` servers; its ports are those of a server after them."""

    def __init__(self, folder, servers, count):
        self.configuration = folder / "haproxy.cfg"
        self.model, self.management, messaging = (servers.port(count, service) for service in SERVICES)
        _, descriptors = resource.getrlimit(resource.RLIMIT_NOFILE)
        # Each connection takes one more to a server.
        text = (ROOT / "Docs/haproxy.cfg").read_text().replace(" check port 19009", " check").replace(
            "maxconn 40000", f"maxconn {min(40000, descriptors // 2 - 100)}")
        lines = []
        for line in text.splitlines():
            if line.strip().startswith("#"):
                continue
            named = re.match(r"    server (\w) 192\.0\.2\.1\d:1900(\d)", line)
            if not named:
                for service, port in zip("123", (self.model, self.management, messaging)):
                    line = line.replace("192.0.2.10:1900" + service, f"127.0.0.1:{port}")
                lines.append(line)
            elif named[1] == "a":
                service = SERVICES[int(named[2]) - 1]
                lines += [f"    server s{number} 127.0.0.1:{servers.port(number, service)} port {servers.operation_port(number)}"
                          for number in range(count)]
        text = "\n".join(lines) + "\n"
        assert "192." not in text, "no address beyond this machine"
        self.configuration.write_text(text)
        with open(folder / "haproxy.log", "ab") as log:
            self.process = subprocess.Popen([*WITH_PARENT, "haproxy", "-W", "-db", "-f", self.configuration], stdout=log, stderr=log)
        wait_until(lambda: text_of(f"http://127.0.0.1:{self.model}/syncra/version") is not None, "The balancer's first answer",
                   log=folder / "haproxy.log")

    def reload(self):
        self.process.send_signal(signal.SIGUSR2)

    def stop(self):
        end(self.process, signal.SIGTERM)


class Scene:
    """With: a folder, and at its end nothing that runs or stands there."""

    def __enter__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="servers-", dir="/dev/shm"))
        self.database = self.servers = self.balancer = None
        self.others = []
        return self

    def __exit__(self, *_):
        for process in self.others:
            end(process, signal.SIGKILL)
        if self.balancer:
            self.balancer.stop()
        if self.servers:
            for number in list(self.servers.processes):
                self.servers.kill(number)
        if self.database:
            end(self.database.process, signal.SIGINT)
        shutil.rmtree(self.folder, ignore_errors=True)
