// "Scripting.TextStream": a text file open for reading, writing or appending. Text is UTF-8 in
// the program and Windows-1252 on disk (or UTF-16LE with BOM for Unicode streams; a file read
// that starts with that BOM is read as UTF-16LE); WriteLine
// ends lines with CR LF. ReadLine takes CR LF, LF or a lone CR as a line end. Every write goes
// to the file at once, so a log is complete up to its last line whatever happens next.
#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace platform {

enum class IOMode { ForReading = 1, ForWriting = 2, ForAppending = 8 };

class TextStream {
 public:
  // Opens `file` (a Linux path; FileSystemObject resolves Windows paths and checks existence).
  // Writing truncates, appending keeps the content. Raises platform::Error on failure.
  TextStream(const std::filesystem::path& file, IOMode mode, bool unicode = false);
  TextStream(TextStream&& other) noexcept;
  TextStream& operator=(TextStream&& other) noexcept;
  TextStream(const TextStream&) = delete;
  TextStream& operator=(const TextStream&) = delete;
  ~TextStream();  // closes (flushes) the file if still open

  // Writing. On a stream opened for reading, or closed, they raise Error(BadFileMode).
  void Write(std::string_view text);
  void WriteLine(std::string_view text = {});
  void WriteBlankLines(int lines);

  // Reading. ReadLine at the end of the stream (a zero-byte file included) raises
  // Error(InputPastEndOfFile), "L'entrée dépasse la fin de fichier". On a stream opened for
  // writing they raise Error(BadFileMode).
  std::string ReadLine();
  std::string ReadAll();
  bool AtEndOfStream() const;

  void Close();  // further calls raise Error(BadFileMode); a second Close is harmless
  bool isOpen() const { return file_ != nullptr; }

 private:
  void requireMode(bool writing) const;
  void writeBytes(std::string_view utf8);

  std::FILE* file_ = nullptr;  // open for writing or appending, or (reading) until Close
  IOMode mode_ = IOMode::ForReading;
  bool unicode_ = false;
  std::string content_;  // reading: the whole file, read at open
  std::size_t pos_ = 0;
};

}  // namespace platform
