#!/usr/bin/env python3
"""Times `convora filter` with its widest kernel (107 taps) on 10^8 samples
against scipy.ndimage.convolve1d with the same kernel on the same samples
(the scipy time covers the convolution alone, not reading or writing).

Usage: filter_vs_scipy.py CONVORA FOLDER [SAMPLES]
"""
import math
import os
import subprocess
import sys
import time

import numpy
from scipy import ndimage

CONVORA, FOLDER = sys.argv[1], sys.argv[2]
COUNT = int(sys.argv[3]) if len(sys.argv) > 3 else 10 ** 8


def abf_header(samples):
    """A one-channel ABF 1.x header: data at block 12, 100 us per sample."""
    head = bytearray(6144)
    head[0:4] = b"ABF "
    head[10:14] = samples.to_bytes(4, "little", signed=True)      # lActualAcqLength
    head[40:44] = (12).to_bytes(4, "little")                      # lDataSectionPtr
    head[120:122] = (1).to_bytes(2, "little")                     # nADCNumChannels
    head[122:126] = numpy.float32(100.0).tobytes()                # fADCSampleInterval
    return bytes(head)


def main():
    os.makedirs(FOLDER, exist_ok=True)
    source = os.path.join(FOLDER, "long.abf")
    rng = numpy.random.default_rng(7)
    samples = rng.integers(-10000, 10000, COUNT, dtype=numpy.int16)
    with open(source, "wb") as out:
        out.write(abf_header(COUNT))
        out.write(samples.astype("<i2").tobytes())

    # pre 5 kHz, new 0.05 kHz at 10 kHz: fc = 0.005, sigma = 26.5, 53 taps each side.
    start = time.perf_counter()
    subprocess.run([CONVORA, "filter", "--pre", "5", "--new", "0.05", source], check=True,
                   capture_output=True)
    ours = time.perf_counter() - start

    fe = (0.05 ** -2 - 5 ** -2) ** -0.5
    sigma = 0.132505 / float(numpy.float32(fe / float(numpy.float32(10.0))))
    half = min(int(4 * sigma), 53)
    weights = numpy.exp(-0.5 * numpy.arange(-half, half + 1) ** 2 / sigma ** 2)
    weights /= weights.sum()
    start = time.perf_counter()
    ndimage.convolve1d(samples, weights, mode="constant", cval=0.0)
    theirs = time.perf_counter() - start
    os.remove(source)
    os.remove(os.path.join(FOLDER, "longFilter.ABF"))
    print(f"| Gaussian filter, {2 * half + 1} taps, {COUNT:.0e} samples | {ours:.2f} s "
          f"(whole process) | scipy {theirs:.2f} s | {ours / theirs:.2f} x (goal 0.5) |")


if __name__ == "__main__":
    main()
