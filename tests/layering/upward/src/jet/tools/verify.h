// A tool may use every layer below it.
#pragma once
#include "jet/base/error.h"
#include "jet/db/database.h"
