"""Igor binary waves of version 2, read back by neo."""

import struct

from interop_support import ConvoraTestCase, main, one_count


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
    def test_macintosh_doubles_in_amperes_come_back_as_picoamperes(self):
        amperes = [-1e-11, 2e-11, 5e-12, 1.5e-11]
        (channel,) = self.convert_one("wave.ibw", igor_wave(amperes, "A", 5e-5, True, True))
        # |max| 20 > |min| 10: the reference is 1000 pA whatever the data.
        self.assertChannel(channel, "pA", 20000.0, [a * 1e12 for a in amperes], one_count(1000))


if __name__ == "__main__":
    main()
