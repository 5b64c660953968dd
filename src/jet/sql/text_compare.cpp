#include "jet/sql/text_compare.h"
#include "jet/base/text_codec.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <memory>

#include "jet/base/error.h"
#include "jet/base/text_sort.h"

namespace jet::sql {
namespace {

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

}  // namespace

std::string encode_utf8(std::u32string_view s) {
  std::string out;
  for (char32_t c : s) append_utf8(out, c);
  return out;
}

namespace {

int compare_dictionary(std::string_view a, std::string_view b) {
  UErrorCode status = U_ZERO_ERROR;
  auto ua = icu::UnicodeString::fromUTF8(icu::StringPiece(a.data(), static_cast<int32_t>(a.size())));
  auto ub = icu::UnicodeString::fromUTF8(icu::StringPiece(b.data(), static_cast<int32_t>(b.size())));
  UCollationResult r = collator().compare(ua, ub, status);
  return r == UCOL_LESS ? -1 : r == UCOL_GREATER ? 1 : 0;
}

// UTF-16 length, the unit the index key is cut at.
std::size_t utf16_length(std::string_view s) {
  std::size_t n = 0;
  for (char32_t c : utf8_to_utf32(s)) n += c > 0xFFFF ? 2 : 1;
  return n;
}

}  // namespace

int compare_text(std::string_view a, std::string_view b) {
  try {
    std::vector<std::uint8_t> ka = jet::general_text_key(a), kb = jet::general_text_key(b);
    if (ka != kb) return ka < kb ? -1 : 1;
    if (utf16_length(a) <= jet::kMaxIndexedTextUnits && utf16_length(b) <= jet::kMaxIndexedTextUnits) {
      return 0;
    }
  } catch (const jet::Error&) {
    // A character without a key in the General order: fall back to dictionary order.
  }
  return compare_dictionary(a, b);
}

int compare_char(char32_t a, char32_t b) {
  if (a == b) return 0;
  if (u_foldCase(static_cast<UChar32>(a), U_FOLD_CASE_DEFAULT) ==
      u_foldCase(static_cast<UChar32>(b), U_FOLD_CASE_DEFAULT)) {
    return 0;
  }
  std::u32string sa(1, a), sb(1, b);
  return compare_text(encode_utf8(sa), encode_utf8(sb));
}

}  // namespace jet::sql
