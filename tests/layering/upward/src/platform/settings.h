// A platform header that wrongly reaches for the launcher: the layer check must name it.
#pragma once
#include "jet/api/database.h"
#include "launcher/program.h"
