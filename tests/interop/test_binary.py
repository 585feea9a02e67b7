"""Raw binary conversions, read back by all three readers."""

import struct

from interop_support import ConvoraTestCase, main, numpy


class RawBinaryReadBack(ConvoraTestCase):
    def test_samples_come_back_in_the_chosen_unit_and_scale(self):
        counts, floats = [0, 1, -1, 1000, -32768, 32767, 12345], [0.0, 0.5, -1.25, 2.0, -2.0, 1.999]
        pairs = [(100, -100), (200, -200), (300, -300)]
        count = 2.0 / 16384  # one count of the floats, each of them stored one count low
        # physical = count x range / (resolution x scale factor); 25 us between interleaved
        # samples is 50 us per channel; the second channel keeps the template's scale 1.0.
        for name, data, options, units, rate_hz, columns, tolerance in (
                ("cell.dat", struct.pack("<7h", *counts),
                 ["--interval", "50", "--unit", "mV", "--scale", "0.01"], ["mV"], 20000.0,
                 [[c * 10 / (32768 * 0.01) for c in counts]], 1e-4),
                ("trace.bin", struct.pack("<6f", *floats), ["--float", "--interval", "100",
                 "--unit", "pA"], ["pA"], 10000.0, [[v - count for v in floats]], count / 2),
                ("pair.dat", struct.pack("<6h", *sum(pairs, ())), ["--channels", "2", "--interval",
                 "25"], ["pA", "pA"], 20000.0, [[a * 10 / (32768 * 0.001) for a, _ in pairs],
                                                 [b * 10 / 32768 for _, b in pairs]], 1e-4)):
            with self.subTest(name):
                recording = self.convert_one("binary", self.write(name, data), *options)
                self.assertEqual((recording.units, recording.rate_hz), (units, rate_hz))
                self.assertClose(recording.sweeps, [numpy.column_stack(columns)], tolerance)


if __name__ == "__main__":
    main()
