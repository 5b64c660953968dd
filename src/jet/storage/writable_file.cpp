#include "jet/storage/writable_file.h"

#include "jet/base/error.h"
#include "jet/storage/database_file.h"

namespace jet {

FileSink::FileSink(std::shared_ptr<os::File> file, const std::string& path, const os::Services& services)
    : file_(std::move(file)), path_(path), services_(services) {}

void FileSink::write_pages(std::size_t page_size,
                           const std::map<PageNumber, std::shared_ptr<const std::vector<std::uint8_t>>>& pages) {
  for (const auto& [number, bytes] : pages) {
    if (bytes->size() != page_size) throw_damaged(path_, "page de taille incorrecte à l'écriture");
  }
  try {
    for (const auto& [number, bytes] : pages) file_->write_at(static_cast<std::uint64_t>(number) * page_size, *bytes);
    file_->sync();
  } catch (const os::Failure& failure) {
    throw_file_failure(failure, services_, path_, FileActivity::Writing);
  }
}

}  // namespace jet
