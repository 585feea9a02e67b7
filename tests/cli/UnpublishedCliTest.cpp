// The rows whose formats have no published layout: each still matches, and
// says what the user can do instead of converting.

#include <gtest/gtest.h>

#include "CliRunner.h"

namespace convora::test {
namespace {

struct Row {
  const char* name;
  Bytes bytes;
  const char* said;
};

ByteBuilder At(std::size_t offset) { return std::move(ByteBuilder().PadTo(offset)); }

TEST(UnpublishedCli, EachRowNamesWhatWasRecognisedAndWhatToDoInstead) {
  // Signatures as the recognition table tests them, in files of 1001 bytes
  // (a multiple of none of the record lengths) unless a row needs another.
  const std::vector<Row> rows = {
      {"elsaa", At(43).Text("ELSAA").PadTo(1001).Get(), "an ELSAA data file"},
      {"chart", At(0).Text({"A\0D\0I\0n\0s\0t", 11}).PadTo(1001).Get(), "Chart for Windows"},
      {"torvane", At(8146).Int16LE(3).PadTo(8192).Get(), "a Torvane Axobasic data file"},
      {"racal", At(0).Text("DATE").PadTo(15).Text("TIME").PadTo(1001).Get(), "a Racal Heim"},
      {"wintida", At(0).Text("TIDA\x01").PadTo(1001).Get(), "a WinTIDA file"},
      {"tida", At(506).Text("TIDA").PadTo(1001).Get(), "a TIDA file"},
      {"short", At(510).Int16LE(9999).PadTo(1024).Get(), "a Lumira short-integer file"},
      {"long", At(14).Int16LE(32767).PadTo(92).Int16LE(150).PadTo(400).Get(), "a Lumira long"},
      {"brenlow", Bytes(16000, 7), "its length is a multiple of 8000 bytes"},
      {"ostrel", At(0).Int16LE(1).Int32LE(70).PadTo(1001).Get(), "an Ostrel data file"},
      {"dataquest", At(0).Text("WD").PadTo(1001).Get(), "a DataQuest A.R.T file"},
  };
  TempDir dir;
  for (const Row& row : rows) {
    WriteFile(dir / row.name, row.bytes);
    const Outcome run = Convora(dir, std::string("convert ") + row.name);
    EXPECT_EQ(run.status, 1) << row.name;  // nothing written
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(HasLine(run.err, "notice: " + (dir / row.name).string() + ": ")) << run.err;
    EXPECT_NE(run.err.find(row.said), std::string::npos) << run.err;
    // What to do instead: the raw binary conversion, or an export (Chart).
    EXPECT_TRUE(run.err.find("convora binary") != std::string::npos ||
                run.err.find("export the recording from Chart") != std::string::npos)
        << row.name;
  }
}

}  // namespace
}  // namespace convora::test
