#pragma once
// Crafted Axograph and Igor sources, and the whole ABF files their conversion
// must write, for the byte-for-byte tests of the two converters.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "abf/AbfHeader.h"
#include "abf/LittleEndian.h"
#include "support/TestSupport.h"

namespace convora::test {

struct AxographSignal {
  std::string title;
  std::vector<float> values;
};

// "AxGr", version, column count, then the time column (0, `step`, zeros) and
// the signal columns, every number big-endian, titles blank-padded to 80.
inline Bytes AxographFile(const std::vector<AxographSignal>& signals, float step,
                          std::int16_t version = 1) {
  const auto points = static_cast<std::int32_t>(signals.front().values.size());
  ByteBuilder b;
  b.Text("AxGr").Int16BE(version).Int16BE(static_cast<std::int16_t>(signals.size() + 1));
  b.Int32BE(points).Text("Time (s)", 80, ' ').FloatBE(0.0f).FloatBE(step);
  b.Zeros(4 * static_cast<std::size_t>(points - 2));
  for (const auto& signal : signals) {
    b.Int32BE(points).Text(signal.title, 80, ' ');
    for (const float v : signal.values) b.FloatBE(v);
  }
  return b.Get();
}

struct IgorWaveSpec {
  bool mac = false;
  std::int16_t type = 2;  // 2 float32, 4 float64
  std::string dUnits = {};  // NUL-padded to 4
  double hsA = 0.0001;
  std::vector<double> values = {};
};

// A version-2 wave: 16-byte file header, wave header from byte 16, values at 126.
inline Bytes IgorWave(const IgorWaveSpec& w) {
  ByteBuilder b;
  w.mac ? b.Int16BE(2) : b.Int16LE(2);
  b.Zeros(14);
  w.mac ? b.Int16BE(w.type) : b.Int16LE(w.type);
  b.Zeros(32).Text(w.dUnits, 4).Zeros(4);
  const auto npnts = static_cast<std::int32_t>(w.values.size());
  w.mac ? b.Int32BE(npnts) : b.Int32LE(npnts);
  b.Zeros(2);
  w.mac ? b.DoubleBE(w.hsA) : b.DoubleLE(w.hsA);
  b.PadTo(126);
  for (const double v : w.values) {
    if (w.type == 4) {
      w.mac ? b.DoubleBE(v) : b.DoubleLE(v);
    } else {
      w.mac ? b.FloatBE(static_cast<float>(v)) : b.FloatLE(static_cast<float>(v));
    }
  }
  return b.Get();
}

// Channel k as a converter describes it: slot k, unit, unit gains, scale factor.
inline void DescribeChannel(AbfHeader& h, std::size_t k, std::string_view unit, float scale) {
  h.Set(abf::nADCSamplingSeq, k, static_cast<std::int16_t>(k));
  h.Set(abf::sADCUnits, k, unit);
  h.Set(abf::fADCProgrammableGain, k, 1.0f);
  h.Set(abf::fInstrumentScaleFactor, k, scale);
  h.Set(abf::fInstrumentOffset, k, 0.0f);
  h.Set(abf::fSignalGain, k, 1.0f);
  h.Set(abf::fSignalOffset, k, 0.0f);
}

// The fields every float-scaling conversion sets besides its channels.
inline void DescribeRecording(AbfHeader& h, std::int32_t samples, float interval, float seconds) {
  h.Set(abf::fADCRange, 10.24f);
  h.Set(abf::lADCResolution, 32768);
  h.Set(abf::lActualAcqLength, samples);
  h.Set(abf::fADCSampleInterval, interval);
  h.Set(abf::fSecondsPerRun, seconds);
}

// The whole output: header, zeros up to the data section (never written, read
// back as zeros from a new file), then the samples little-endian.
inline Bytes AbfImage(const AbfHeader& h, const std::vector<std::int16_t>& samples) {
  Bytes image(h.Bytes().begin(), h.Bytes().end());
  image.resize(static_cast<std::size_t>(h.Get(abf::lDataSectionPtr)) * 512, 0);
  for (const std::int16_t s : samples) {
    std::uint8_t raw[2];
    StoreLittleEndian<std::int16_t>(raw, s);
    image.insert(image.end(), raw, raw + 2);
  }
  return image;
}

}  // namespace convora::test
