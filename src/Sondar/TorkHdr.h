#pragma once
// The probe protocol's header: the overlays, their message types and printing, the wrapper that
// reads a probe header in a packet, and the packets that build and sequence probes.
#include "Sondar/probe/HeaderPtrs.h"
#include "Sondar/probe/ProbePacket.h"
#include "Sondar/probe/TorkHdr.h"
#include "Sondar/probe/TorkMessageType.h"
#include "Sondar/probe/TorkPacket.h"
#include "Sondar/probe/TorkProbeHdrWrapper.h"
