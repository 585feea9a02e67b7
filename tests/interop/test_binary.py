"""Raw binary conversions, read back by neo."""

import struct

from interop_support import ConvoraTestCase, main, read_abf


class RawBinaryReadBack(ConvoraTestCase):
    def test_integer_counts_come_back_in_the_chosen_unit(self):
        counts = [0, 1, -1, 1000, -32768, 32767, 12345]
        source = self.write("cell.dat", struct.pack(f"<{len(counts)}h", *counts))
        written = self.convert("binary", "--interval", "50", "--unit", "mV", "--scale", "0.01",
                               source)
        self.assertEqual(written, [self.path("cell.ABF")])
        (channel,) = read_abf(written[0])
        self.assertEqual(channel.units, "mV")
        self.assertEqual(channel.rate_hz, 20000.0)
        # physical = count x range / (resolution x scale factor)
        self.assertClose(channel.values, [c * 10 / (32768 * 0.01) for c in counts], 1e-4)

    def test_float_values_come_back_within_one_count(self):
        values = [0.0, 0.5, -1.25, 2.0, -2.0, 1.999]
        source = self.write("trace.bin", struct.pack(f"<{len(values)}f", *values))
        (written,) = self.convert("binary", "--float", "--interval", "100", "--unit", "pA",
                                  source)
        (channel,) = read_abf(written)
        self.assertEqual(channel.units, "pA")
        self.assertEqual(channel.rate_hz, 10000.0)
        # One count is 2.0 / 16384 here; every sample is stored one count low.
        count = 2.0 / 16384
        self.assertClose(channel.values, [v - count for v in values], count / 2)

    def test_two_interleaved_channels_split_into_two_signals(self):
        frames = [(100, -100), (200, -200), (300, -300)]
        data = b"".join(struct.pack("<2h", a, b) for a, b in frames)
        source = self.write("pair.dat", data)
        (written,) = self.convert("binary", "--channels", "2", "--interval", "25", source)
        first, second = read_abf(written)
        self.assertEqual(first.rate_hz, 20000.0)  # 25 us between the interleaved samples
        self.assertClose(first.values, [a * 10 / (32768 * 0.001) for a, _ in frames], 1e-3)
        # Unit and scale of channel 1 stay the template's: 1.0 and "pA".
        self.assertClose(second.values, [b * 10 / 32768 for _, b in frames], 1e-4)


if __name__ == "__main__":
    main()
