#!/usr/bin/env python3
"""Drops the cached pages of every regular file below the folders given, so that the next
read of them comes from the disk. The files must be written back first (sync): dirty
pages are not dropped."""

import os
import sys


def drop(top: str) -> None:
    for folder, _, files in os.walk(top, followlinks=False):
        for name in files:
            path = os.path.join(folder, name)
            try:
                fd = os.open(path, os.O_RDONLY | os.O_NOFOLLOW | os.O_NONBLOCK)
            except OSError:
                continue  # links, FIFOs and the like hold no file pages
            try:
                os.posix_fadvise(fd, 0, 0, os.POSIX_FADV_DONTNEED)
            finally:
                os.close(fd)


if __name__ == "__main__":
    for arg in sys.argv[1:]:
        drop(arg)
