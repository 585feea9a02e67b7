#include "formats/IgorTextMac.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "abf/SampleScaling.h"

// A Macintosh Igor text wave: heading lines, then one value per line, every
// data line starting with a tab after the previous line's carriage return. The
// text is cut at each carriage return + tab; what comes before the first cut
// is the heading and is skipped, and each later piece gives one value, the
// number it starts with. The text is read twice in bounded chunks (extremes,
// then samples), never held whole.

namespace convora {
namespace {

constexpr std::int64_t kChunkBytes = 1 << 16;
constexpr std::size_t kSamplesPerWrite = 1 << 15;

// Which characters may belong to a number, one entry per byte value: the
// scan asks this of every character of the file.
constexpr std::array<bool, 256> kMayBelongToNumber = [] {
  std::array<bool, 256> table{};
  for (const char c : std::string_view("0123456789+-.eEdD \t")) {
    table[static_cast<unsigned char>(c)] = true;
  }
  return table;
}();

inline bool MayBelongToNumber(char c) { return kMayBelongToNumber[static_cast<unsigned char>(c)]; }

// The start of a piece, as much of it as its leading number can use: the
// characters that may belong to a number, up to the first that cannot. A
// piece of any length thus costs a bounded amount of memory; a number written
// with more than kMaxNumberText characters is read from its first ones.
class PieceNumber {
 public:
  // Takes the characters of `run`, all of which may belong to a number.
  void Feed(std::string_view run) {
    const std::size_t room = kMaxNumberText - text_.size();
    text_.append(run.substr(0, room));
    if (run.size() >= room) ended_ = true;
  }
  void End() { ended_ = true; }
  bool Ended() const { return ended_; }

  double Value() const { return LeadingNumber(text_); }

 private:
  static constexpr std::size_t kMaxNumberText = 4096;

  std::string text_;
  bool ended_ = false;
};

// Calls `onValue` with the values of pieces 1, 2, ... in order, each the
// number its piece starts with, in picoamperes; returns how many there were.
// A separator or a number may straddle two chunks. Between the number and
// the next carriage return nothing matters, so the scan jumps there.
template <typename OnValue>
std::int64_t ForEachValue(SourceFile& source, OnValue&& onValue) {
  std::vector<std::uint8_t> chunk(kChunkBytes);
  std::optional<PieceNumber> number;  // empty while in the heading
  std::int64_t pieces = 0;
  bool afterReturn = false;
  auto finishPiece = [&] {
    if (!number) return;
    const double picoamperes = number->Value() * kAmperesAsPicoamperes.factor;
    if (!std::isfinite(picoamperes)) {
      throw ConvoraError("value " + std::to_string(pieces) +
                         " is too large to be stored in picoamperes");
    }
    onValue(picoamperes);
  };
  for (std::int64_t offset = 0; offset < source.Length(); offset += kChunkBytes) {
    const std::size_t got = source.ReadPadded(offset, chunk);
    const char* p = reinterpret_cast<const char*>(chunk.data());
    const char* const end = p + got;
    while (p < end) {
      if (afterReturn) {
        afterReturn = false;
        if (*p == '\t') {
          finishPiece();
          number.emplace();
          ++pieces;
          ++p;
        }
      }
      if (number && !number->Ended()) {
        const char* q = p;
        while (q < end && MayBelongToNumber(*q)) ++q;
        number->Feed({p, static_cast<std::size_t>(q - p)});
        if (q < end) number->End();
        p = q;
      }
      const void* next = std::memchr(p, '\r', static_cast<std::size_t>(end - p));
      if (next == nullptr) break;
      p = static_cast<const char*>(next) + 1;
      afterReturn = true;
    }
  }
  finishPiece();
  return pieces;
}

// The interval in microseconds, the answer read as a number as a whole.
double SampleIntervalFromUser(Workbench& bench) {
  const auto answer = bench.Prompt().AskInput({"interval",
                                                "Please enter the sample interval in microsecond",
                                                "Input Sample Interval", "1000"});
  if (!answer) throw ConvoraError("no sample interval was given");
  const auto interval = ParseWholeNumber(*answer);
  if (!interval || !std::isfinite(*interval)) {
    throw ConvoraError("the sample interval \"" + *answer + "\" is not a number");
  }
  return *interval;
}

}  // namespace

void ConvertIgorTextMac(Workbench& bench) {
  bench.Prompt().SetBusy(true);
  SourceFile source(bench.SelectedFilePath);

  std::optional<Extremes> extremes;
  const std::int64_t count = ForEachValue(source, [&](double value) {
    if (extremes) {
      extremes->Add(value);
    } else {
      extremes.emplace(value);
    }
  });
  if (count == 0) {
    throw ConvoraError("no data lines found: the values must each follow a carriage return "
                       "and a tab");
  }
  if (count > std::numeric_limits<std::int32_t>::max()) {
    throw ConvoraError("the file holds more values than an ABF 1.x file can count (lActualAcqLength)");
  }
  const auto samples = static_cast<std::int32_t>(count);

  // Asked once the file has been read, as users of this conversion expect.
  const double interval = SampleIntervalFromUser(bench);
  const auto intervalField = NarrowToSingle(interval);
  const auto secondsPerRun = NarrowToSingle(samples * interval / 1'000'000.0);
  if (!intervalField || !secondsPerRun) {
    throw ConvoraError("the sample interval " + std::to_string(interval) + " is too large for fADCSampleInterval");
  }

  // The smaller magnitude is the range on purpose; the larger side may then
  // go beyond full scale, which the check below refuses.
  const double range = SmallerMagnitude(*extremes);
  if (range == 0.0) {
    throw ConvoraError("the smaller of the largest positive and negative magnitudes is 0, "
                       "so the values give no scale");
  }
  const auto scaleFactor = HalfScaleFactor(range);
  if (!scaleFactor) throw ConvoraError("the values are too small to give a scale factor");

  // Patched on a copy, so that a file refused below leaves the template as it was.
  AbfHeader h = bench.TemplateHeader;
  h.Set(abf::nOperationMode, std::int16_t{5});
  h.Set(abf::lActualAcqLength, samples);
  h.Set(abf::lActualEpisodes, 1);
  h.Set(abf::lNumSamplesPerEpisode, samples);
  h.Set(abf::fSecondsPerRun, *secondsPerRun);
  h.Set(abf::fADCSampleInterval, *intervalField);
  // 10.0 here against the 10.24 inside the scale factor is kept on purpose:
  // readers rebuild values from the header's own numbers, so they agree, and
  // files converted so far carry exactly these.
  h.Set(abf::fADCRange, 10.0f);
  h.Set(abf::lADCResolution, 32768);
  SetChannelFields(h, 0, kAmperesAsPicoamperes.unit, scaleFactor);
  const CountScaler toCount(h, 0);
  RequireCountsFit(toCount, *extremes);

  bench.TemplateHeader = h;
  StampTemplate(bench);
  WriteAbfOutput(bench, [&](DataSectionWriter& out) {
    std::vector<std::int16_t> counts;
    counts.reserve(kSamplesPerWrite);
    std::int64_t written = 0;
    const std::int64_t again = ForEachValue(source, [&](double value) {
      if (written + static_cast<std::int64_t>(counts.size()) == count) return;
      const auto sampleCount = toCount(value);
      if (!sampleCount) throw ConvoraError("the file changed while it was being converted");
      counts.push_back(*sampleCount);
      if (counts.size() == kSamplesPerWrite) {
        out.WriteSamples(counts);
        written += static_cast<std::int64_t>(counts.size());
        counts.clear();
      }
    });
    out.WriteSamples(counts);
    if (again != count) throw ConvoraError("the file changed while it was being converted");
  });
}

}  // namespace convora
