"""The benchmark's data sets, generated from fixed seeds, and the scratch space they need."""

from __future__ import annotations

import os
import random
from dataclasses import dataclass
from pathlib import Path

KiB = 1 << 10
MiB = 1 << 20
GiB = 1 << 30
BLOCK = 4096  # allocation unit assumed when estimating the space a tree takes
SPACE_MARGIN = 512 * MiB


@dataclass(frozen=True)
class Sizes:
    large_files: int
    large_size: int
    small_files: int
    small_dirs: int
    small_size: int
    memory_files: tuple[int, int]  # file counts compared by the memory case
    reps: int
    scale_files: tuple[int, int]  # the scaling case: cost per file at these counts
    scale_size: int
    mixed_files: int  # the mixed "home folder" tree
    mixed_large: int  # its few big files, the largest of mixed_large_size bytes
    mixed_large_size: int

    @property
    def long_reps(self) -> int:
        """The long cases (scaling, mixed, cold cache): at most three repetitions."""
        return min(self.reps, 3)


FULL_SIZES = Sizes(8, 256 * MiB, 20000, 200, 4 * KiB, (20000, 80000), 5,
                   (20000, 200000), KiB, 30000, 3, 96 * MiB)
# Odd sizes in quick mode so that a short last block is exercised.
QUICK_SIZES = Sizes(2, MiB + 123, 200, 10, 4 * KiB, (200, 800), 1, (100, 1000), KiB, 300, 1,
                    MiB + 7)


def write_data(path: Path, size: int, pool: bytes, serial: int) -> None:
    """size bytes cut from pool, each pool-sized block headed by the file's serial number
    and the block's, so that no two files or blocks are alike."""
    with open(path, "wb") as f:
        left, n = size, 0
        while left > 0:
            off = (serial * 97 + n * 13) % max(1, len(pool) - MiB)
            head = serial.to_bytes(8, "little") + n.to_bytes(8, "little")
            chunk = (head + pool[off + 16:off + len(pool)])[:left]
            f.write(chunk)
            left -= len(chunk)
            n += 1


def make_large(root: Path, count: int, size: int, seed: int = 1) -> None:
    """count files of size bytes; every MiB block differs by a header."""
    root.mkdir(parents=True)
    pool = random.Random(seed).randbytes(MiB)
    for i in range(count):
        with open(root / f"file{i:02}.bin", "wb") as f:
            left, n = size, 0
            while left > 0:
                chunk = (i.to_bytes(8, "little") + n.to_bytes(8, "little") + pool[16:])[:left]
                f.write(chunk)
                left -= len(chunk)
                n += 1


def small_layout(files: int, dirs: int) -> int:
    """Files per folder of the small-file sets; kept when the file count grows."""
    return max(1, -(-files // dirs))


def make_small(root: Path, files: int, per_dir: int, size: int, seed: int = 2) -> None:
    """files files of size bytes, per_dir to a folder, each with its own content."""
    root.mkdir(parents=True)
    pool = random.Random(seed).randbytes(size * 64)
    folder = root
    for i in range(files):
        if i % per_dir == 0:
            folder = root / f"dir{i // per_dir:04}"
            folder.mkdir()
        off = (i * 97) % (len(pool) - size)
        data = (i.to_bytes(8, "little") + pool[off + 8:off + size])[:size]
        with open(folder / f"f{i:06}.dat", "wb") as f:
            f.write(data)


MIXED_SMALL_MAX = 8 * MiB  # the long tail of the ordinary files stops here


def mixed_size(rng: random.Random) -> int:
    """A file size with a long tail: Pareto with shape 1.1 from 200 bytes, so that most
    files hold a few hundred bytes to a few KiB and a few hold megabytes."""
    return min(int(200 / (1.0 - rng.random()) ** (1 / 1.1)), MIXED_SMALL_MAX)


def make_mixed(root: Path, files: int, large: int, large_size: int, seed: int = 3) -> int:
    """A home folder: folders nested up to ten deep and wide (a new folder for about one
    file in twelve, below a folder picked at random), files of long-tailed sizes spread
    over them, `large` big files (large_size, half of it, a third...), a few links and a
    few empty folders. The same seed gives the same tree. Returns its bytes."""
    rng = random.Random(seed)
    pool = rng.randbytes(4 * MiB)
    root.mkdir(parents=True)
    folders, total = [root], 0
    for i in range(files):
        parent = rng.choice(folders)
        if (len(folders) < 8 or rng.random() < 0.08) and len(parent.relative_to(root).parts) < 10:
            folders.append(parent / f"d{len(folders):05}")
            folders[-1].mkdir()
        size = mixed_size(rng)
        write_data(rng.choice(folders) / f"f{i:06}.dat", size, pool, i)
        total += size
    for j in range(large):
        size = large_size // (j + 1)
        write_data(rng.choice(folders) / f"big{j}.bin", size, pool, files + j)
        total += size
    for k in range(max(1, files // 1000)):
        os.symlink(f"../link-target-{k}", rng.choice(folders) / f"link{k}")
        (rng.choice(folders) / f"empty{k}").mkdir(exist_ok=True)
    return total


def tree_bytes(files: int, size: int, dirs: int) -> int:
    """Space a tree takes on disk, rounded up to whole blocks."""
    return files * (-(-size // BLOCK) * BLOCK) + (dirs + 1) * BLOCK


def mixed_estimate(s: Sizes) -> tuple[int, int]:
    """(bytes, inodes) the mixed tree takes, generously: the tail's mean is under 2 KiB,
    counted as two blocks a file."""
    big = sum(s.mixed_large_size // (j + 1) for j in range(s.mixed_large))
    return s.mixed_files * 2 * BLOCK + big, s.mixed_files * 13 // 10


def space_needed(s: Sizes) -> tuple[int, int]:
    """(bytes, inodes) of the busiest phase. Copies of many files wait in the trash until
    their phase ends, so a phase needs its sources and every copy made of them: small
    files: cases 2 and 4 make five copies a repetition, the cold case 2c three, case 3
    two, case 5 one of each memory set; scaling: one of the smaller set and three of the
    larger a repetition; mixed: three a repetition, warm and cold. The long cases (6, 7,
    and the cold ones) repeat at most three times."""
    per = small_layout(s.small_files, s.small_dirs)

    def tree(n: int, size: int = s.small_size) -> tuple[int, int]:
        dirs = -(-n // per)
        return tree_bytes(n, size, dirs), n + dirs + 1

    def phase(parts: list[tuple[tuple[int, int], int]]) -> tuple[int, int]:
        return (sum(t[0] * c for t, c in parts), sum(t[1] * c for t, c in parts))

    small = {s.small_files: 1 + 5 * s.reps + 3 * s.long_reps + 2}
    for n in s.memory_files:
        small[n] = small.get(n, 1) + s.reps
    low, high = s.scale_files
    phases = [
        (2 * tree_bytes(s.large_files, s.large_size, 0), s.large_files * 2 + 2),
        phase([(tree(n), c) for n, c in small.items()]),
        phase([(tree(low, s.scale_size), 1 + s.long_reps),
               (tree(high, s.scale_size), 1 + 3 * s.long_reps)]),
        phase([(mixed_estimate(s), 1 + 6 * s.long_reps)]),
    ]
    return max(p[0] for p in phases) + SPACE_MARGIN, max(p[1] for p in phases) + 1000
