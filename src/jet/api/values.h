// Public interface: cell values, errors and the text conversions of stored text.
#pragma once

#include "jet/base/error.h"       // IWYU pragma: export
#include "jet/base/error_texts.h" // IWYU pragma: export
#include "jet/base/text_codec.h"  // IWYU pragma: export
#include "jet/base/unicode.h"     // IWYU pragma: export
#include "jet/base/value.h"       // IWYU pragma: export
