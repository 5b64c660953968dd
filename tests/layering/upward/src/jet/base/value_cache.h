// A base-layer header that wrongly reaches for a tool: the layer check must name it.
#pragma once
#include "jet/base/error.h"
#include "jet/tools/verify.h"
