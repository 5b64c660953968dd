#include "platform/textstream.h"

#include <cerrno>
#include <utility>

#include "platform/codepage.h"
#include "platform/error.h"
#include "platform/localfs.h"

namespace platform {
namespace {

Error openFailure(int err, IOMode mode) {
  switch (err) {
    case ENOENT:
    case ENOTDIR:
      return Error(mode == IOMode::ForReading ? ErrorCode::FileNotFound : ErrorCode::PathNotFound);
    case EACCES:
    case EPERM:
    case EROFS:
      return Error(ErrorCode::PermissionDenied);
    case ENOSPC:
      return Error(ErrorCode::DiskFull);
    default:
      return Error(ErrorCode::PathFileAccessError);
  }
}

}  // namespace

TextStream::TextStream(const std::filesystem::path& file, IOMode mode, bool unicode)
    : mode_(mode), unicode_(unicode) {
  const char* how = mode == IOMode::ForReading ? "rb" : (mode == IOMode::ForWriting ? "wb" : "ab");
  errno = 0;
  file_ = localfs::openFile(file, how);
  if (!file_) throw openFailure(errno, mode);
  if (mode == IOMode::ForReading) {
    char chunk[8192];
    for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, file_)) > 0;) content_.append(chunk, n);
    if (std::ferror(file_)) {
      std::fclose(std::exchange(file_, nullptr));
      throw Error(ErrorCode::DeviceIoError);  // e.g. a folder opened as a file
    }
    if (content_.size() >= 2 && content_[0] == '\xFF' && content_[1] == '\xFE') {
      unicode_ = true;
      pos_ = 2;
    }
  } else if (unicode_ && (mode == IOMode::ForWriting || std::ftell(file_) == 0)) {
    writeBytes("\xFF\xFE");
  }
}

TextStream::TextStream(TextStream&& other) noexcept
    : file_(std::exchange(other.file_, nullptr)),
      mode_(other.mode_),
      unicode_(other.unicode_),
      content_(std::move(other.content_)),
      pos_(other.pos_) {}

TextStream& TextStream::operator=(TextStream&& other) noexcept {
  if (this != &other) {
    if (file_) std::fclose(file_);
    file_ = std::exchange(other.file_, nullptr);
    mode_ = other.mode_;
    unicode_ = other.unicode_;
    content_ = std::move(other.content_);
    pos_ = other.pos_;
  }
  return *this;
}

TextStream::~TextStream() {
  if (file_) std::fclose(file_);
}

void TextStream::requireMode(bool writing) const {
  if (!file_ || writing == (mode_ == IOMode::ForReading)) throw Error(ErrorCode::BadFileMode);
}

void TextStream::writeBytes(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size() || std::fflush(file_) != 0)
    throw Error(errno == ENOSPC ? ErrorCode::DiskFull : ErrorCode::DeviceIoError);
}

void TextStream::Write(std::string_view text) {
  requireMode(true);
  writeBytes(unicode_ ? Utf8ToUtf16Le(text) : Utf8ToCp1252(text));
}

void TextStream::WriteLine(std::string_view text) {
  requireMode(true);
  std::string line(text);
  line += "\r\n";
  writeBytes(unicode_ ? Utf8ToUtf16Le(line) : Utf8ToCp1252(line));
}

void TextStream::WriteBlankLines(int lines) {
  for (int i = 0; i < lines; ++i) WriteLine();
}

bool TextStream::AtEndOfStream() const {
  requireMode(false);
  return pos_ + (unicode_ ? 1 : 0) >= content_.size();
}

std::string TextStream::ReadLine() {
  requireMode(false);
  if (AtEndOfStream()) throw Error(ErrorCode::InputPastEndOfFile);
  const std::size_t width = unicode_ ? 2 : 1;
  auto unitAt = [&](std::size_t at) -> char {
    // The line-end characters are all below 0x80; a wide unit is one only when its high byte is 0.
    if (!unicode_) return content_[at];
    return content_[at + 1] == '\0' ? content_[at] : 'x';
  };
  const std::size_t start = pos_;
  std::size_t end = pos_;
  while (end + width <= content_.size() && unitAt(end) != '\n' && unitAt(end) != '\r') end += width;
  pos_ = end;
  if (pos_ + width <= content_.size()) {
    const char first = unitAt(pos_);
    pos_ += width;
    if (first == '\r' && pos_ + width <= content_.size() && unitAt(pos_) == '\n') pos_ += width;
  }
  const std::string_view raw = std::string_view(content_).substr(start, end - start);
  return unicode_ ? Utf16LeToUtf8(raw) : Cp1252ToUtf8(raw);
}

std::string TextStream::ReadAll() {
  requireMode(false);
  if (AtEndOfStream()) throw Error(ErrorCode::InputPastEndOfFile);
  const std::string_view raw = std::string_view(content_).substr(pos_);
  pos_ = content_.size();
  return unicode_ ? Utf16LeToUtf8(raw) : Cp1252ToUtf8(raw);
}

void TextStream::Close() {
  if (file_) std::fclose(file_);
  file_ = nullptr;
  content_.clear();
  pos_ = 0;
}

}  // namespace platform
