"""Runs the convora program and reads its outputs back with three ABF readers
written independently of this project and of each other: neo's AxonIO, stfio
and biosig. Every output read here is read by all three, which must agree."""

import collections
import os
import struct
import subprocess
import sys
import tempfile
import unittest

try:
    import json

    import biosig
    import numpy
    import neo
    import stfio
except ImportError as missing:  # pragma: no cover - depends on the machine
    print(f"skipped: {missing}; scripts/setup.sh installs python3-neo, python3-stfio and "
          "python3-biosig", file=sys.stderr)
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


def read_sweeps(path):
    """neo's reading of every sweep (samples x channels, physical units), once
    stfio and biosig have read the same values and units from the file."""
    block = neo.io.AxonIO(filename=str(path)).read_block(lazy=False)
    sweeps = [numpy.hstack([numpy.asarray(s.magnitude, dtype=float) for s in segment.analogsignals])
              for segment in block.segments]
    units = [s.units.dimensionality.string for s in block.segments[0].analogsignals
             for _ in range(s.shape[1])]
    by_neo = numpy.vstack(sweeps)  # sweeps one after another, as the others give them
    # neo reads float32; one part in 10^5 of each channel's largest value covers that.
    tolerance = 1e-5 * numpy.maximum(numpy.abs(by_neo).max(axis=0), 1e-30) if by_neo.size else 0

    # stfio and biosig take a channel's unit (stfio its gains too) from the
    # slot of its position in the sampling sequence, not from the physical
    # channel the sequence names there, so they misread files whose sequence
    # is not 0, 1, ...: those of acquisition programs, which the editing tools
    # keep as they are. Every file Convora converts samples in order.
    if not sampled_in_order(path, len(units)):
        return sweeps
    record = stfio.read(str(path), "abf")  # named: stfio guesses only lower-case extensions
    by_stfio = numpy.column_stack([numpy.concatenate([numpy.asarray(record[c][s])
                                                      for s in range(len(record[c]))])
                                   for c in range(len(record))])
    check_agreement("stfio", by_stfio, [record[c].yunits for c in range(len(record))],
                    by_neo, units, tolerance)
    header = json.loads(biosig.header(str(path)))
    check_agreement("biosig", numpy.asarray(biosig.data(str(path))),
                    [c.get("PhysicalUnit", "") for c in header["CHANNEL"]], by_neo, units, tolerance)
    return sweeps


def sampled_in_order(path, channels):
    """Whether nADCSamplingSeq names physical channels 0, 1, ... in order."""
    with open(path, "rb") as source:
        header = source.read(442)
    return list(struct.unpack("<16h", header[410:442])[:channels]) == list(range(channels))


def check_agreement(reader, values, units, by_neo, neo_units, tolerance):
    """Raises AssertionError naming the reader that disagrees with neo."""
    if values.shape != by_neo.shape:
        raise AssertionError(f"{reader} reads {values.shape} samples, neo {by_neo.shape}")
    # A channel without a unit: neo says "dimensionless", stfio "?", biosig "".
    def plain(unit):
        unit = unit.strip()
        return "" if unit in ("?", "dimensionless") else unit

    if [plain(u) for u in units] != [plain(u) for u in neo_units]:
        raise AssertionError(f"{reader} reads units {units}, neo {neo_units}")
    excess = numpy.abs(values - by_neo) - tolerance
    if values.size and excess.max() > 0:
        raise AssertionError(f"{reader} differs from neo by {excess.max()} more than allowed "
                             f"(per channel {tolerance})")


def read_abf(path):
    """Every channel of the first segment, in physical units (all three readers agreeing)."""
    read_sweeps(path)
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
