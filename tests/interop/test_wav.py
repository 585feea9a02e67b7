"""WAV exports, read back with Python's own wave module."""

import struct
import wave

from interop_support import ConvoraTestCase, main


class WavReadBack(ConvoraTestCase):
    def test_samples_rate_and_channels_survive(self):
        data = struct.pack("<6h", 1, -1, 1000, -1000, 32767, -32768)  # three frames of two
        source = self.write("song.raw", b"\xff" * 16 + data)  # behind a block to skip
        written = self.convert("wav", "--byte-offset", "16", "--interval", "125", "--channels", "2",
                               source)
        self.assertEqual(written, [self.path("song.wav")])
        with wave.open(written[0], "rb") as song:
            self.assertEqual((song.getnchannels(), song.getsampwidth(), song.getframerate(),
                              song.getnframes()), (2, 2, 8000, 3))
            self.assertEqual(song.readframes(3), data)


if __name__ == "__main__":
    main()
