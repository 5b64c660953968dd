#include "jet/tools/repair_pages.h"

#include "jet/base/bytes.h"
#include "jet/base/error.h"
#include "jet/record/data_page.h"
#include "jet/record/usage_map_write.h"
#include "jet/tools/verify_pages.h"

namespace jet::repair_detail {

std::set<PageNumber> unreadable_data_pages(Pager& pager) {
  std::set<PageNumber> out;
  for (PageNumber p = 2; p < pager.page_count(); ++p) {
    const Page page = pager.read(p);
    if (page.view().u8(0) != static_cast<std::uint8_t>(PageKind::Data)) continue;
    try {
      const DataPage data(page);
      for (std::uint16_t r = 0; r < data.row_count(); ++r) (void)data.row_bytes(r);
    } catch (const Error&) {
      out.insert(p);
    }
  }
  return out;
}

std::vector<PageNumber> drop_from_map(OverlayPager& pager, RowId where, const std::function<bool(PageNumber)>& fits,
                                      bool past_end) {
  std::vector<PageNumber> dropped;
  for (PageNumber p : marked_pages(pager, where, past_end ? ~PageNumber{0} : pager.page_count())) {
    if (p < pager.page_count() && fits(p)) continue;
    set_usage_bit(pager, where, p, false, false);
    dropped.push_back(p);
  }
  return dropped;
}

void correct_free_space(OverlayPager& pager, const std::set<PageNumber>& unreadable, std::vector<std::string>& actions) {
  for (PageNumber p = 2; p < pager.page_count(); ++p) {
    if (unreadable.count(p)) continue;
    const Page page = pager.read(p);
    if (page.view().u8(0) != static_cast<std::uint8_t>(PageKind::Data)) continue;
    const std::size_t recorded = page.view().u16(disk::kPageFreeSpace);
    const std::size_t actual = expected_free_space(page);
    if (recorded == actual) continue;
    std::vector<std::uint8_t> bytes = page.view().copy();
    store_le16(bytes, disk::kPageFreeSpace, actual);
    pager.write(p, std::move(bytes));
    actions.push_back("page " + std::to_string(p) + " : espace libre corrigé (annoncé " + std::to_string(recorded) +
                      ", réel " + std::to_string(actual) + ")");
  }
}

}  // namespace jet::repair_detail
