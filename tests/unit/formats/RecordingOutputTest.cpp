#include <gtest/gtest.h>

#include <cmath>

#include "abf/ConvoraError.h"
#include "formats/RecordingOutput.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

// Values of channel c at scan s of sweep w: a table the test fills.
// When `threads`, it is copied for other threads, and when `counts`, it hands
// its values over as counts too.
class TableReader : public ScanReader {
 public:
  TableReader(std::size_t channels, std::int64_t scans, std::vector<double> values, bool threads,
              bool counts)
      : channels_(static_cast<std::int64_t>(channels)), scans_(scans),
        values_(std::make_shared<const std::vector<double>>(std::move(values))),
        threads_(threads), counts_(counts) {}
  void ReadScans(std::int64_t sweep, std::int64_t first, std::span<double> out) override {
    std::copy_n(values_->begin() + From(sweep, first), out.size(), out.begin());
  }
  bool ReadsCounts() const override { return counts_; }
  void ReadCounts(std::int64_t sweep, std::int64_t first, std::span<std::int16_t> out) override {
    std::copy_n(values_->begin() + From(sweep, first), out.size(), out.begin());
  }
  std::unique_ptr<ScanReader> ForAnotherThread() const override {
    return threads_ ? std::make_unique<TableReader>(*this) : nullptr;
  }

 private:
  std::ptrdiff_t From(std::int64_t sweep, std::int64_t first) const {
    return static_cast<std::ptrdiff_t>((sweep * scans_ + first) * channels_);
  }
  std::int64_t channels_;
  std::int64_t scans_;
  std::shared_ptr<const std::vector<double>> values_;
  bool threads_;
  bool counts_;
};

struct RecordingOutputTest : testing::Test {
  test::BenchFixture f;
  test::Bytes Write(const Recording& recording, std::vector<double> values, bool threads = false,
                    bool counts = false) {
    f.Select("rec.dat", {});
    TableReader reader(recording.channels.size(), recording.scansPerSweep, std::move(values),
                       threads, counts);
    return test::ReadFile(WriteRecording(f.bench, recording, reader));
  }
};

TEST_F(RecordingOutputTest, CountsKeepTheirValuesAndOtherValuesAreScaledToTheirPeak) {
  Recording r;
  // Counts with a zero level of 100 counts, volts (stored as mV) scaled to 2 V.
  r.channels = {{"Im", "A", 1e-12, -100e-12, true}, {"Vm\xC2\xB5", "V", 1.0, 0.0, false}};
  r.channelIntervalUs = 100;
  r.sweeps = 2;
  r.scansPerSweep = 2;
  r.start = LocalDateTime{2024, 3, 9, 10, 20, 30};
  const auto file = Write(r, {100, 2.0, 32867, -1.0, 99, 0.5, -32668, 0.0});

  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 2);
  EXPECT_EQ(h.Get(abf::nOperationMode), 5);
  EXPECT_EQ(h.Get(abf::lActualEpisodes), 2);
  EXPECT_EQ(h.Get(abf::lNumSamplesPerEpisode), 4);
  EXPECT_EQ(h.Get(abf::lActualAcqLength), 8);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 50.0f);
  EXPECT_EQ(h.Get(abf::lFileStartDate), 20240309);
  EXPECT_EQ(h.Get(abf::lFileStartTime), 37230);
  EXPECT_EQ(h.Get(abf::sADCUnits, 0), "pA      ");
  EXPECT_EQ(h.Get(abf::sADCUnits, 1), "mV      ");
  EXPECT_EQ(h.Get(abf::sADCChannelName, 1), "Vmu       ");
  EXPECT_EQ(h.Get(abf::nADCSamplingSeq, 2), -1);
  // 1 pA per count; the peak of 2000 mV at 16384 counts.
  EXPECT_EQ(h.Get(abf::fInstrumentScaleFactor, 0), static_cast<float>(10.0 / 32768));
  EXPECT_EQ(h.Get(abf::fInstrumentScaleFactor, 1), static_cast<float>(5.0 / 2000));
  EXPECT_EQ(test::SamplesOf(file, 8),
            (std::vector<std::int16_t>{0, 16384, 32767, -8192, -1, 4096, -32768, 0}));
  // The synch array follows the samples, block aligned: (start, length) per sweep.
  const std::size_t synch = static_cast<std::size_t>(h.Get(abf::lSynchArrayPtr)) * 512;
  ASSERT_EQ(file.size(), synch + 16);
  EXPECT_EQ(file[synch + 8], 4);
  // The next conversion of the run does not inherit the sweeps.
  EXPECT_EQ(f.bench.TemplateHeader.Get(abf::nOperationMode), 3);
}

TEST_F(RecordingOutputTest, CountsThatWouldOverflowWithTheirOffsetAreScaledInstead) {
  Recording r;
  r.channels = {{"a", "pA", 1.0, 10.0, true}};
  r.channelIntervalUs = 10;
  r.scansPerSweep = 2;
  const auto file = Write(r, {32767, -32768});
  // 32777 pA is the peak: at 16384 counts.
  EXPECT_EQ(test::SamplesOf(file, 2), (std::vector<std::int16_t>{16384, -16375}));
  EXPECT_EQ(test::HeaderOf(file).Get(abf::nOperationMode), 3);
}

TEST_F(RecordingOutputTest, SeventeenChannelsKeepSixteenAndNameTheRest) {
  Recording r;
  for (int c = 0; c < 17; ++c) r.channels.push_back({"c" + std::to_string(c), "mV", 1, 0, true});
  r.channelIntervalUs = 17;
  r.scansPerSweep = 1;
  const auto file = Write(r, std::vector<double>(17, 3.0));
  EXPECT_EQ(test::HeaderOf(file).Get(abf::nADCNumChannels), 16);
  EXPECT_EQ(test::HeaderOf(file).Get(abf::fADCSampleInterval), 17.0f / 16);
  EXPECT_EQ(f.prompter.Transcript().back(),
            test::Notice(f.bench.SelectedFilePath,
                         "an ABF 1.x file holds 16 channels; left out: channel 17 (c16)"));
}

// Large recordings are read in shares, one per core, each by a copy of the
// reader: the output is the one a single reader writes, whichever share holds
// the peak and wherever a share ends within a sweep.
TEST_F(RecordingOutputTest, SharesReadAtOnceWriteWhatOneReaderWrites) {
  Recording r;
  r.channels = {{"I", "pA", 1.0, 0.0, true}, {"V", "mV", 1.0, 0.0, true}};
  r.channelIntervalUs = 10;
  r.sweeps = 3;
  r.scansPerSweep = 700'001;
  std::vector<double> values(static_cast<std::size_t>(r.sweeps * r.scansPerSweep) * 2);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i % 4001) - 2000;
  values[values.size() - 1] = 30000;
  for (const bool counts : {false, true}) {
    const auto once = Write(r, values, false, counts);
    EXPECT_EQ(Write(r, values, true, counts), once) << counts;
  }
  r.channels[1].wholeCounts = false;  // scaled to the peak in the last share
  values[values.size() - 1] = 7e6;
  EXPECT_EQ(Write(r, values, true), Write(r, values));
}

TEST_F(RecordingOutputTest, RefusesWhatCannotBeStoredAndLeavesTheTemplateAlone) {
  const AbfHeader before = f.bench.TemplateHeader;
  Recording r;
  r.channels = {{"a", "mV", 1, 0, false}};
  r.channelIntervalUs = 10;
  r.scansPerSweep = 2;
  EXPECT_THROW(Write(r, {1.0, std::nan("")}), ConvoraError);
  r.channelIntervalUs = 0;
  EXPECT_THROW(Write(r, {1.0, 2.0}), ConvoraError);
  r.channels.clear();
  EXPECT_THROW(Write(r, {}), ConvoraError);
  EXPECT_EQ(f.bench.TemplateHeader.Bytes(), before.Bytes());
  EXPECT_TRUE(f.bench.List1.Entries().empty());
}

}  // namespace
}  // namespace convora
