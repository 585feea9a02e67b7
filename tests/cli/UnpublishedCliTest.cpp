// Every row of the recognition table, on a file that carries no more than its
// signature: the file converts, or is refused with a reason, or (for formats
// whose layout is not published) the user is told what to do instead. Never
// a bare "no converter yet".

#include <gtest/gtest.h>

#include "CliRunner.h"

namespace convora::test {
namespace {

struct Row {
  const char* name;  // the output is the name up to its first "." plus ".ABF"
  Bytes bytes;
  // The message a format that has nothing to convert shows (a line of its own),
  // or the notice of a format whose layout is not published.
  const char* said = nullptr;
};

ByteBuilder At(std::size_t offset) { return std::move(ByteBuilder().PadTo(offset)); }
// Signatures as the recognition table tests them, in files of 1001 bytes (a
// multiple of none of the record lengths) unless a row needs another length.
Bytes Plain(const ByteBuilder& head) { return ByteBuilder(head).PadTo(1001).Get(); }

TEST(UnpublishedCli, EveryRowConvertsRefusesOrSaysWhatToDoInstead) {
  const std::vector<Row> rows = {
      {"r01", Plain(At(0).Text("ABF ")), "ABF File: This is an Axon Binary File."},
      {"r02", Plain(At(298).Text("Vestralinkor")), "Vestralinkor Event File: This is an Event"},
      {"r03", Plain(At(0).Text("AxGr")), "Convora: Only supports Axograph file version 1."},
      {"r04", Plain(At(0).Text("MATLAB 5.0"))},
      {"r05", Plain(At(0).Text("VER=6"))},
      {"r06.Sca", Plain(At(0).Text("DT="))},
      {"r07.WCP", Plain(At(0).Text("VER="))},
      {"r08", Plain(At(43).Text("ELSAA")), "an ELSAA data file"},
      {"r09", Plain(At(2).Text("(C) CED"))},
      {"r10", Plain(At(0).Text("IGOR"))},
      {"r11", Plain(At(0).Int16LE(2).PadTo(16).Int16LE(2))},  // a wave of floats
      {"r12.ibw", Plain(At(0).Int16LE(5))},
      {"r13", Plain(At(0).Text({"A\0D\0I\0n\0s\0t", 11})), "export the recording from Chart"},
      {"r14", At(8146).Int16LE(3).PadTo(8192).Get(), "a Torvane Axobasic data file"},
      {"r15", Plain(At(0).Text("DATE").PadTo(15).Text("TIME")), "a Racal Heim"},
      {"r16", Plain(At(0).Text("CEDFILE"))},
      {"r17", Plain(At(0).Text("TIDA\x01")), "a WinTIDA file"},
      {"r18", Plain(At(506).Text("TIDA")), "a TIDA file"},
      {"r19", At(510).Int16LE(9999).PadTo(1024).Get(), "a Lumira short-integer file"},
      {"r20", At(14).Int16LE(32767).PadTo(92).Int16LE(150).PadTo(400).Get(), "a Lumira long"},
      {"r21", Bytes(16000, 7), "its length is a multiple of 8000 bytes"},
      {"r22", Plain(At(0).Int16LE(1).Int32LE(70)), "an Ostrel data file"},
      {"r23", Plain(At(0).Text("WD")), "a DataQuest A.R.T file"},
      {"r24", Plain(At(2).Int32BE(35))},
      {"r25", Plain(At(2).Int32LE(36))},
      {"r26", Plain(At(169).Text("CDR"))},
      {"r27", TextBytes("\"LTP_ASF\" \"2.18V\"\n\"NumSamples\" 2\n\"SampleInterval_ms\" 0.1\n"
                        "\"AD_Chs\" \"AD0\"\n\"AD_DataType\" \"mV\"\n1.5\n-2\n")},
      {"r28", Plain(At(0).Text("ABF2"))},
      {"r29", Plain(At(2).Int32LE(38).Int32LE(24).Int16LE(1))},
      {"r30", Plain(At(0).Text("DAT2").PadTo(48).Int32LE(3).Raw({1}))},
  };
  TempDir dir;
  std::string files;
  for (const Row& row : rows) {
    WriteFile(dir / row.name, row.bytes);
    files += std::string(" ") + row.name;
  }
  const Outcome run = Convora(dir, "convert" + files);
  EXPECT_EQ(run.status, 1);  // some files end in errors
  for (const Row& row : rows) {
    const std::string path = (dir / row.name).string();
    const std::string output = path.substr(0, path.find('.', dir.Path().string().size())) + ".ABF";
    const bool converted = HasLine(run.out, output + "\n");
    const bool refused = HasLine(run.err, "error: " + path + ": ");
    const bool told =
        row.said && (HasLine(run.err, row.said) || (HasLine(run.err, "notice: " + path + ": ") &&
                                                    run.err.find(row.said) != std::string::npos));
    EXPECT_TRUE(converted || refused || told) << row.name << "\n" << run.err;
    EXPECT_EQ(told, row.said != nullptr) << row.name;
  }
  // The LTP file is the one that holds a recording.
  EXPECT_TRUE(HasLine(run.out, (dir / "r27.ABF").string() + "\n")) << run.out;
  // What to do instead: the raw binary conversion, or an export (Chart).
  EXPECT_NE(run.err.find("convora binary"), std::string::npos);
}

}  // namespace
}  // namespace convora::test
