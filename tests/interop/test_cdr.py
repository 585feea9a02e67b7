"""CDR recordings, read back by neo."""

import struct

from interop_support import ConvoraTestCase, main


def cdr_file(counts, interval_ms, units_per_count, range_volts, unit, resolution):
    """A 512-byte header and records of 512 counts; ten spare bytes keep the length off
    every multiple that another format is recognised by."""
    assert len(counts) % 512 == 0
    header = bytearray(512)
    struct.pack_into("<h", header, 0, len(counts) // 512)
    struct.pack_into("<f", header, 4, len(counts) * interval_ms / 1000)
    struct.pack_into("<fff", header, 98, interval_ms, units_per_count, range_volts)
    header[110:112] = unit.encode("ascii")
    struct.pack_into("<h", header, 122, resolution)
    header[168:172] = b"CDR "
    return bytes(header) + struct.pack(f"<{len(counts)}h", *counts) + b"\x55" * 10


class CdrReadBack(ConvoraTestCase):
    def test_counts_come_back_times_the_calibration(self):
        counts = [(i * 37) % 4001 - 2000 for i in range(3 * 512)]
        (channel,) = self.convert_one("rec.cdr", cdr_file(counts, 0.1, 0.25, 5.0, "mV", 2048))
        self.assertEqual(channel.units, "mV")
        self.assertEqual(channel.rate_hz, 10000.0)  # 0.1 ms
        self.assertEqual(len(channel.values), len(counts))
        # The scale factor 5 / (2048 x 0.25) makes a count worth exactly 0.25 mV.
        self.assertClose(channel.values, [c * 0.25 for c in counts], 1e-6)


if __name__ == "__main__":
    main()
