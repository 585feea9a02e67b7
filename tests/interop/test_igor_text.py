"""Macintosh Igor text waves, read back by neo."""

import struct

from interop_support import ConvoraTestCase, main, read_abf


def igor_text(values):
    """A one-wave text file as written on a Macintosh: CR line ends, a tab before each value."""
    lines = ["IGOR", "WAVES\twave0", "BEGIN"] + [f"\t{v!r}" for v in values]
    lines += ["END", 'X SetScale/P x 0,0.0001,"s", wave0; SetScale d 0,0,"A", wave0', ""]
    return "\r".join(lines).encode("ascii")


def float32(value):
    return struct.unpack("<f", struct.pack("<f", value))[0]


class IgorTextReadBack(ConvoraTestCase):
    def test_amperes_come_back_as_picoamperes_within_one_count(self):
        amperes = [-2e-11, 1e-11, 2e-11, 0.0, 5e-12, -1.5e-11, 1.234e-11]
        source = self.write("wave.itx", igor_text(amperes))
        written = self.convert("convert", "--interval", "100", source)
        self.assertEqual(written, [self.path("wave.ABF")])
        (channel,) = read_abf(written[0])
        self.assertEqual(channel.units, "pA")
        self.assertEqual(channel.rate_hz, 10000.0)
        # The range is 20 pA (both extremes), so one count is 10 / (32768 x 0.256f) pA;
        # every sample is stored one count low.
        count = 10.0 / (32768 * float32(0.256))
        self.assertClose(channel.values, [a * 1e12 - count for a in amperes], count / 2 + 1e-9)

    def test_values_beyond_the_smaller_extreme_still_come_back(self):
        # Extremes -5 and 8 pA: the range is 5 pA, so 8 pA lands beyond half scale.
        amperes = [-5e-12, 8e-12, 1e-12]
        (written,) = self.convert("convert", "--interval", "20",
                                  self.write("skew.itx", igor_text(amperes)))
        (channel,) = read_abf(written)
        self.assertAlmostEqual(channel.rate_hz, 50000.0, places=6)
        count = 10.0 / (32768 * float32(10.24 / 5 / 2))
        self.assertClose(channel.values, [a * 1e12 - count for a in amperes], count / 2 + 1e-9)


if __name__ == "__main__":
    main()
