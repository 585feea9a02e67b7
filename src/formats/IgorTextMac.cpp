#include "formats/IgorTextMac.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
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

// The number a piece starts with, read one character at a time. It accepts
// exactly what LeadingNumber accepts, but keeps only what can change the
// value: the significant digits (enough to round any decimal correctly to a
// double, plus a marker for any non-zero digit beyond them), where the point
// lies, and the exponent. A piece of any length therefore costs a bounded
// amount of memory.
class PieceNumber {
 public:
  void Feed(char c) {
    switch (state_) {
      case State::Blanks:
        if (c == ' ' || c == '\t') return;
        if (c == '+' || c == '-') {
          negative_ = c == '-';
          state_ = State::Integer;
          return;
        }
        state_ = State::Integer;
        return Feed(c);
      case State::Integer:
      case State::Fraction:
        if (IsDigit(c)) return AddDigit(c);
        if (c == '.' && state_ == State::Integer) {
          state_ = State::Fraction;
          return;
        }
        state_ = sawDigit_ && IsExponentLetter(c) ? State::ExponentMark : State::Ended;
        return;
      case State::ExponentMark:
        if (c == '+' || c == '-') {
          exponentNegative_ = c == '-';
          state_ = State::ExponentSign;
          return;
        }
        [[fallthrough]];
      case State::ExponentSign:
      case State::ExponentDigits:
        if (!IsDigit(c)) {
          state_ = State::Ended;
          return;
        }
        state_ = State::ExponentDigits;
        sawExponentDigit_ = true;
        // Saturates far beyond any exponent a double can use.
        if (exponent_ < kExponentLimit) exponent_ = exponent_ * 10 + (c - '0');
        return;
      case State::Ended:
        return;
    }
  }

  double Value() const {
    if (!sawDigit_) return 0.0;
    if (digits_.empty()) return LeadingNumber(negative_ ? "-0" : "0");
    std::int64_t power = pointShift_;
    if (sawExponentDigit_) power += exponentNegative_ ? -exponent_ : exponent_;
    // 0.d1d2... with at most ~800 digits lies beyond any double from here on.
    if (power > kPowerLimit) power = kPowerLimit;
    if (power < -kPowerLimit) power = -kPowerLimit;
    std::string text = negative_ ? "-0." : "0.";
    text += digits_;
    if (droppedNonZero_) text += '1';
    text += 'e';
    text += std::to_string(power);
    return LeadingNumber(text);
  }

 private:
  enum class State { Blanks, Integer, Fraction, ExponentMark, ExponentSign, ExponentDigits, Ended };

  // 767 significant digits decide the rounding of any decimal to a double;
  // the rest only matter as "some non-zero digit follows".
  static constexpr std::size_t kKeptDigits = 800;
  static constexpr std::int64_t kExponentLimit = 1'000'000'000'000;
  static constexpr std::int64_t kPowerLimit = 100'000;

  static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
  static bool IsExponentLetter(char c) { return c == 'e' || c == 'E' || c == 'd' || c == 'D'; }

  void AddDigit(char c) {
    sawDigit_ = true;
    const bool significant = !digits_.empty() || c != '0';
    if (state_ == State::Integer) {
      if (significant) ++pointShift_;
    } else if (!significant) {
      --pointShift_;
    }
    if (!significant) return;
    if (digits_.size() < kKeptDigits) {
      digits_ += c;
    } else if (c != '0') {
      droppedNonZero_ = true;
    }
  }

  State state_ = State::Blanks;
  bool negative_ = false;
  bool sawDigit_ = false;
  std::string digits_;
  bool droppedNonZero_ = false;
  // The value is 0.digits_ x 10^pointShift_ before the exponent.
  std::int64_t pointShift_ = 0;
  bool exponentNegative_ = false;
  bool sawExponentDigit_ = false;
  std::int64_t exponent_ = 0;
};

// Calls `onValue` with the values of pieces 1, 2, ... in order, each the
// number its piece starts with, in picoamperes; returns how many there were.
// A separator or a number may straddle two chunks.
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
    for (std::size_t i = 0; i < got; ++i) {
      const char c = static_cast<char>(chunk[i]);
      if (afterReturn && c == '\t') {
        finishPiece();
        number.emplace();
        ++pieces;
        afterReturn = false;
        continue;
      }
      afterReturn = c == '\r';
      if (number) number->Feed(c);
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
    throw ConvoraError("the file holds more values than an ABF 1.x file can take");
  }
  const auto samples = static_cast<std::int32_t>(count);

  // Asked once the file has been read, as users of this conversion expect.
  const double interval = SampleIntervalFromUser(bench);
  const auto intervalField = NarrowToSingle(interval);
  const auto secondsPerRun = NarrowToSingle(samples * interval / 1'000'000.0);
  if (!intervalField || !secondsPerRun) {
    throw ConvoraError("the sample interval " + std::to_string(interval) + " is too large");
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
