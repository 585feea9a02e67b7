"""Every command over a folder of truncated and mutated files of every format
Convora reads: no crash, no hang, a clear message for each refusal, and no
file changed except those a command lists as written."""

import hashlib
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "fuzz"))
import make_seeds  # noqa: E402  (the fuzzers' seed files: one small valid file per reader)

CONVORA = os.environ.get("CONVORA_EXE", "convora")
SAMPLES = os.environ.get("CONVORA_SAMPLES_DIR", "")
TIMEOUT = 120  # seconds for one command over the whole folder

# What a command may print on stderr: a message box, an error, a notice. Under
# the sanitizers (run with allocator_may_return_null=1, as a release build's
# malloc behaves) a huge allocation that HDF5 asks for on a damaged MAT-file
# 7.3 fails with a warning line, and the library goes on to report the error.
MESSAGE = re.compile(r"^(error: /.+: .+|notice: .+|[A-Z][^:]*!?: .+"
                     r"|==\d+==WARNING: AddressSanitizer failed to allocate 0x[0-9a-f]+ bytes)$")


def variants(name, data, rng):
    """The file itself, cut at lengths that straddle every header, and mutated."""
    stem, ext = os.path.splitext(name)
    yield f"{stem}-whole{ext}", data
    for length in sorted({0, 1, 3, 4, 100, 127, 128, 512, 6143, 6144, len(data) // 2,
                          len(data) - 1}):
        if length < len(data):
            yield f"{stem}-cut{length}{ext}", data[:length]
    extremes = [b"\xff\xff\xff\x7f", b"\x00\x00\x00\x80", b"\xff\xff\xff\xff", b"\x00\x00\x80\x7f",
                b"\x00\x00\xc0\x7f", b"\x00\x00\x00\x00"]
    for k in range(12):
        mutated = bytearray(data)
        for _ in range(rng.randint(1, 6)):
            if not mutated:
                break
            at = rng.randrange(min(len(mutated), 1400))
            patch = rng.choice(extremes) if k % 2 else bytes([rng.randrange(256)])
            mutated[at:at + len(patch)] = patch
        yield f"{stem}-mut{k}{ext}", bytes(mutated)


def sources():
    for files in make_seeds.SEEDS.values():
        yield from files.items()
    if SAMPLES and os.path.isdir(SAMPLES):
        for folder in sorted(os.listdir(SAMPLES)):
            path = os.path.join(SAMPLES, folder)
            if os.path.isdir(path):
                for name in sorted(os.listdir(path)):
                    with open(os.path.join(path, name), "rb") as f:
                        yield f"real_{name}", f.read()


def digest(path):
    with open(path, "rb") as f:
        return hashlib.sha256(f.read()).hexdigest()


class HostileFiles(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory(prefix="convora-hostile-")
        cls.addClassCleanup(cls.scratch.cleanup)
        cls.folder = os.path.join(cls.scratch.name, "hostile")
        os.mkdir(cls.folder)
        rng = random.Random(2026)
        seen = set()
        for name, data in sources():
            for variant, content in variants(name, data, rng):
                if variant in seen:
                    continue
                seen.add(variant)
                with open(os.path.join(cls.folder, variant), "wb") as out:
                    out.write(content)
        cls.files = sorted(seen)

    def run_over(self, folder, *args):
        done = subprocess.run([CONVORA, *args, *self.files], cwd=folder, stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=TIMEOUT, check=False)
        # Messages may quote bytes of the files themselves.
        done.stdout = done.stdout.decode("utf-8", "backslashreplace")
        done.stderr = done.stderr.decode("utf-8", "backslashreplace")
        self.assertIn(done.returncode, (0, 1), f"{args}: {done.stderr[-2000:]}")
        for line in done.stderr.splitlines():
            self.assertRegex(line, MESSAGE, f"{args}: an unclear line")
            self.assertNotIn("unexpected failure", line, f"{args}")
        return done

    def test_reading_commands_leave_every_source_as_it_was(self):
        before = {name: digest(os.path.join(self.folder, name)) for name in self.files}
        os.mkdir(os.path.join(self.folder, "merged"))
        for args in (["info"], ["info", "--json"], ["convert", "--unknown", "yes", "--interval", "7"],
                     ["binary"], ["binary", "--float", "--swap", "--channels", "3"],
                     ["wav", "--channels", "2", "--byte-offset", "5"],
                     ["ascii", "--columns", "2-3", "--time-column", "1", "--header-lines", "1"],
                     ["ascii", "--matlab"], ["atf", "--interval", "10"], ["pti"],
                     ["dataq", "--interval", "10"],
                     ["merge", "--yes", "--dir", "merged"]):
            with self.subTest(args=args):
                self.run_over(self.folder, *args)
        after = {name: digest(os.path.join(self.folder, name)) for name in self.files}
        self.assertEqual(after, before)

    def test_an_edit_that_is_refused_leaves_its_file_as_it_was(self):
        for args in (["set-unit", "--channel", "2", "--unit", "mV", "--scale", "2"],
                     ["set-interval", "--interval", "5"], ["filter", "--pre", "5", "--new", "1"],
                     ["downscale"]):
            with self.subTest(args=args):
                copy = os.path.join(self.scratch.name, args[0])
                shutil.copytree(self.folder, copy)
                before = {name: digest(os.path.join(copy, name)) for name in self.files}
                done = self.run_over(copy, *args)
                edited = {os.path.basename(path) for path in done.stdout.splitlines()}
                self.assertLess(len(edited), len(self.files), f"{args}: nothing was refused")
                for name in self.files:
                    if name not in edited:
                        self.assertEqual(digest(os.path.join(copy, name)), before[name],
                                         f"{args}: {name} was changed without being listed")

if __name__ == "__main__":
    unittest.main(verbosity=2)
