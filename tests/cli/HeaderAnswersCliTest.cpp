// How set-interval and set-unit read their answers.

#include <gtest/gtest.h>

#include "CliRunner.h"
#include "abf/AbfHeader.h"

namespace convora::test {
namespace {

AbfHeader HeaderWithSlot3Unused() {
  AbfHeader header = PlainAbfHeader(2);
  header.Set(abf::nADCSamplingSeq, 2, std::int16_t{-1});
  return header;
}

TEST(HeaderAnswersCli, ANumberWithItsUnitIsReadAndTextWithoutANumberIsRefused) {
  TempDir dir;
  WriteFile(dir / "two.abf", AbfBytes(Ramp(4), 2));
  EXPECT_EQ(Convora(dir, "set-interval --interval 50us two.abf").status, 0);
  EXPECT_EQ(HeaderOf(ReadFile(dir / "two.abf")).Get(abf::fADCSampleInterval), 50.0f);

  const Bytes before = ReadFile(dir / "two.abf");
  const Outcome words = Convora(dir, "set-interval --interval abc two.abf");
  EXPECT_EQ(words.status, 1);
  EXPECT_EQ(ReadFile(dir / "two.abf"), before);
  EXPECT_TRUE(HasLine(words.err, "error: " + (dir / "two.abf").string() +
                                     ": the sample interval \"abc\" is not a number\n"));
  // Slot 3 of the plain header names a channel: it is edited, and the user told.
  const Outcome beyond = Convora(dir, "set-unit --channel 3 --unit mV two.abf");
  EXPECT_EQ(beyond.status, 0);
  EXPECT_TRUE(HasLine(beyond.err, "notice: " + (dir / "two.abf").string() +
                                      ": channel 3 is beyond this file's 2 channels;"));
  // Slot 3 of this header names no channel.
  WriteFile(dir / "two.abf", AbfBytes(HeaderWithSlot3Unused(), Ramp(4)));
  const Bytes unused = ReadFile(dir / "two.abf");
  const Outcome third = Convora(dir, "set-unit --channel 3 --unit mV two.abf");
  EXPECT_EQ(third.status, 1);
  EXPECT_TRUE(HasLine(third.err, "error: " + (dir / "two.abf").string() +
                                     ": channel number \"3\": this file has 2 channels\n"));
  EXPECT_EQ(ReadFile(dir / "two.abf"), unused);
}

}  // namespace
}  // namespace convora::test
