#include <gtest/gtest.h>

#include "abf/ConvoraError.h"
#include "formats/igortext/IgorTextWaves.h"
#include "support/ExpectedAbf.h"

namespace convora {
namespace {

// Lines joined with `ending`.
std::string Text(const std::vector<std::string>& lines, const std::string& ending) {
  std::string text;
  for (const auto& line : lines) text += line + ending;
  return text;
}

// A Pulse "full sweep" export: one wave per sweep and trace, its scale in X lines.
std::vector<std::string> PulseExport() {
  std::vector<std::string> lines = {"IGOR"};
  for (int sweep = 1; sweep <= 3; ++sweep) {
    for (int trace = 1; trace <= 2; ++trace) {
      const std::string name = "Pulse_1_1_" + std::to_string(sweep) + "_" + std::to_string(trace);
      lines.insert(lines.end(), {"WAVES/D " + name, "BEGIN"});
      for (int i = 0; i < 2; ++i)
        lines.push_back("\t" + std::to_string(sweep * (trace == 1 ? 1 : -1) * (i + 1)));
      lines.insert(lines.end(),
                   {"END", "X SetScale/P x 0,2e-05,\"s\", " + name + "; SetScale d 0,0,\"" +
                               (trace == 1 ? "A" : "mV") + "\", " + name});
    }
  }
  return lines;
}

using IgorTextWavesEndings = testing::TestWithParam<std::string>;

TEST_P(IgorTextWavesEndings, APulseExportBecomesSweepsOfTraces) {
  test::BenchFixture f;
  const auto file = test::Converted(f, ConvertPulseItx2, "cell.itx",
                                    test::TextBytes(Text(PulseExport(), GetParam())));
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::lActualEpisodes), 3);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 2);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 10.0f);
  EXPECT_EQ(h.Get(abf::sADCUnits, 0), "pA      ");
  // Each trace is scaled to its peak over all sweeps (6e12 pA and -6 mV at half scale).
  EXPECT_EQ(test::SamplesOf(file, 4), (std::vector<std::int16_t>{2731, -2731, 5461, -5461}));
}

INSTANTIATE_TEST_SUITE_P(IgorTextWaves, IgorTextWavesEndings, testing::Values("\r\n", "\n", "\r"),
                         [](const auto& info) { return std::to_string(info.index); });

TEST(IgorTextWaves, WavesOfTheFirstLengthAreOneRecordingAndTheRestAreNamed) {
  test::BenchFixture f;
  f.prompter.AnswerInput("interval", "50");  // no SetScale: the interval is asked
  const auto file = test::Converted(
      f, ConvertPulseItx2, "w.itx",
      test::TextBytes("IGOR\nWAVES/D a, 'b'\nBEGIN\n1 -2\n3 4\nEND\nWAVES c\nBEGIN\n5\n"
                      "END\nWAVES/T t\nBEGIN\n\"x\"\nEND\n"));
  EXPECT_EQ(test::HeaderOf(file).Get(abf::fADCSampleInterval), 25.0f);
  EXPECT_EQ(test::SamplesOf(file, 4), (std::vector<std::int16_t>{5461, -8192, 16384, 16384}));
  const auto& t = f.prompter.Transcript();
  for (const char* notice : {"left out, for their length or series: c",
                             "text waves are not converted: t"}) {
    EXPECT_NE(std::find(t.begin(), t.end(), test::Notice(f.bench.SelectedFilePath, notice)),
              t.end());
  }
}

TEST(IgorTextWaves, WhatCannotBeReadIsRefusedByLineOrName) {
  test::BenchFixture f;
  test::ExpectErrors(
      f, ConvertPulseItx2, "w.itx",
      {{test::TextBytes("IGOR\nWAVES/T t\nBEGIN\n\"x\"\nEND\n"), "no numeric wave"},
       {test::TextBytes("IGOR\nWAVES a b\nBEGIN\n1\nEND\n"), "line 4: 1 values for 2 waves"},
       {test::TextBytes("IGOR\nWAVES a\nBEGIN\n1\n"), "no END line"},
       {test::TextBytes("IGOR\nWAVES a\nBEGIN\nx1\nEND\n"), "line 4: \"x1\" is not a number"}});
}

}  // namespace
}  // namespace convora
