"""Macintosh Igor text waves, read back by all three readers."""

from interop_support import ConvoraTestCase, main, one_count


class IgorTextReadBack(ConvoraTestCase):
    def test_amperes_come_back_as_picoamperes_within_one_count(self):
        amperes = [-5e-12, 8e-12, 1e-12, 0.0, -1.234e-12]
        # As written on a Macintosh: CR line ends, a tab before each value.
        lines = ["IGOR", "WAVES\twave0", "BEGIN"] + [f"\t{v!r}" for v in amperes]
        lines += ["END", 'X SetScale/P x 0,0.0001,"s", wave0; SetScale d 0,0,"A", wave0', ""]
        source = self.write("wave.itx", "\r".join(lines).encode("ascii"))
        # Extremes -5 and 8 pA: the range is the smaller, 5 pA, so 8 pA passes half scale;
        # the file's range is 10.0 against the 10.24 of the scale factor.
        self.assertStored(self.convert_one("convert", source, "--interval", "20"), ["pA"], 50000.0,
                          [[[a * 1e12 for a in amperes]]], [one_count(5, adc_range=10.0)])


if __name__ == "__main__":
    main()
