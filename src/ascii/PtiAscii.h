#pragma once

#include <optional>
#include <string_view>
#include "workbench/Workbench.h"

namespace convora {

// Which traces of a PTI export become channels. A trace is a ratio trace when
// its title says "ratio" or shows a wavelength pair such as "340/380".
enum class PtiTraces { All, Ratio, Intensity };

// "all", "ratio" or "intensity", in any case; nothing for another text.
std::optional<PtiTraces> PtiTracesNamed(std::string_view name);

// Converts the PTI fluorescence ASCII export SelectedFilePath: the chosen
// traces, one channel each, with the interval from the first time column.
void ConvertPtiAscii(Workbench& bench, PtiTraces traces);

}  // namespace convora
