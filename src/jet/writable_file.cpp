#include "jet/writable_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "jet/error.h"

namespace jet {

void throw_not_writable(const std::string& path) {
  throw Error(3051, "Le moteur de base de données Microsoft Jet ne peut pas ouvrir le fichier '" + path +
                        "'. Il est déjà ouvert en mode exclusif par un autre utilisateur, ou vous devez "
                        "avoir l'autorisation de visualiser ses données (fichier en lecture seule).");
}

FileSink::FileSink(const std::string& path) : path_(path) {
  fd_ = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  if (fd_ < 0) {
    const int err = errno;
    if (err == EACCES || err == EROFS || err == EPERM) throw_not_writable(path);
    throw_open_error(path, err);
  }
  // The read-only attribute binds every user, administrators included (root here).
  struct stat st {};
  if (::fstat(fd_, &st) != 0 || !(st.st_mode & S_IWUSR)) {
    ::close(fd_);
    fd_ = -1;
    throw_not_writable(path);
  }
}

FileSink::~FileSink() {
  if (fd_ >= 0) ::close(fd_);
}

void FileSink::write_pages(std::size_t page_size,
                           const std::map<PageNumber, std::shared_ptr<const std::vector<std::uint8_t>>>& pages) {
  for (const auto& [number, bytes] : pages) {
    if (bytes->size() != page_size) throw_damaged(path_, "page de taille incorrecte à l'écriture");
    const off_t base = static_cast<off_t>(number) * static_cast<off_t>(page_size);
    std::size_t done = 0;
    while (done < page_size) {
      const ssize_t n = ::pwrite(fd_, bytes->data() + done, page_size - done, base + static_cast<off_t>(done));
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) throw_damaged(path_, "écriture impossible de la page " + std::to_string(number));
      done += static_cast<std::size_t>(n);
    }
  }
  if (::fsync(fd_) != 0) throw_damaged(path_, "synchronisation du fichier impossible");
}

}  // namespace jet
