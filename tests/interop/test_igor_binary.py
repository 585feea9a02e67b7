"""Igor binary waves of version 2, read back by neo."""

import os
import struct

from interop_support import ConvoraTestCase, main, read_abf, run_convora


def float32(value):
    return struct.unpack("<f", struct.pack("<f", value))[0]


def igor_wave(values, units, step, mac=False, doubles=False):
    """A version-2 wave: file header, wave header from byte 16, values from byte 126."""
    order = ">" if mac else "<"
    head = struct.pack(order + "h14x", 2)
    head += struct.pack(order + "h32x4s4xih", 4 if doubles else 2, units.encode("ascii"),
                        len(values), 0)
    head += struct.pack(order + "d", step)
    head = head.ljust(126, b"\0")
    return head + struct.pack(f"{order}{len(values)}{'d' if doubles else 'f'}", *values)


class IgorBinaryReadBack(ConvoraTestCase):
    def test_amperes_with_a_positive_peak_are_read_against_a_thousand_picoamperes(self):
        amperes = [-1e-11, 2e-11, 5e-12, 1.5e-11]
        source = self.write("wave.ibw", igor_wave(amperes, "A", 1e-4))
        written = self.convert("convert", source)
        self.assertEqual(written, [self.path("wave.ABF")])
        (channel,) = read_abf(written[0])
        self.assertEqual(channel.units, "pA")
        self.assertEqual(channel.rate_hz, 10000.0)
        # |max| 20 > |min| 10: the range is 1000 pA and one count 1000 / 16384 pA.
        count = 10.24 / (32768 * float32(10.24 / 1000 / 2))
        expected = [float32(float32(a) * 1e12) - count for a in amperes]
        self.assertClose(channel.values, expected, count / 2 + 1e-9)

    def test_macintosh_doubles_in_volts_come_back_in_millivolts(self):
        volts = [-0.002, 0.002, 0.001, -0.0005]
        source = self.write("mac.ibw", igor_wave(volts, "V", 5e-5, mac=True, doubles=True))
        (written,) = self.convert("convert", source)
        (channel,) = read_abf(written)
        self.assertEqual(channel.units, "mV")
        self.assertAlmostEqual(channel.rate_hz, 20000.0, places=3)
        # |max| 2 is not above |min| 2: the range is 2 mV.
        count = 10.24 / (32768 * float32(10.24 / 2 / 2))
        self.assertClose(channel.values, [v * 1000 - count for v in volts], count / 2 + 1e-9)

    def test_a_wave_that_cannot_be_scaled_is_reported_and_not_written(self):
        source = self.write("flat.ibw", igor_wave([0.0, 0.0, 0.0], "A", 1e-4))
        done = run_convora("convert", source, cwd=self.folder)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stdout, "")
        self.assertIn(f"error: {source}: ", done.stderr)
        self.assertFalse(os.path.exists(self.path("flat.ABF")))


if __name__ == "__main__":
    main()
