#include "ascii/AxonText.h"

#include <gtest/gtest.h>

#include <string>

#include "unit/ascii/AsciiExpected.h"

namespace convora::test {
namespace {

// Two sweeps of two signals, times in ms. Current (pA): sweep 1 = 1, 2, sweep 2
// = -2, 1 (peak 2); voltage 4, -2 then 0, 1 mV (given in V, peak 4).
const std::string kEpisodic =
    "ATF\t1.0\n"
    "2\t5\n"
    "\"AcquisitionMode=Episodic Stimulation\"\n"
    "\"Comment=\"\n"
    "\"Time (ms)\"\t\"Trace #1 (pA)\"\t\"Trace #1 (V)\"\t\"Trace #2 (pA)\"\t\"Trace #2 (V)\"\n"
    "0\t1\t0.004\t-2\t0\n"
    "0.1\t2\t-0.002\t1\t0.001\n";

TEST(AxonText, TracesOfOneSignalBecomeEpisodesWithASynchArray) {
  BenchFixture f;
  // Rows 0.1 ms apart: 100 us, 50 between the interleaved samples; 8 x 50 / 1e6 s.
  AbfHeader h = TableHeader(8, 50.0f, 0.0004f, {{"pA", kPeak2}, {"mV", kPeak4}});
  h.Set(abf::nOperationMode, std::int16_t{5});
  h.Set(abf::lActualEpisodes, 2);
  h.Set(abf::lEpisodesPerRun, 2);
  h.Set(abf::lNumSamplesPerEpisode, 4);
  // 16 bytes of samples from block 12: the synch array starts at block 13.
  h.Set(abf::lSynchArrayPtr, 13);
  h.Set(abf::lSynchArraySize, 2);
  h.Set(abf::fSynchTimeUnit, 0.0f);
  ByteBuilder data;
  // Sweep 1 rows (1 pA, 4 mV), (2, -2); sweep 2 (-2, 0), (1, 1):
  // 1 -> 8191, 2 -> 16383, -2 -> -16385 (peak 2); 4 -> 16383, -2 -> -8193,
  // 0 -> -1, 1 -> 4095 (peak 4).
  for (const std::int16_t s : {8191, 16383, 16383, -8193, -16385, -1, 8191, 4095}) {
    data.Int16LE(s);
  }
  data.PadTo(512).Int32LE(0).Int32LE(4).Int32LE(4).Int32LE(4);
  EXPECT_EQ(Converted(f, ConvertAxonText, "cell.atf", TextBytes(kEpisodic)),
            RawAbfImage(h, data.Get()));
  EXPECT_TRUE(f.prompter.Transcript().empty());
  // The sweep table is this file's alone; the next conversion starts gap-free.
  EXPECT_EQ(f.bench.TemplateHeader.Get(abf::lSynchArraySize), 0);
  EXPECT_EQ(f.bench.TemplateHeader.Get(abf::nOperationMode), 3);
}

TEST(AxonText, SignalColumnsWithoutTimeAreChannelsAndTheIntervalIsAsked) {
  BenchFixture f;
  f.prompter.AnswerInput("interval", "20");
  // CR line ends; a comma-separated table; unit "nA" kept as it is.
  const Bytes text = TextBytes("ATF 1.0\r0 2\r\"Ia (nA)\",\"Ib (nA)\"\r1,-4\r-1,0.5\r");
  // a (peak 1): 1 x 16383.99963 - 1 -> 16383, -1 -> -16385.
  // b (peak 4): -4 -> -16385, 0.5 x 4095.99991 - 1 = 2046.99996 -> 2047.
  // 20 us a row, 10 between the interleaved samples; 4 x 10 / 1e6 s.
  const AbfHeader h = GapFree(TableHeader(4, 10.0f, 4e-5f, {{"nA", kPeak1}, {"nA", kPeak4}}));
  EXPECT_EQ(Converted(f, ConvertAxonText, "plain.atf", text),
            AbfImage(h, {16383, -16385, -16385, 2047}));
  EXPECT_EQ(f.prompter.Transcript(),
            std::vector<std::string>{
                "Input Sample Interval: Please enter the sample interval in microsecond"});
}

TEST(AxonText, RefusalsNameTheLine) {
  BenchFixture f;
  f.prompter.AnswerInput("interval", "0");  // for the last file, the only one asked
  // clang-format off
  ExpectErrors(f, ConvertAxonText, "bad.atf", {
    {TextBytes("ABF\t1.0\n0\t1\n\"x\"\n1\n"), "line 1: not an Axon Text File"},
    {TextBytes("ATF\t1.0\nx\t2\n"), "line 2: the header record count \"x\""},
    {TextBytes("ATF\t1.0\n1\t3\n\"r\"\n\"Time (s)\"\t\"I (pA)\"\n"),
            "line 4: 2 column titles, but line 2 announces 3"},
    {TextBytes("ATF\t1.0\n0\t2\n\"Time (h)\"\t\"I\"\n"), "line 3: the time unit \"h\""},
    {TextBytes("ATF\t1.0\n0\t4\n\"Time (s)\"\t\"Trace #1 (pA)\"\t\"Trace #1 (mV)\"\t"
               "\"Trace #2 (pA)\"\n"),
            "line 3: trace #2 has 1 columns, the first trace has 2"},
    {TextBytes("ATF\t1.0\n3\t2\n\"r\"\n"), "ends before its column titles"},
    // Rows need time between them; an Igor text wave takes any number.
    {TextBytes("ATF 1.0\r0 1\r\"I (nA)\"\r1\r-1\r"),
            "the sample interval \"0\" is not a positive number"}});
  // clang-format on
}

}  // namespace
}  // namespace convora::test
