"""Real recordings of other programs, converted and read back by neo, against an
independent reader's reading of the source (neo's own readers, stfio, or the
documented layout)."""

import os
import shutil
import struct
import unittest

import numpy

from interop_support import SAMPLES, ConvoraTestCase, main, neo, read_sweeps

try:
    import stfio
except ImportError:  # pragma: no cover - depends on the machine
    stfio = None


def sweeps(reader):
    """Every segment's channels as one array of samples x channels, in physical units."""
    out = []
    for segment in reader.read_block(lazy=False).segments:
        out.append(numpy.hstack([numpy.asarray(signal.magnitude) for signal in segment.analogsignals]))
    return out


def sample(*parts):
    return os.path.join(SAMPLES, *parts)


@unittest.skipUnless(SAMPLES and os.path.isdir(SAMPLES), "the samples folder is absent")
class RealRecordings(ConvoraTestCase):
    def converted(self, *parts, suffix=".ABF"):
        """Copies a sample into the scratch folder, converts it, returns neo's reading."""
        name = parts[-1]
        shutil.copy(sample(*parts), self.path(name))
        written = self.convert("convert", self.path(name))
        self.assertEqual(written, [self.path(name.split(".")[0] + suffix)])
        return read_sweeps(written[0])

    def assertSweeps(self, actual, expected, tolerance):
        self.assertEqual(len(actual), len(expected))
        for got, want in zip(actual, expected):
            self.assertEqual(got.shape, want.shape)
            numpy.testing.assert_allclose(got, want, rtol=tolerance, atol=0)

    def test_winwcp_records_are_sweeps_of_the_same_values(self):
        source = sweeps(neo.io.WinWcpIO(filename=sample("strathclyde", "myokit_wcp-file.wcp")))
        self.assertSweeps(self.converted("strathclyde", "myokit_wcp-file.wcp"), source, 1e-6)

    def test_winedr_keeps_its_counts(self):
        (source,) = sweeps(neo.io.WinEdrIO(filename=sample("strathclyde", "neo_File_WinEDR_1.EDR")))
        (converted,) = self.converted("strathclyde", "neo_File_WinEDR_1.EDR")
        # neo divides by ADCMAX + 1 (2048), the recording program by ADCMAX (2047).
        numpy.testing.assert_allclose(converted, source * 2048 / 2047, rtol=1e-5)

    @unittest.skipIf(stfio is None, "python3-stfio is not installed")
    def test_cfs_sections_are_sweeps_read_as_stfio_reads_them(self):
        record = stfio.read(sample("ced", "m0ose01_test_data.cfs"), "cfs")
        source = [numpy.column_stack([numpy.asarray(record[c][s]) for c in range(len(record))])
                  for s in range(len(record[0]))]
        self.assertSweeps(self.converted("ced", "m0ose01_test_data.cfs"), source, 1e-5)

    def test_abf2_files_come_down_to_abf1_with_their_values(self):
        for name in ("myokit_abf-v2_ABF2.abf", "pyABF_2018_12_09_pCLAMP11_0001_ABF2.abf"):
            with self.subTest(name):
                source = sweeps(neo.io.AxonIO(filename=sample("abf", name)))
                converted = self.converted("abf", name, suffix="_abf1.ABF")
                if name.startswith("pyABF"):  # amperes come back as picoamperes
                    source = [s * 1e12 for s in source]
                self.assertSweeps(converted, source, 1e-6)

    def test_igor5_waves_read_back_as_stored(self):
        for name, order in (("igor2_win-version5.ibw", "<"), ("igor2_mac-version5.ibw", ">")):
            with self.subTest(name):
                with open(sample("ibw", name), "rb") as wave:
                    values = struct.unpack(order + "5f", wave.read()[384:404])
                (converted,) = self.converted("ibw", name)
                # Scaled to the peak (5) at half of full scale: one count is 5 / 16384.
                numpy.testing.assert_allclose(converted[:, 0], values, rtol=0, atol=5 / 16384)


    def test_acqknowledge_values_follow_the_documented_formula(self):
        with open(sample("acq", "bioread_r35_test.acq"), "rb") as source:
            data = source.read()
        # Macintosh byte order; samples from byte 14994, raw x amplitude scale.
        raw = numpy.frombuffer(data[14994:14994 + 31486 * 4], dtype=">i2").reshape(-1, 2)
        expected = raw * numpy.array([0.0030517578125, 0.152587890625])
        (converted,) = self.converted("acq", "bioread_r35_test.acq")
        numpy.testing.assert_allclose(converted, expected, rtol=1e-6)


    def test_spike2_waveforms_read_back_as_neo_reads_the_source(self):
        for name in ("neo_Cricket_Song.smr", "neo_File_spike2_1.smr"):
            with self.subTest(name):
                signal = neo.io.Spike2IO(filename=sample("ced", name)).read_block() \
                    .segments[0].analogsignals[0]
                (converted,) = self.converted("ced", name)
                numpy.testing.assert_allclose(converted[:, 0], signal.rescale("mV").magnitude[:, 0],
                                              rtol=0, atol=1e-3)


class MixedBatch(ConvoraTestCase):
    def test_each_file_from_the_template_keeps_its_own_channel_count(self):
        axograph = b"AxGr" + struct.pack(">hh", 1, 3)
        for title, values in (("Time (s)", (0, 1e-4)), ("I (A)", (1e-11, -1e-11)),
                              ("V (V)", (0.01, -0.01))):
            axograph += struct.pack(">i", 2) + title.encode().ljust(80) + struct.pack(">2f", *values)
        self.write("two.axgd", axograph)
        self.write("one.itx", b"IGOR\rWAVES\twave0\rBEGIN\r\t-1e-12\r\t1e-12\rEND\r")
        written = self.convert("--each-from-template", "convert", "--interval", "50",
                               self.path("two.axgd"), self.path("one.itx"))
        channels = [read_sweeps(path)[0].shape[1] for path in written]
        self.assertEqual(channels, [2, 1])


if __name__ == "__main__":
    main()
