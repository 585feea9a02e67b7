"""WAV exports, read back with Python's own wave module."""

import struct
import wave

from interop_support import ConvoraTestCase, main


class WavReadBack(ConvoraTestCase):
    def test_samples_rate_and_channels_survive(self):
        frames = [(1, -1), (1000, -1000), (32767, -32768)]
        header = b"\xff" * 16  # a block to skip
        data = b"".join(struct.pack("<2h", a, b) for a, b in frames)
        source = self.write("song.raw", header + data)
        (written,) = self.convert("wav", "--byte-offset", "16", "--interval", "125",
                                  "--channels", "2", source)
        self.assertEqual(written, self.path("song.wav"))
        with wave.open(written, "rb") as song:
            self.assertEqual(song.getnchannels(), 2)
            self.assertEqual(song.getsampwidth(), 2)
            self.assertEqual(song.getframerate(), 8000)
            self.assertEqual(song.getnframes(), len(frames))
            self.assertEqual(song.readframes(len(frames)), data)


if __name__ == "__main__":
    main()
