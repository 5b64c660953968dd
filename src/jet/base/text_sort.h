// Text keys in the "General" sort order of Access 2000-2003 (the legacy general order: sort
// id 1033, version 0 in the column definitions of Jet 4 files those versions write).
//
// A key compares bytewise (unsigned, a proper prefix first) exactly as Access orders the text:
// letters ignore case, accents only break ties between otherwise equal texts, hyphens and
// apostrophes only break ties after the accents, trailing spaces are ignored and only the
// first 255 UTF-16 code units count. Keys cannot be turned back into text (case is lost).
//
// Every character of the Basic Multilingual Plane has its code. Characters beyond it (stored
// as surrogate pairs) have none known and raise jet::Error(ErrorCode::UnsupportedKeyCharacter):
// a wrong key would silently break an index. Writes that leave such an entry unchanged find
// it by its stored bytes instead (see index_maintain.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace jet {

inline constexpr std::uint16_t kGeneralSortOrderId = 1033;
inline constexpr std::uint8_t kGeneralLegacySortVersion = 0;
// Characters of a text value taken into its key (longer values share the key of their start).
inline constexpr std::size_t kMaxIndexedTextUnits = 255;

// Appends the key of `utf8_text` (without the per-column flag byte) to `out`. A descending
// column gets the complemented key, with the terminators Access writes around it.
// Throws jet::Error(UnsupportedKeyCharacter) for a character without a known code and for
// malformed UTF-8.
void append_general_text_key(std::string_view utf8_text, bool ascending,
                             std::vector<std::uint8_t>& out);

std::vector<std::uint8_t> general_text_key(std::string_view utf8_text, bool ascending = true);

// True when the character has a known code (so a text made of such characters is encodable).
bool general_text_key_known(char32_t c);

}  // namespace jet
