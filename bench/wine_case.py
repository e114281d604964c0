"""The Windows case (bench/run --windows): tessaron.com from the Windows build, under Wine,
against xcopy /E /I of the same Wine, on one tree of small files. Runs alternate, so that a
change in the machine's load reaches both alike. Wine's costs are not Windows' own: the
figures compare the two programs on the same emulated system, nothing more."""

from __future__ import annotations

import os
import shutil
import statistics
import subprocess
import time
from pathlib import Path


def make_tree(root: Path, files: int, size: int) -> None:
    """files files of size bytes, 100 to a folder."""
    block = bytes((i * 7) % 251 for i in range(size))
    for i in range(files):
        folder = root / f"d{i // 100:03d}"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / f"f{i:05d}.dat").write_bytes(block)


def wine_env(prefix: Path) -> dict[str, str]:
    env = dict(os.environ)
    env.update(WINEPREFIX=str(prefix), WINEDEBUG="-all", WINEDLLOVERRIDES="mscoree,mshtml=")
    env.pop("DISPLAY", None)
    return env


def wine_path(path: Path) -> str:
    """The path as Wine's drive Z: shows the Linux root."""
    return "Z:" + str(path).replace("/", "\\")


def timed(command: list[str], env: dict[str, str]) -> tuple[float, int]:
    started = time.monotonic()
    run = subprocess.run(command, env=env, stdin=subprocess.DEVNULL,
                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.monotonic() - started, run.returncode


def run_windows(build: Path, scratch: Path, reps: int, quick: bool, say) -> list[str]:
    """Prints the table of the Windows case; returns its problems."""
    exe = build / "src" / "app" / "tessaron.com"
    if not exe.is_file() or shutil.which("wine") is None:
        return [f"windows: no {exe} or no wine (make windows builds it)"]
    files = 200 if quick else 2000
    src = scratch / "win-src"
    make_tree(src, files, 4096)
    prefix = scratch / "wineprefix"
    env = wine_env(prefix)
    say("windows: preparing a Wine prefix of its own")
    subprocess.run(["wine", "wineboot", "--init"], env=env, stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    env["TESSARON_LOG_DIR"] = wine_path(scratch / "win-logs")
    times: dict[str, list[float]] = {"tessaron": [], "xcopy": []}
    problems: list[str] = []
    for rep in range(reps):
        for tool in ("tessaron", "xcopy"):
            dst = scratch / f"win-dst-{tool}"
            shutil.rmtree(dst, ignore_errors=True)
            if tool == "tessaron":
                dst.mkdir()
                set_file = scratch / "win.set"
                set_file.write_text(f'Target = "{wine_path(dst)}"\r\nBackupType = FULL\r\n'
                                    f'Selections = "{wine_path(src)}"\r\n')
                command = ["wine", str(exe), "/RUN", wine_path(set_file), "/QUIET", "/CONSOLE"]
            else:
                command = ["wine", "cmd", "/c", "xcopy", "/E", "/I", "/Q", "/Y",
                           wine_path(src), wine_path(dst)]
            secs, status = timed(command, env)
            copied = sum(1 for p in dst.rglob("*.dat"))
            if status != 0 or copied != files:
                problems.append(f"windows: {tool} ended {status} with {copied} of {files} files")
            times[tool].append(secs)
    subprocess.run(["wineserver", "-k"], env=env, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    mine, peer = statistics.median(times["tessaron"]), statistics.median(times["xcopy"])
    print(f"\n| case | Tessaron under Wine | xcopy /E /I under Wine | ratio |\n|---|---|---|---|")
    print(f"| W {files} files of 4 KiB, FULL | {mine:.2f} s | {peer:.2f} s | {mine / peer:.2f} |")
    print("\nWine's costs are not Windows' own: these figures compare the two programs on the"
          " same emulated system only.")
    return problems
