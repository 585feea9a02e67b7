"""Sources built here (and one real ATF), converted and read back by all three readers, the
WAV export by Python's own wave module: raw binary, WAV, Axograph, CDR, Igor binary and text
(Macintosh waves and Pulse exports), ASCII tables."""

import os
import struct
import wave

from interop_support import (HAVE_SAMPLES, SAMPLES, ConvoraTestCase, float32, main, make_seeds,
                             numpy, one_count)


def real_atf():
    """A three-sweep recording and its sweeps: columns time, then (pA, A) for each sweep,
    A being stored as pA; nothing without the samples folder."""
    if not HAVE_SAMPLES:
        return None, None
    with open(os.path.join(SAMPLES, "atf", "pyABF_18702001-step.atf"), "rb") as source:
        data = source.read()
    table = numpy.loadtxt(data.decode().splitlines(), skiprows=11)
    return data, [[table[:, 1 + 2 * s], table[:, 2 + 2 * s] * 1e12] for s in range(3)]


class ConverterReadBack(ConvoraTestCase):
    def test_raw_binary_comes_back_in_the_chosen_unit_and_scale(self):
        counts, floats = [0, 1, -1, 1000, -32768, 32767, 12345], [0.0, 0.5, -1.25, 2.0, -2.0, 1.999]
        pairs = [(100, -100), (200, -200), (300, -300)]
        count = 2.0 / 16384  # one count of the floats, each of them stored one count low
        # physical = count x range / (resolution x scale factor); 25 us between interleaved
        # samples is 50 us per channel; the second channel keeps the template's scale 1.0.
        for name, data, options, units, rate_hz, columns, tolerance in (
                ("cell.dat", struct.pack("<7h", *counts),
                 ["--interval", "50", "--unit", "mV", "--scale", "0.01"], ["mV"], 20000.0,
                 [[c * 10 / (32768 * 0.01) for c in counts]], 1e-4),
                ("trace.bin", struct.pack("<6f", *floats), ["--float", "--interval", "100",
                 "--unit", "pA"], ["pA"], 10000.0, [[v - count for v in floats]], count / 2),
                ("pair.dat", struct.pack("<6h", *sum(pairs, ())), ["--channels", "2", "--interval",
                 "25"], ["pA", "pA"], 20000.0, [[a * 10 / (32768 * 0.001) for a, _ in pairs],
                                                 [b * 10 / 32768 for _, b in pairs]], 1e-4)):
            with self.subTest(name):
                recording = self.convert_one("binary", self.write(name, data), *options)
                self.assertEqual((recording.units, recording.rate_hz), (units, rate_hz))
                self.assertClose(recording.sweeps, [numpy.column_stack(columns)], tolerance)

    def test_wav_keeps_samples_rate_and_channels(self):
        data = struct.pack("<6h", 1, -1, 1000, -1000, 32767, -32768)  # three frames of two
        source = self.write("song.raw", b"\xff" * 16 + data)  # behind a block to skip
        written = self.convert("wav", "--byte-offset", "16", "--interval", "125", "--channels", "2",
                               source)
        self.assertEqual(written, [self.path("song.wav")])
        with wave.open(written[0], "rb") as song:
            self.assertEqual((song.getnchannels(), song.getsampwidth(), song.getframerate(),
                              song.getnframes()), (2, 2, 8000, 3))
            self.assertEqual(song.readframes(3), data)

    def test_cdr_counts_come_back_times_the_calibration(self):
        counts = [(i * 37) % 4001 - 2000 for i in range(3 * 512)]
        # Ten spare bytes keep the length off every multiple another format is recognised by.
        data = make_seeds.cdr(counts, 0.25, b"mV") + b"\x55" * 10
        recording = self.convert_one("convert", self.write("rec.cdr", data))
        self.assertEqual((recording.units, recording.rate_hz), (["mV"], 10000.0))  # 0.1 ms
        # The scale factor 5 / (2048 x 0.25) makes a count worth exactly 0.25 mV.
        self.assertClose(recording.sweeps, [[[c * 0.25] for c in counts]], 1e-6)

    def test_recordings_and_tables_come_back_sweep_by_sweep_in_their_units(self):
        volts, amperes = [-0.004, 0.008, 0.002, 0.0], [1e-11, -2e-11, 2e-11, 5e-12]
        doubles, text = [-1e-11, 2e-11, 5e-12, 1.5e-11], [-5e-12, 8e-12, 1e-12, 0.0, -1.234e-12]
        a, b = [0.5, -1.25, 2.0, 0.0], [10.0, 20.0, -30.0, 5.5]
        ratio, intensity = [1.2, 0.8, 1.6], [1500.0, 1800.0, 900.0]
        current, held = [[1.0, 2.0, 3.0], [-4.0, 0.5, 0.25]], [[0.01, 0.02, -0.01],
                                                               [0.0, 0.005, 0.015]]
        step, step_sweeps = real_atf()
        csv = "Time,A,B\n" + "".join(f"{i * 0.002},{x},{y}\n" for i, (x, y) in enumerate(zip(a, b)))
        # Two sweeps of (pA, V) 0.1 ms apart, with CR LF line ends.
        atf = ["ATF\t1.0", "0\t5",
               '"Time (s)"\t"Trace #1 (pA)"\t"Trace #1 (V)"\t"Trace #2 (pA)"\t"Trace #2 (V)"']
        atf += [f"{i * 1e-4}\t{current[0][i]}\t{held[0][i]}\t{current[1][i]}\t{held[1][i]}"
                for i in range(3)]
        pti = "PTI\nTime\tRatio\tTime\tD1\n" + "".join(
            f"{t}\t{r}\t{t}\t{i}\n" for t, r, i in zip([0, 0.25, 0.5], ratio, intensity))
        cases = [  # command and options, source, units, rate, sweeps of the expected columns,
            # and one count of each channel where its peak does not set it
            # Axograph: the time step is the per-channel interval. Ranges are the smaller
            # extremes: 4 mV (8 mV then lands at full scale) and 20 pA.
            (["convert"], "cell.axg", make_seeds.axograph((("Vm (V)", volts), ("Im (A)", amperes))),
             ["mV", "pA"], 1e4, [[[float32(v) * 1000 for v in volts],
                                  [float32(x) * 1e12 for x in amperes]]],
             [one_count(4), one_count(20)]),
            # Igor binary, Macintosh doubles: |max| 20 > |min| 10, so the reference is 1000 pA
            # whatever the data.
            (["convert"], "wave.ibw", make_seeds.igor_binary(True, doubles, "d", b"A", 5e-5),
             ["pA"], 2e4, [[[v * 1e12 for v in doubles]]], [one_count(1000)]),
            # Igor text: extremes -5 and 8 pA, so the range is the smaller, 5 pA, and 8 pA
            # passes half scale; the file's range is 10.0 against the 10.24 of the scale factor.
            (["convert", "--interval", "20"], "wave.itx", make_seeds.igor_text(
                text, 'X SetScale/P x 0,0.0001,"s", wave0; SetScale d 0,0,"A", wave0'), ["pA"],
             5e4, [[[v * 1e12 for v in text]]], [one_count(5, adc_range=10.0)]),
            (["ascii", "--columns", "2,3", "--header-lines", "1", "--time-column", "1", "--unit",
              "mV", "--factor", "2"], "table.csv", csv.encode(), ["mV", "mV"], 500.0,
             [[[2 * v for v in a], [2 * v for v in b]]], None),
            (["atf"], "sweeps.atf", "\r\n".join(atf + [""]).encode(), ["pA", "mV"], 1e4,
             [[i, [1000 * v for v in u]] for i, u in zip(current, held)], None),
            (["pti"], "cell.txt", pti.encode(), ["dimensionless"] * 2, 4.0, [[ratio, intensity]],
             None),
            (["atf"], "step.atf", step, ["pA", "pA"], 2e4, step_sweeps, None),
        ]
        for (command, *options), name, data, units, rate_hz, sweeps, counts in cases:
            with self.subTest(name):
                if data is None:
                    self.skipTest("the samples folder is absent")
                recording = self.convert_one(command, self.write(name, data), *options)
                self.assertStored(recording, units, rate_hz, sweeps, counts)

    def test_a_pulse_export_comes_back_as_sweeps_of_traces(self):
        # Two sweeps of two traces, wave (sweep, trace) holding sweep and -trace pA; each trace
        # is scaled to its own peak, 2 pA, which stores every value exactly.
        recording = self.convert_one("convert", self.write("cell.itx", make_seeds.pulse_text()))
        self.assertStored(recording, ["pA", "pA"], 5e4,
                          [[[1, -1], [1, -2]], [[2, -1], [2, -2]]], low=0, within=1e-3)


if __name__ == "__main__":
    main()
