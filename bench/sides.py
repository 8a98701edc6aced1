# SPDX-License-Identifier: MIT
"""The processes that are measured, and the tools that count their work."""
import os
import re
import shutil
import subprocess
import tempfile
from collections import namedtuple

Took = namedtuple("Took", "seconds switches")
Called = namedtuple("Called", "every steady sent")


class Side:
    """A client of a notification server: our server, at the other end of a peer connection, or whoever is on the bus."""

    programs = ""  # the folder where they are
    tool = ()  # a counting tool, and its arguments

    def __init__(self, kind, live=None, on_bus=False):
        self.folder = tempfile.mkdtemp(prefix="kavrel-bench-")
        address = "" if on_bus else f"unix:path={self.folder}/bus"
        self.environment = dict(os.environ, TMPDIR=self.folder, LUMD_P2P_DBUS_ADDRESS=address, QT_HASH_SEED="0")
        self.processes = []
        arguments = [kind]
        if not on_bus:
            server = self.start("kavrel-bench-server", address)
            arguments.append(f"/dev/fd/{server.stdin.fileno()}")  # it reads the user's acts there
        if kind == "bare":  # it sends the plug-in's notifications, as the server got them
            self.process = self.start("kavrel-bench-side", "plugin")
            self.run("fill", 1)
            print("content", file=server.stdin, flush=True)
            arguments.append(server.stdout.readline().rstrip())
            self.process.kill()
        command = ["kavrel-bench-libnotify"] if kind == "libnotify" else ["kavrel-bench-side", *arguments]
        self.process = self.start(*command, tool=[word.format(self.folder) for word in self.tool])
        if live is not None:
            self.run("fill", live)

    def start(self, program, *arguments, tool=()):
        process = subprocess.Popen([*tool, f"{self.programs}/{program}", *arguments], text=True,
                                   env=self.environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   pass_fds=[server.stdin.fileno() for server in self.processes[:1]])
        self.processes.append(process)
        process.stdout.readline()  # it is ready
        return process

    def ask(self, operation, count=1):
        self.process.stdin.write(f"{operation} {count}\n")
        self.process.stdin.flush()
        answer = self.process.stdout.readline()
        if not answer:
            raise SystemExit(f"{self.process.args} ended at {operation}")
        return answer

    def run(self, operation, count=1):
        """The cost of one of `count`."""
        return Took(*map(float, self.ask(operation, count).split()))

    def wakeups(self):
        """How often its threads have stopped running."""
        tasks = f"/proc/{self.process.pid}/task"
        texts = [open(f"{tasks}/{task}/status").read() for task in os.listdir(tasks)]
        return sum(int(number) for text in texts for number in re.findall(r"voluntary_ctxt_switches:\s+(\d+)", text))

    def memory(self, file=""):
        """Bytes of memory that are its own and nobody else's, in all or where a file is mapped."""
        size, here = 0, False
        for line in open(f"/proc/{self.process.pid}/smaps"):
            if re.match("[0-9a-f]+-", line):
                here = file in line
            elif here and line.startswith("Private_Dirty:"):
                size += int(line.split()[1]) * 1024
        return size

    def end(self):
        """Kills it: everything that it leaves behind is temporary."""
        for process in self.processes:
            process.kill()
            process.wait()
        shutil.rmtree(self.folder)


class CountedProcess(Side):
    """Counts the instructions of all threads. Everything takes many times as long."""

    tool = ("valgrind", "-q", "--tool=callgrind", "--callgrind-out-file={}/count", "--instr-atstart=no")

    def dumps(self, operation, count):
        """The files written while `count` run, after as many that warm up."""
        self.run(operation, count)
        before = set(os.listdir(self.folder))
        self.run(operation, count)
        return [f"{self.folder}/{name}" for name in set(os.listdir(self.folder)) - before if name.startswith("count.")]

    def instructions(self, operation, count, times=3):
        """The instructions of one of `count`: the least of several times, since a busy machine only adds some."""
        return min(sum(int(re.search(r"^totals: (\d+)", open(name).read(), re.MULTILINE)[1])
                       for name in self.dumps(operation, count)) for _ in range(times)) / count

    def inclusive(self, operation, count, functions):
        """The instructions of one of `count` in each function, with all functions that it calls."""
        output = subprocess.run(["callgrind_annotate", "--inclusive=yes", "--threshold=100",
                                 *self.dumps(operation, count)], check=True, stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL, text=True).stdout
        lines = re.findall(r"^ *([\d,]+) \( *[\d.]+%\) +[^ ]*?:([^/\n]*)", output, re.MULTILINE)
        return {function: max([int(number.replace(",", "")) for number, name in lines if name.startswith(function)],
                              default=0) / count for function in functions}


class Counted(CountedProcess):
    """Counts the instructions of the notifying thread."""

    tool = (*CountedProcess.tool, "--separate-threads=yes")


class Traced(Side):
    """Counts system calls."""

    tool = ("strace", "-f", "-s", "0", "-o", "{}/calls")

    def calls(self, operation, count, times=5):
        """The calls of one of `count`, in all threads and in the notifying one; there without locks, which are taken at
        random. Also the bytes sent. The least of several times."""
        path = f"{self.folder}/calls"
        seen = []
        for _ in range(times):
            before = os.path.getsize(path)
            self.run(operation, count)
            with open(path) as file:
                file.seek(before)
                seen.append([value / count for value in self.between_marks(file)])
        return Called(*map(min, zip(*seen)))

    @staticmethod
    def between_marks(lines):
        every = steady = sent = 0
        thread = inside = None
        for line in lines:
            if "gauge: " in line:
                thread = line.split()[0]
                inside = "gauge: start" in line
            elif inside:
                call = re.match(r"(\d+) +(\w+)\(", line)
                every += call is not None
                steady += call is not None and call[1] == thread and call[2] != "futex"
                size = re.search(r"sendmsg.* = (\d+)$", line)
                sent += int(size[1]) if size else 0
        return every, steady, sent
