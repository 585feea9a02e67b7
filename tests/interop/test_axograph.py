"""Axograph columns, read back by neo."""

import struct

from interop_support import ConvoraTestCase, main, read_abf


def float32(value):
    return struct.unpack("<f", struct.pack("<f", value))[0]


def axograph(step, signals):
    """Version 1: time column (0, step, ...) and one column per (title, values), big-endian."""
    points = len(signals[0][1])
    out = b"AxGr" + struct.pack(">hh", 1, len(signals) + 1)
    times = [i * step for i in range(points)]
    for title, values in [("Time (s)", times)] + signals:
        out += struct.pack(">i", points) + title.encode("ascii").ljust(80, b" ")
        out += struct.pack(f">{points}f", *values)
    return out


def one_count(smaller_extreme):
    """What one stored count is worth for a column scaled from this range."""
    return 10.24 / (32768 * float32(10.24 / smaller_extreme / 2))


class AxographReadBack(ConvoraTestCase):
    def test_two_signal_columns_come_back_in_millivolts_and_picoamperes(self):
        volts = [-0.05, 0.02, 0.05, -0.01, 0.0]
        amperes = [1e-11, -2e-11, 2e-11, 0.0, 5e-12]
        source = self.write("cell.axg", axograph(1e-4, [("Vm (V)", volts), ("Im (A)", amperes)]))
        written = self.convert("convert", source)
        self.assertEqual(written, [self.path("cell.ABF")])
        voltage, current = read_abf(written[0])
        self.assertEqual((voltage.units, current.units), ("mV", "pA"))
        # The file's time step is the per-channel interval: 1e-4 s.
        self.assertEqual((voltage.rate_hz, current.rate_hz), (10000.0, 10000.0))
        # Ranges 50 mV and 20 pA; every sample is stored one count low.
        mv, pa = one_count(50), one_count(20)
        self.assertClose(voltage.values, [float32(v) * 1000 - mv for v in volts], mv / 2 + 1e-9)
        self.assertClose(current.values, [float32(a) * 1e12 - pa for a in amperes], pa / 2 + 1e-9)

    def test_the_larger_side_may_pass_the_smaller_range_and_still_come_back(self):
        # Extremes -4 and 8 mV: the range is 4 mV, so 8 mV maps to full scale less one count.
        volts = [-0.004, 0.008, 0.002]
        source = self.write("skew.axg", axograph(2e-5, [("V (V)", volts)]))
        (written,) = self.convert("convert", source)
        (channel,) = read_abf(written)
        self.assertEqual(channel.units, "mV")
        self.assertAlmostEqual(channel.rate_hz, 50000.0, places=3)
        count = one_count(4)
        expected = [float32(v) * 1000 - count for v in volts]
        self.assertClose(channel.values, expected, count / 2 + 1e-9)


if __name__ == "__main__":
    main()
