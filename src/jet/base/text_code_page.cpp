#include "jet/base/text_codec.h"
#include "jet/base/unicode.h"

namespace jet {

std::string code_page_to_utf8(std::span<const std::uint8_t> bytes, std::uint16_t code_page) {
  return unicode::decode_code_page(bytes, code_page);
}

}  // namespace jet
