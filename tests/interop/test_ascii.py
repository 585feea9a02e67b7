"""ASCII table conversions (ascii, atf, pti), read back by all three readers."""

import os

from interop_support import HAVE_SAMPLES, SAMPLES, ConvoraTestCase, main, numpy


def real_atf():
    """A three-sweep recording and its sweeps: columns time, then (pA, A) for each sweep,
    A being stored as pA; nothing without the samples folder."""
    if not HAVE_SAMPLES:
        return None, None
    with open(os.path.join(SAMPLES, "atf", "pyABF_18702001-step.atf"), "rb") as source:
        data = source.read()
    table = numpy.loadtxt(data.decode().splitlines(), skiprows=11)
    return data, [[table[:, 1 + 2 * s], table[:, 2 + 2 * s] * 1e12] for s in range(3)]


class AsciiReadBack(ConvoraTestCase):
    def test_tables_come_back_sweep_by_sweep_in_their_units(self):
        a, b = [0.5, -1.25, 2.0, 0.0], [10.0, 20.0, -30.0, 5.5]
        ratio, intensity = [1.2, 0.8, 1.6], [1500.0, 1800.0, 900.0]
        current, volts = [[1.0, 2.0, 3.0], [-4.0, 0.5, 0.25]], [[0.01, 0.02, -0.01],
                                                                 [0.0, 0.005, 0.015]]
        step, step_sweeps = real_atf()
        csv = "Time,A,B\n" + "".join(f"{i * 0.002},{x},{y}\n" for i, (x, y) in enumerate(zip(a, b)))
        # Two sweeps of (pA, V) 0.1 ms apart, with CR LF line ends.
        atf = ["ATF\t1.0", "0\t5",
               '"Time (s)"\t"Trace #1 (pA)"\t"Trace #1 (V)"\t"Trace #2 (pA)"\t"Trace #2 (V)"']
        atf += [f"{i * 1e-4}\t{current[0][i]}\t{volts[0][i]}\t{current[1][i]}\t{volts[1][i]}"
                for i in range(3)]
        pti = "PTI\nTime\tRatio\tTime\tD1\n" + "".join(
            f"{t}\t{r}\t{t}\t{i}\n" for t, r, i in zip([0, 0.25, 0.5], ratio, intensity))
        cases = [  # command and options, source, units, rate, sweeps of the expected columns
            (["ascii", "--columns", "2,3", "--header-lines", "1", "--time-column", "1", "--unit",
              "mV", "--factor", "2"], "table.csv", csv.encode(), ["mV", "mV"], 500.0,
             [[[2 * v for v in a], [2 * v for v in b]]]),
            (["atf"], "sweeps.atf", "\r\n".join(atf + [""]).encode(), ["pA", "mV"], 1e4,
             [[i, [1000 * v for v in u]] for i, u in zip(current, volts)]),
            (["pti"], "cell.txt", pti.encode(), ["dimensionless"] * 2, 4.0, [[ratio, intensity]]),
            (["atf"], "step.atf", step, ["pA", "pA"], 2e4, step_sweeps),
        ]
        for (command, *options), name, data, units, rate_hz, sweeps in cases:
            with self.subTest(name):
                if data is None:
                    self.skipTest("the samples folder is absent")
                recording = self.convert_one(command, self.write(name, data), *options)
                self.assertStored(recording, units, rate_hz, sweeps)


if __name__ == "__main__":
    main()
