"""The ABF editing tools on real ABF 1.x files written by acquisition
software (episodic, two and four channels), read back by all three readers."""

import math
import shutil
import struct
import unittest

from interop_support import HAVE_SAMPLES, ConvoraTestCase, float32, main, numpy, read_abf

from neo.rawio.axonrawio import parse_axon_soup

TWO_CHANNELS = "pyABF_File_axon_3.abf"      # sampling sequence (5, 7), 5 sweeps
FOUR_CHANNELS = "pyABF_pclamp11_4ch_abf1.abf"
ONE_CHANNEL = "myokit_abf-v1.abf"           # 9 sweeps


def stored_counts(path):
    """The 16-bit samples of the data section, as the header places them."""
    header = parse_axon_soup(path)
    counts = numpy.fromfile(path, "<i2", header["lActualAcqLength"],
                            offset=header["lDataSectionPtr"] * 512)
    return counts.astype(numpy.int64), header


def gaussian_counts(counts, fc):
    """The Gaussian filter computed independently, in double precision."""
    sigma = 0.132505 / fc
    if sigma < 0.62:
        weights = [1 - sigma * sigma, sigma * sigma / 2]
    else:
        raw = [math.exp(-0.5 * i * i / (sigma * sigma)) for i in range(min(int(4 * sigma), 53) + 1)]
        weights = [w / (2 * (0.5 + sum(raw[1:]))) for w in raw]
    # Truncated at the ends: the missing neighbours count as nothing.
    return numpy.rint(numpy.convolve(counts.astype(float), weights[:0:-1] + weights, mode="same"))


@unittest.skipUnless(HAVE_SAMPLES, "the samples folder is absent")
class ToolsOnRealFiles(ConvoraTestCase):
    def test_set_unit_edits_the_channel_at_that_position_of_the_sequence(self):
        path = self.copy_sample("abf", TWO_CHANNELS)
        before = read_abf(path)
        self.assertEqual(before.units[1], "mV")
        # Position 2 samples physical channel 7, scale factor 0.01 -> 0.02.
        self.convert("set-unit", "--channel", "2", "--unit", "nA", "--scale", "0.02", path)
        after = read_abf(path)
        self.assertEqual(after.units[1], "nA")
        numpy.testing.assert_array_equal(after.values[:, 0], before.values[:, 0])
        self.assertClose(after.values[:, 1], before.values[:, 1] * float32(0.01) / float32(0.02), 0,
                         1e-6)

    def test_downscale_in_place_keeps_every_value_to_within_half_a_new_count(self):
        for name in (ONE_CHANNEL, TWO_CHANNELS, FOUR_CHANNELS):
            with self.subTest(name):
                path = self.copy_sample("abf", name)
                before = read_abf(path)
                # The peak moves to 16384 counts at 10 V (16000 at 10.24 V),
                # so a count is now worth peak x range / (5 x 32768).
                peak = numpy.abs(before.values).max(axis=0)
                half_count = peak * parse_axon_soup(path)["fADCRange"] / (5 * 32768) / 2 * 1.001
                self.assertEqual(self.convert("downscale", path), [path])
                after = read_abf(path)
                self.assertEqual((after.values.shape, after.units, after.rate_hz),
                                 (before.values.shape, before.units, before.rate_hz))
                for error in (after.values - before.values,
                              numpy.abs(after.values).max(axis=0) - peak):
                    self.assertLessEqual((numpy.abs(error) - half_count).max(), 0)

    def test_filter_matches_an_independent_gaussian(self):
        path = self.copy_sample("abf", ONE_CHANNEL)
        counts, header = stored_counts(path)
        # The filter writes the header and the samples only; written over an
        # older copy, as here, the sweep table that follows the samples stays,
        # which is what lets a reader find the sweeps.
        output = shutil.copyfile(path, self.path("myokit_abf-v1Filter.ABF"))
        self.assertEqual(self.convert("filter", "--pre", "5", "--new", "1", path), [output])

        # 100 us: fs = 10 kHz; fe = (1 - 1/25)^-0.5 kHz; fc = fe / fs.
        self.assertEqual(header["fADCSampleInterval"], 100.0)
        expected = gaussian_counts(counts, float32(1 / math.sqrt(0.96) / 10))
        filtered, _ = stored_counts(output)
        self.assertLessEqual(numpy.abs(filtered - expected).max(), 1)

        source, smooth = read_abf(path), read_abf(output)
        self.assertEqual((smooth.units, smooth.rate_hz), (source.units, source.rate_hz))
        per_count = source.values[counts != 0][0, 0] / counts[counts != 0][0]
        self.assertClose(smooth.values, expected[:, None] * per_count, abs(per_count) * 1.001)


class MergeOfGapFreeRecordings(ConvoraTestCase):
    def test_the_merged_recording_reads_back_whole(self):
        first, second = range(-150, 150), range(1000, 1100)
        (a,), (b,) = (self.convert("binary", "--interval", "50", "--scale", "1",
                             self.write(name, struct.pack(f"<{len(counts)}h", *counts)))
                for name, counts in (("a.dat", first), ("b.dat", second)))
        (written,) = self.convert("merge", "--yes", a, b)
        recording = read_abf(written)
        self.assertEqual(recording.rate_hz, 20000.0)
        # The tail copy brings 156 samples from before b's data (its header) over the end
        # of a's samples, as merging always did.
        expected = numpy.array(list(first[:-156]) + [numpy.nan] * 156 + list(second)) * 10 / 32768
        self.assertEqual(recording.sweeps[0].shape, (400, 1))
        known = ~numpy.isnan(expected)
        self.assertClose(recording.sweeps[0][known, 0], expected[known], 10 / 32768 / 2)


if __name__ == "__main__":
    main()
