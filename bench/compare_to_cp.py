#!/usr/bin/env python3
"""Times whole convora commands against `cp` of the same bytes, on inputs this
script makes, and prints the ratio of each to its cp (best of seven runs each,
taken in turn; sources in the page cache, outputs written fresh) with the
peak memory.

Usage: compare_to_cp.py CONVORA FOLDER [--quick]
--quick makes inputs 16 times smaller, for a check that the script works.
"""
import os
import shutil
import struct
import subprocess
import sys
import time

import numpy

# The commands run inside FOLDER, so a relative path to the program is made absolute.
CONVORA, FOLDER = os.path.abspath(sys.argv[1]), sys.argv[2]
SCALE = 16 if "--quick" in sys.argv else 1
MIB = 1 << 20


def path(name):
    return os.path.join(FOLDER, name)


def remove(*names):
    for name in names:
        if os.path.exists(path(name)):
            os.remove(path(name))


RUNS = 7


def run_once(args, outputs):
    """Wall time of one run and its peak resident set (MiB)."""
    remove(*outputs)
    subprocess.run(["sync"], check=True)
    start = time.perf_counter()
    done = subprocess.run(["/usr/bin/time", "-f", "%M", *args], cwd=FOLDER,
                          stdin=subprocess.DEVNULL, capture_output=True, text=True)
    elapsed = time.perf_counter() - start
    if done.returncode != 0:
        sys.exit(f"{args}: {done.stderr}")
    return elapsed, int(done.stderr.split()[-1]) / 1024


def timed(args, outputs, cp_source):
    """Best wall times of convora and of cp over RUNS runs each, taken in
    turn so that both meet the same state of the machine's disk cache and
    write-back, and the largest peak resident set of convora (MiB)."""
    best, best_cp, peak = float("inf"), float("inf"), 0.0
    for _ in range(RUNS):
        elapsed, resident = run_once(args, outputs)
        best, peak = min(best, elapsed), max(peak, resident)
        best_cp = min(best_cp, run_once(["cp", cp_source, "copy.tmp"], ["copy.tmp"])[0])
    remove("copy.tmp")
    return best, best_cp, peak


def write_raw(name, size, dtype):
    rng = numpy.random.default_rng(1)
    with open(path(name), "wb") as out:
        for _ in range(size // (64 * MIB)):
            if dtype == "<i2":
                chunk = rng.integers(-32768, 32767, 32 * MIB, dtype=numpy.int16)
            else:
                chunk = rng.standard_normal(16 * MIB).astype(dtype) * 1e-11
            out.write(chunk.astype(dtype).tobytes())


def write_axograph(name, size):
    points = size // 8
    head = b"AxGr" + struct.pack(">hhi", 1, 2, points) + b"Time (s)".ljust(80)
    with open(path(name), "wb") as out:
        out.write(head)
        out.write((numpy.arange(points, dtype=">f4") * numpy.float32(1e-4)).tobytes())
        out.write(struct.pack(">i", points) + b"Current (A)".ljust(80))
        rng = numpy.random.default_rng(2)
        out.write((rng.standard_normal(points) * 1e-11).astype(">f4").tobytes())


def write_igor_binary(name, size):
    points = size // 4
    head = struct.pack("<h14x", 2) + struct.pack("<h", 2) + bytes(32)
    head += b"A   " + b"s   " + struct.pack("<ih", points, 0) + struct.pack("<d", 1e-4)
    with open(path(name), "wb") as out:
        out.write(head.ljust(126, b"\0"))
        rng = numpy.random.default_rng(3)
        out.write((rng.standard_normal(points) * 1e-11).astype("<f4").tobytes())


def write_igor_text(name, size, head=b"IGOR\rWAVES\twave0\rBEGIN\r", end=b"\r",
                    tail=b"END\r", seed=4):
    """One wave of Igor text, a value a line: by default a Macintosh single-wave file."""
    rng = numpy.random.default_rng(seed)
    ending = end.decode()
    with open(path(name), "wb") as out:
        out.write(head)
        written = 0
        while written < size:
            text = "".join(f"\t{v:.6g}{ending}" for v in rng.standard_normal(MIB) * 1e-11).encode()
            out.write(text)
            written += len(text)
        out.write(tail)


def write_igor5(name, size):
    """A version 5 wave of float32 points (Technical Note 003: BinHeader5, WaveHeader5, data)."""
    points = size // 4
    head = bytearray(384)
    struct.pack_into("<hhi", head, 0, 5, 0, 320 + 4 * points)
    struct.pack_into("<ih", head, 64 + 12, points, 2)
    head[64 + 28:64 + 33] = b"trace"
    struct.pack_into("<i", head, 64 + 68, points)
    struct.pack_into("<d", head, 64 + 84, 1e-4)
    head[64 + 148:64 + 156] = b"pA\0\0s\0\0\0"
    with open(path(name), "wb") as out:
        out.write(bytes(head))
        write_chunks(out, size, "<f4")


def write_pulse_text(name, size):
    """A PC Igor text export (CR LF) of one wave, its scale in an X SetScale line."""
    write_igor_text(name, size, b"IGOR\r\nWAVES/D Pulse_1_1_1_1\r\nBEGIN\r\n", b"\r\n",
                    b'END\r\nX SetScale/P x 0,0.0001,"s", Pulse_1_1_1_1\r\n', seed=8)


def write_abf2(name, size):
    """A gap-free ABF 2 file of two int16 channels: header, protocol, ADC and data sections."""
    scans = size // 4
    head = bytearray(3 * 512)
    head[0:4] = b"ABF2"
    head[4:8] = bytes([0, 0, 6, 2])
    struct.pack_into("<I", head, 12, 1)
    for at, block, size_, count in ((76, 1, 512, 1), (92, 2, 128, 2), (236, 3, 2, 2 * scans)):
        struct.pack_into("<iiq", head, at, block, size_, count)
    struct.pack_into("<hf", head, 512, 3, 50.0)
    struct.pack_into("<f", head, 512 + 110, 10.0)
    struct.pack_into("<i", head, 512 + 118, 32768)
    for k in range(2):
        at = 1024 + 128 * k
        struct.pack_into("<h", head, at, k)
        struct.pack_into("<f", head, at + 28, 1.0)
        struct.pack_into("<ff", head, at + 40, 0.01, 0.0)
        struct.pack_into("<f", head, at + 48, 1.0)
    with open(path(name), "wb") as out:
        out.write(bytes(head))
        write_chunks(out, size, "<i2")


def write_chunks(out, size, dtype):
    rng = numpy.random.default_rng(9)
    for _ in range(size // (16 * MIB)):
        if dtype == "<i2":
            out.write(rng.integers(-32768, 32767, 8 * MIB, dtype=numpy.int16).tobytes())
        else:
            out.write((rng.standard_normal(4 * MIB) * 1e-11).astype(dtype).tobytes())


def write_cdr(name, records):
    head = bytearray(512)
    struct.pack_into("<h", head, 0, records)
    struct.pack_into("<f", head, 4, 0.0512)
    struct.pack_into("<fff", head, 98, 0.1, 0.5, 5.0)
    head[110:112] = b"pA"
    struct.pack_into("<h", head, 122, 2048)
    head[168:172] = b"CDR "
    rng = numpy.random.default_rng(5)
    with open(path(name), "wb") as out:
        out.write(bytes(head))
        out.write(rng.integers(-2048, 2047, records * 512, dtype=numpy.int16).astype("<i2").tobytes())


def write_edr(name, size):
    """A two-channel WinEDR recording: a 2048-byte key=value header, then int16 scans."""
    scans = size // 4
    head = ("VER=6.1\r\nNBH=2048\r\nNC=2\r\nNP=%d\r\nAD=5.0\r\nADCMAX=2047\r\nDT=0.0001\r\n"
            "YN0=Im\r\nYU0=pA\r\nYCF0=0.001\r\nYAG0=1\r\nYZ0=0\r\nYO0=0\r\n"
            "YN1=Vm\r\nYU1=mV\r\nYCF1=0.01\r\nYAG1=1\r\nYZ1=0\r\nYO1=1\r\n" % (scans * 2))
    rng = numpy.random.default_rng(6)
    with open(path(name), "wb") as out:
        out.write(head.encode().ljust(2048, b"\0"))
        for _ in range(size // (64 * MIB)):
            out.write(rng.integers(-2048, 2047, 32 * MIB, dtype=numpy.int16).astype("<i2").tobytes())


def write_sca(name, size):
    """A SCAN recording: a 512-byte header of backslash-separated fields, then
    12-bit counts in int16 words from byte 2048."""
    blocks = size // 512
    head = b"DT=0.1\\AD=5\\CU=pA\\BC=0.01\\IZ=3\\NBD=%d\\NF=%d\\NBA=3\\" % (blocks, blocks * 256)
    rng = numpy.random.default_rng(8)
    with open(path(name), "wb") as out:
        out.write(head.ljust(2048, b"\0"))
        for _ in range(size // (64 * MIB)):
            out.write(rng.integers(-2048, 2047, 32 * MIB, dtype=numpy.int16).astype("<i2").tobytes())


def write_wcp(name, size):
    """WinWCP records of two channels whose voltage range VMax alternates
    between records, so that both take the rescaling path: 32 KiB of data a record."""
    records = size // (33 * 1024)
    head = ("VER=9\r\nNBH=1024\r\nADCMAX=2047\r\nNC=2\r\nNBA=2\r\nNBD=64\r\nNR=%d\r\n"
            "NP=8192\r\nDT=0.0001\r\nYU0=pA\r\nYG0=0.001\r\nYU1=mV\r\nYG1=0.01\r\n" % records)
    rng = numpy.random.default_rng(9)
    data = rng.integers(-2048, 2047, 16 * 1024, dtype=numpy.int16).astype("<i2").tobytes()
    with open(path(name), "wb") as out:
        out.write(head.encode().ljust(1024, b"\0"))
        for r in range(records):
            ranges = (10.0, 5.0) if r % 2 == 0 else (5.0, 10.0)
            block = b"ACCEPTED" + b"TEST" + struct.pack("<3f2f", 1, r, 0.0001, *ranges)
            out.write(block.ljust(1024, b"\0") + data)


def write_smr(name, size):
    """A revision 6 Spike2 file of two int16 waveform channels at 5 us, in
    alternating blocks of 32,000 samples."""
    items, blocks = 32000, size // 2 // 64000
    head = bytearray(512 + 2 * 140)
    struct.pack_into("<h", head, 0, 6)
    head[2:12] = b"(C) CED 87"
    struct.pack_into("<hh", head, 20, 1, 1)
    struct.pack_into("<h", head, 30, 2)
    struct.pack_into("<d", head, 44, 1e-6)
    first = len(head)
    step = 20 + 2 * items
    for c in range(2):
        at = 512 + 140 * c
        struct.pack_into("<ii", head, at + 6, first + c * step, first + (2 * blocks - 2 + c) * step)
        struct.pack_into("<H", head, at + 14, blocks)
        struct.pack_into("<i", head, at + 102, 5)
        head[at + 108:at + 111] = b"\x02I" + str(c).encode()
        struct.pack_into("<Bxff", head, at + 122, 1, 6553.6, 0.0)
        head[at + 132:at + 135] = b"\x02pA"
    rng = numpy.random.default_rng(7)
    with open(path(name), "wb") as out:
        out.write(bytes(head))
        for k in range(blocks):
            samples = rng.integers(-32768, 32767, 2 * items, dtype=numpy.int16).astype("<i2")
            for c in range(2):
                here = first + (2 * k + c) * step
                prev = here - 2 * step if k > 0 else -1
                nxt = here + 2 * step if k < blocks - 1 else -1
                start = k * items * 5
                out.write(struct.pack("<iiiiHH", prev, nxt, start, start + (items - 1) * 5, c + 1, items))
                out.write(samples[c * items:(c + 1) * items].tobytes())


def write_mat(name, size):
    """An uncompressed version 5 MAT-file: two float32 channels (samples x 2) and a dt scalar."""
    import scipy.io
    rng = numpy.random.default_rng(10)
    data = (rng.standard_normal((size // 8, 2)) * 1e-11).astype("<f4")
    scipy.io.savemat(path(name), {"data": data, "dt": 1e-4}, do_compression=False)


def write_bundle(name, size):
    """A PatchMaster bundle: raw data, then a .pul tree of one group, one series and one sweep
    of one int16 trace (the layout of fuzz/make_seeds.py's seed, with one long trace)."""
    samples = size // 2
    sizes = [16, 64, 64, 56, 128]
    record = lambda size_, label, children: (
        struct.pack("<i", 0) + label.ljust(size_ - 4, b"\0") + struct.pack("<i", children))
    trace = bytearray(128)
    trace[4:9] = b"I-mon"
    struct.pack_into("<ii", trace, 40, 256, samples)
    struct.pack_into("<H", trace, 64, 1)
    struct.pack_into("<d", trace, 72, 1e-12)
    trace[96:97] = b"A"
    struct.pack_into("<d", trace, 104, 1e-4)
    tree = b"eerT" + struct.pack("<6i", 5, *sizes) + record(16, b"", 1) + record(64, b"G1", 1)
    tree += record(64, b"IV", 1) + record(56, b"", 1) + bytes(trace) + struct.pack("<i", 0)
    head = b"DAT2".ljust(48, b"\0") + struct.pack("<i", 2) + b"\1" + bytes(11)
    head += struct.pack("<ii", 256, 2 * samples) + b".dat".ljust(8, b"\0")
    head += struct.pack("<ii", 256 + 2 * samples, len(tree)) + b".pul".ljust(8, b"\0")
    with open(path(name), "wb") as out:
        out.write(head.ljust(256, b"\0"))
        write_chunks(out, size, "<i2")
        out.write(tree)


def write_ltp(name, size):
    """An LTP ASCII sweep file of two AD channels, one row per sample."""
    rng = numpy.random.default_rng(11)
    rows = []
    while sum(map(len, rows)) < size:
        values = rng.standard_normal((MIB // 8, 2)) * 10
        rows.append("".join(f"{a:.4f}  {b:.4f}\r\n" for a, b in values).encode())
    samples = sum(chunk.count(b"\n") for chunk in rows)
    with open(path(name), "wb") as out:
        # Blanks over bytes 168 to 171: a "3" there would be the CDR signature, whose row
        # comes first and ends the file.
        out.write(b'"LTP_ASF"  "2.18V"\r\n"NumSamples"  %d\r\n"SampleInterval_ms"  0.1\r\n'
                  b'"AD_Chs"  "AD0"  "AD1"\r\n"AD_DataType"  "mV"  "pA"' % samples)
        out.write(b" " * (200 - out.tell()) + b"\r\n\r\n")
        for chunk in rows:
            out.write(chunk)


def write_acq(name, size):
    """A PC AcqKnowledge 3.x graph (revision 36) of two int16 channels at 100 kHz."""
    scans = size // 4
    head = struct.pack("<hiih", 0, 36, 24, 2).ljust(16, b"\0") + struct.pack("<d", 0.01)
    for channel, unit in ((b"ECG", b"mV"), (b"Resp", b"V")):
        header = struct.pack("<ih", 132, 1) + channel.ljust(40, b"\0")
        header = header.ljust(68, b"\0") + unit.ljust(20, b"\0")
        head += (header + struct.pack("<idd", scans, 0.001, 0.0)).ljust(132, b"\0")
    head += struct.pack("<h", 6) + bytes(4) + struct.pack("<hhhh", 2, 2, 2, 2)
    rng = numpy.random.default_rng(8)
    with open(path(name), "wb") as out:
        out.write(head)
        for _ in range(size // (64 * MIB)):
            out.write(rng.integers(-32768, 32767, 32 * MIB, dtype=numpy.int16).astype("<i2").tobytes())


def row(work, seconds, reference, peak, goal):
    ratio = seconds / reference
    verdict = "ok" if ratio <= goal else "MISSED"
    print(f"| {work} | {seconds:.2f} s | {reference:.2f} s | {ratio:.2f} x (goal {goal}) {verdict} "
          f"| {peak:.1f} MiB |", flush=True)


def main():
    os.makedirs(FOLDER, exist_ok=True)
    gib, big = 1024 * MIB // SCALE, 256 * MIB // SCALE
    print("| work | convora | cp | ratio | peak memory |")
    print("|---|---|---|---|---|")

    write_raw("raw.dat", gib, "<i2")
    t, c, m = timed([CONVORA, "binary", "raw.dat"], ["raw.ABF"], "raw.dat")
    row("raw int16, 1 GiB", t, c, m, 1.15)

    write_raw("float.dat", gib, "<f4")
    t, c, m = timed([CONVORA, "binary", "--float", "float.dat"], ["float.ABF"], "float.dat")
    row("raw float32, 1 GiB", t, c, m, 1.5)
    remove("float.dat", "float.ABF")

    for name, writer in (("cell.axgd", write_axograph), ("wave.ibw", write_igor_binary),
                         ("wave.itx", write_igor_text)):
        writer(name, big)
        stem = name.split(".")[0]
        t, c, m = timed([CONVORA, "convert", "--interval", "100", name], [stem + ".ABF"], name)
        row(f"{name.split('.')[1]} conversion, 256 MiB", t, c, m, 1.5)
        remove(name, stem + ".ABF")

    write_pulse_text("pulse.itx", big)
    t, c, m = timed([CONVORA, "convert", "pulse.itx"], ["pulse.ABF"], "pulse.itx")
    row("Igor text (PC, Pulse) conversion, 256 MiB", t, c, m, 1.5)
    remove("pulse.itx", "pulse.ABF")

    write_ltp("sweep.p0", big)
    t, c, m = timed([CONVORA, "convert", "sweep.p0"], ["sweep.ABF"], "sweep.p0")
    row("LTP sweep conversion, 256 MiB", t, c, m, 1.5)
    remove("sweep.p0", "sweep.ABF")

    for name, writer, goal, output in (("run.EDR", write_edr, 1.5, "run.ABF"),
                                       ("run.smr", write_smr, 1.5, "run.ABF"),
                                       ("run.ibw", write_igor5, 1.5, "run.ABF"),
                                       ("run.abf", write_abf2, 1.2, "run_abf1.ABF"),
                                       ("run.acq", write_acq, 1.5, "run.ABF"),
                                       ("run.SCA", write_sca, 1.5, "run.ABF"),
                                       ("run.mat", write_mat, 1.5, "run.ABF"),
                                       ("run.dat", write_bundle, 1.5, "run.ABF")):
        writer(name, gib)
        t, c, m = timed([CONVORA, "convert", name], [output], name)
        row(f"{name.split('.')[1]} conversion, 1 GiB", t, c, m, goal)
        remove(name, output)

    write_wcp("run.wcp", big)
    t, c, m = timed([CONVORA, "convert", "run.wcp"], ["run.ABF"], "run.wcp")
    row("wcp records of changing range, 256 MiB", t, c, m, 1.5)
    remove("run.wcp", "run.ABF")

    # The record count is a 16-bit field: 32767 records of 1 KiB is the largest CDR file.
    write_cdr("run.cdr", 32767 // SCALE)
    subprocess.run([CONVORA, "convert", "run.cdr"], cwd=FOLDER, check=True, capture_output=True)
    shutil.copyfile(path("run.ABF"), path("cdr-size.tmp"))
    t, c, m = timed([CONVORA, "convert", "run.cdr"], ["run.ABF"], "cdr-size.tmp")
    row("CDR block copy, 32 MiB", t, c, m, 1.2)
    remove("run.cdr", "run.ABF", "cdr-size.tmp")

    # Two 512 MiB ABF files merged; cp copies a file of the merged size.
    write_raw("half.dat", gib // 2, "<i2")
    subprocess.run([CONVORA, "binary", "half.dat"], cwd=FOLDER, check=True, capture_output=True)
    shutil.copyfile(path("half.ABF"), path("half2.ABF"))
    merge = [CONVORA, "merge", "--yes", "--name", "both", "half.ABF", "half2.ABF"]
    subprocess.run(merge, cwd=FOLDER, check=True, capture_output=True)
    merged_size = os.path.getsize(path("both.ABF"))
    shutil.copyfile(path("both.ABF"), path("merged-size.tmp"))
    t, c, m = timed(merge, ["both.ABF"], "merged-size.tmp")
    row("merge of two 512 MiB files", t, c, m, 1.2)
    remove("half.dat", "half.ABF", "half2.ABF", "both.ABF", "merged-size.tmp", "raw.dat", "raw.ABF")
    print(f"(merged file: {merged_size / MIB:.0f} MiB)")


if __name__ == "__main__":
    main()
