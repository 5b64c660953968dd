// A data-access header that reaches inside the engine instead of its public interface.
#pragma once
#include "jet/api/database.h"
#include "jet/record/row.h"
