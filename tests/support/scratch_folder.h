// A scratch folder for one test, the same on every system: a new folder with a random name in
// the system's temporary folder, removed with everything in it at the end. Windows refuses to
// delete a read-only file, so the removal first makes every file writable again.
#pragma once

#include <cstdint>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>

namespace test_support {

class ScratchFolder {
 public:
  explicit ScratchFolder(const std::string& prefix = "quelis-test-") : path_(make(prefix)) {}
  // A new empty folder "<temp>/<prefix><random>"; the caller removes it.
  static std::filesystem::path make(const std::string& prefix) {
    const std::filesystem::path temp = std::filesystem::temp_directory_path();
    std::random_device entropy;
    std::mt19937_64 draw((std::uint64_t{entropy()} << 32) ^ entropy());
    for (int attempt = 0; attempt < 100; ++attempt) {
      const std::filesystem::path candidate = temp / (prefix + to_hex(draw()));
      std::error_code ec;
      if (std::filesystem::create_directory(candidate, ec)) return candidate;
      if (ec) throw std::filesystem::filesystem_error("cannot create a scratch folder", candidate, ec);
    }
    throw std::runtime_error("no free scratch folder name in " + temp.string());
  }
  ~ScratchFolder() {
    std::error_code ec, ignored;
    for (std::filesystem::recursive_directory_iterator it(path_, ec), end; !ec && it != end; it.increment(ec))
      std::filesystem::permissions(it->path(), std::filesystem::perms::owner_write,
                                   std::filesystem::perm_options::add, ignored);
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  static std::string to_hex(std::uint64_t n) {
    static const char digits[] = "0123456789abcdef";
    std::string out(12, '0');
    for (char& c : out) {
      c = digits[n & 15];
      n >>= 4;
    }
    return out;
  }

  std::filesystem::path path_;
};

// For fixtures that remove their folder themselves.
inline std::filesystem::path MakeScratchFolder(const std::string& prefix) { return ScratchFolder::make(prefix); }

}  // namespace test_support
