"""A PatchMaster bundle, one ABF file per series, read back by all three readers against
stfio's own reading of the bundle."""

import os
import unittest

from interop_support import (HAVE_SAMPLES, SAMPLES, ConvoraTestCase, main, numpy, read_abf,
                             read_stfio)


@unittest.skipUnless(HAVE_SAMPLES, "the samples folder is absent")
class PatchMasterBundle(ConvoraTestCase):
    def test_the_series_together_hold_every_sweep_and_trace(self):
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


if __name__ == "__main__":
    main()
