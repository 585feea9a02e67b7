#include "formats/matlab/Matlab.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/PathText.h"
#include "formats/RecordingOutput.h"
#include "formats/matlab/Libmatio.h"
#include "formats/matlab/VariableCheck.h"

// A MAT-file of version 5 or 6 (one layout; version 7 is 5 with compressed
// variables) or 7.3 (HDF5 behind MATLAB's 512-byte header), read through
// libmatio: it lists the variables with their class and sizes but without
// their data, and reads any hyperslab of a numeric one, so the recording is
// read a stretch at a time. MATLAB keeps arrays column by column.

namespace convora {
namespace {

// libmatio reports through a log function; its last error says why a call failed.
std::string& MatioMessage() {
  static thread_local std::string message;
  return message;
}

void KeepMatioMessage(int level, char* message) {
  if ((level & (MATIO_LOG_LEVEL_ERROR | MATIO_LOG_LEVEL_CRITICAL)) != 0 && message != nullptr) {
    MatioMessage() = message;
  }
}

std::string MatioReason() {
  return MatioMessage().empty() ? std::string() : " (libmatio: " + MatioMessage() + ")";
}

struct FileCloser {
  void operator()(mat_t* file) const { Libmatio().Close(file); }
};
struct VariableFreer {
  void operator()(matvar_t* variable) const { Libmatio().VarFree(variable); }
};
using MatFile = std::unique_ptr<mat_t, FileCloser>;
using MatVariable = std::unique_ptr<matvar_t, VariableFreer>;

bool IsRealNumeric(const matvar_t& v) {
  return v.class_type >= MAT_C_DOUBLE && v.class_type <= MAT_C_UINT64 && v.isComplex == 0 &&
         v.isLogical == 0 && v.rank >= 1 && v.dims != nullptr;
}

// The element count, or -1 where a side is beyond what libmatio's int
// indices reach (so the variable cannot be read in parts).
std::int64_t Elements(const matvar_t& v) {
  std::int64_t count = 1;
  for (int d = 0; d < v.rank; ++d) {
    if (v.dims[d] > static_cast<std::size_t>(INT_MAX)) return -1;
    if (__builtin_mul_overflow(count, static_cast<std::int64_t>(v.dims[d]), &count)) return -1;
  }
  return count;
}

// A real numeric array of 2 or 3 dimensions with more than one value.
bool IsArray(const matvar_t& v) {
  return IsRealNumeric(v) && (v.rank == 2 || v.rank == 3) && Elements(v) > 1;
}

template <typename Value>
void DecodeAs(const std::uint8_t* bytes, std::span<double> out) {
  for (std::size_t i = 0; i < out.size(); ++i) {
    Value value;
    std::memcpy(&value, bytes + i * sizeof(Value), sizeof(Value));
    out[i] = static_cast<double>(value);
  }
}

// libmatio hands values over in the variable's class, in the machine's order.
void Decode(matio_classes type, const std::uint8_t* bytes, std::span<double> out) {
  switch (type) {
    case MAT_C_DOUBLE:
      return DecodeAs<double>(bytes, out);
    case MAT_C_SINGLE:
      return DecodeAs<float>(bytes, out);
    case MAT_C_INT8:
      return DecodeAs<std::int8_t>(bytes, out);
    case MAT_C_UINT8:
      return DecodeAs<std::uint8_t>(bytes, out);
    case MAT_C_INT16:
      return DecodeAs<std::int16_t>(bytes, out);
    case MAT_C_UINT16:
      return DecodeAs<std::uint16_t>(bytes, out);
    case MAT_C_INT32:
      return DecodeAs<std::int32_t>(bytes, out);
    case MAT_C_UINT32:
      return DecodeAs<std::uint32_t>(bytes, out);
    case MAT_C_INT64:
      return DecodeAs<std::int64_t>(bytes, out);
    case MAT_C_UINT64:
      return DecodeAs<std::uint64_t>(bytes, out);
    default:
      throw ConvoraError("a variable is not numeric");
  }
}

// Reads one hyperslab (start and edge per dimension, stride 1) or, with a
// single start and edge on a variable of more dimensions, a run of values in
// MATLAB's order; `out` takes edge[0] x edge[1] x ... values.
class SlabReader {
 public:
  SlabReader(mat_t* file, std::int64_t fileBytes) : file_(file), fileBytes_(fileBytes) {}

  // libmatio reads past the end of the file as if the values were there, so
  // a variable may claim no more values than its file has room for: a byte
  // each at least, or 1/1032 of one where zlib packed them (its best ratio).
  void RequireStored(const matvar_t& v) const {
    const bool packed = v.compression != MAT_COMPRESSION_NONE || IsHdf5();
    if (Elements(v) <= (packed ? 1032 : 1) * fileBytes_) return;
    throw ConvoraError("variable " + std::string(v.name ? v.name : "") + " claims " +
                       std::to_string(Elements(v)) + " values, more than the file's " +
                       std::to_string(fileBytes_) + " bytes can hold");
  }

  void Read(matvar_t& v, std::vector<int> start, std::vector<int> edge, std::span<double> out) {
    bytes_.resize(out.size() * static_cast<std::size_t>(Libmatio().SizeOfClass(v.class_type)));
    std::vector<int> stride(start.size(), 1);
    MatioMessage().clear();
    const int failed =
        start.size() == 1
            ? Libmatio().VarReadDataLinear(file_, &v, bytes_.data(), start[0], 1, edge[0])
            : Libmatio().VarReadData(file_, &v, bytes_.data(), start.data(), stride.data(), edge.data());
    if (failed != 0) {
      throw ConvoraError("cannot read the values of variable " + std::string(v.name ? v.name : "") +
                         MatioReason());
    }
    Decode(v.class_type, bytes_.data(), out);
  }

  bool IsHdf5() const { return Libmatio().GetVersion(file_) == MAT_FT_MAT73; }

  double One(matvar_t& v, int at = 0) {
    double value = 0.0;
    Read(v, {at}, {1}, {&value, 1});
    return value;
  }

  // A short character array as ASCII; libmatio reads characters only as the
  // unsigned integers they are stored as.
  std::string Text(matvar_t* v) {
    if (v == nullptr || v->class_type != MAT_C_CHAR || v->isComplex != 0) return {};
    const std::int64_t count = Elements(*v);
    if (count <= 0 || count > 64) return {};
    const matio_classes kept = v->class_type;
    v->class_type = v->data_size == 2 || v->data_type == MAT_T_UINT16 ? MAT_C_UINT16 : MAT_C_UINT8;
    std::vector<double> codes(static_cast<std::size_t>(count));
    try {
      Read(*v, {0}, {static_cast<int>(count)}, codes);
    } catch (const ConvoraError&) {
      codes.clear();  // a name or unit that cannot be read is left out
    }
    v->class_type = kept;
    std::string text;
    for (const double code : codes)
      text += code >= 32 && code < 127 ? static_cast<char>(code) : '?';
    return text;
  }

 private:
  mat_t* file_;
  std::int64_t fileBytes_;
  std::vector<std::uint8_t> bytes_;
};

// One channel of an acquisition program's export: a structure with `values`
// (a vector) and `interval` (seconds), and optionally `units` and `title`.
struct ChannelStructure {
  matvar_t* structure;
  matvar_t* values;
  std::int64_t length;
  double intervalSeconds;
};

std::optional<ChannelStructure> AsChannelStructure(matvar_t& v, SlabReader& read) {
  if (v.class_type != MAT_C_STRUCT || Elements(v) != 1) return std::nullopt;
  matvar_t* values = Libmatio().VarGetStructFieldByName(&v, "values", 0);
  matvar_t* interval = Libmatio().VarGetStructFieldByName(&v, "interval", 0);
  if (values == nullptr || interval == nullptr || !IsRealNumeric(*values) || values->rank != 2 ||
      std::min(values->dims[0], values->dims[1]) != 1 || Elements(*values) < 1 ||
      !IsRealNumeric(*interval) || Elements(*interval) != 1) {
    return std::nullopt;
  }
  return ChannelStructure{&v, values, Elements(*values), read.One(*interval)};
}

// What the variable question can choose: the recording one variable (or a
// group of channel structures) makes.
struct Candidate {
  std::string name;
  std::vector<ChannelStructure> channels;  // by the first rule
  matvar_t* array = nullptr;               // by the other two
  matvar_t* time = nullptr;                // T, by the second
};

matvar_t* Named(const std::vector<MatVariable>& all, std::string_view name) {
  for (const auto& v : all) {
    if (name == v->name) return v.get();
  }
  return nullptr;
}

// The candidates, the rules' choice first: each group of channel
// structures of one length and interval, then Y with T, then every other
// array, the largest first.
std::vector<Candidate> Candidates(const std::vector<MatVariable>& all, SlabReader& read) {
  std::vector<Candidate> found;
  for (const auto& v : all) {
    const auto channel = AsChannelStructure(*v, read);
    if (!channel) continue;
    const auto group = std::find_if(found.begin(), found.end(), [&](const Candidate& c) {
      return c.channels[0].length == channel->length &&
             c.channels[0].intervalSeconds == channel->intervalSeconds;
    });
    if (group == found.end()) {
      found.push_back({v->name, {*channel}});
    } else {
      group->channels.push_back(*channel);
    }
  }
  matvar_t* t = Named(all, "T");
  matvar_t* y = Named(all, "Y");
  const bool pair = t != nullptr && y != nullptr && IsArray(*y) && IsRealNumeric(*t) &&
                    Elements(*t) == static_cast<std::int64_t>(y->dims[0]) && Elements(*t) > 1;
  if (pair) found.push_back({"Y", {}, y, t});
  std::vector<matvar_t*> arrays;
  for (const auto& v : all) {
    if (IsArray(*v) && !(pair && (v.get() == t || v.get() == y))) arrays.push_back(v.get());
  }
  std::stable_sort(arrays.begin(), arrays.end(),
                   [](matvar_t* a, matvar_t* b) { return Elements(*a) > Elements(*b); });
  for (matvar_t* v : arrays) found.push_back({v->name, {}, v});
  return found;
}

std::string Kind(const matvar_t& v) {
  static const char* const kClasses[] = {
      "empty", "cell",  "struct", "object", "char",   "sparse", "double", "single",   "int8",
      "uint8", "int16", "uint16", "int32",  "uint32", "int64",  "uint64", "function", "opaque"};
  const auto type = static_cast<std::size_t>(v.class_type);
  std::string kind = type < std::size(kClasses) ? kClasses[type] : "unknown";
  if (v.isLogical != 0) kind = "logical";
  if (v.isComplex != 0) kind = "complex " + kind;
  if (IsRealNumeric(v) && Elements(v) == 1) return kind + " scalar";
  return (v.rank > 0 ? std::to_string(v.rank) + "-D " : "") + kind;
}

std::string NamesOf(const std::vector<Candidate>& candidates) {
  std::string names;
  for (const auto& c : candidates) names += (names.empty() ? "" : ", ") + c.name;
  return names;
}

[[noreturn]] void RefuseNothingToConvert(const std::vector<MatVariable>& all) {
  if (all.empty()) throw ConvoraError("the MAT-file holds no variables");
  std::string found;
  for (std::size_t i = 0; i < all.size() && i < 12; ++i) {
    found += (i == 0 ? "" : ", ") + std::string(all[i]->name) + " (" + Kind(*all[i]) + ")";
  }
  if (all.size() > 12) found += " and " + std::to_string(all.size() - 12) + " more";
  throw ConvoraError(
      "the MAT-file holds no real numeric array of 2 or 3 dimensions to convert; it holds " +
      found);
}

// The rules' choice, or the one the variable question names where there
// are several.
const Candidate& Choose(Workbench& bench, const std::vector<Candidate>& candidates) {
  if (candidates.size() == 1) return candidates[0];
  const std::string prompt =
      "The MAT-file holds several recordings (" + NamesOf(candidates) + "): which variable?";
  const auto answer =
      bench.Prompt().AskInput({"variable", prompt, "Choose Variable", candidates[0].name, false});
  if (!answer) throw ConvoraError("no variable was chosen");
  for (const auto& c : candidates) {
    if (c.name == *answer) return c;
    for (const auto& channel : c.channels) {
      if (*answer == channel.structure->name) return c;
    }
  }
  throw ConvoraError("the MAT-file holds no recording in a variable named \"" + *answer +
                     "\"; it holds " + NamesOf(candidates));
}

double PositiveSeconds(double seconds, const std::string& what) {
  if (!(seconds > 0.0) || !std::isfinite(seconds)) {
    throw ConvoraError(what + " is not a positive time");
  }
  return seconds;
}

// By the third rule: a scalar dt, interval or si in seconds, or fs or
// samplerate in Hz, else the sample-interval question (microseconds).
double ArrayIntervalUs(Workbench& bench, const std::vector<MatVariable>& all, SlabReader& read) {
  for (const auto& v : all) {
    if (!IsRealNumeric(*v) || Elements(*v) != 1) continue;
    std::string name = v->name;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const bool seconds = name == "dt" || name == "interval" || name == "si";
    if (!seconds && name != "fs" && name != "samplerate") continue;
    const double value = read.One(*v);
    const std::string what =
        "the scalar " + std::string(v->name) + " (" + std::to_string(value) + ")";
    return 1e6 * PositiveSeconds(seconds ? value : 1.0 / value, what);
  }
  return AskSampleInterval(bench, IntervalRule::kPositive);
}

// Channel structures: each channel's vector read on its own.
class StructureReader : public ScanReader {
 public:
  StructureReader(SlabReader& read, const std::vector<ChannelStructure>& channels)
      : read_(read), channels_(channels) {}

  void ReadScans(std::int64_t, std::int64_t first, std::span<double> out) override {
    const std::size_t count = channels_.size();
    column_.resize(out.size() / count);
    for (std::size_t c = 0; c < count; ++c) {
      read_.Read(*channels_[c].values, {static_cast<int>(first)},
                 {static_cast<int>(column_.size())}, column_);
      for (std::size_t s = 0; s < column_.size(); ++s) out[s * count + c] = column_[s];
    }
  }

 private:
  SlabReader& read_;
  const std::vector<ChannelStructure>& channels_;
  std::vector<double> column_;
};

// An array with time along `timeSide` (0: rows are time, channels are
// columns; 1: the other way round) and episodes along a third side.
class ArrayReader : public ScanReader {
 public:
  ArrayReader(SlabReader& read, matvar_t& array, int timeSide)
      : read_(read), array_(array), timeSide_(timeSide) {}

  void ReadScans(std::int64_t sweep, std::int64_t first, std::span<double> out) override {
    const int channels = static_cast<int>(array_.dims[1 - timeSide_]);
    const int scans = static_cast<int>(out.size()) / channels;
    if (!read_.IsHdf5()) return ReadRuns(sweep, first, channels, scans, out);
    std::vector<int> start{0, 0};
    std::vector<int> edge{0, 0};
    start[timeSide_] = static_cast<int>(first);
    edge[timeSide_] = scans;
    edge[1 - timeSide_] = channels;
    if (array_.rank == 3) {
      start.push_back(static_cast<int>(sweep));
      edge.push_back(1);
    }
    if (timeSide_ == 1) return read_.Read(array_, start, edge, out);  // scans one after another
    slab_.resize(out.size());
    read_.Read(array_, start, edge, slab_);
    for (int c = 0; c < channels; ++c) {
      for (int s = 0; s < scans; ++s) out[s * channels + c] = slab_[c * scans + s];
    }
  }

 private:
  // libmatio reads a version-5 hyperslab a value at a time, with a seek
  // after each, but a run of values in MATLAB's order in one read: a
  // channel's stretch is such a run, and so are whole scans of a recording
  // whose columns are scans.
  void ReadRuns(std::int64_t sweep, std::int64_t first, int channels, int scans,
                std::span<double> out) {
    const auto rows = static_cast<std::int64_t>(array_.dims[0]);
    if (timeSide_ == 1) return Run(first * channels, out);
    slab_.resize(static_cast<std::size_t>(scans));
    for (int c = 0; c < channels; ++c) {
      Run((sweep * channels + c) * rows + first, slab_);
      for (int s = 0; s < scans; ++s) out[s * channels + c] = slab_[s];
    }
  }

  void Run(std::int64_t start, std::span<double> out) {
    if (start + static_cast<std::int64_t>(out.size()) > INT_MAX) {
      throw ConvoraError("variable " + std::string(array_.name) +
                         " holds more values than libmatio can index");
    }
    read_.Read(array_, {static_cast<int>(start)}, {static_cast<int>(out.size())}, out);
  }

  SlabReader& read_;
  matvar_t& array_;
  int timeSide_;
  std::vector<double> slab_;
};

bool KeepsCounts(const matvar_t& v) {
  return v.class_type == MAT_C_INT8 || v.class_type == MAT_C_UINT8 || v.class_type == MAT_C_INT16;
}

void ConvertStructures(Workbench& bench, SlabReader& read, const Candidate& chosen,
                       const std::vector<Candidate>& candidates) {
  std::string leftOut;
  for (const auto& other : candidates) {
    if (&other == &chosen) continue;
    for (const auto& c : other.channels) {
      leftOut += (leftOut.empty() ? "" : ", ") + std::string(c.structure->name);
    }
  }
  if (!leftOut.empty()) {
    bench.Prompt().Notice(
        PathText(bench.SelectedFilePath) +
        ": channel structures of another length or interval left out: " + leftOut);
  }
  const ChannelStructure& first = chosen.channels[0];
  Recording recording;
  for (const auto& c : chosen.channels) {
    read.RequireStored(*c.values);
    std::string title = read.Text(Libmatio().VarGetStructFieldByName(c.structure, "title", 0));
    recording.channels.push_back({title.empty() ? std::string(c.structure->name) : title,
                                  read.Text(Libmatio().VarGetStructFieldByName(c.structure, "units", 0)),
                                  1.0, 0.0, KeepsCounts(*c.values)});
  }
  recording.channelIntervalUs =
      1e6 * PositiveSeconds(first.intervalSeconds, "the interval of " + chosen.name);
  recording.scansPerSweep = first.length;
  StructureReader reader(read, chosen.channels);
  WriteRecording(bench, recording, reader);
}

void ConvertArray(Workbench& bench, SlabReader& read, const Candidate& chosen,
                  const std::vector<MatVariable>& all) {
  matvar_t& array = *chosen.array;
  read.RequireStored(array);
  // Y and a 3-D array keep time down the rows; otherwise time runs along the longer side.
  const int timeSide = chosen.time == nullptr && array.rank == 2 && array.dims[1] > array.dims[0];
  const std::int64_t scans = static_cast<std::int64_t>(array.dims[timeSide]);
  double intervalUs = 0.0;
  if (chosen.time != nullptr) {
    const double span =
        read.One(*chosen.time, static_cast<int>(scans - 1)) - read.One(*chosen.time);
    intervalUs = 1e6 * PositiveSeconds(span / static_cast<double>(scans - 1),
                                       "the step of T (from its first to its last time)");
  } else {
    intervalUs = ArrayIntervalUs(bench, all, read);
  }
  Recording recording;
  const std::size_t channels = array.dims[1 - timeSide];
  for (std::size_t c = 0; c < channels; ++c) {
    recording.channels.push_back(
        {channels == 1 ? chosen.name : chosen.name + "_" + std::to_string(c + 1), "", 1.0, 0.0,
         KeepsCounts(array)});
  }
  recording.channelIntervalUs = intervalUs;
  recording.scansPerSweep = scans;
  recording.sweeps = array.rank == 3 ? static_cast<std::int64_t>(array.dims[2]) : 1;
  ArrayReader reader(read, array, timeSide);
  WriteRecording(bench, recording, reader);
}

}  // namespace

void ConvertMatLab(Workbench& bench) {
  static const bool logging = (Libmatio().LogInitFunc("convora", KeepMatioMessage), true);
  (void)logging;
  SourceFile source(bench.SelectedFilePath);
  CheckVariables(source);
  MatioMessage().clear();
  const MatFile file(Libmatio().Open(bench.SelectedFilePath.c_str(), MAT_ACC_RDONLY));
  if (!file) {
    throw ConvoraError("not a MAT-file of version 5, 6, 7 or 7.3 that libmatio can open" +
                       MatioReason());
  }
  std::vector<MatVariable> all;
  while (matvar_t* v = Libmatio().VarReadNextInfo(file.get())) {
    MatVariable owned(v);
    if (v->name != nullptr) all.push_back(std::move(owned));  // a nameless one cannot be chosen
  }
  SlabReader read(file.get(), source.Length());
  const std::vector<Candidate> candidates = Candidates(all, read);
  if (candidates.empty()) RefuseNothingToConvert(all);
  const Candidate& chosen = Choose(bench, candidates);
  if (chosen.array == nullptr) {
    ConvertStructures(bench, read, chosen, candidates);
  } else {
    ConvertArray(bench, read, chosen, all);
  }
}

}  // namespace convora
