// Object and column names compare as Jet compares them: without regard to case, accented
// letters included (Unicode simple case folding).
#pragma once

#include <string>
#include <string_view>

namespace jet {

bool same_name(std::string_view a, std::string_view b);
// Case-folded form, usable as a map key.
std::string fold_name(std::string_view name);

}  // namespace jet
