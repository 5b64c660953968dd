#include <unicode/ucnv.h>

#include <map>
#include <memory>
#include <string>

#include "jet/base/text_codec.h"

namespace jet {
namespace {

struct ConverterClose {
  void operator()(UConverter* c) const noexcept { ucnv_close(c); }
};
using Converter = std::unique_ptr<UConverter, ConverterClose>;

Converter open_converter(const std::string& name) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* c = ucnv_open(name.c_str(), &status);
  if (U_FAILURE(status)) return nullptr;
  return Converter(c);
}

// One converter per code page and thread (opening one costs far more than a field).
UConverter* converter_for(std::uint16_t code_page) {
  thread_local std::map<std::uint16_t, Converter> converters;
  auto it = converters.find(code_page);
  if (it == converters.end()) {
    Converter c = open_converter("windows-" + std::to_string(code_page));
    if (!c) c = open_converter("ibm-" + std::to_string(code_page));
    if (!c) c = open_converter("windows-1252");
    it = converters.emplace(code_page, std::move(c)).first;
  }
  return it->second.get();
}

}  // namespace

std::string code_page_to_utf8(std::span<const std::uint8_t> bytes, std::uint16_t code_page) {
  std::string out;
  if (bytes.empty()) return out;
  UConverter* c = converter_for(code_page);
  if (!c) {
    // No converter at all (ICU without its data): Latin-1 keeps every byte readable.
    for (std::uint8_t b : bytes) append_utf8(out, b);
    return out;
  }
  ucnv_reset(c);
  const char* source = reinterpret_cast<const char*>(bytes.data());
  const char* source_end = source + bytes.size();
  while (source < source_end) {
    UErrorCode status = U_ZERO_ERROR;
    const char* before = source;
    const UChar32 cp = ucnv_getNextUChar(c, &source, source_end, &status);
    if (status == U_INDEX_OUTOFBOUNDS_ERROR) break;
    if (U_FAILURE(status)) {
      append_utf8(out, 0xFFFD);
      if (source == before) ++source;  // never stall on a byte the converter refuses
      continue;
    }
    append_utf8(out, static_cast<char32_t>(cp));
  }
  return out;
}

}  // namespace jet
