#pragma once
#include <filesystem>
#include <optional>
#include <string_view>

#include "abf/AbfHeader.h"

namespace convora {

inline constexpr std::string_view kTemplateFileName = "SamplABF.dat";
inline constexpr std::string_view kTemplateMissingTitle = "Error";
inline constexpr std::string_view kTemplateMissingMessage =
    "The file SamplABF.dat does not exist.  The program cannot continue without this file.  "
    "Please contact technical support at Pelkaro Software.";

// Where the program finds its template: beside itself (a build folder, an
// unpacked archive), else in the folder an installed package puts it in.
std::filesystem::path TemplatePathFor(const std::filesystem::path& programFolder);

// The template's first 6144 bytes, or nothing when there is no such file. A
// shorter template is taken as it is, the rest of the record left zero.
std::optional<AbfHeader> LoadTemplateHeader(const std::filesystem::path& templatePath);

// The first 6144 bytes of any file (zeros past its end). Throws ConvoraError
// when the file cannot be read.
AbfHeader ReadAbfHeader(const std::filesystem::path& path);

// The header that the build writes as SamplABF.dat: a gap-free, one-channel,
// 16-bit recording whose data start right after the header.
AbfHeader BuildDefaultTemplate();

}  // namespace convora
