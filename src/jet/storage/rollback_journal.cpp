#include "jet/storage/rollback_journal.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "jet/base/bytes.h"
#include "jet/base/crc32.h"
#include "jet/base/error.h"
#include "jet/storage/database_file.h"

namespace jet {

namespace {

// Layout: a 32-byte header, then one entry per saved page (its number, then its bytes).
//   0  "JETJRNL1"   8  page size   12  entry count   16  old file length (64 bits)
//   24 checksum of the entries     28  checksum of bytes 0..27
constexpr std::array<std::uint8_t, 8> kMagic = {'J', 'E', 'T', 'J', 'R', 'N', 'L', '1'};
constexpr std::size_t kHeaderSize = 32;
// Entries are written and read in runs of about this many bytes.
constexpr std::size_t kChunk = 1 << 20;

struct Header {
  std::size_t page_size = 0;
  std::uint32_t entries = 0;
  std::uint64_t file_length = 0;
  std::uint32_t entries_crc = 0;
};

std::vector<std::uint8_t> encode(const Header& h) {
  std::vector<std::uint8_t> bytes(kMagic.begin(), kMagic.end());
  append_le32(bytes, h.page_size);
  append_le32(bytes, h.entries);
  append_le32(bytes, h.file_length & 0xFFFFFFFFu);
  append_le32(bytes, h.file_length >> 32);
  append_le32(bytes, h.entries_crc);
  append_le32(bytes, crc32(0, bytes.data(), bytes.size()));
  return bytes;
}

// The header of a journal that was written to the end, or nothing for one cut short.
std::optional<Header> decode(os::File& journal) {
  std::vector<std::uint8_t> bytes(kHeaderSize);
  if (journal.read_at(0, bytes) != kHeaderSize) return std::nullopt;
  if (!std::equal(kMagic.begin(), kMagic.end(), bytes.begin())) return std::nullopt;
  if (load_le32(&bytes[28]) != crc32(0, bytes.data(), 28)) return std::nullopt;
  Header h;
  h.page_size = load_le32(&bytes[8]);
  h.entries = load_le32(&bytes[12]);
  h.file_length = load_le32(&bytes[16]) | (static_cast<std::uint64_t>(load_le32(&bytes[20])) << 32);
  h.entries_crc = load_le32(&bytes[24]);
  if (h.page_size != 2048 && h.page_size != 4096) return std::nullopt;
  if (journal.size() != kHeaderSize + static_cast<std::uint64_t>(h.entries) * (4 + h.page_size)) return std::nullopt;
  return h;
}

// Calls `each(page number, bytes)` for every entry; returns the checksum of them all.
template <typename Each>
std::uint32_t walk_entries(os::File& journal, const Header& h, Each&& each) {
  const std::size_t entry_size = 4 + h.page_size;
  const std::size_t per_run = std::max<std::size_t>(1, kChunk / entry_size);
  std::vector<std::uint8_t> run;
  std::uint32_t crc = 0;
  for (std::uint32_t first = 0; first < h.entries; first += static_cast<std::uint32_t>(per_run)) {
    const std::size_t count = std::min<std::size_t>(per_run, h.entries - first);
    run.resize(count * entry_size);
    if (journal.read_at(kHeaderSize + static_cast<std::uint64_t>(first) * entry_size, run) != run.size()) {
      throw os::Failure(os::FailureKind::IoError, "");
    }
    crc = crc32(crc, run.data(), run.size());
    for (std::size_t i = 0; i < count; ++i) {
      const std::uint8_t* entry = run.data() + i * entry_size;
      each(load_le32(entry), std::span<const std::uint8_t>(entry + 4, h.page_size));
    }
  }
  return crc;
}

// Puts the journal's pages back into `file`, cuts it to its old length, synchronises it.
void play_back(os::File& journal, const Header& h, os::File& file) {
  walk_entries(journal, h, [&](std::uint32_t number, std::span<const std::uint8_t> bytes) {
    file.write_at(static_cast<std::uint64_t>(number) * h.page_size, bytes);
  });
  file.truncate(h.file_length);
  file.sync();
}

bool entries_hold(os::File& journal, const Header& h) {
  return walk_entries(journal, h, [](std::uint32_t, std::span<const std::uint8_t>) {}) == h.entries_crc;
}

}  // namespace

std::string journal_path(const std::string& path) { return path + ".jnl"; }

RollbackJournal RollbackJournal::save(const os::Services& services, const std::string& path, os::File& file,
                                      std::size_t page_size, const std::vector<PageNumber>& pages) {
  RollbackJournal journal(services, journal_path(path));
  std::unique_ptr<os::File> out = services.files->create_new(journal.path_);
  try {
    Header h;
    h.page_size = page_size;
    h.file_length = file.size();
    std::vector<std::uint8_t> run;
    std::uint64_t at = kHeaderSize;
    auto flush = [&] {
      h.entries_crc = crc32(h.entries_crc, run.data(), run.size());
      out->write_at(at, run);
      at += run.size();
      run.clear();
    };
    std::vector<std::uint8_t> page(page_size);
    for (PageNumber number : pages) {
      const std::uint64_t offset = static_cast<std::uint64_t>(number) * page_size;
      if (offset >= h.file_length) continue;  // appended by the commit: cut off on play-back
      std::fill(page.begin(), page.end(), 0);
      file.read_at(offset, page);
      append_le32(run, number);
      run.insert(run.end(), page.begin(), page.end());
      ++h.entries;
      if (run.size() >= kChunk) flush();
    }
    if (!run.empty()) flush();
    out->write_at(0, encode(h));
    out->sync();
  } catch (...) {
    out.reset();
    try {
      services.files->remove(journal.path_);
    } catch (const os::Failure&) {
      // Left unfinished, it fails its checksum and is thrown away at the next opening.
    }
    throw;
  }
  return journal;
}

void RollbackJournal::restore(os::File& file) {
  auto in = services_->files->open(path_, os::Access::Read, os::Sharing::Exclusive);
  const std::optional<Header> h = decode(*in);
  if (!h) throw os::Failure(os::FailureKind::IoError, path_);
  play_back(*in, *h, file);
}

void RollbackJournal::remove() { services_->files->remove(path_); }

bool recover_journal(const os::Services& services, const std::string& path) {
  const std::string jpath = journal_path(path);
  if (!services.files->exists(jpath)) return false;
  std::unique_ptr<os::File> file;
  try {
    file = services.files->open(path, os::Access::ReadWrite, os::Sharing::Exclusive);
  } catch (const os::Failure& failure) {
    // Someone has the file open: the journal may be the live one of their commit.
    if (failure.kind() == os::FailureKind::InUse || failure.kind() == os::FailureKind::HeldExclusively) return false;
    // A journal beside a missing file has nothing to restore.
    if (failure.kind() == os::FailureKind::NotFound) return false;
    throw_file_failure(failure, services, path, FileActivity::OpeningToWrite);
  }
  try {
    // The writer may have finished between the look and the opening.
    if (!services.files->exists(jpath)) return false;
    std::unique_ptr<os::File> in = services.files->open(jpath, os::Access::Read, os::Sharing::Exclusive);
    const std::optional<Header> h = decode(*in);
    if (h && entries_hold(*in, *h)) {
      if (services.files->is_read_only(path)) throw_not_writable(path);
      play_back(*in, *h, *file);
    }
    // A journal cut short was never followed by a write to the file: it only goes away.
    in.reset();
    services.files->remove(jpath);
  } catch (const os::Failure& failure) {
    throw_file_failure(failure, services, failure.path().empty() ? path : failure.path(), FileActivity::Writing);
  }
  return true;
}

}  // namespace jet
