// Jet's LIKE: '*' any run of characters, '?' one character, '#' one digit, '[abc]' one of a
// set, '[!abc]' none of it, '[a-z]' a range; '[*]' '[?]' '[#]' match the character itself.
// Letters match without regard to case; accents matter. A '[' without its ']' is an error (93).
#pragma once

#include <string_view>

namespace jet::sql {

bool like_match(std::string_view text, std::string_view pattern);

}  // namespace jet::sql
