#!/usr/bin/env python3
"""Writes one small valid file per reader into FOLDER/<target>/, to seed the fuzzers.

Usage: make_seeds.py FOLDER
"""
import os
import struct
import sys


def axograph(signals=(("Current (A)", (-1e-11, 0.0, 2e-11)),), step=1e-4):
    """Axograph version 1: a time column, then one column per signal, every number big-endian."""
    points = len(signals[0][1])
    columns = (("Time (s)", [i * step for i in range(points)]), *signals)
    data = b"AxGr" + struct.pack(">hh", 1, len(columns))
    for title, values in columns:
        data += struct.pack(f">i80s{points}f", points, title.encode().ljust(80), *values)
    return data


def igor_binary(big_endian, values=(-1e-11, 5e-12, 2e-11), kind="f", units=b"A   s   ", step=1e-4):
    """A version-2 wave: a 16-byte file header, the wave header from byte 16 (type, data and x
    units, point count, x step), values from byte 126."""
    order = ">" if big_endian else "<"
    head = struct.pack(order + "h14xh32x8sihd", 2, 4 if kind == "d" else 2, units, len(values),
                       0, step)
    return head.ljust(126, b"\0") + struct.pack(f"{order}{len(values)}{kind}", *values)


def igor_text(values=(-2e-11, 1e-11, 2e-11), *after):
    """Igor text as a Macintosh writes it: CR line ends, a tab before each value, then `after`."""
    lines = ["IGOR", "WAVES\twave0", "BEGIN", *(f"\t{v!r}" for v in values), "END", *after, ""]
    return "\r".join(lines).encode("ascii")


def cdr(counts=range(-256, 256), per_count=0.5, unit=b"pA"):
    """A CDR recording: a 512-byte header (records of 512 counts, duration, 0.1 ms interval,
    units per count, 5 V range, unit, resolution 2048), then the counts."""
    head = bytearray(512)
    struct.pack_into("<hxxf", head, 0, len(counts) // 512, len(counts) * 0.1 / 1000)
    struct.pack_into("<fff2s10xh", head, 98, 0.1, per_count, 5.0, unit, 2048)
    head[168:172] = b"CDR "
    return bytes(head) + struct.pack(f"<{len(counts)}h", *counts)


def scan():
    """A SCAN recording: backslash-separated fields in 512 bytes, 12-bit words from byte 2048."""
    head = b"DT=0.1\\AD=5\\CU=pA\\BC=0.01\\IZ=3\\NBD=1\\NF=256\\NBA=3\\"
    return head.ljust(2048, b"\0") + struct.pack("<256h", *[(i * 97) % 4096 - 2048 for i in range(256)])


def wcp_records():
    """A WinWCP file of two records whose voltage range differs, the second REJECTED."""
    head = (b"VER=9\r\nNBH=1024\r\nADCMAX=2047\r\nNC=2\r\nNBA=1\r\nNBD=1\r\nNR=2\r\n"
            b"NP=4\r\nDT=0,001\r\nYU0=pA\r\nYG0=0.001\r\nYU1=mV\r\nYG1=0.01\r\nYZ1=5\r\n")
    out = head.ljust(1024, b"\0")
    for status, ranges in ((b"ACCEPTED", (10.0, 5.0)), (b"REJECTED", (2.5, 5.0))):
        block = status + b"TEST" + struct.pack("<3f2f", 1, 0, 0.001, *ranges)
        out += block.ljust(512, b"\0") + struct.pack("<8h", 1, -2, 300, 400, -2047, 2047, 0, 9)
        out = out.ljust(len(out) + 512 - 16, b"\0")
    return out


def abf(channels, samples):
    """An ABF 1.x file of a gap-free recording: header at byte 0, 16-bit samples from block 12."""
    head = bytearray(6144)
    head[0:4] = b"ABF "
    struct.pack_into("<hi", head, 8, 3, samples)            # nOperationMode 3, lActualAcqLength
    struct.pack_into("<i", head, 40, 12)                    # lDataSectionPtr
    struct.pack_into("<hf", head, 120, channels, 100.0)     # nADCNumChannels, fADCSampleInterval
    struct.pack_into("<f", head, 244, 10.0)                 # fADCRange
    struct.pack_into("<i", head, 252, 32768)                # lADCResolution
    struct.pack_into("<16h", head, 410, *range(16))         # nADCSamplingSeq
    head[602:602 + 16 * 8] = b"pA      " * 16               # sADCUnits
    struct.pack_into("<16f", head, 730, *[1.0] * 16)        # fADCProgrammableGain
    struct.pack_into("<16f", head, 922, *[1.0] * 16)        # fInstrumentScaleFactor
    struct.pack_into("<16f", head, 1050, *[1.0] * 16)       # fSignalGain
    struct.pack_into("<16f", head, 1178, *[5000.0] * 16)    # fSignalLowpassFilter
    return bytes(head) + struct.pack(f"<{samples}h", *[(i * 37) % 2001 - 1000 for i in range(samples)])


def tables():
    return {
        "any.txt": b"\x01\x02\x00" + b"0\t1.5\t-2\n0.1\t2.5\t3\n0.2\t-1\t4e-3\n",
        "cell.atf": b'ATF 1.0\n1 3\n"AcquisitionMode=Episodic Stimulation"\n'
                    b'"Time (s)"\t"Trace #1 (pA)"\t"Trace #2 (pA)"\n0\t1\t2\n0.0001\t-3\t4\n',
        "fura.txt": b"Time\tRatio 340/380\tTime\tD1 340 nm\n0.5\t1\t0.5\t2\n1.0\t0.5\t1.0\t1\n",
        "run.csv": b'"Sample rate: 200 Hz"\nTime,CH1 (V),CH2 (mV)\n0,0.001,4\n0.005,0.002,-2\n',
    }


def raw():
    return bytes([0, 2, 100, 2]) + struct.pack("<6f", 0.0, 1.5, -2.0, 3.25, 0.0, -0.5)


def pulse_text():
    lines = ["IGOR"]
    for sweep in (1, 2):
        for trace in (1, 2):
            name = f"Pulse_1_1_{sweep}_{trace}"
            lines += [f"WAVES/D {name}", "BEGIN", f"\t{sweep * 1e-12}", f"\t{-trace * 1e-12}", "END",
                      f'X SetScale/P x 0,2e-05,"s", {name}; SetScale d 0,0,"A", {name}']
    return ("\r\n".join(lines) + "\r\n").encode("ascii")


def acq_graph(order, revision, interval, channel_bytes, channels, types, samples):
    """An AcqKnowledge graph in byte order `order`: the graph header (revision, 24, the channel
    count, the interval at byte 16), one channel header of `channel_bytes` per (name, sample
    count, amplitude scale, divider of the later revisions), the size and type of each, samples."""
    out = struct.pack(order + "hiih", 0, revision, 24, len(channels)).ljust(16, b"\0")
    out += struct.pack(order + "d", interval)
    for name, count, scale, divider in channels:
        head = struct.pack(order + "ih", channel_bytes, 1) + name.ljust(40, b"\0")
        head = head.ljust(68, b"\0") + b"mV".ljust(20, b"\0")
        head += struct.pack(order + "idd", count, scale, 0.0)
        out += head.ljust(channel_bytes - 2, b"\0") + struct.pack(order + "h", divider)
    return out + struct.pack(order + "h4x4h", 6, *types) + samples


def ltp():
    """An LTP ASCII sweep file of two AD channels."""
    return (b'"LTP_ASF"  "2.18V"\r\n"NumSamples"  3\r\n"SampleInterval_ms"  0.1\r\n'
            b'"Rs_NumSamples"  0\r\n"AD_Chs"  "AD0"  "AD1"  "AD0_Rs"  "AD1_Rs"\r\n'
            b'"AD_DataType"  "mV"  "pA"\r\n\r\n1.5  -2\r\n0.25  200\r\n-7  4.125\r\n')


def patchmaster():
    """A little-endian bundle: one group, one series of two sweeps of one int16 trace."""
    sizes = [16, 64, 64, 56, 128]
    data = struct.pack("<6h", 1, -2, 3, 4, -5, 6)
    tree = b"eerT" + struct.pack("<6i", 5, *sizes)
    record = lambda size, label, children: (
        struct.pack("<i", 0) + label.ljust(size - 4, b"\0") + struct.pack("<i", children))
    tree += record(16, b"", 1) + record(64, b"G1", 1) + record(64, b"IV", 2)
    for sweep in range(2):
        trace = bytearray(128)
        trace[4:9] = b"I-mon"
        struct.pack_into("<ii", trace, 40, 256 + 6 * sweep, 3)
        struct.pack_into("<H", trace, 64, 1)  # little-endian samples, int16 (format 0 at 70)
        struct.pack_into("<d", trace, 72, 1e-12)
        trace[96:97] = b"A"
        struct.pack_into("<d", trace, 104, 1e-4)
        tree += record(56, b"", 1) + bytes(trace) + struct.pack("<i", 0)
    head = b"DAT2".ljust(48, b"\0") + struct.pack("<i", 2) + b"\1" + bytes(11)
    head += struct.pack("<ii", 256, len(data)) + b".dat".ljust(8, b"\0")
    head += struct.pack("<ii", 256 + len(data), len(tree)) + b".pul".ljust(8, b"\0")
    return head.ljust(256, b"\0") + data + tree


def mat5(variables):
    """An uncompressed MAT-file of version 5: the 128-byte header, then one matrix element per
    variable (array flags, dimensions, name, real part), each element padded to 8 bytes."""
    def element(kind, payload):
        return struct.pack("<II", kind, len(payload)) + payload + bytes(-len(payload) % 8)
    data = b"MATLAB 5.0 MAT-file, fuzz seed".ljust(124) + struct.pack("<H", 0x0100) + b"IM"
    for name, matlab_class, dims, kind, fmt, values in variables:
        data += element(14, element(6, struct.pack("<II", matlab_class, 0)) +
                        element(5, struct.pack(f"<{len(dims)}i", *dims)) + element(1, name) +
                        element(kind, struct.pack(f"<{len(values)}{fmt}", *values)))
    return data


def samples(*names):
    """Real files written by other software, where the samples folder is present."""
    folder = os.environ.get("CONVORA_SAMPLES_DIR",
                            os.path.join(os.path.dirname(__file__), "..", "..", "shared", "samples"))
    found = {}
    for name in names:
        path = os.path.join(folder, name)
        if os.path.isfile(path) and os.path.getsize(path) <= 64 * 1024:
            with open(path, "rb") as source:
                found[os.path.basename(name)] = source.read()
    return found


SEEDS = {
    "fuzz_axograph": {"v1.axg": axograph()},
    "fuzz_igor_binary": {"pc.ibw": igor_binary(False), "mac.ibw": igor_binary(True)},
    "fuzz_igor_text": {"wave.itx": igor_text()},
    "fuzz_cdr": {"rec.cdr": cdr()},
    "fuzz_binary": {"raw.dat": raw()},
    "fuzz_ascii": tables(),
    "fuzz_abf_tools": {"one.abf": abf(1, 300), "two.abf": abf(2, 301)},
    "fuzz_known_file": {"v1.axg": axograph(), "pc.ibw": igor_binary(False),
                        "wave.itx": igor_text(), "rec.cdr": cdr()},
    "fuzz_igor5": samples("ibw/igor2_win-version5.ibw", "ibw/igor2_mac-version5.ibw"),
    "fuzz_igor_text_waves": {"pulse.itx": pulse_text()},
    "fuzz_igor_text_layout": {"pulse.itx": pulse_text()},
    "fuzz_abf2": samples("abf/myokit_abf-v2_ABF2.abf"),
    "fuzz_cfs": samples("ced/m0ose01_test_data.cfs"),
    "fuzz_strathclyde": {**samples("strathclyde/myokit_wcp-file.wcp"),
                         "records.wcp": wcp_records()},
    "fuzz_scan": {"rec.SCA": scan()},
    # A Macintosh 3.x graph of two int16 channels; a PC 3.7 graph of an int16 channel at the
    # graph's rate and a double at half of it.
    "fuzz_acqknowledge": {
        "mac.acq": acq_graph(">", 35, 10.0, 132, ((b"ECG", 3, 0.01, 0), (b"Resp", 3, 0.01, 0)),
                             (2, 2, 2, 2), struct.pack(">6h", 1, -1, 200, -200, 30, 0)),
        "later.acq": acq_graph("<", 38, 0.5, 252, ((b"ECG", 4, 0.5, 1), (b"Resp", 2, 0.5, 2)),
                               (2, 2, 8, 1), struct.pack("<hdhhdh", 1, 0.25, 2, 3, -0.5, 4))},
    "fuzz_ltp": {"sweep.p0": ltp()},
    "fuzz_spike2": samples("ced/neo_Burst_Data_as_Events.smr"),
    "fuzz_patchmaster": {"cell.dat": patchmaster()},
    # int16 (class 10, miINT16 3) 2 x 4 and a double (class 6, miDOUBLE 9) dt.
    "fuzz_matlab": {"rule3.mat": mat5([(b"data", 10, (2, 4), 3, "h", range(-4, 4)),
                                       (b"dt", 6, (1, 1), 9, "d", [1e-4])]),
                    **samples("matlab/matio_test_le.mat")},
}

if __name__ == "__main__":
    for target, files in SEEDS.items():
        folder = os.path.join(sys.argv[1], target)
        os.makedirs(folder, exist_ok=True)
        for name, data in files.items():
            with open(os.path.join(folder, name), "wb") as out:
                out.write(data)
