"""Igor binary waves of version 2, read back by all three readers."""

import struct

from interop_support import ConvoraTestCase, main, one_count


class IgorBinaryReadBack(ConvoraTestCase):
    def test_macintosh_doubles_in_amperes_come_back_as_picoamperes(self):
        amperes = [-1e-11, 2e-11, 5e-12, 1.5e-11]
        # Big-endian version-2 wave of doubles: file header, wave header from byte 16
        # (type, unit, point count, x step), values from byte 126.
        wave = struct.pack(">h14xh32x4s4xihd", 2, 4, b"A", len(amperes), 0, 5e-5).ljust(126, b"\0")
        source = self.write("wave.ibw", wave + struct.pack(f">{len(amperes)}d", *amperes))
        # |max| 20 > |min| 10: the reference is 1000 pA whatever the data.
        self.assertStored(self.convert_one("convert", source), ["pA"], 20000.0,
                          [[[a * 1e12 for a in amperes]]], [one_count(1000)])


if __name__ == "__main__":
    main()
