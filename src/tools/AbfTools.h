#pragma once
// The ABF editing tools. Each works on bench.SelectedFilePath (merge on its
// own list), asks its questions through the workbench's prompter, and adds
// what it writes to List1. A failure throws ConvoraError before anything is
// written for that file; the caller reports it and goes on with the next.

#include <filesystem>
#include <vector>

#include "workbench/FileRunner.h"
#include "workbench/Workbench.h"

namespace convora {

// Drop onto the merge list: appends `file` when it is an ABF file, otherwise
// shows "Not an ABF File". Returns whether it was listed.
bool AddToMergeList(Workbench& bench, std::vector<std::filesystem::path>& mergeList,
                    const std::filesystem::path& file);

// "Merge Files": appends the samples of every further listed file to a copy of
// the first, written as NAME.ABF in `folder`. Does nothing with fewer than two
// files; clears the list once the merged file is written.
void MergeAbfFiles(Workbench& bench, std::vector<std::filesystem::path>& mergeList,
                   const std::filesystem::path& folder);

// "Change Unit of ABF File": one channel's unit and instrument scale factor,
// rewritten in the header in place.
void ChangeUnitAndScaleFactor(Workbench& bench);

// "Gaussian Filter": a filtered copy of a one-channel recording beside it.
AfterFile FilterAbfFile(Workbench& bench);

// "Down-scale ABF File": rescales every channel so that its peak lands at half
// of full scale, to a path the user gives (by default the source itself).
void DownscaleAbfFile(Workbench& bench);

// "Change Sample Interval": fADCSampleInterval rewritten in place.
void ChangeSampleInterval(Workbench& bench);

}  // namespace convora
