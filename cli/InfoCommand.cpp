// `info`: a header summary of ABF files, as text for people or JSON for scripts.

#include <charconv>
#include <cstdio>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "Commands.h"
#include "abf/AbfSummary.h"
#include "abf/ConvoraError.h"
#include "abf/PathText.h"
#include "abf/TemplateFile.h"
#include "formats/Abf2.h"

namespace convora::cli {
namespace {

struct InfoCommand {
  std::vector<std::string> files;
  bool json = false;
};

// Shortest text that reads back as the same number (a float field prints as
// the float it holds: 10.24, not 10.239999771118164).
template <typename Number>
std::string NumberText(Number value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::string JsonString(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      quoted += '\\';
      quoted += c;
    } else if (byte < 0x20 || byte >= 0x7f) {
      static const char* hex = "0123456789abcdef";
      quoted += "\\u00";
      quoted += hex[byte >> 4];
      quoted += hex[byte & 15];
    } else {
      quoted += c;
    }
  }
  return quoted + "\"";
}

// A measure to seven significant digits: an interval kept as a float, times
// the channel count, shows as the value it stands for (1000, not
// 1000.0000610351562).
std::string Measure(double value) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.7g", value);
  return buffer;
}

// The rate of one channel in Hz, from its interval in microseconds.
double RateOf(const AbfSummary& s) { return s.channelInterval > 0 ? 1e6 / s.channelInterval : 0; }

void PrintText(std::ostream& out, const std::filesystem::path& path, const AbfSummary& s) {
  std::string units;
  for (const auto& unit : s.units) units += (units.empty() ? "" : ", ") + unit;
  out << PathText(path) << '\n'
      << "  format:          ABF " << NumberText(s.version) << '\n'
      << "  channels:        " << s.channels << '\n'
      << "  units:           " << units << '\n'
      << "  sample interval: " << Measure(s.channelInterval) << " us per channel ("
      << Measure(RateOf(s)) << " Hz); " << NumberText(s.sampleInterval) << " us interleaved\n";
  if (s.operationMode != 3) {
    out << "  sweeps:          " << s.sweeps << " of " << s.sweepSamples << " samples per channel\n";
  }
  out << "  samples:         " << s.samples << '\n'
      << "  duration:        " << SecondsText(s.durationUs) << " s\n"
      << "  start:           " << s.start << '\n'
      << "  data pointer:    block " << s.dataBlock << " (byte " << s.dataByte << ")\n"
      << "  operation mode:  " << s.operationMode << " (" << s.operationModeName << ")\n";
}

std::string JsonObject(const std::filesystem::path& path, const AbfSummary& s) {
  std::string units;
  for (const auto& unit : s.units) units += (units.empty() ? "" : ", ") + JsonString(unit);
  return "{\"file\": " + JsonString(PathText(path)) + ", \"version\": " + NumberText(s.version) +
         ", \"channels\": " + std::to_string(s.channels) + ", \"units\": [" + units +
         "], \"sampleIntervalUs\": " + NumberText(s.sampleInterval) +
         ", \"channelIntervalUs\": " + Measure(s.channelInterval) +
         ", \"rateHz\": " + Measure(RateOf(s)) + ", \"sweeps\": " + std::to_string(s.sweeps) +
         ", \"sweepSamples\": " + std::to_string(s.sweepSamples) +
         ", \"samples\": " + std::to_string(s.samples) +
         ", \"durationSeconds\": " + SecondsText(s.durationUs) +
         ", \"start\": " + JsonString(s.start) +
         ", \"dataSectionBlock\": " + std::to_string(s.dataBlock) +
         ", \"dataSectionByte\": " + std::to_string(s.dataByte) +
         ", \"operationMode\": " + std::to_string(s.operationMode) +
         ", \"operationModeName\": " + JsonString(s.operationModeName) + "}";
}

void RunInfo(const InfoCommand& info, CommandContext& context) {
  std::vector<std::string> objects;
  for (const std::string& file : info.files) {
    const auto path = SelectedPathFor(file);
    try {
      const AbfHeader header = ReadAbfHeader(path);
      const bool abf2 = header.Get(abf::lFileSignature) == "ABF2";
      if (!IsAbfFile(header) && !abf2) {
        throw ConvoraError("not an ABF file (no \"ABF \" or \"ABF2\" signature)");
      }
      const AbfSummary summary = abf2 ? SummarizeAbf2(path) : Summarize(header);
      if (info.json) {
        objects.push_back(JsonObject(path, summary));
      } else {
        PrintText(context.Out(), path, summary);
      }
    } catch (const ConvoraError& e) {
      context.ReportError(path, e.what());
    }
  }
  if (info.json) {
    context.Out() << "[";
    for (std::size_t i = 0; i < objects.size(); ++i) {
      context.Out() << (i ? ",\n " : "") << objects[i];
    }
    context.Out() << "]\n";
  }
}

}  // namespace

void AddInfoCommand(CLI::App& app, CommandContext& context) {
  auto state = std::make_shared<InfoCommand>();
  CLI::App* command = app.add_subcommand("info", "Print a summary of each ABF FILE's header");
  command->add_option("FILE", state->files, "ABF files")->required();
  command->add_flag("--json", state->json, "one JSON array, an object per file");
  command->callback([state, &context] { RunInfo(*state, context); });
}

}  // namespace convora::cli
