#pragma once
// Every format's descriptor, for the recognition table and the format list.

#include "formats/Abf2.h"
#include "formats/AbfOrEventFile.h"
#include "formats/AcqKnowledge.h"
#include "formats/Axograph.h"
#include "formats/Cfs.h"
#include "formats/IgorBinary.h"
#include "formats/IgorBinary5.h"
#include "formats/KestrinCdr.h"
#include "formats/Spike2.h"
#include "formats/Unconverted.h"
#include "formats/WinEdr.h"
#include "formats/WinWcp.h"
#include "formats/igortext/IgorTextMac.h"
#include "formats/matlab/Matlab.h"
