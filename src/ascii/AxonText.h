#pragma once
#include "workbench/Workbench.h"

namespace convora {

// Converts the Axon Text File SelectedFilePath: every signal column becomes a
// channel in its own unit (amperes as pA, volts as mV), or, when the columns
// are the sweeps of an episodic recording ("Trace #1", "Trace #2", ...), an
// episodic file with one episode per sweep. The time column gives the interval;
// without one, the user is asked for it.
void ConvertAxonText(Workbench& bench);

}  // namespace convora
