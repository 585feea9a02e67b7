#pragma once
// Steps the ABF editing tools share: reading the selected file's header with
// the ABF check, the channel question, strict reading of typed numbers, and
// locating the samples a header describes.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "abf/AbfHeader.h"
#include "workbench/Workbench.h"

namespace convora {

inline constexpr std::string_view kNotAbfTitle = "Not ABF File";
inline constexpr std::string_view kNotAbfMessage =
    "This is not an Axon Binary File.  You need ABF file.";

// Reads the selected file's header into WorkHeader. When it is not an ABF
// file, says so and returns false.
bool LoadSelectedAbfHeader(Workbench& bench);

// "This file has N channel recording. ..." with the default "1"; the answer
// as typed (empty for Cancel).
std::string AskChannelNumber(Workbench& bench);

// The physical channel of the sampling-sequence position the user counted
// from 1 in `answer`.
std::size_t PhysicalChannelForAnswer(const AbfHeader& header, std::string_view answer);

// The physical channel sampled at `position` of the sampling sequence.
std::size_t PhysicalChannelAt(const AbfHeader& header, std::size_t position);

// nADCNumChannels, refused unless 1 to 16.
std::size_t ChannelCountOf(const AbfHeader& header);

// A typed answer that must be a number fitting a 32-bit float field; `what`
// names it in the message ("scale factor").
float AnswerAsSingle(const std::optional<std::string>& answer, std::string_view what);

// Where the samples lie: lDataSectionPtr x 512 and lActualAcqLength 16-bit
// samples, checked against the file's length.
struct SampleSection {
  std::int64_t offset = 0;
  std::int64_t count = 0;
};
SampleSection LocateSamples(const AbfHeader& header, std::int64_t fileLength);

// Writes WorkHeader over the selected file's first 6144 bytes in one call,
// leaving the rest of the file as it is, and lists the file.
void RewriteSelectedHeader(Workbench& bench);

}  // namespace convora
