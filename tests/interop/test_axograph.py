"""Axograph columns, read back by all three readers."""

import struct

from interop_support import ConvoraTestCase, float32, main, one_count


def axograph(step, signals):
    """Version 1: time column (0, step, ...) and one column per (title, values), big-endian."""
    points = len(signals[0][1])
    out = b"AxGr" + struct.pack(">hh", 1, len(signals) + 1)
    for title, values in [("Time (s)", [i * step for i in range(points)])] + signals:
        out += struct.pack(">i", points) + title.encode("ascii").ljust(80, b" ")
        out += struct.pack(f">{points}f", *values)
    return out


class AxographReadBack(ConvoraTestCase):
    def test_columns_come_back_in_millivolts_and_picoamperes(self):
        volts, amperes = [-0.004, 0.008, 0.002, 0.0], [1e-11, -2e-11, 2e-11, 5e-12]
        source = self.write("cell.axg", axograph(1e-4, [("Vm (V)", volts), ("Im (A)", amperes)]))
        # The time step is the per-channel interval. Ranges are the smaller extremes:
        # 4 mV (8 mV then lands at full scale) and 20 pA.
        columns = [[float32(v) * 1000 for v in volts], [float32(a) * 1e12 for a in amperes]]
        self.assertStored(self.convert_one("convert", source), ["mV", "pA"], 10000.0, [columns],
                          [one_count(4), one_count(20)])


if __name__ == "__main__":
    main()
