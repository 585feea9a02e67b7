"""The ABF editing tools on real ABF 1.x files written by acquisition
software (episodic, two and four channels), read back by neo."""

import math
import os
import shutil
import struct
import unittest

from interop_support import SAMPLES, ConvoraTestCase, float32, main, read_abf, read_sweeps, numpy

from neo.rawio.axonrawio import parse_axon_soup

REAL = os.path.join(SAMPLES, "abf")
TWO_CHANNELS = "pyABF_File_axon_3.abf"      # sampling sequence (5, 7), 5 sweeps
FOUR_CHANNELS = "pyABF_pclamp11_4ch_abf1.abf"
ONE_CHANNEL = "myokit_abf-v1.abf"           # 9 sweeps


def all_sweeps(path):
    """Each channel's values over every sweep, with its unit and rate."""
    import neo
    read_sweeps(path)  # the other two readers agree with neo
    block = neo.io.AxonIO(filename=path).read_block()
    channels = []
    for index, signal in enumerate(block.segments[0].analogsignals):
        for column in range(signal.shape[1]):
            values = numpy.concatenate([numpy.asarray(s.analogsignals[index][:, column].magnitude)
                                        .ravel() for s in block.segments])
            channels.append((values, signal.units.dimensionality.string,
                             float(signal.sampling_rate.rescale("Hz").magnitude)))
    return channels


def stored_counts(path):
    """The 16-bit samples of the data section, as the header places them."""
    header = parse_axon_soup(path)
    with open(path, "rb") as source:
        source.seek(header["lDataSectionPtr"] * 512)
        data = source.read(2 * header["lActualAcqLength"])
    return numpy.frombuffer(data, dtype="<i2").astype(numpy.int64), header


def gaussian_counts(counts, fc):
    """The Gaussian filter computed independently, in double precision."""
    sigma = 0.132505 / fc
    if sigma < 0.62:
        half = 1
        weights = [1 - sigma * sigma, sigma * sigma / 2]
    else:
        half = min(int(4 * sigma), 53)
        raw = [math.exp(-0.5 * i * i / (sigma * sigma)) for i in range(half + 1)]
        total = 2 * (0.5 + sum(raw[1:]))
        weights = [w / total for w in raw]
    kernel = numpy.array(weights[:0:-1] + weights)
    # Truncated at the ends: the missing neighbours count as nothing.
    return numpy.rint(numpy.convolve(counts.astype(float), kernel, mode="same"))


@unittest.skipUnless(os.path.isdir(REAL), f"no sample ABF files at {REAL}")
class ToolsOnRealFiles(ConvoraTestCase):
    def copy(self, name):
        target = self.path(name)
        shutil.copyfile(os.path.join(REAL, name), target)
        os.chmod(target, 0o644)
        return target

    def test_set_unit_edits_the_channel_at_that_position_of_the_sequence(self):
        path = self.copy(TWO_CHANNELS)
        (first, _, _), (second, unit, _) = all_sweeps(path)
        self.assertEqual(unit, "mV")
        # Position 2 samples physical channel 7, scale factor 0.01 -> 0.02.
        self.convert("set-unit", "--channel", "2", "--unit", "nA", "--scale", "0.02", path)
        (new_first, _, _), (new_second, new_unit, _) = all_sweeps(path)
        self.assertEqual(new_unit, "nA")
        numpy.testing.assert_array_equal(new_first, first)
        numpy.testing.assert_allclose(new_second, second * float32(0.01) / float32(0.02),
                                      rtol=1e-6)

    def test_downscale_in_place_keeps_every_value_to_within_half_a_new_count(self):
        for name in (ONE_CHANNEL, TWO_CHANNELS, FOUR_CHANNELS):
            with self.subTest(name):
                path = self.copy(name)
                before = all_sweeps(path)
                adc_range = parse_axon_soup(path)["fADCRange"]
                self.assertEqual(self.convert("downscale", path), [path])
                after = all_sweeps(path)
                for (old, unit, rate), (new, new_unit, new_rate) in zip(before, after):
                    self.assertEqual((new_unit, new_rate, len(new)), (unit, rate, len(old)))
                    # The peak moves to 16384 counts at 10 V (16000 at 10.24 V),
                    # so a count is now worth peak x range / (5 x 32768).
                    peak = numpy.abs(old).max()
                    half_count = peak * adc_range / (5 * 32768) / 2
                    numpy.testing.assert_allclose(new, old, rtol=0, atol=half_count * 1.001)
                    self.assertAlmostEqual(numpy.abs(new).max(), peak, delta=half_count * 1.001)

    def test_filter_matches_an_independent_gaussian(self):
        path = self.copy(ONE_CHANNEL)
        counts, header = stored_counts(path)
        # The filter writes the header and the samples only; written over an
        # older copy, as here, the sweep table that follows the samples stays,
        # which is what lets a reader find the sweeps.
        output = self.path("myokit_abf-v1Filter.ABF")
        shutil.copyfile(path, output)
        self.assertEqual(self.convert("filter", "--pre", "5", "--new", "1", path), [output])

        # 100 us: fs = 10 kHz; fe = (1 - 1/25)^-0.5 kHz; fc = fe / fs.
        self.assertEqual(header["fADCSampleInterval"], 100.0)
        expected = gaussian_counts(counts, float32(1 / math.sqrt(0.96) / 10))
        filtered, _ = stored_counts(output)
        self.assertLessEqual(numpy.abs(filtered - expected).max(), 1)
        self.assertLess(numpy.abs(numpy.diff(filtered)).mean(), numpy.abs(numpy.diff(counts)).mean())

        (source, unit, rate), = all_sweeps(path)
        (smooth, new_unit, new_rate), = all_sweeps(output)
        self.assertEqual((new_unit, new_rate, len(smooth)), (unit, rate, len(source)))
        per_count = source[counts != 0][0] / counts[counts != 0][0]
        numpy.testing.assert_allclose(smooth, expected * per_count, rtol=0,
                                      atol=abs(per_count) * 1.001)


class MergeOfGapFreeRecordings(ConvoraTestCase):
    def test_neo_reads_the_merged_recording_whole(self):
        first = struct.pack("<300h", *range(-150, 150))
        second = struct.pack("<100h", *range(1000, 1100))
        a, = self.convert("binary", "--interval", "50", "--scale", "1", self.write("a.dat", first))
        b, = self.convert("binary", "--interval", "50", "--scale", "1", self.write("b.dat", second))
        written, = self.convert("merge", "--yes", a, b)
        (channel,) = read_abf(written)
        self.assertEqual(channel.rate_hz, 20000.0)
        # 100 samples: the tail copy brings 156 samples from before b's data
        # (its header) over the end of a's samples, as merging always did.
        expected = list(range(-150, 150 - 156)) + [None] * 156 + list(range(1000, 1100))
        self.assertEqual(len(channel.values), 400)
        count = 10 / 32768
        for value, want in zip(channel.values, expected):
            if want is not None:
                self.assertAlmostEqual(value, want * count, delta=count / 2)


if __name__ == "__main__":
    main()
