"""A copy of the project in which changes are made, one after the other, and judged by the tests."""
import collections
import contextlib
import hashlib
import os
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

from switches import HEADER, lines_of, switched
from tests_of import PROJECT, tests_of

MEMORY_LIMIT = 8 << 30
MARK_COUNT = 1 << 16  # as in switches.hpp
SAME_CODE = "compiles to the same code"
COMPILER = Path(__file__).with_name("compiler.sh")


class Program:
    """A test program as a list of objects, so that a change compiles no others.

    The linker takes from an archive only the objects that are needed. This finds them by their symbols.
    """

    def __init__(self, command, members, symbols):
        """`command` links the program, members(archive) are its objects, symbols(object) those it defines and needs."""
        self.objects = [word for word in command if word.endswith(".o")]
        archived = {}
        for archive in (word for word in command if word.endswith(".a") and not word.startswith("/")):
            for member in members(archive):
                for symbol in symbols(member)[0]:
                    archived.setdefault(symbol, member)
        todo = list(self.objects)
        while todo:
            for symbol in symbols(todo.pop())[1]:
                member = archived.get(symbol)
                if member and member not in self.objects:
                    self.objects.append(member)
                    todo.append(member)
        others = [word for word in command if word not in self.objects and (not word.endswith(".a") or word[0] == "/")]
        place = others.index("-o")
        self.unchanged, self.changed = others[place + 1], others[place + 1] + ".changed"
        self.command = [*others[:place], *self.objects, "-o", self.changed, *others[place + 2:]]


class Workshop:
    def __init__(self, place, sanitize):
        self.tree = place
        self.preset = "asan" if sanitize else "dev"
        self.build = place / "build" / self.preset
        self.jobs = 2  # parallel compiler jobs
        self.sanitize = sanitize
        self.programs = {}
        self.users = collections.defaultdict(set)  # maps a source to the objects that include it
        self.seconds = {}  # the CPU time and duration of a run without changes, or with none switched on
        self.reached = {}  # of a run: the numbers of the changes whose code runs
        self.caught = collections.Counter()  # by (file, run)
        self.process = None  # of the run

    def prepare(self, needed):
        """Update the copy, build the test programs, and find out what each consists of."""
        self.copy()
        launcher = ";".join([str(COMPILER), *(["ccache"] if shutil.which("ccache") else [])])
        options = [f"-DCMAKE_C_COMPILER_LAUNCHER={launcher}", f"-DCMAKE_CXX_COMPILER_LAUNCHER={launcher}",
                   f"-DPython3_EXECUTABLE={sys.executable}", "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST"]
        if shutil.which("ld.lld"):
            options.append("-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld")
        subprocess.run(["cmake", "--preset", self.preset, "-S", self.tree, "-B", self.build, *options], check=True,
                       cwd=self.tree, stdout=subprocess.DEVNULL)
        names = sorted({run.program for run in needed if not run.is_script})
        targets = [name + "_test" for name in names]
        if any(run.is_script for run in needed):
            targets += ["vrx_program", "memory_of", *([] if self.sanitize else ["faults"])]
        if said := self.compile(*targets):
            sys.exit(said)
        self.read_dependencies()
        self.read_programs(names)
        if any(run.is_script for run in needed):
            (self.build / "unchanged").mkdir(exist_ok=True)
            (self.build / "unchanged/vrx").unlink(missing_ok=True)
            shutil.copy2(self.build / "app/vrx", self.build / "unchanged/vrx")

    def copy(self):
        listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=PROJECT,
                                check=True, capture_output=True, text=True).stdout
        wanted = [name for name in listed.split("\0") if name and (PROJECT / name).is_file()]
        for name in wanted:
            old, new = self.tree / name, PROJECT / name
            if not (old.is_file() and old.read_bytes() == new.read_bytes()):
                old.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(new, old)
            shutil.copymode(new, old)
        for old in set(map(str, (f.relative_to(self.tree) for f in self.tree.rglob("*") if f.is_file()))) - set(wanted):
            if not old.startswith("build/"):
                (self.tree / old).unlink()

    def ask_ninja(self, *words):
        return subprocess.run(["ninja", "-C", self.build, "--quiet", *words], check=True, capture_output=True,
                              text=True).stdout

    def read_dependencies(self):
        for line in self.ask_ninja("-t", "deps").splitlines():
            if line and line[0] != " ":
                made = line.partition(":")[0]
            elif line and not line.startswith("    /usr/"):
                source = os.path.relpath(os.path.normpath(self.build / line.strip()), self.tree)
                self.users[source].add(made)

    def read_programs(self, names):
        inputs, symbols = {}, {}

        def members(archive):
            if archive not in inputs:
                inputs[archive] = re.findall(r"^    (\S+\.o)$", self.ask_ninja("-t", "query", archive), re.M)
            return inputs[archive]

        def symbols_of(name):
            if name not in symbols:
                said = subprocess.run(["nm", "--format=posix", "--extern-only", self.build / name], check=True,
                                      capture_output=True, text=True).stdout
                rows = [row.split()[:2] for row in said.splitlines()]
                symbols[name] = [n for n, kind in rows if kind not in "Uwv"], [n for n, kind in rows if kind == "U"]
            return symbols[name]

        for name in names:
            made = re.search(r"input: phony\n    (\S+)", self.ask_ninja("-t", "query", name + "_test"))[1]
            command = re.fullmatch(r": && (.*?) && .*\n", self.ask_ninja("-t", "commands", "-s", made))[1]
            self.programs[name] = Program(shlex.split(command), members, symbols_of)

    def link(self, name):
        """Link a program from its objects. Return the linker's errors, or an empty text."""
        done = subprocess.run(self.programs[name].command, cwd=self.build, capture_output=True, text=True)
        return done.stderr if done.returncode else ""

    def compile(self, *targets, changed=False):
        """Return the compiler errors, or an empty text."""
        done = subprocess.run(["ninja", "-C", self.build, f"-j{self.jobs}", *targets], capture_output=True, text=True,
                              env=dict(os.environ, VRX_CHANGED="1" if changed else ""))
        return done.stdout + done.stderr if done.returncode else ""

    def concerns(self, file, run):
        """Whether a program has an object that includes a source. For scripts, the table says so."""
        return run.is_script or not self.users[file].isdisjoint(self.programs[run.program].objects)

    def compile_changed(self, run):
        """Compile and link what a run needs. Return errors, or an empty text."""
        if run.is_script:
            runs_vrx = run.program.startswith(("tests/app/", "tests/faults/"))
            return self.compile("vrx_program", changed=True) if runs_vrx else ""
        program = self.programs[run.program]
        if said := self.compile(*program.objects, changed=True):
            return said
        done = subprocess.run(program.command, cwd=self.build, capture_output=True, text=True)
        return done.stderr if done.returncode else ""

    def digest(self, run):
        """Return a digest of the program that compile_changed() has made for a run.

        If it has made no program, the result is not equal to any other digest.
        """
        if run.is_script and not run.program.startswith(("tests/app/", "tests/faults/")):
            return object()
        program = self.build / ("app/vrx" if run.is_script else self.programs[run.program].changed)
        code = subprocess.run(["objcopy", "--strip-debug", program, "/dev/stdout"], check=True, capture_output=True)
        return hashlib.sha256(code.stdout).digest()

    def command(self, run, changed, number):
        """The command line of a run, and its environment. A number switches on one change."""
        environment = dict(os.environ, VRX_TEST_SEED="1", VRX_TEST_WHOLE="1", VRX_MUTANT=str(number),
                           VRX_REACHED=str(self.build / "reached"))
        if run.is_script:
            environment |= {"VRX_PROGRAM": str(self.build / ("app/vrx" if changed else "unchanged/vrx")),
                            "VRX_LIBRARY": str(self.build / "src/libvrx.so"),
                            "VRX_MEMORY_OF": str(self.build / "tests/app/memory_of"),
                            "VRX_SANITIZE": "address,undefined" if self.sanitize else "",
                            "VRX_COMPILER": "g++",
                            "PYTHONPATH": str(self.tree / "tests/app")}
            if not self.sanitize:
                environment["VRX_FAULTS"] = str(self.build / "tests/faults/libfaults.so")
            chosen = [run.filter] if run.filter != "*" else []
            return [sys.executable, "-B", self.tree / run.program, "-f", *chosen], environment
        if run.engine:
            environment["VRX_TEST_ENGINE"] = run.engine
        program = self.programs[run.program]
        return [self.build / (program.changed if changed else program.unchanged), "--gtest_brief=1",
                "--gtest_fail_fast", f"--gtest_filter={run.filter}"], environment

    def fails(self, run, changed, cpu_seconds, seconds, number=0):
        """Return the reason why a run fails, or an empty text."""
        def limit():
            resource.setrlimit(resource.RLIMIT_CPU, (cpu_seconds, cpu_seconds))
            if not self.sanitize:  # sanitizers reserve the whole address space
                resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        command, environment = self.command(run, changed, number)
        fixed = ["setarch", "-R"] if self.sanitize else []
        process = subprocess.Popen([*fixed, *command], env=environment, preexec_fn=limit, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace",
                                   cwd=self.build, start_new_session=True)
        try:
            self.process = process
            said, _ = process.communicate(timeout=seconds)
        except subprocess.TimeoutExpired:
            return "hangs"
        finally:
            self.stop()
        return f"{said}\nexit code {process.returncode}" if process.returncode else ""

    def stop(self):
        """Kill the run, if there is one, and what it has started."""
        if self.process:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(self.process.pid, signal.SIGKILL)
            self.process.wait()
            self.process = None

    def measure(self, run, changed=False):
        """Run without changes, or with none switched on, once. Return the CPU time and the duration, or exit."""
        if (run, changed) not in self.seconds:
            marks = self.build / "reached"
            marks.write_bytes(bytes(MARK_COUNT))
            before, begin = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
            if said := self.fails(run, changed, 600, 1200):
                sys.exit(f"{run} fails before anything is changed:\n{said}")
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            self.seconds[run, changed] = (after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime,
                                          time.monotonic() - begin)
            if changed:
                self.reached[run] = {number for number, mark in enumerate(marks.read_bytes()) if mark}
            marks.unlink()
        return self.seconds[run, changed]

    def cost(self, file, run):
        """An estimate of what a run costs after a change of a file: its seconds, and those of the compiler."""
        seconds = self.seconds.get((run, False), self.seconds.get((run, True), (1, 1)))[0]
        if not run.is_script:
            objects = self.users[file].intersection(self.programs[run.program].objects)
            sizes = ((self.build / name).stat().st_size for name in objects if (self.build / name).exists())
            seconds += sum(1 + size / 100_000 for size in sizes)
        return seconds

    def in_order(self, file):
        """The runs for a file: those that caught most in it so far, then by cost; scripts in the order of the table."""
        wanted = [run for run in tests_of(file, self.sanitize) if self.concerns(file, run)]
        scripts = list(dict.fromkeys(run.program for run in wanted if run.is_script))

        def rank(run):
            place = scripts.index(run.program) if run.is_script else -1
            return -self.caught[file, run], place, self.cost(file, run)
        return sorted(wanted, key=rank)

    def judge(self, file, change):
        """Make one change. Return 'does not compile', SAME_CODE, 'survived', or the run that caught it."""
        place = self.tree / file
        source = place.read_text()
        digests = {}  # by program: the run that needs it, and its digest
        place.write_text(change.applied(source))
        try:
            for run in self.in_order(file):
                what = "vrx" if run.is_script else run.program
                if what not in digests:
                    if self.compile_changed(run):
                        return "does not compile"
                    digests[what] = run, self.digest(run)
                cpu_seconds, seconds = self.measure(run)
                if self.fails(run, True, int(3 * cpu_seconds) + 2, 60 + 10 * seconds):
                    self.caught[file, run] += 1
                    return f"caught by {run}"
            place.write_text(source)
            for run, digest in digests.values():
                if self.compile_changed(run) or self.digest(run) != digest:
                    return "survived"
            return SAME_CODE
        finally:
            place.write_text(source)

    def judge_together(self, work):
        """Compile many changes at once, and switch each on.

        Yield (file, change, run) for each that is caught, and (file, change, None) for each that runs reach but none
        catches. Such a change may still have an effect in constant expressions, which keep their values here.
        """
        numbered = dict(enumerate(work, 1))
        sources = {file: (self.tree / file).read_text() for file, _ in work}
        compiled, switchable = set(), set()

        def rewrite():
            switchable.clear()
            for file, source in sources.items():
                of_file = {number: change for number, (of, change) in numbered.items() if of == file}
                text, done = switched(source, of_file, HEADER)
                if (self.tree / file).read_text() != text:
                    (self.tree / file).write_text(text)
                switchable.update(done)

        def compile_without_errors(run):
            """Leave out the changes on lines that do not compile. Return whether the rest compiles."""
            for _ in range(20):
                said = self.compile_changed(run)
                if not said:
                    return True
                bad = lines_of(said, sources)
                left_out = [n for n, (file, change) in numbered.items() if (file, change.line(sources[file])) in bad]
                if not left_out:
                    return False
                for number in left_out:
                    del numbered[number]
                rewrite()
            return False

        try:
            rewrite()
            for number, (file, change) in list(numbered.items()):
                for run in self.in_order(file):
                    what = "vrx" if run.is_script else run.program
                    if number in switchable and what not in compiled:
                        if not compile_without_errors(run):
                            return
                        compiled.add(what)
                    if number not in switchable:
                        break
                    cpu_seconds, seconds = self.measure(run, True)
                    if number in self.reached[run] and self.fails(run, True, int(3 * cpu_seconds) + 2,
                                                                  60 + 10 * seconds, number):
                        self.caught[file, run] += 1
                        yield file, change, run
                        break
                else:
                    if any(number in self.reached[run] for run in self.in_order(file)):
                        yield file, change, None
        finally:
            for file, source in sources.items():
                (self.tree / file).write_text(source)
