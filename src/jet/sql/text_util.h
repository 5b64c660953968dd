// Small ASCII helpers shared by the SQL layer (keywords and names are compared without
// regard to case; Jet keywords are plain ASCII).
#pragma once

#include <string>
#include <string_view>

namespace jet::sql {

bool iequals_ascii(std::string_view a, std::string_view b);
std::string upper_ascii(std::string_view s);
std::string_view trim_ascii(std::string_view s);

}  // namespace jet::sql
