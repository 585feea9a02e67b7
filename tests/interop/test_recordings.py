"""Real recordings of other programs, converted and read back by all three readers, against
an independent reading of the source (neo's own readers, stfio, or the documented layout);
a PatchMaster bundle, one ABF file per series, against stfio's reading of the bundle."""

import os
import unittest

from interop_support import (HAVE_SAMPLES, SAMPLES, ConvoraTestCase, main, make_seeds, neo, numpy,
                             read_abf, read_stfio)


def by_neo(io, unit=None, scale=1.0):
    """neo's reading: every segment's channels as one array of samples x channels."""
    return lambda path: [scale * numpy.hstack([(s.rescale(unit) if unit else s).magnitude
                                               for s in segment.analogsignals])
                         for segment in io(filename=path).read_block(lazy=False).segments]


def by_layout(dtype, offset, rows, columns, scale=1.0):
    """Values read straight from where the format puts them, times each channel's scale."""
    return lambda path: [numpy.fromfile(path, dtype, rows * columns, offset=offset)
                         .reshape(rows, columns) * scale]


@unittest.skipUnless(HAVE_SAMPLES, "the samples folder is absent")
class RealRecordings(ConvoraTestCase):
    def test_converted_sweeps_hold_the_values_of_the_source(self):
        cases = [  # folder, name, suffix written, reading of the source, rtol, atol
            ("strathclyde", "myokit_wcp-file.wcp", ".ABF", by_neo(neo.io.WinWcpIO), 1e-6, 0),
            # neo divides by ADCMAX + 1 (2048), the recording program by ADCMAX (2047).
            ("strathclyde", "neo_File_WinEDR_1.EDR", ".ABF",
             by_neo(neo.io.WinEdrIO, scale=2048 / 2047), 1e-5, 0),
            ("ced", "m0ose01_test_data.cfs", ".ABF", lambda path: read_stfio(path, "cfs"), 1e-5, 0),
            ("abf", "myokit_abf-v2_ABF2.abf", "_abf1.ABF", by_neo(neo.io.AxonIO), 1e-6, 0),
            ("abf", "pyABF_2018_12_09_pCLAMP11_0001_ABF2.abf", "_abf1.ABF",
             by_neo(neo.io.AxonIO, "pA"), 1e-6, 0),
            # Five floats from byte 384, scaled to the peak (5) at half of full scale: one
            # count is 5 / 16384.
            ("ibw", "igor2_win-version5.ibw", ".ABF", by_layout("<f4", 384, 5, 1), 0, 5 / 16384),
            ("ibw", "igor2_mac-version5.ibw", ".ABF", by_layout(">f4", 384, 5, 1), 0, 5 / 16384),
            # Macintosh byte order; samples from byte 14994, raw x amplitude scale.
            ("acq", "bioread_r35_test.acq", ".ABF", by_layout(
                ">i2", 14994, 31486, 2, numpy.array([0.0030517578125, 0.152587890625])), 1e-6, 0),
            ("ced", "neo_Cricket_Song.smr", ".ABF", by_neo(neo.io.Spike2IO, "mV"), 0, 1e-3),
            ("ced", "neo_File_spike2_1.smr", ".ABF", by_neo(neo.io.Spike2IO, "mV"), 0, 1e-3),
        ]
        for folder, name, suffix, read_source, rtol, atol in cases:
            with self.subTest(name):
                expected = read_source(os.path.join(SAMPLES, folder, name))
                recording = self.convert_one("convert", self.copy_sample(folder, name),
                                             suffix=suffix)
                self.assertEqual([s.shape for s in recording.sweeps], [s.shape for s in expected])
                for got, want in zip(recording.sweeps, expected):
                    self.assertClose(got, want, atol, rtol)

    def test_a_patchmaster_bundle_gives_one_file_per_series_that_together_hold_it_all(self):
        name = "loadheka_1_PatchMaster_v2x73.dat"
        expected = read_stfio(os.path.join(SAMPLES, "heka", name), "heka")
        source = self.copy_sample("heka", name)
        written = self.convert("convert", source)
        stem = os.path.splitext(source)[0]
        self.assertEqual(written, [stem + ".ABF"] + [f"{stem}_{k}.ABF" for k in range(2, 5)])
        sweeps = [sweep for path in written for sweep in read_abf(path).sweeps]
        self.assertEqual([s.shape for s in sweeps], [s.shape for s in expected])
        # One count of each trace, as its records give it: 6.25e-14 A and 3.125e-5 V.
        for got, want in zip(sweeps, expected):
            self.assertClose((got - want) / numpy.array([0.0625, 0.03125]), 0, 1)

    def test_recordings_with_nothing_to_convert_are_refused_by_name(self):
        cases = [  # folder, name, what the error must say
            ("ced", "neo_Burst_Data_as_Events.smr", "only events or markers"),
            ("ibw", "igor2_win-textWave.ibw", "text wave"),
            ("ibw", "igor2_win-zeroPointWave.ibw", "no points"),
            ("strathclyde", "myokit_wcp-file-empty.wcp", "no records"),
            ("acq", "bioread_nojournal-5.0.1-c.acq", "revision 132 keeps its samples compressed"),
        ]
        for folder, name, why in cases:
            with self.subTest(name):
                source = self.copy_sample(folder, name)
                done = self.run_convora("convert", source)
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                self.assertRegex(done.stderr, f"^error: {source}: .*{why}")
                self.assertFalse(os.path.exists(os.path.splitext(source)[0] + ".ABF"))


class MixedBatch(ConvoraTestCase):
    def test_each_file_from_the_template_keeps_its_own_channel_count(self):
        self.write("two.axgd", make_seeds.axograph((("I (A)", (1e-11, -1e-11)),
                                                    ("V (V)", (0.01, -0.01)))))
        self.write("one.itx", make_seeds.igor_text((-1e-12, 1e-12)))
        written = self.convert("--each-from-template", "convert", "--interval", "50",
                               self.path("two.axgd"), self.path("one.itx"))
        self.assertEqual([len(read_abf(path).units) for path in written], [2, 1])


if __name__ == "__main__":
    main()
