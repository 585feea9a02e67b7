"""Runs the convora program and reads its outputs back with neo's AxonIO, an
ABF reader written independently of this project."""

import collections
import os
import struct
import subprocess
import sys
import tempfile
import unittest

try:
    import numpy
    import neo
except ImportError as missing:  # pragma: no cover - depends on the machine
    print(f"skipped: {missing}; scripts/setup.sh installs python3-neo", file=sys.stderr)
    sys.exit(77)

CONVORA = os.environ.get("CONVORA_EXE", "convora")
SAMPLES = os.environ.get("CONVORA_SAMPLES_DIR", "")


def run_convora(*args, cwd=None):
    """Runs convora without a terminal; returns the finished process."""
    return subprocess.run([CONVORA, *map(str, args)], cwd=cwd, stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, check=False)


# values: a numpy array in physical units.
Channel = collections.namedtuple("Channel", "values units rate_hz")


def float32(value):
    """The value rounded to single precision."""
    return struct.unpack("<f", struct.pack("<f", value))[0]


def one_count(reference, adc_range=10.24):
    """What one stored count is worth in a channel scaled to this reference value."""
    return adc_range / (32768 * float32(10.24 / reference / 2))


def read_abf(path):
    """Every channel of the first segment, in physical units."""
    block = neo.io.AxonIO(filename=str(path)).read_block(lazy=False)
    channels = []
    for signal in block.segments[0].analogsignals:
        for index in range(signal.shape[1]):
            channels.append(Channel(numpy.asarray(signal[:, index].magnitude).ravel(),
                                    signal.units.dimensionality.string,
                                    float(signal.sampling_rate.rescale("Hz").magnitude)))
    return channels


class ConvoraTestCase(unittest.TestCase):
    """A test case with a scratch folder and a convert-then-read helper."""

    def setUp(self):
        self._scratch = tempfile.TemporaryDirectory(prefix="convora-interop-")
        self.folder = self._scratch.name

    def tearDown(self):
        self._scratch.cleanup()

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, data):
        with open(self.path(name), "wb") as out:
            out.write(data)
        return self.path(name)

    def convert(self, *args):
        """Runs convora; asserts success; returns the written paths."""
        done = run_convora(*args, cwd=self.folder)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout.split("\n")[:-1]

    def convert_one(self, name, data, *options):
        """Writes and converts one source; returns the channels of the ABF file beside it."""
        written = self.convert("convert", *options, self.write(name, data))
        self.assertEqual(written, [self.path(name.split(".")[0] + ".ABF")])
        return read_abf(written[0])

    def assertChannel(self, channel, units, rate_hz, values, count):
        """Unit, rate, and each value stored one count low, to within half a count."""
        self.assertEqual(channel.units, units)
        self.assertAlmostEqual(channel.rate_hz, rate_hz, places=3)
        self.assertClose(channel.values, [v - count for v in values], count / 2 + 1e-9)

    def assertClose(self, actual, expected, tolerance):
        numpy.testing.assert_allclose(numpy.asarray(actual), numpy.asarray(expected),
                                      rtol=0, atol=tolerance)


def main():
    unittest.main(verbosity=2)
