"""MAT-files of version 5 (scipy) and 7.3 (h5py), one for each way a recording is found,
converted and read back against the arrays written."""

import ctypes.util
import os
import re
import struct
import unittest

from interop_support import (HAVE_SAMPLES, SAMPLES, ConvoraTestCase, main, make_seeds,
                             numpy)

try:
    import h5py
    import scipy.io
except ImportError as missing:  # pragma: no cover - depends on the machine
    raise unittest.SkipTest(f"{missing}; scripts/setup.sh installs python3-scipy, python3-h5py")

MATLAB_CLASS = {"float64": "double", "float32": "single", "int16": "int16", "int32": "int32",
                "uint8": "uint8"}


def text_attribute(target, name, text):
    """A fixed-length, null-terminated string attribute, as MATLAB writes its class names."""
    kind = h5py.h5t.C_S1.copy()
    kind.set_size(len(text))
    attribute = h5py.h5a.create(target.id, name.encode(), kind, h5py.h5s.create(h5py.h5s.SCALAR))
    attribute.write(numpy.array(text.encode()), mtype=kind)


def put_73(group, name, value):
    """A variable as MATLAB 7.3 keeps it: arrays transposed (HDF5 lists the sides of a
    column-major array backwards), text as uint16 codes, structures as groups."""
    if isinstance(value, dict):
        sub = group.create_group(name)
        text_attribute(sub, "MATLAB_class", "struct")
        names = numpy.empty(len(value), dtype=object)  # MATLAB lists the fields in order
        names[:] = [numpy.array(list(field), dtype="S1") for field in value]
        sub.attrs.create("MATLAB_fields", names, dtype=h5py.vlen_dtype(numpy.dtype("S1")))
        for field, item in value.items():
            put_73(sub, field, item)
        return
    if isinstance(value, str):
        data = numpy.array([[ord(c) for c in value]], dtype="<u2")
        text = group.create_dataset(name, data=data.T)
        text_attribute(text, "MATLAB_class", "char")
        text.attrs["MATLAB_int_decode"] = 2
        return
    data = numpy.atleast_2d(value)
    text_attribute(group.create_dataset(name, data=data.transpose()), "MATLAB_class",
                   MATLAB_CLASS[data.dtype.name])


def save(path, variables, version):
    if version == "5":
        scipy.io.savemat(path, variables, do_compression=True)
        return path
    with h5py.File(path, "w", userblock_size=512) as out:
        for name, value in variables.items():
            put_73(out, name, value)
    with open(path, "r+b") as out:  # MATLAB's 128-byte text header, version 0x0200
        out.write(b"MATLAB 7.3 MAT-file".ljust(124) + struct.pack("<H", 0x0200) + b"IM")
    return path


def channel(values, interval, units, title):
    return {"values": numpy.asarray(values).reshape(-1, 1), "interval": interval,
            "units": units, "title": title}


N = 300
RAMP = numpy.sin(numpy.arange(N) / 7.0)
COUNTS = (numpy.arange(N) * 37 % 2001 - 1000).astype("int16")
STRUCTURES = {"ch1": channel(RAMP * 0.05, 1e-4, "V", "Vm"),
              "ch2": channel(COUNTS, 1e-4, "pA", "Im"),
              "ch3": channel(RAMP[:10], 1e-4, "V", "short")}  # another length: left out
EPISODES = numpy.stack([RAMP, -RAMP], axis=1)[:, :, None] * numpy.array([1, 2, 3]) * 4
PAIR = {"T": numpy.arange(N).reshape(-1, 1) * 2e-4, "Y": EPISODES.astype("float32")}
LARGEST = {"data": numpy.stack([COUNTS, COUNTS // 2]), "fs": 20000.0,
           "small": RAMP[:50].reshape(-1, 1), "label": "not a recording"}


def columns(array):
    return [array[:, c] for c in range(array.shape[1])]


class MatFiles(ConvoraTestCase):
    # Every value within one count, a channel's count set by its peak over all sweeps.
    def test_each_rule_in_both_versions(self):
        cases = [  # variables, options, units, rate, sweeps expected
            (STRUCTURES, (), ["mV", "pA"], 10000, [[RAMP * 50, COUNTS]]),
            (PAIR, (), ["dimensionless"] * 2, 5000, [columns(EPISODES[:, :, e]) for e in range(3)]),
            (LARGEST, (), ["dimensionless"] * 2, 20000, [[COUNTS, COUNTS // 2]]),
            (LARGEST, ("--variable", "small"), ["dimensionless"], 20000, [[RAMP[:50]]]),
        ]
        for version in ("5", "7.3"):
            for number, (variables, options, units, rate, sweeps) in enumerate(cases):
                with self.subTest(version=version, case=number):
                    name = f"rule{number}_v{version.replace('.', '')}.mat"
                    source = save(self.path(name), variables, version)
                    self.assertStored(self.convert_one("convert", source, *options), units,
                                      rate, sweeps, low=0, within=1)

    def test_files_without_a_recording_or_damaged_are_refused_before_libmatio_trusts_them(self):
        head = b"MATLAB 5.0 MAT-file".ljust(124)
        cases = [  # name, the variables or the bytes after the 124-byte text, what the error says
            ("words.mat", {"note": "text only", "dt": 1e-3},
             "no real numeric array of 2 or 3 dimensions to convert; it holds note (2-D char), "
             "dt (double scalar)"),
            ("version.mat", struct.pack("<H", 0x0300) + b"IM", "header names version 768"),
            # A cell array whose dimensions claim 4 x 939524098 values in 72 bytes.
            ("cells.mat", struct.pack("<H", 0x0100) + b"IM" + struct.pack(
                "<8I", 14, 72, 6, 8, 1, 0, 5, 8) + struct.pack("<2i", 0x38000002, 4) +
             struct.pack("<II", 1, 4) + b"data" + bytes(32), "past its own end"),
            # A function handle whose nested matrix claims 64 bytes with 24 left: libmatio
            # gives up on it, keeping 80 bytes that the sanitizer run is told to pass over.
            ("handle.mat", struct.pack("<H", 0x0100) + b"IM" + struct.pack(
                "<8I2i", 14, 72, 6, 8, 16, 0, 5, 8, 2, 4) + struct.pack("<II", 1, 4) + b"data" +
             bytes(4) + struct.pack("<10I", 14, 64, 6, 8, 6, 0, 5, 8, 1, 1) + bytes(32),
             "it holds data (2-D function)"),
            # A size that would wrap a 32-bit sum back onto the same element.
            ("wrap.mat", struct.pack("<H", 0x0100) + b"IM" + struct.pack("<II", 99, 0xFFFFFFF8) +
             bytes(64), ""),
        ]
        for name, content, why in cases:
            with self.subTest(name):
                source = (save(self.path(name), content, "5") if isinstance(content, dict)
                          else self.write(name, head + content))
                done = self.run_convora("convert", source, timeout=20)
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                # The error alone: under the sanitizers, no leak report either.
                self.assertRegex(done.stderr, rf"^error: {re.escape(source)}: [^\n]*\n$")
                self.assertIn(why, done.stderr)
                self.assertFalse(os.path.exists(self.path(name.replace(".mat", ".ABF"))))

    def test_a_libmatio_that_cannot_be_loaded_ends_only_the_mat_file(self):
        # libmatio is loaded when a MAT-file is read: an empty file of its name, found first
        # on the library path, must leave the program able to start and convert the rest.
        blocked = self.path("lib")
        os.makedirs(blocked)
        open(os.path.join(blocked, ctypes.util.find_library("matio")), "wb").close()
        mat = save(self.path("pair.mat"), PAIR, "5")
        wave = self.write("wave.itx", make_seeds.igor_text())
        done = self.run_convora("convert", "--interval", "100", mat, wave, timeout=20,
                                env={**os.environ, "LD_LIBRARY_PATH": blocked})
        self.assertEqual((done.returncode, done.stdout), (1, self.path("wave.ABF") + "\n"))
        self.assertRegex(done.stderr, rf"^error: {re.escape(mat)}: cannot load libmatio[^\n]*\n$")

    @unittest.skipUnless(HAVE_SAMPLES, "the samples folder is absent")
    def test_real_files_give_their_largest_array_with_time_along_its_longer_side(self):
        for name in ("matio_test_le.mat", "matio_test_le_hdf5.mat"):
            with self.subTest(name):
                d = scipy.io.loadmat(os.path.join(SAMPLES, "matlab", "matio_test_le.mat"))["d"]
                recording = self.convert_one("convert", self.copy_sample("matlab", name),
                                             "--interval", "100")
                self.assertStored(recording, ["dimensionless"] * len(d), 10000, [list(d)], low=0,
                                  within=1)


if __name__ == "__main__":
    main()
