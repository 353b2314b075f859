#pragma once
// Everything the model library offers.
#include "Sondar/SondarConfig.h"
#include "Sondar/SondarTrace.h"
#include "Sondar/SondarTypes.h"
