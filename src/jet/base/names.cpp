#include "jet/base/names.h"

#include "jet/base/unicode.h"

namespace jet {

std::string fold_name(std::string_view name) { return unicode::fold_text(name); }

bool same_name(std::string_view a, std::string_view b) {
  if (a.size() == b.size()) {
    bool plain_equal = true;
    for (std::size_t i = 0; i < a.size() && plain_equal; ++i) {
      const unsigned char x = static_cast<unsigned char>(a[i]), y = static_cast<unsigned char>(b[i]);
      if (x >= 0x80 || y >= 0x80) { plain_equal = false; break; }
      const auto lx = (x >= 'A' && x <= 'Z') ? x + 32 : x;
      const auto ly = (y >= 'A' && y <= 'Z') ? y + 32 : y;
      if (lx != ly) return false;
    }
    if (plain_equal) return true;
  } else {
    bool ascii = true;
    for (char c : a) ascii = ascii && static_cast<unsigned char>(c) < 0x80;
    for (char c : b) ascii = ascii && static_cast<unsigned char>(c) < 0x80;
    if (ascii) return false;
  }
  return fold_name(a) == fold_name(b);
}

}  // namespace jet
