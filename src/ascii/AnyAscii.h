#pragma once
#include <cstddef>
#include <string_view>
#include <vector>

#include "workbench/Workbench.h"
#include "ascii/AsciiSettings.h"

namespace convora {

// Converts the chosen columns of the text table SelectedFilePath into one
// channel each, in the settings' unit, scaled so that each channel's peak lies
// at half of full scale.
void ConvertAnyAscii(Workbench& bench, const AsciiSettings& settings);

// The 0-based columns of a list of 1-based numbers and ranges ("2, 4-6");
// throws ConvoraError naming the list when it is not one.
std::vector<std::size_t> ParseColumnList(std::string_view text);

}  // namespace convora
