#pragma once
// The configuration entities: the root Config with its TransmitterConfig children, and the
// hardware's configuration and capability.
#include "Sondar/config/Config.h"
#include "Sondar/config/HwConfig.h"
#include "Sondar/config/HwStatus.h"
#include "Sondar/config/TransmitterConfig.h"
