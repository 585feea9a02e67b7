"""CDR recordings, read back by all three readers."""

import struct

from interop_support import ConvoraTestCase, main


class CdrReadBack(ConvoraTestCase):
    def test_counts_come_back_times_the_calibration(self):
        counts = [(i * 37) % 4001 - 2000 for i in range(3 * 512)]
        # A 512-byte header (records of 512 counts, duration, 0.1 ms interval, 0.25 units per
        # count, 5 V range, unit, resolution 2048) and ten spare bytes that keep the length
        # off every multiple another format is recognised by.
        header = bytearray(512)
        struct.pack_into("<hxxf", header, 0, len(counts) // 512, len(counts) * 0.1 / 1000)
        struct.pack_into("<fff2s10xh", header, 98, 0.1, 0.25, 5.0, b"mV", 2048)
        header[168:172] = b"CDR "
        data = bytes(header) + struct.pack(f"<{len(counts)}h", *counts) + b"\x55" * 10
        recording = self.convert_one("convert", self.write("rec.cdr", data))
        self.assertEqual((recording.units, recording.rate_hz), (["mV"], 10000.0))  # 0.1 ms
        # The scale factor 5 / (2048 x 0.25) makes a count worth exactly 0.25 mV.
        self.assertClose(recording.sweeps, [[[c * 0.25] for c in counts]], 1e-6)


if __name__ == "__main__":
    main()
