"""The benchmark's table: medians, ratios Tessaron / peer, and whether each target held."""

from __future__ import annotations

import datetime
import os
import platform
import subprocess
from pathlib import Path
from typing import Optional

from tessbench import (KiB, MEMORY_GROWTH, SCALE_GROWTH, Case, median_cpu, median_peak,
                       median_seconds)


def judge(value: Optional[float], limit: float, judged: bool) -> str:
    if value is None:
        return "not measured"
    if not judged:
        return "not judged (--quick)"
    return "held" if value <= limit else "missed"


def seconds_text(x: Optional[float]) -> str:
    return "-" if x is None else f"{x:.3f} s"


def mib_text(kib: Optional[int]) -> str:
    return "-" if kib is None else f"{kib / KiB:.1f} MiB"


def cpu_ratio_text(tess, peer) -> str:
    """Tessaron's processor time over the peer's: the same comparison without the disk."""
    t = median_cpu(tess) if tess else None
    p = median_cpu(peer)
    return "-" if t is None or not p else f"{t / p:.2f}"


def copy_rows(case: Case, judged: bool) -> list[list[str]]:
    """One row per peer: Tessaron's median, the peer's, their ratio and the target."""
    tess = case.contenders[0] if case.contenders[0].name.startswith("Tessaron") else None
    t = median_seconds(tess) if tess else None
    limits = {target.peer: target for target in case.targets}
    rows = []
    for peer in case.contenders[1 if tess else 0:]:
        p = median_seconds(peer)
        ratio = t / p if t is not None and p else None
        target = limits.get(peer.name)
        rows.append([f"{case.key} {case.title}" if not rows else "",
                     tess.name if tess and not rows else "",
                     seconds_text(t) if not rows else "",
                     mib_text(median_peak(tess)) if tess and not rows else "",
                     peer.name, seconds_text(p), "-" if ratio is None else f"{ratio:.2f}",
                     target.wording if target else "-",
                     judge(ratio, target.max_ratio, judged) if target else "-",
                     cpu_ratio_text(tess, peer)])
    return rows


def growth_row(label: str, low: Optional[float], high: Optional[float], limit: float,
               judged: bool, unit: str) -> list[str]:
    """One row judging how much a figure grew from the smaller run to the larger one."""
    growth = (high - low) / low if low and high else None
    return ["", label, "", "", "", "", "-" if growth is None else f"{growth:+.1%}",
            f"{unit} growth within {limit:.0%}",
            judge(None if growth is None else abs(growth), limit, judged), ""]


def memory_rows(case: Case, judged: bool) -> list[list[str]]:
    """Peak resident memory at each file count, and the growth from the first to the last."""
    rows = []
    for c in case.contenders:
        rows.append([f"{case.key} {case.title}" if not rows else "", c.name,
                     seconds_text(median_seconds(c)), mib_text(median_peak(c)), "", "", "",
                     "", "", ""])
    if len(case.contenders) < 2:
        return rows + [growth_row("Tessaron", None, None, MEMORY_GROWTH, judged, "memory")]
    low, high = (median_peak(c) for c in (case.contenders[0], case.contenders[-1]))
    return rows + [growth_row("", low, high, MEMORY_GROWTH, judged, "memory")]


def scale_rows(case: Case, judged: bool) -> list[list[str]]:
    """The larger run against its peers, then its time per file and peak memory against
    the run of a tenth of the files: the cost of a file must not grow with their number."""
    tess = [c for c in case.contenders if c.name.startswith("Tessaron")]
    peers = [c for c in case.contenders if not c.name.startswith("Tessaron")]
    if len(tess) != 2:
        return [[f"{case.key} {case.title}", "Tessaron", "-", "-", "-", "-", "-", "-",
                 "not measured", "-"]]
    small, large = tess
    rows = copy_rows(Case(case.key, case.title, [large] + peers, case.targets), judged)
    rows.append(["", small.name, seconds_text(median_seconds(small)),
                 mib_text(median_peak(small)), "", "", "", "", "", ""])
    low_n, high_n = case.files
    per_file = [median_seconds(c) for c in (small, large)]
    low, high = (None if t is None else t / n for t, n in zip(per_file, (low_n, high_n)))
    rows.append(growth_row("", low, high, SCALE_GROWTH, judged, "time per file"))
    rows.append(growth_row("", median_peak(small), median_peak(large), MEMORY_GROWTH, judged,
                           "memory"))
    return rows


HEADINGS = ["case", "Tessaron run", "time", "peak memory", "compared with", "peer time",
            "ratio", "target", "result", "CPU ratio"]


def render(rows: list[list[str]]) -> str:
    """A Markdown table with padded columns, readable as it stands in a terminal."""
    table = [HEADINGS] + rows
    widths = [max(len(r[i]) for r in table) for i in range(len(HEADINGS))]

    def line(r: list[str]) -> str:
        return "| " + " | ".join(c.ljust(w) for c, w in zip(r, widths)) + " |"

    return "\n".join([line(HEADINGS), line(["-" * w for w in widths])] +
                     [line(r) for r in rows])


def table(cases: list[Case], judged: bool) -> str:
    rows: list[list[str]] = []
    for case in cases:
        rows += {"memory": memory_rows, "scale": scale_rows}.get(case.kind, copy_rows)(
            case, judged)
    return render(rows)


def cpu_model() -> str:
    try:
        for line in Path("/proc/cpuinfo").read_text().splitlines():
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    except OSError:
        pass
    return platform.processor() or "unknown CPU"


def file_system(path: Path) -> str:
    """Type and source of the mount that holds path, from /proc/self/mountinfo."""
    best, found = "", "unknown file system"
    try:
        lines = Path("/proc/self/mountinfo").read_text().splitlines()
    except OSError:
        return found
    for line in lines:
        left, _, right = line.partition(" - ")
        point = left.split()[4].replace("\\040", " ")
        inside = str(path) == point or str(path).startswith(point.rstrip("/") + "/")
        if inside and len(point) >= len(best):
            fields = right.split()
            best, found = point, f"{fields[0]} on {fields[1]} (mounted at {point})"
    return found


def first_line(argv: list[str]) -> str:
    try:
        out = subprocess.run(argv, capture_output=True, timeout=10).stdout.decode()
        return out.splitlines()[0].strip()
    except (OSError, subprocess.TimeoutExpired, IndexError):
        return f"{argv[0]}: unknown version"


def header(scratch: Path, tess_note: str, reps: int, drop_caches: bool, quick: bool) -> str:
    cache = ("page cache dropped before every run (sync; echo 3 > /proc/sys/vm/drop_caches)"
             if drop_caches else
             "page cache not dropped (warm: the source is in memory), sync before every run")
    when = datetime.datetime.now().astimezone().strftime("%Y-%m-%d %H:%M %Z")
    lines = [f"Tessaron benchmark, {when}" + (" (--quick: tiny sizes)" if quick else ""),
             f"machine: {os.cpu_count()} cores, {cpu_model()}, Linux {platform.release()}",
             f"scratch: {file_system(scratch)}",
             f"tools: {tess_note}; {first_line(['cp', '--version'])}; "
             f"{first_line(['rsync', '--version'])}",
             f"{cache}; median of {reps} run(s) per tool, tools alternating; "
             "ratio = Tessaron / peer"]
    return "\n".join(lines)
