"""Runs convora and reads its outputs back with three ABF readers written independently
of this project and of each other: neo's AxonIO, stfio and biosig, which must agree."""

import collections
import json
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

try:
    import biosig
    import neo
    import numpy
    import stfio
except ImportError as missing:  # pragma: no cover - depends on the machine
    print(f"skipped: {missing}; scripts/setup.sh installs python3-neo, python3-stfio and "
          "python3-biosig", file=sys.stderr)
    sys.exit(77)

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "fuzz"))
import make_seeds  # noqa: E402  (small valid files of the readers, built from their layouts)

CONVORA = os.environ.get("CONVORA_EXE", "convora")
SAMPLES = os.environ.get("CONVORA_SAMPLES_DIR", "")
HAVE_SAMPLES = bool(SAMPLES) and os.path.isdir(SAMPLES)


class Recording(collections.namedtuple("Recording", "sweeps units rate_hz")):
    """sweeps: one array of samples x channels per sweep, in physical units."""

    @property
    def values(self):  # the sweeps one after another
        return numpy.vstack(self.sweeps)


def float32(value):
    return struct.unpack("<f", struct.pack("<f", value))[0]


def one_count(reference, adc_range=10.24):
    """What one stored count is worth in a channel scaled to this reference value."""
    return adc_range / (32768 * float32(10.24 / reference / 2))


def read_stfio(path, kind):
    """stfio's reading: every sweep's channels as one array of samples x channels."""
    record = stfio.read(path, kind)  # its sweeps are views: copy them while it lives
    return [numpy.column_stack([numpy.array(channel[s]) for channel in record])
            for s in range(len(record[0]))]


def read_abf(path):
    """neo's reading of every sweep, once stfio and biosig have read the same values and units."""
    segments = neo.io.AxonIO(filename=path).read_block(lazy=False).segments
    signals = segments[0].analogsignals
    recording = Recording(
        [numpy.hstack([numpy.asarray(s.magnitude, dtype=float) for s in segment.analogsignals])
         for segment in segments],
        [s.units.dimensionality.string for s in signals for _ in range(s.shape[1])],
        float(signals[0].sampling_rate.rescale("Hz").magnitude))

    # stfio and biosig take a channel's unit (stfio its gains too) from the
    # slot of its position in the sampling sequence, not from the physical
    # channel the sequence names there, so they misread files whose sequence
    # is not 0, 1, ...: those of acquisition programs, which the editing tools
    # keep as they are. Every file Convora converts samples in order.
    with open(path, "rb") as source:
        sequence = struct.unpack("<16h", source.read(442)[410:442])[:len(recording.units)]
    if list(sequence) != list(range(len(recording.units))):
        return recording
    by_neo = recording.values
    # neo reads float32; one part in 10^5 of each channel's largest value covers that.
    tolerance = 1e-5 * numpy.maximum(numpy.abs(by_neo).max(axis=0, initial=0), 1e-30)
    record = stfio.read(path, "abf")  # named: stfio guesses only lower-case extensions
    by_stfio = [numpy.concatenate(list(channel)) for channel in record]  # sweeps one after another
    header = json.loads(biosig.header(path))
    # A channel without a unit: neo says "dimensionless", stfio "?", biosig "".
    plain = lambda units: ["" if u.strip() in ("?", "dimensionless") else u.strip() for u in units]
    for reader, values, units in (
            ("stfio", numpy.column_stack(by_stfio), [channel.yunits for channel in record]),
            ("biosig", numpy.asarray(biosig.data(path)),
             [channel.get("PhysicalUnit", "") for channel in header["CHANNEL"]])):
        if values.shape != by_neo.shape or plain(units) != plain(recording.units):
            raise AssertionError(f"{reader} reads {values.shape} samples in {units}, "
                                 f"neo {by_neo.shape} in {recording.units}")
        excess = (numpy.abs(values - by_neo) - tolerance).max(initial=0)
        if excess > 0:
            raise AssertionError(f"{reader} differs from neo by {excess} more than allowed "
                                 f"(per channel {tolerance})")
    return recording


class ConvoraTestCase(unittest.TestCase):
    """A test case with a scratch folder to convert in."""

    def setUp(self):
        self.folder = self.enterContext(tempfile.TemporaryDirectory(prefix="convora-interop-"))

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, data):
        with open(self.path(name), "wb") as out:
            out.write(data)
        return self.path(name)

    def copy_sample(self, *parts):
        """A writable copy of a sample file, in the scratch folder."""
        return shutil.copyfile(os.path.join(SAMPLES, *parts), self.path(parts[-1]))

    def run_convora(self, *args, timeout=None, env=None):
        return subprocess.run([CONVORA, *args], cwd=self.folder, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, check=False, timeout=timeout,
                              env=env)

    def convert(self, *args):
        """Runs convora; asserts success; returns the written paths."""
        done = self.run_convora(*args)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout.splitlines()

    def convert_one(self, command, source, *options, suffix=".ABF"):
        """Converts one source; asserts the file written beside it; returns its reading."""
        written = self.convert(command, *options, source)
        self.assertEqual(written, [os.path.splitext(source)[0] + suffix])
        return read_abf(written[0])

    def assertStored(self, recording, units, rate_hz, sweeps, counts=None, low=1, within=0.5005):
        """Units, rate, and every value of each sweep (a list of channel columns) stored `low`
        counts low, give or take `within` counts; a channel's count is set by its peak unless
        given (the peak at half of full scale)."""
        self.assertEqual(recording.units, units)
        self.assertAlmostEqual(recording.rate_hz, rate_hz, places=3)
        sweeps = [numpy.column_stack(sweep).astype(float) for sweep in sweeps]
        if counts is None:
            counts = [one_count(peak) for peak in numpy.abs(numpy.vstack(sweeps)).max(axis=0)]
        self.assertEqual([s.shape for s in recording.sweeps], [s.shape for s in sweeps])
        for got, want in zip(recording.sweeps, sweeps):
            self.assertClose((got - want) / counts, -low, within)

    def assertClose(self, actual, expected, atol, rtol=0):
        numpy.testing.assert_allclose(actual, expected, rtol=rtol, atol=atol)


def main():
    unittest.main(verbosity=2)
