"""Tests of the benchmark harness: the set files it writes, the tree comparison that decides
whether a copy is right, the memory figures, the verdicts and the clean-up."""

import os
import shutil
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))

import report  # noqa: E402
import tessbench as tb  # noqa: E402


class SetFileText(unittest.TestCase):
    def test_lines_and_continuations(self):
        cases = [
            (["/d/src"], "FULL", False, 'Selections = "/d/src"\r\n'),
            (["/d/a", "/d/b c"], "INCREMENTAL", True, 'Selections = "/d/a"\r\n\t"/d/b c"\r\n'),
        ]
        for sources, kind, verify, tail in cases:
            with self.subTest(sources=sources):
                text = tb.set_file_text("/out dir", sources, kind, verify)
                lines = text.split("\r\n")
                self.assertEqual(lines[0], 'Target = "/out dir"')
                self.assertEqual(lines[1], f"BackupType = {kind}")
                self.assertEqual(lines[5], f"Verify = {verify}")
                self.assertEqual(lines[8], "EMailTo = ")
                self.assertTrue(text.endswith("EMailTo = \r\n" + tail))
                self.assertNotIn("\n", text.replace("\r\n", ""))

    def test_quote_in_path_is_refused(self):
        for target, sources in [('/a"b', ["/s"]), ("/t", ['/s"x'])]:
            with self.assertRaises(ValueError):
                tb.set_file_text(target, sources)


class CompareTrees(unittest.TestCase):
    def setUp(self):
        self.tmp = Path(tempfile.mkdtemp())
        self.src, self.dst = self.tmp / "src", self.tmp / "dst"
        tb.make_large(self.src / "big", 1, tb.MiB + 10)  # two read rounds
        (self.src / "sub").mkdir()
        (self.src / "sub" / "a.txt").write_bytes(b"alpha")
        os.symlink("sub/a.txt", self.src / "link")
        shutil.copytree(self.src, self.dst, symlinks=True)

    def tearDown(self):
        shutil.rmtree(self.tmp)

    def test_exact_copy_passes(self):
        self.assertEqual(tb.compare_trees(self.src, self.dst), [])

    def test_every_fault_is_found(self):
        big, small = self.dst / "big" / "file00.bin", self.dst / "sub" / "a.txt"

        def flip_last_byte():
            data = bytearray(big.read_bytes())
            data[-1] ^= 1
            big.write_bytes(bytes(data))
            shutil.copystat(self.src / "big" / "file00.bin", big)

        def later(p, seconds):
            st = os.stat(p)
            os.utime(p, ns=(st.st_atime_ns, st.st_mtime_ns + seconds * 10**9))

        faults = [
            ("missing in the copy", lambda: small.unlink()),
            ("not in the source", lambda: (self.dst / "extra").write_bytes(b"")),
            ("content differs", flip_last_byte),
            ("size", lambda: small.write_bytes(b"alpha!")),
            ("modification time", lambda: later(small, 1)),
            ("mode", lambda: small.chmod(0o600)),
            ("link target", lambda: (os.unlink(self.dst / "link"),
                                     os.symlink("sub", self.dst / "link"))),
            ("copied as a", lambda: (small.unlink(), small.mkdir())),
            ("folder mode", lambda: (self.dst / "sub").chmod(0o700)),
            ("folder modification time", lambda: later(self.dst / "sub", 5)),
        ]
        for expected, damage in faults:
            with self.subTest(expected):
                shutil.rmtree(self.dst)
                shutil.copytree(self.src, self.dst, symlinks=True)
                damage()
                problems = tb.compare_trees(self.src, self.dst)
                self.assertTrue(any(expected in p for p in problems), problems)

    def test_missing_copy_and_subsecond_time(self):
        self.assertEqual(tb.compare_trees(self.src, self.tmp / "none"),
                         [f"no copy at {self.tmp / 'none'}"])
        p = self.dst / "sub" / "a.txt"
        whole = os.stat(p).st_mtime_ns // 10**9 * 10**9
        os.utime(p, ns=(whole, whole + 1))
        os.utime(self.src / "sub" / "a.txt", ns=(whole, whole + 999_999_999))
        self.assertEqual(tb.compare_trees(self.src, self.dst), [])

    def test_rewriting_a_file_changes_its_ctime(self):
        before = tb.file_ctimes(self.dst)
        (self.dst / "sub" / "a.txt").read_bytes()
        self.assertEqual(tb.rewritten(before, tb.file_ctimes(self.dst)), [])
        os.utime(self.dst / "sub" / "a.txt", ns=(0, 0))  # what any rewrite ends with
        self.assertEqual(tb.rewritten(before, tb.file_ctimes(self.dst)),
                         [os.path.join("sub", "a.txt")])


class Running(unittest.TestCase):
    def setUp(self):
        self.tmp = Path(tempfile.mkdtemp())
        self.out = self.tmp / "output.txt"

    def tearDown(self):
        shutil.rmtree(self.tmp)

    def test_steps_stop_at_the_first_failure(self):
        r = tb.run_steps([["true"], ["sh", "-c", "echo oops; exit 4"], ["touch", "never"]],
                         self.out, None)
        self.assertEqual(r.rc, 4)
        self.assertIn("oops", self.out.read_text())
        self.assertFalse((self.tmp / "never").exists())

    @unittest.skipUnless(os.access(tb.GNU_TIME, os.X_OK), "GNU time is not installed")
    def test_peak_memory_is_the_commands_own(self):
        small = tb.run_timed(["true"], self.out)
        big = tb.run_timed([sys.executable, "-c", "b = bytearray(64 << 20)"], self.out)
        self.assertLess(small.peak_kib, 8 * 1024)  # not the harness's own resident size
        self.assertGreater(big.peak_kib, 64 * 1024)

    def test_only_new_logs_of_this_run_are_removed(self):
        old, fresh = self.tmp / "Log", self.tmp / "state" / "Log"
        old.mkdir()
        (old / "BackupLog_1.log").write_text("Checking Target - /scratch/x")
        before = tb.snapshot_logs([old, fresh])
        fresh.mkdir(parents=True)
        (old / "BackupLog_2.log").write_text("Checking Target - /scratch/x/out")
        (old / "BackupLog_3.log").write_text("Checking Target - /elsewhere")
        (fresh / "BackupLog_4.log").write_text("Copying /scratch/x/data")
        self.assertEqual(tb.remove_new_logs(before, "/scratch/x"), 2)
        self.assertEqual(sorted(os.listdir(old)), ["BackupLog_1.log", "BackupLog_3.log"])
        self.assertFalse(fresh.exists())


class Discarding(unittest.TestCase):
    def test_trash_moves_trees_aside_and_ignores_missing_ones(self):
        with tempfile.TemporaryDirectory() as d:
            trash = tb.Trash(Path(d) / "trash")
            for name in ("a", "b"):
                (Path(d) / name / "sub").mkdir(parents=True)
                trash.discard(Path(d) / name)
                self.assertFalse((Path(d) / name).exists())
            trash.discard(Path(d) / "never-made")
            self.assertEqual(sorted(os.listdir(trash.folder)), ["1", "2"])
            self.assertTrue((trash.folder / "2" / "sub").is_dir())


class Cases(unittest.TestCase):
    """The peers through the real case plumbing, on a tree of a few files."""

    def setUp(self):
        self.tmp = Path(tempfile.mkdtemp())
        self.src = self.tmp / "data" / "small"
        tb.make_small(self.src, 12, 5, 100)
        self.bench = tb.Bench(self.tmp, None)

    def tearDown(self):
        shutil.rmtree(self.tmp)

    def run_case(self, case, reps=2):
        tb.run_case(case, reps, False, self.tmp, lambda text: None)
        return case

    def test_copies_are_checked_and_outputs_moved_aside(self):
        case = self.run_case(self.bench.copy_case("2", "t", self.src, small=True,
                                                  synced="cp -a + sync -f"))
        self.assertEqual([c.name for c in case.contenders],
                         ["cp -a", "cp -a + sync -f", "rsync -a"])
        self.assertEqual(case.targets[0].peer, "cp -a + sync -f")
        for c in case.contenders:
            self.assertEqual((c.problems, len(c.results)), ([], 2))
            self.assertFalse(c.out_dir.exists())
        self.assertEqual(len(os.listdir(self.bench.trash.folder)), 6)

    def test_incremental_over_an_up_to_date_copy_rewrites_nothing(self):
        case = self.run_case(self.bench.incremental_case("3", "t", self.src))
        self.assertEqual([(c.name, c.problems) for c in case.contenders], [("rsync -a", [])])

    def test_a_failing_tool_is_reported_once_and_not_run_again(self):
        case = self.bench.verify_case("4", "t", self.src, small=False)
        case.contenders[0].steps.insert(0, ["sh", "-c", "echo broken >&2; exit 3"])
        self.run_case(case, reps=3)
        c = case.contenders[0]
        self.assertEqual(len(c.results), 1)
        self.assertTrue(c.problems[0].startswith("exit status 3"), c.problems)
        self.assertIn("broken", c.problems[0])


class Sizing(unittest.TestCase):
    def test_full_run_needs_room_for_its_busiest_phase(self):
        need, inodes = tb.space_needed(tb.FULL_SIZES)
        # The scaling phase: ten trees of 200,000 files of one block each, at least.
        self.assertGreaterEqual(need, 10 * 200000 * tb.BLOCK + tb.SPACE_MARGIN)
        self.assertLess(need, 12 * tb.GiB)
        self.assertGreaterEqual(inodes, 10 * 200000)

    def test_short_space_is_refused_with_a_reason(self):
        with tempfile.TemporaryDirectory() as d:
            self.assertIsNone(tb.check_space(Path(d), (0, 0)))
            self.assertIn("not enough space", tb.check_space(Path(d), (1 << 60, 0)))

    def test_small_set_layout(self):
        with tempfile.TemporaryDirectory() as d:
            tb.make_small(Path(d) / "s", 25, tb.small_layout(25, 3), 100)
            folders = sorted(Path(d, "s").iterdir())
            self.assertEqual([len(os.listdir(f)) for f in folders], [9, 9, 7])
            sizes = {p.stat().st_size for f in folders for p in f.iterdir()}
            self.assertEqual(sizes, {100})


class Verdicts(unittest.TestCase):
    def contender(self, name, seconds, peak=1000, rc=0, cpu=None):
        c = tb.Contender(name, [], Path("/nonexistent"), lambda: [])
        c.results = [tb.RunResult(s, peak, rc, s / 2 if cpu is None else cpu) for s in seconds]
        return c

    def test_judge(self):
        table = [(None, True, "not measured"), (0.5, True, "held"), (1.0, True, "held"),
                 (1.01, True, "missed"), (2.0, False, "not judged (--quick)")]
        for value, judged, expected in table:
            with self.subTest(value=value):
                self.assertEqual(report.judge(value, 1.0, judged), expected)

    def test_ratio_of_medians_and_failed_runs(self):
        case = tb.Case("2", "small", [
            self.contender("Tessaron", [3.0, 1.0, 2.0]),
            self.contender("cp -a", [4.0, 4.0, 9.0]),
            self.contender("rsync -a", [1.0], rc=1)],
            [tb.Target("cp -a", 1.0, "x"), tb.Target("rsync -a", 0.75, "y")])
        rows = report.copy_rows(case, judged=True)
        self.assertEqual(rows[0][2], "2.000 s")
        self.assertEqual(rows[0][6:], ["0.50", "x", "held", "0.50"])
        self.assertEqual(rows[1][5:], ["-", "-", "y", "not measured", "-"])

    def test_usage_report_gives_peak_and_processor_time(self):
        table = [("2048 0.25 1.50\n", (2048, 1.75)), ("Command exited with non-zero status 1\n"
                  "2048 0.25 1.50\n", (2048, 1.75)), ("", (0, 0.0)), ("garbage\n", (0, 0.0))]
        with tempfile.TemporaryDirectory() as d:
            for text, expected in table:
                with self.subTest(text=text):
                    path = Path(d) / "r.peak"
                    path.write_text(text)
                    self.assertEqual(tb.usage_from(path), expected)

    def test_memory_growth(self):
        for low, high, expected in [(10000, 10900, "held"), (10000, 11100, "missed"),
                                    (10000, 8000, "missed")]:
            with self.subTest(high=high):
                case = tb.Case("5", "memory", [self.contender("a", [1.0], low),
                                               self.contender("b", [1.0], high)], [],
                               kind="memory")
                self.assertEqual(report.memory_rows(case, judged=True)[-1][8], expected)

    def test_scaling_judges_time_per_file_and_memory(self):
        # 10 times the files in 10.5 times the time: +5% a file; memory +20%.
        case = tb.Case("6", "scale", [self.contender("Tessaron, 20", [2.0], 1000),
                                      self.contender("Tessaron, 200", [21.0], 1200),
                                      self.contender("cp -a", [30.0])],
                       [tb.Target("cp -a", 1.0, "x")], kind="scale", files=(20, 200))
        rows = report.scale_rows(case, judged=True)
        self.assertEqual(rows[0][6:9], ["0.70", "x", "held"])
        self.assertEqual(rows[-2][6:9], ["+5.0%", "time per file growth within 10%", "held"])
        self.assertEqual(rows[-1][6:9], ["+20.0%", "memory growth within 10%", "missed"])


class MixedTree(unittest.TestCase):
    def test_same_seed_same_tree_with_long_tail_links_and_empty_folders(self):
        with tempfile.TemporaryDirectory() as d:
            totals = [tb.make_mixed(Path(d) / name, 600, 1, tb.MiB) for name in "ab"]
            self.assertEqual(totals[0], totals[1])

            def shape(top):
                return {rel: (tb._kind(st.st_mode), st.st_size if os.path.isfile(top / rel)
                              else 0) for rel, st in tb.scan_tree(top).items()}
            self.assertEqual(shape(Path(d) / "a"), shape(Path(d) / "b"))
            sizes = sorted(p.stat().st_size for p in Path(d, "a").rglob("f*.dat"))
            self.assertLess(sizes[len(sizes) // 2], 4 * tb.KiB)  # most files are small
            self.assertGreater(sizes[-1], 20 * sizes[len(sizes) // 2])  # and the tail is long
            depth = max(len(p.relative_to(Path(d, "a")).parts) for p in Path(d, "a").rglob("*"))
            self.assertGreaterEqual(depth, 5)
            entries = list(Path(d, "a").rglob("*"))
            self.assertTrue(any(p.is_symlink() for p in entries))
            self.assertTrue(any(p.is_dir() and not any(p.iterdir()) for p in entries))


if __name__ == "__main__":
    unittest.main()
