// Unicode services through ICU (Linux builds).
#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>

#include <map>
#include <memory>

#include "jet/base/text_codec.h"
#include "jet/base/unicode.h"

namespace jet::unicode {
namespace {

icu::UnicodeString from_utf8(std::string_view s) {
  return icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
}

// One collator per thread: ICU collators are cheap to clone and not meant to be shared while
// in use by several threads.
icu::Collator& collator() {
  thread_local std::unique_ptr<icu::Collator> instance = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> c(icu::Collator::createInstance(icu::Locale::getFrench(), status));
    if (U_FAILURE(status) || !c) {
      status = U_ZERO_ERROR;
      c.reset(icu::Collator::createInstance(icu::Locale::getRoot(), status));
    }
    c->setStrength(icu::Collator::SECONDARY);  // letters and accents, not case
    return c;
  }();
  return *instance;
}

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

char32_t to_upper(char32_t c) { return static_cast<char32_t>(u_toupper(static_cast<UChar32>(c))); }
char32_t to_lower(char32_t c) { return static_cast<char32_t>(u_tolower(static_cast<UChar32>(c))); }
char32_t fold_case(char32_t c) {
  return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(c), U_FOLD_CASE_DEFAULT));
}
bool is_letter_or_digit(char32_t c) { return u_isalnum(static_cast<UChar32>(c)); }

std::string fold_text(std::string_view utf8) {
  icu::UnicodeString text = from_utf8(utf8);
  text.foldCase(U_FOLD_CASE_DEFAULT);
  std::string out;
  text.toUTF8String(out);
  return out;
}

int collate_ignoring_case(std::string_view a, std::string_view b) {
  UErrorCode status = U_ZERO_ERROR;
  const UCollationResult r = collator().compare(from_utf8(a), from_utf8(b), status);
  return r == UCOL_LESS ? -1 : r == UCOL_GREATER ? 1 : 0;
}

std::string decode_code_page(std::span<const std::uint8_t> bytes, std::uint16_t code_page) {
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

}  // namespace jet::unicode
