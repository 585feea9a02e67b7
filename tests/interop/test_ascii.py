"""ASCII table conversions (ascii, atf, pti, dataq), read back by neo."""

import os
import unittest

from interop_support import SAMPLES, ConvoraTestCase, main, one_count, read_abf, read_sweeps

import neo
import numpy


def peak(values):
    return max(abs(v) for v in values)


class AsciiReadBack(ConvoraTestCase):
    def assertScaled(self, channel, units, rate_hz, values):
        """The values, each stored one count low, a count being set by the channel's peak."""
        self.assertChannel(channel, units, rate_hz, values, one_count(peak(values)))

    def test_two_columns_of_a_comma_table_in_the_chosen_unit(self):
        a = [0.5, -1.25, 2.0, 0.0]
        b = [10.0, 20.0, -30.0, 5.5]
        rows = "".join(f"{i * 0.002},{x},{y}\n" for i, (x, y) in enumerate(zip(a, b)))
        source = self.write("table.csv", ("Time,A,B\n" + rows).encode())
        written = self.convert("ascii", "--columns", "2,3", "--header-lines", "1",
                               "--time-column", "1", "--unit", "mV", "--factor", "2", source)
        self.assertEqual(written, [self.path("table.ABF")])
        first, second = read_abf(written[0])
        self.assertScaled(first, "mV", 500.0, [2 * v for v in a])
        self.assertScaled(second, "mV", 500.0, [2 * v for v in b])

    def test_episodic_atf_gives_one_segment_per_sweep(self):
        sweeps = [[1.0, 2.0, 3.0], [-4.0, 0.5, 0.25]]
        volts = [[0.01, 0.02, -0.01], [0.0, 0.005, 0.015]]
        lines = ["ATF\t1.0", "0\t5",
                 '"Time (s)"\t"Trace #1 (pA)"\t"Trace #1 (V)"\t"Trace #2 (pA)"\t"Trace #2 (V)"']
        for i in range(3):
            lines.append(f"{i * 1e-4}\t{sweeps[0][i]}\t{volts[0][i]}\t{sweeps[1][i]}\t"
                         f"{volts[1][i]}")
        source = self.write("sweeps.atf", ("\r\n".join(lines) + "\r\n").encode())
        (written,) = self.convert("atf", source)
        read_sweeps(written)  # the other two readers agree with neo
        block = neo.io.AxonIO(filename=written).read_block()
        self.assertEqual(len(block.segments), 2)
        current_count = one_count(peak(sweeps[0] + sweeps[1]))
        volt_count = one_count(1000 * peak(volts[0] + volts[1]))
        for index in range(2):
            signals = block.segments[index].analogsignals
            by_unit = {s.units.dimensionality.string: numpy.asarray(s.magnitude).ravel()
                       for s in signals}
            self.assertClose(by_unit["pA"], [v - current_count for v in sweeps[index]],
                             current_count / 2 + 1e-9)
            self.assertClose(by_unit["mV"], [1000 * v - volt_count for v in volts[index]],
                             volt_count / 2 + 1e-9)

    def test_pti_traces_without_a_unit(self):
        ratio, intensity = [1.2, 0.8, 1.6], [1500.0, 1800.0, 900.0]
        rows = "".join(f"{t}\t{r}\t{t}\t{i}\n" for t, r, i in zip([0, 0.25, 0.5], ratio, intensity))
        pti = self.write("cell.txt", ("PTI\nTime\tRatio\tTime\tD1\n" + rows).encode())
        (written,) = self.convert("pti", pti)
        first, second = read_abf(written)
        self.assertScaled(first, "dimensionless", 4.0, ratio)
        self.assertScaled(second, "dimensionless", 4.0, intensity)

    @unittest.skipUnless(SAMPLES and os.path.isdir(SAMPLES), "the samples folder is absent")
    def test_real_atf_file(self):
        source = os.path.join(SAMPLES, "atf", "pyABF_18702001-step.atf")
        table = numpy.loadtxt(source, skiprows=11)
        with open(source, "rb") as original:
            data = original.read()
        (written,) = self.convert("atf", self.write("step.atf", data))
        read_sweeps(written)  # the other two readers agree with neo
        block = neo.io.AxonIO(filename=written).read_block()
        self.assertEqual(len(block.segments), 3)
        # Columns: time, then (pA, A) for each of the 3 sweeps; A is stored as pA.
        current = table[:, [1, 3, 5]]
        other = table[:, [2, 4, 6]] * 1e12
        current_count, other_count = one_count(abs(current).max()), one_count(abs(other).max())
        for sweep, segment in enumerate(block.segments):
            (signal,) = segment.analogsignals
            self.assertEqual(signal.units.dimensionality.string, "pA")
            self.assertAlmostEqual(float(signal.sampling_rate.rescale("Hz").magnitude), 20000.0,
                                   places=3)
            values = numpy.asarray(signal.magnitude)
            self.assertClose(values[:, 0], current[:, sweep] - current_count,
                             current_count / 2 + 1e-9)
            self.assertClose(values[:, 1], other[:, sweep] - other_count, other_count / 2 * 1.001)


if __name__ == "__main__":
    main()
