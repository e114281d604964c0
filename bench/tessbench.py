"""Times Tessaron against cp -a and rsync -a on generated trees.

The harness generates its own data under a scratch folder, runs every tool on the same data
(alternating the tools, repeating each case, output removed between runs and not timed),
checks the copies against the source and prints a table of medians and ratios.

Only the standard library is used, so a fresh machine needs nothing but python3.
"""

from __future__ import annotations

import os
import stat
import statistics
import subprocess
import time
from dataclasses import dataclass, field
from pathlib import Path
from typing import Callable, Optional

import sys

from datasets import (BLOCK, FULL_SIZES, GiB, KiB, MiB, QUICK_SIZES,  # noqa: F401
                      SPACE_MARGIN, Sizes, make_large, make_mixed, make_small, small_layout,
                      space_needed, tree_bytes)

DROP_CACHE = Path(__file__).resolve().parent / "dropcache.py"
LOG_MARK_BYTES = 64 * KiB  # how much of a log file is searched for the scratch path

# Targets: Tessaron's time over the peer's.
SMALL_VS_CP = 0.85  # many small files: well below cp -a
SMALL_VS_RSYNC = 0.60  # and well below rsync -a
INCREMENTAL_VS_RSYNC = 0.80  # nothing changed: well below rsync -a
MEMORY_GROWTH = 0.10  # peak memory may grow this much with ten times the files
SCALE_GROWTH = 0.10  # and the time per file this much
WINDOW_VS_CONSOLE = 1.1  # the run window may cost at most a tenth more than the console


# ----------------------------------------------------------------------------------------
# Backup set files
# ----------------------------------------------------------------------------------------


def selections_text(paths: list[str]) -> str:
    """Each entry quoted; entries after the first on continuation lines opened by a tab."""
    if any('"' in p for p in paths):
        raise ValueError("a selected path cannot contain a double quote")
    return "".join(("\t" if i else "") + f'"{p}"\r\n' for i, p in enumerate(paths))


def set_file_text(target: str, sources: list[str], backup_type: str = "FULL",
                  verify: bool = False) -> str:
    """The ten lines of a backup set file, CR LF ended, with the given options."""
    if '"' in target:
        raise ValueError("a target cannot contain a double quote")

    def word(flag: bool) -> str:
        return "True" if flag else "False"

    lines = [f'Target = "{target}"', f"BackupType = {backup_type}",
             "CleanTarget = False", "SaveLog = False", "StopOnError = False",
             f"Verify = {word(verify)}", "EjectMedia = False", "EMail = False", "EMailTo = "]
    text = "".join(line + "\r\n" for line in lines) + "Selections = "
    return text + selections_text(sources)


def check_space(folder: Path, need: tuple[int, int]) -> Optional[str]:
    """A message when the file system of folder is short of space or inodes, else None."""
    st = os.statvfs(folder)
    free, inodes = st.f_bavail * st.f_frsize, st.f_favail
    if free < need[0]:
        return (f"not enough space in {folder}: the benchmark needs {need[0] / GiB:.1f} GiB, "
                f"{free / GiB:.1f} GiB are free. Point TESSARON_BENCH_DIR (or --dir) at a "
                "folder with more room, or use --quick.")
    if st.f_files and inodes < need[1]:
        return (f"not enough inodes in {folder}: the benchmark needs {need[1]}, "
                f"{inodes} are free.")
    return None


# ----------------------------------------------------------------------------------------
# Tree comparison
# ----------------------------------------------------------------------------------------


def _kind(mode: int) -> str:
    if stat.S_ISDIR(mode):
        return "folder"
    if stat.S_ISREG(mode):
        return "file"
    if stat.S_ISLNK(mode):
        return "link"
    return "special"


def scan_tree(top: Path) -> dict[str, os.stat_result]:
    """Relative path -> lstat of every entry below top; links are not followed."""
    found: dict[str, os.stat_result] = {}
    for folder, dirs, files in os.walk(top, followlinks=False):
        for name in dirs + files:
            full = os.path.join(folder, name)
            found[os.path.relpath(full, top)] = os.lstat(full)
    return found


def same_content(a: str, b: str) -> bool:
    with open(a, "rb") as fa, open(b, "rb") as fb:
        while True:
            x, y = fa.read(MiB), fb.read(MiB)
            if x != y:
                return False
            if not x:
                return True


def compare_entry(rel: str, src: Path, dst: Path, s: os.stat_result,
                  d: os.stat_result) -> Optional[str]:
    """What is wrong with one copied entry, or None. Files must match in content, size,
    permission bits and modification time to the second (what an incremental run
    compares); folders in permission bits and modification time; links in their target
    text."""
    ks, kd = _kind(s.st_mode), _kind(d.st_mode)
    if ks != kd:
        return f"{rel}: a {ks} was copied as a {kd}"
    if ks == "link" and os.readlink(src / rel) != os.readlink(dst / rel):
        return f"{rel}: link target differs"
    if ks == "folder" and stat.S_IMODE(s.st_mode) != stat.S_IMODE(d.st_mode):
        return f"{rel}: folder mode {stat.S_IMODE(d.st_mode):o}, source has {stat.S_IMODE(s.st_mode):o}"
    if ks == "folder" and s.st_mtime_ns // 10**9 != d.st_mtime_ns // 10**9:
        return f"{rel}: folder modification time differs"
    if ks != "file":
        return None
    if s.st_size != d.st_size:
        return f"{rel}: size {d.st_size}, source has {s.st_size}"
    if stat.S_IMODE(s.st_mode) != stat.S_IMODE(d.st_mode):
        return f"{rel}: mode {stat.S_IMODE(d.st_mode):o}, source has {stat.S_IMODE(s.st_mode):o}"
    if s.st_mtime_ns // 10**9 != d.st_mtime_ns // 10**9:
        return f"{rel}: modification time differs"
    if not same_content(str(src / rel), str(dst / rel)):
        return f"{rel}: content differs"
    return None


def compare_trees(src: Path, dst: Path) -> list[str]:
    """Every difference between the tree at src and its copy at dst (empty when equal)."""
    if not dst.is_dir():
        return [f"no copy at {dst}"]
    a, b = scan_tree(src), scan_tree(dst)
    problems = [f"{rel}: missing in the copy" for rel in sorted(a.keys() - b.keys())]
    problems += [f"{rel}: not in the source" for rel in sorted(b.keys() - a.keys())]
    for rel in sorted(a.keys() & b.keys()):
        problem = compare_entry(rel, src, dst, a[rel], b[rel])
        if problem:
            problems.append(problem)
    return problems


def file_ctimes(top: Path) -> dict[str, int]:
    """Change times of the regular files below top: a rewritten file gets a new one."""
    return {rel: st.st_ctime_ns for rel, st in scan_tree(top).items()
            if stat.S_ISREG(st.st_mode)}


def rewritten(before: dict[str, int], after: dict[str, int]) -> list[str]:
    return sorted(rel for rel, t in after.items() if before.get(rel) != t)


# ----------------------------------------------------------------------------------------
# Running the tools
# ----------------------------------------------------------------------------------------


@dataclass
class RunResult:
    seconds: float
    peak_kib: int  # peak resident memory of the command (0 when unknown)
    rc: int
    cpu: float = 0.0  # user + system seconds of the command (0 when unknown)


GNU_TIME = "/usr/bin/time"


def usage_from(report_path: Path) -> tuple[int, float]:
    """The last line of a GNU time report written with -f "%M %U %S": the peak in KiB and
    the user + system seconds. The processor time shows a tool's own work where the shared
    virtual disk makes the wall clock wander."""
    try:
        lines = report_path.read_text().splitlines()
        fields = lines[-1].split() if lines else []
        if len(fields) != 3:
            return 0, 0.0
        return int(fields[0]), float(fields[1]) + float(fields[2])
    except (OSError, ValueError):
        return 0, 0.0


def peak_from(report_path: Path) -> int:
    return usage_from(report_path)[0]


def run_timed(argv: list[str], out_path: Path, env: Optional[dict] = None) -> RunResult:
    """Runs argv with stdin closed and its output appended to out_path, timing the wall
    clock. The peak memory comes from GNU time: a process started straight from Python
    inherits the interpreter's own resident size as its high-water mark, GNU time's is
    about 1 MiB."""
    report_path = out_path.with_suffix(".peak")
    report_path.unlink(missing_ok=True)
    wrap = [GNU_TIME, "-f", "%M %U %S", "-o", str(report_path), "--"] if os.access(
        GNU_TIME, os.X_OK) else []
    with open(out_path, "ab") as out:
        start = time.perf_counter()
        try:
            rc = subprocess.run(wrap + argv, stdin=subprocess.DEVNULL, stdout=out,
                                stderr=subprocess.STDOUT, env=env).returncode
        except OSError as e:
            out.write(f"cannot start {argv[0]}: {e}\n".encode())
            return RunResult(0.0, 0, 127)
        seconds = time.perf_counter() - start
    peak, cpu = usage_from(report_path)
    return RunResult(seconds, peak, rc, cpu)


def run_steps(steps: list[list[str]], out_path: Path, env: Optional[dict]) -> RunResult:
    """Runs the commands one after another, stopping at the first failure; times add up."""
    total = RunResult(0.0, 0, 0)
    for argv in steps:
        r = run_timed(argv, out_path, env)
        total = RunResult(total.seconds + r.seconds, max(total.peak_kib, r.peak_kib), r.rc,
                          total.cpu + r.cpu)
        if r.rc != 0:
            break
    return total


def remove_tree(path: Path) -> None:
    if path.is_symlink() or path.is_file():
        path.unlink()
    elif path.exists():
        subprocess.run(["rm", "-rf", "--", str(path)], check=False)


class Trash:
    """Trees of many files are moved aside here and deleted only when the benchmark ends.
    ext4 (at least without a journal, as on this project's machines) will not reuse an inode
    freed in the last minute or so, and each new file's allocation scans past every such
    inode: deleting 20,000 files between runs made the next run's file creation ten to
    twenty times slower for every tool alike and buried the differences being measured."""

    def __init__(self, folder: Path):
        self.folder, self.count = folder, 0

    def discard(self, path: Path) -> None:
        if not path.exists() and not path.is_symlink():
            return
        self.folder.mkdir(parents=True, exist_ok=True)
        self.count += 1
        path.rename(self.folder / str(self.count))

    def empty(self) -> None:
        """Deletes what was put aside (untimed, between phases; the next phase waits for
        the file system to settle before it times anything)."""
        remove_tree(self.folder)


def creation_cost(folder: Path, files: int = 500) -> float:
    """Microseconds it takes to create one empty file in a new folder below folder."""
    probe = folder / f"probe-{time.monotonic_ns()}"
    probe.mkdir(parents=True)
    start = time.perf_counter()
    for i in range(files):
        os.close(os.open(probe / str(i), os.O_CREAT | os.O_WRONLY, 0o644))
    return (time.perf_counter() - start) * 1e6 / files


def wait_for_fast_creation(folder: Path, say, limit_us: float = 150.0,
                           patience_s: float = 240.0) -> float:
    """Waits (up to patience_s) until creating a file is cheap again after a mass deletion
    on this file system, by anyone; returns the last cost measured. The probe files stay in
    folder, which the caller discards only at the end."""
    deadline = time.monotonic() + patience_s
    cost = creation_cost(folder)
    while cost > limit_us and time.monotonic() < deadline:
        say(f"creating a file takes {cost:.0f} us (recently freed inodes are being skipped); "
            "waiting for the file system to settle")
        time.sleep(20)
        cost = creation_cost(folder)
    return cost


def settle(drop_caches: bool) -> None:
    """Writes dirty data back (and drops the page cache when asked) before a timed run, so
    that no tool pays for the previous one's writeback."""
    os.sync()
    if drop_caches:
        with open("/proc/sys/vm/drop_caches", "w") as f:
            f.write("3\n")


# ----------------------------------------------------------------------------------------
# Cases
# ----------------------------------------------------------------------------------------


@dataclass
class Contender:
    name: str
    steps: list[list[str]]
    out_dir: Path  # removed between runs unless keep_output
    check: Callable[[], list[str]]  # problems with the result, checked after the first run
    env: Optional[dict] = None
    keep_output: bool = False  # the output is the up-to-date copy an incremental run needs
    results: list[RunResult] = field(default_factory=list)
    problems: list[str] = field(default_factory=list)


@dataclass
class Target:
    peer: str
    max_ratio: float
    wording: str


@dataclass
class Case:
    key: str
    title: str
    contenders: list[Contender]  # Tessaron first
    targets: list[Target]
    setup: Callable[[], list[str]] = lambda: []  # untimed, once before the repetitions
    discard: Callable[[Path], None] = remove_tree  # how an output folder is got rid of
    kind: str = "copy"  # "copy": Tessaron against peers; "memory"; "scale" (see report)
    cold: bool = False  # the page cache is dropped before every run of this case
    files: tuple[int, ...] = ()  # file counts of a memory or scale case's Tessaron runs


def median_seconds(c: Contender) -> Optional[float]:
    ok = [r.seconds for r in c.results if r.rc == 0]
    return statistics.median(ok) if ok and not c.problems else None


def median_cpu(c: Contender) -> Optional[float]:
    ok = [r.cpu for r in c.results if r.rc == 0 and r.cpu > 0]
    return statistics.median(ok) if ok and not c.problems else None


def median_peak(c: Contender) -> Optional[int]:
    ok = [r.peak_kib for r in c.results if r.rc == 0 and r.peak_kib > 0]
    return int(statistics.median(ok)) if ok else None


def rotated(items: list, k: int) -> list:
    """The tools take turns going first, so that no tool always runs on a warmer system."""
    k %= len(items)
    return items[k:] + items[:k]


def run_case(case: Case, reps: int, drop_caches: bool, scratch: Path, say) -> None:
    say(f"case {case.key}: {case.title}")
    trouble = case.setup()
    if trouble:
        for c in case.contenders:
            c.problems += trouble
        return
    for rep in range(reps):
        for c in rotated(case.contenders, rep):
            if c.problems:
                continue
            run_one(c, rep, drop_caches or case.cold, scratch / "output.txt", case.discard)
            last = c.results[-1]
            say(f"  {c.name:<22} run {rep + 1}: {last.seconds:7.3f} s, "
                f"cpu {last.cpu:6.3f} s, {last.peak_kib / KiB:7.1f} MiB" + ("" if last.rc == 0 else f", exit {last.rc}"))
    for c in case.contenders:
        case.discard(c.out_dir)


def run_one(c: Contender, rep: int, drop_caches: bool, out_path: Path,
            discard: Callable[[Path], None]) -> None:
    if not c.keep_output:
        discard(c.out_dir)
        c.out_dir.mkdir(parents=True)
    settle(drop_caches)
    out_path.write_bytes(b"")
    r = run_steps(c.steps, out_path, c.env)
    c.results.append(r)
    if r.rc != 0:
        tail = out_path.read_text(errors="replace").strip().splitlines()[-5:]
        c.problems.append(f"exit status {r.rc}" + "".join(f"\n      {t}" for t in tail))
    elif rep == 0:
        c.problems += c.check()


# ----------------------------------------------------------------------------------------
# The Tessaron executable
# ----------------------------------------------------------------------------------------


@dataclass
class Tessaron:
    exe: Path
    switches: list[str]  # after "/RUN file.set"
    env: dict
    note: str  # where the executable came from, for the table header

    def run_set(self, set_path: Path) -> list[str]:
        return [str(self.exe), "/RUN", str(set_path), *self.switches]


def build_type(exe: Path) -> str:
    """CMAKE_BUILD_TYPE of the build tree that holds exe, or "unknown"."""
    for folder in exe.parents:
        cache = folder / "CMakeCache.txt"
        if cache.is_file():
            for line in cache.read_text(errors="replace").splitlines():
                if line.startswith("CMAKE_BUILD_TYPE:"):
                    return line.split("=", 1)[1] or "none"
            return "unknown"
    return "unknown"


NO_PROGRAM = "the build defines no tessaron executable yet"


def build_tessaron(repo: Path, say) -> tuple[Optional[Path], str]:
    """Configures build-bench (Release, no tests) and builds its tessaron target. Configuring
    every time picks up folders that appeared since; it is quick when nothing changed."""
    build = repo / "build-bench"
    say(f"configuring and building the tessaron target in {build}")
    cfg = subprocess.run(["cmake", "-S", str(repo), "-B", str(build),
                          "-DCMAKE_BUILD_TYPE=Release", "-DTESSARON_TESTS=OFF"],
                         stdout=subprocess.DEVNULL)
    if cfg.returncode != 0:
        return None, "configuring build-bench failed"
    targets = subprocess.run(["cmake", "--build", str(build), "--target", "help"],
                             capture_output=True).stdout.decode(errors="replace")
    if not any(line.split()[-1:] == ["tessaron"] for line in targets.splitlines()):
        return None, NO_PROGRAM
    made = subprocess.run(["cmake", "--build", str(build), "-j2", "--target", "tessaron"],
                          stdout=subprocess.DEVNULL)
    exe = build / "src" / "app" / "tessaron"
    if made.returncode != 0 or not exe.is_file():
        return None, "building the tessaron target failed"
    return exe, "build-bench"


def find_tessaron(repo: Path, quick: bool, explicit: Optional[str],
                  say) -> tuple[Optional[Path], str]:
    """The executable to time: the one named (--tessaron or TESSARON_BIN); in quick mode the
    one `make check` built in build/; otherwise a Release build in build-bench, built on
    demand. (None, reason) when there is none."""
    if explicit:
        exe = Path(explicit).resolve()
        if exe.is_file() and os.access(exe, os.X_OK):
            return exe, "given"
        return None, f"{explicit} is not an executable"
    default = repo / "build" / "src" / "app" / "tessaron"
    if quick and default.is_file() and os.access(default, os.X_OK):
        return default, "build"
    if not (repo / "src" / "app" / "CMakeLists.txt").is_file():
        return None, NO_PROGRAM
    return build_tessaron(repo, say)


def console_switches(exe: Path, env: dict) -> list[str]:
    """/QUIET, plus /CONSOLE when the usage text offers it."""
    try:
        usage = subprocess.run([str(exe), "/?"], stdin=subprocess.DEVNULL,
                               capture_output=True, timeout=20, env=env)
        text = (usage.stdout + usage.stderr).decode(errors="replace")
    except (OSError, subprocess.TimeoutExpired):
        text = ""
    return ["/QUIET", "/CONSOLE"] if "/CONSOLE" in text.upper() else ["/QUIET"]


def console_env() -> dict:
    """The environment of every timed run: no display, so /RUN never opens a window."""
    env = {k: v for k, v in os.environ.items() if k not in ("DISPLAY", "WAYLAND_DISPLAY")}
    env["LC_ALL"] = "C"
    return env


def window_env() -> dict:
    """A window run without a screen: the run window on Qt's offscreen platform."""
    env = console_env()
    env["QT_QPA_PLATFORM"] = "offscreen"
    return env


def log_folders(exe: Path) -> list[Path]:
    """Where a run writes its log file: beside the executable, else the user's state folder."""
    state = os.environ.get("XDG_STATE_HOME") or str(Path.home() / ".local" / "state")
    return [exe.parent / "Log", Path(state) / "tessaron" / "Log"]


def snapshot_logs(folders: list[Path]) -> dict[Path, Optional[set[str]]]:
    """The log files present now (None for a folder that does not exist yet)."""
    return {f: (set(os.listdir(f)) if f.is_dir() else None) for f in folders}


def remove_new_logs(before: dict[Path, Optional[set[str]]], mark: str) -> int:
    """Deletes the log files written since the snapshot that mention mark (the scratch
    folder), so that logs of anyone else's runs stay; removes a Log folder this benchmark
    created when it is empty again. Returns the number of files deleted."""
    gone = 0
    for folder, names in before.items():
        if not folder.is_dir():
            continue
        for name in set(os.listdir(folder)) - (names or set()):
            path = folder / name
            try:
                with open(path, "rb") as f:
                    head = f.read(LOG_MARK_BYTES)
            except OSError:
                continue
            if mark.encode() in head:
                path.unlink()
                gone += 1
        if names is None and not os.listdir(folder):
            folder.rmdir()
    return gone


# ----------------------------------------------------------------------------------------
# The cases on their data sets
# ----------------------------------------------------------------------------------------


class Bench:
    """Builds the contenders of every case over one scratch folder."""

    def __init__(self, scratch: Path, tess: Optional[Tessaron], quick: bool = False):
        self.scratch, self.tess, self.quick = scratch, tess, quick
        self.out, self.sets = scratch / "out", scratch / "sets"
        self.trash = Trash(scratch / "trash")
        self.sets.mkdir(parents=True, exist_ok=True)

    def tessaron(self, key: str, src: Path, label: str = "Tessaron", backup_type: str = "FULL",
                 verify: bool = False, out: Optional[Path] = None) -> Optional[Contender]:
        """None when there is no executable to time."""
        if self.tess is None:
            return None
        out = out or self.out / f"{key}-tessaron"
        set_path = self.sets / f"{key}.set"
        set_path.write_bytes(set_file_text(str(out), [str(src)], backup_type, verify).encode())
        copy = out / str(src).lstrip("/")  # a file lands under its full path below the target
        return Contender(label, [self.tess.run_set(set_path)], out,
                         lambda: compare_trees(src, copy), env=self.tess.env)

    def peer(self, key: str, tool: str, src: Path, verify: bool = False,
             synced: bool = False) -> Contender:
        """cp -a or rsync -a; synced, then the copy written to disk (sync -f of its file
        system), as Tessaron does before it says "Backup Complete"; with verify, then what a
        verification that reads the medium does: the copy written to disk, its cached pages
        dropped, and diff -rq, which so reads the copy back from the disk."""
        out = self.out / (f"{key}-{tool}" + ("-synced" if synced else ""))
        copy = [["cp", "-a"], ["rsync", "-a"]][tool == "rsync"] + [str(src), f"{out}/"]
        steps = [copy]
        if synced or verify:
            steps.append(["sync", "-f", str(out)])
        if verify:
            steps += [[sys.executable, str(DROP_CACHE), str(out)],
                      ["diff", "-rq", str(src), str(out / src.name)]]
        name = f"{tool} -a" + (" + sync, drop, diff -rq" if verify else
                               " + sync -f" if synced else "")
        return Contender(name, steps, out, lambda: compare_trees(src, out / src.name))

    def copy_case(self, key: str, title: str, src: Path, small: bool, cold: bool = False,
                  cp_limit: float = 1.0, rsync_limit: Optional[float] = None,
                  synced: Optional[str] = None) -> Case:
        """Small: many files, whose output folders go to the trash. synced: also cp -a
        followed by sync -f (which waits for the disk, as Tessaron's durable end does), and
        which of the two cp -a rows the cp target is judged on ("cp -a + sync -f" or
        "cp -a")."""
        cp_peer = synced or "cp -a"
        targets = [Target(cp_peer, cp_limit, f"<= {cp_limit} x {cp_peer}")]
        if rsync_limit:
            targets.append(Target("rsync -a", rsync_limit, f"<= {rsync_limit} x rsync -a"))
        contenders = [self.tessaron(key, src), self.peer(key, "cp", src)]
        if synced:
            contenders.append(self.peer(key, "cp", src, synced=True))
        contenders.append(self.peer(key, "rsync", src))
        discard = self.trash.discard if small else remove_tree
        return Case(key, title, [c for c in contenders if c], targets, discard=discard,
                    cold=cold)

    def window_case(self, key: str, title: str, src: Path) -> Optional[Case]:
        """The same FULL set run in the run window (offscreen) and in the console."""
        window = self.tessaron(key, src, "Tessaron, window")
        console = self.tessaron(key + "-console", src, "Tessaron, console")
        if window is None or console is None:
            return None
        window.steps = [[a for a in window.steps[0] if a.upper() != "/CONSOLE"]]
        window.env = window_env()
        return Case(key, title, [window, console],
                    [Target(console.name, WINDOW_VS_CONSOLE,
                            f"<= {WINDOW_VS_CONSOLE} x console")],
                    discard=self.trash.discard)

    def verify_case(self, key: str, title: str, src: Path, small: bool) -> Case:
        contenders = [self.tessaron(key, src, "Tessaron, verify", verify=True),
                      self.peer(key, "cp", src, verify=True)]
        return Case(key, title, [c for c in contenders if c],
                    [Target(contenders[-1].name, 1.0, "<= 1.0 x")],
                    discard=self.trash.discard if small else remove_tree)

    def incremental_case(self, key: str, title: str, src: Path) -> Case:
        """INCREMENTAL over an up-to-date copy made (untimed) by the same tool."""
        rsync = self.peer(key, "rsync", src)
        copies = {rsync.name: (rsync.steps, rsync.out_dir / src.name)}
        contenders = [rsync]
        full = self.tessaron(key + "-full", src, out=self.out / f"{key}-tessaron")
        if full:
            tess = self.tessaron(key, src, "Tessaron, INCREMENTAL", "INCREMENTAL",
                                 out=full.out_dir)
            copies[tess.name] = (full.steps, full.out_dir / str(src).lstrip("/"))
            contenders.insert(0, tess)
        for c in contenders:
            c.keep_output = True
            c.check = self.unchanged_check(c, src, copies[c.name][1])
        limit = INCREMENTAL_VS_RSYNC
        return Case(key, title, contenders, [Target("rsync -a", limit, f"<= {limit} x rsync -a")],
                    setup=lambda: self.make_up_to_date(contenders, copies),
                    discard=self.trash.discard)

    def make_up_to_date(self, contenders: list[Contender], copies: dict) -> list[str]:
        self.ctimes: dict[str, dict[str, int]] = {}
        for c in contenders:
            steps, copy = copies[c.name]
            self.trash.discard(c.out_dir)
            c.out_dir.mkdir(parents=True)
            r = run_steps(steps, self.scratch / "output.txt", c.env)
            if r.rc != 0:
                return [f"making the up-to-date copy failed with exit status {r.rc}"]
            os.sync()
            self.ctimes[c.name] = file_ctimes(copy)
        return []

    def unchanged_check(self, c: Contender, src: Path, copy: Path) -> Callable[[], list[str]]:
        def check() -> list[str]:
            problems = compare_trees(src, copy)
            again = rewritten(self.ctimes[c.name], file_ctimes(copy))
            if again:
                problems.append(f"{len(again)} of {len(self.ctimes[c.name])} up-to-date files "
                                f"were written again (first: {again[0]})")
            return problems
        return check

    def memory_case(self, key: str, title: str, sets: list[tuple[int, Path]]) -> Case:
        contenders = [self.tessaron(f"{key}-{n}", src, f"Tessaron, {n:,} files")
                      for n, src in sets]
        return Case(key, title, contenders, [], discard=self.trash.discard, kind="memory",
                    files=tuple(n for n, _ in sets))

    def scale_case(self, key: str, title: str, sets: list[tuple[int, Path]]) -> Case:
        """Tessaron on a smaller and a ten times larger set (cost per file and peak memory
        compared), and the peers on the larger one."""
        (low, low_src), (high, high_src) = sets
        contenders = [self.tessaron(f"{key}-{low}", low_src, f"Tessaron, {low:,} files"),
                      self.tessaron(f"{key}-{high}", high_src, f"Tessaron, {high:,} files"),
                      self.peer(key, "cp", high_src), self.peer(key, "rsync", high_src)]
        targets = [Target("cp -a", 1.0, "<= 1.0 x cp -a")]
        return Case(key, title, [c for c in contenders if c], targets,
                    discard=self.trash.discard, kind="scale", files=(low, high))
