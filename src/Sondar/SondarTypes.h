#pragma once
// The model's value types.
#include "Sondar/stats/Checkpoint.h"
#include "Sondar/stats/Counter.h"
#include "Sondar/stats/DuplicateProbeWindow.h"
#include "Sondar/stats/Epoch.h"
#include "Sondar/stats/EpochSession.h"
#include "Sondar/stats/StreamKeys.h"
#include "Sondar/stats/StreamRecords.h"
