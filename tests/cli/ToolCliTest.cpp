// The ABF editing commands, run as the real program.

#include <gtest/gtest.h>

#include "CliRunner.h"
#include "support/ExpectedAbf.h"

namespace convora::test {
namespace {

Bytes SmallAbf(std::int32_t samples) {
  return AbfImage(AbfToEdit(samples), Ramp(static_cast<std::size_t>(samples), 0, 10));
}

TEST(ToolCli, MergeListsInOrderRefusesOthersAndWritesIntoTheGivenFolder) {
  TempDir dir;
  std::filesystem::create_directory(dir / "out");
  WriteFile(dir / "a.abf", SmallAbf(300));
  AbfHeader fast = AbfToEdit(200);
  fast.Set(abf::fADCSampleInterval, 20.0f);
  WriteFile(dir / "b.abf", AbfImage(fast, Ramp(200, 0, 10)));
  WriteFile(dir / "notes.txt", Bytes(100, 'x'));
  const Outcome run = Convora(dir, "merge --yes --name joined --dir out a.abf notes.txt b.abf");
  EXPECT_EQ(run.status, 1);  // notes.txt was refused
  EXPECT_EQ(run.out, (dir / "out" / "joined.ABF").string() + "\n");
  EXPECT_TRUE(HasLine(run.err, "Not an ABF File: " + (dir / "notes.txt").string() +
                                   " is NOT an Axon Binary File.  You can only merge ABF files.\n"));
  EXPECT_TRUE(HasLine(run.err, Notice(dir / "b.abf",
                                      "merged under the settings of " + (dir / "a.abf").string() +
                                          ", which differ from its own: sample interval (us) "
                                          "20 (100) (its own value, then the first file's)\n")));
  EXPECT_EQ(HeaderOf(ReadFile(dir / "out" / "joined.ABF")).Get(abf::lActualAcqLength), 500);

  // Without --yes and without a terminal the warning is answered Cancel.
  const Outcome declined = Convora(dir, "merge a.abf b.abf");
  EXPECT_EQ(declined.status, 1);
  EXPECT_EQ(declined.out, "");
  EXPECT_FALSE(std::filesystem::exists(dir / "ABFMerge.ABF"));
  EXPECT_EQ(Convora(dir, "merge --yes a.abf").status, 1);  // one file: nothing to merge
}

TEST(ToolCli, EditsInPlaceAndReportsWhatCannotBeDone) {
  TempDir dir;
  WriteFile(dir / "a.abf", SmallAbf(4));
  const Outcome edited = Convora(dir, "set-unit --unit mV --scale 0.5 a.abf");
  EXPECT_EQ(edited.status, 0);
  EXPECT_EQ(edited.out, (dir / "a.abf").string() + "\n");
  EXPECT_EQ(HeaderOf(ReadFile(dir / "a.abf")).Get(abf::sADCUnits, 0), "mV      ");

  // A number with its unit is read; text without a number is refused.
  EXPECT_EQ(Convora(dir, "set-interval --interval 50us a.abf").status, 0);
  EXPECT_EQ(HeaderOf(ReadFile(dir / "a.abf")).Get(abf::fADCSampleInterval), 50.0f);
  const Bytes before = ReadFile(dir / "a.abf");
  const Outcome refused = Convora(dir, "set-interval --interval fast a.abf");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err,
            "error: " + (dir / "a.abf").string() + ": the sample interval \"fast\" is not a number\n");
  EXPECT_EQ(ReadFile(dir / "a.abf"), before);

  EXPECT_EQ(Convora(dir, "downscale --output scaled.abf a.abf").out,
            (dir / "scaled.abf").string() + "\n");
}

// A channel beyond the file's count is edited with a notice while its slot of
// the sampling sequence names a channel, and refused once it names none.
TEST(ToolCli, SetUnitBeyondTheChannelCountFollowsTheSamplingSequence) {
  TempDir dir;
  AbfHeader header = PlainAbfHeader(2);
  header.Set(abf::lActualAcqLength, 4);
  WriteFile(dir / "two.abf", AbfBytes(header, Ramp(4)));
  const Outcome beyond = Convora(dir, "set-unit --channel 3 --unit mV two.abf");
  EXPECT_EQ(beyond.status, 0);
  EXPECT_TRUE(
      HasLine(beyond.err, Notice(dir / "two.abf", "channel 3 is beyond this file's 2 channels;")));
  header.Set(abf::nADCSamplingSeq, 2, std::int16_t{-1});
  WriteFile(dir / "two.abf", AbfBytes(header, Ramp(4)));
  const Bytes unused = ReadFile(dir / "two.abf");
  const Outcome third = Convora(dir, "set-unit --channel 3 --unit mV two.abf");
  EXPECT_EQ(third.status, 1);
  EXPECT_TRUE(HasLine(third.err, "error: " + (dir / "two.abf").string() +
                                     ": channel number \"3\": this file has 2 channels\n"));
  EXPECT_EQ(ReadFile(dir / "two.abf"), unused);
}

TEST(ToolCli, AFilterStopEndsTheRunAndNamesTheFilesLeft) {
  TempDir dir;
  WriteFile(dir / "a.abf", SmallAbf(20));
  WriteFile(dir / "b.abf", SmallAbf(20));
  const Outcome stopped = Convora(dir, "filter --pre 10 --new 2 a.abf b.abf");
  EXPECT_EQ(stopped.status, 1);
  // The numbers would pass; the texts do not, and the user is told how to write them.
  EXPECT_EQ(stopped.err,
            "notice: " + (dir / "a.abf").string() +
                ": the frequencies are compared as texts, and \"10\" does not sort after \"2\"; "
                "written as \"02\" (--new 02), the new frequency passes\n"
                "Filter Frequency: The pre-filter frequency should be bigger than new filter "
            "prequency.  Please try again.\nnotice: " +
                (dir / "b.abf").string() + ": not processed, the run ended at an earlier file\n");

  const Outcome filtered = Convora(dir, "filter --pre 10 --new 02 a.abf");
  EXPECT_EQ(filtered.status, 0);
  EXPECT_EQ(filtered.out, (dir / "aFilter.ABF").string() + "\n");
}

}  // namespace
}  // namespace convora::test
