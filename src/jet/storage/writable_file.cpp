#include "jet/storage/writable_file.h"

#include <optional>

#include "jet/base/error.h"
#include "jet/storage/database_file.h"
#include "jet/storage/rollback_journal.h"

namespace jet {

FileSink::FileSink(std::shared_ptr<os::File> file, const std::string& path, const os::Services& services)
    : file_(std::move(file)), behind_(dynamic_cast<WriteBehindFile*>(file_.get())), path_(path), services_(services) {}

namespace {

// Pages of consecutive numbers go out in one write, up to this many bytes.
constexpr std::size_t kRunBytes = 1 << 20;

}  // namespace

void FileSink::write_runs(std::size_t page_size, const std::vector<PageNumber>& numbers, const PageLoader& load) {
  std::vector<std::uint8_t> run;
  PageNumber first = 0;
  auto flush = [&] {
    if (run.empty()) return;
    file_->write_at(static_cast<std::uint64_t>(first) * page_size, run);
    run.clear();
  };
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const PageNumber number = numbers[i];
    const Bytes bytes = load(i);
    if (bytes->size() != page_size) throw_damaged(path_, "page de taille incorrecte à l'écriture");
    const bool follows = !run.empty() && number == first + run.size() / page_size;
    if (!follows || run.size() >= kRunBytes) {
      flush();
      first = number;
    }
    run.insert(run.end(), bytes->begin(), bytes->end());
  }
  flush();
}

void FileSink::sync() {
  try {
    file_->sync();
  } catch (const os::Failure& failure) {
    throw_file_failure(failure, services_, path_, FileActivity::Writing);
  }
}

void FileSink::write_pages_early(std::size_t page_size, const std::vector<PageNumber>& numbers,
                                 const PageLoader& load) {
  if (!unjournaled_ || !behind_) return write_pages(page_size, numbers, load);
  restored_ = false;
  try {
    // The pages go as they are, consecutive ones together: the helper thread joins them.
    std::vector<WriteBehindFile::Piece> run;
    PageNumber first = 0;
    const auto flush = [&] {
      if (!run.empty()) behind_->write_behind(static_cast<std::uint64_t>(first) * page_size, std::move(run));
      run.clear();
    };
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      Bytes bytes = load(i);
      if (bytes->size() != page_size) throw_damaged(path_, "page de taille incorrecte à l'écriture");
      if (run.empty() || numbers[i] != first + run.size() || run.size() * page_size >= kRunBytes) {
        flush();
        first = numbers[i];
      }
      run.push_back(std::move(bytes));
    }
    flush();
  } catch (const os::Failure& failure) {
    throw_file_failure(failure, services_, path_, FileActivity::Writing);
  }
}

void FileSink::write_pages(std::size_t page_size, const std::vector<PageNumber>& numbers, const PageLoader& load) {
  restored_ = false;
  if (unjournaled_) {
    try {
      write_runs(page_size, numbers, load);
    } catch (const os::Failure& failure) {
      throw_file_failure(failure, services_, path_, FileActivity::Writing);
    }
    return;
  }
  std::optional<RollbackJournal> journal;
  try {
    journal.emplace(RollbackJournal::save(services_, path_, *file_, page_size, numbers));
  } catch (const os::Failure& failure) {
    // Nothing was written to the file.
    restored_ = true;
    throw_file_failure(failure, services_, failure.path().empty() ? path_ : failure.path(), FileActivity::Writing);
  }
  const auto undo = [&] {
    try {
      journal->restore(*file_);
      journal->remove();
      restored_ = true;
    } catch (const os::Failure&) {
      // The journal stays: the next opening of the file puts the old pages back.
    }
  };
  try {
    write_runs(page_size, numbers, load);
    file_->sync();
    journal->remove();
  } catch (const os::Failure& failure) {
    undo();
    throw_file_failure(failure, services_, path_, FileActivity::Writing);
  } catch (...) {
    // A page that could not be read back from the scratch file, or of the wrong size.
    undo();
    throw;
  }
}

}  // namespace jet
