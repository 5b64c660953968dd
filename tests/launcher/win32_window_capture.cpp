#include "win32_window_capture.h"

#include <windows.h>
#include <zlib.h>

#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

void put32(std::string& out, std::uint32_t v) {
  for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>((v >> shift) & 0xFF);
}

void chunk(std::string& png, const char* type, const std::string& data) {
  put32(png, static_cast<std::uint32_t>(data.size()));
  const std::string typed = std::string(type, 4) + data;
  png += typed;
  put32(png, static_cast<std::uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(typed.data()),
                                              static_cast<uInt>(typed.size()))));
}

}  // namespace

void CaptureWindowPng(void* window, const std::filesystem::path& file) {
  HWND hwnd = static_cast<HWND>(window);
  RECT r;
  if (!GetWindowRect(hwnd, &r)) throw std::runtime_error("no such window");
  const int width = r.right - r.left, height = r.bottom - r.top;
  HDC screen = GetDC(nullptr);
  HDC memory = CreateCompatibleDC(screen);
  HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
  HGDIOBJ old = SelectObject(memory, bitmap);
  const bool copied = BitBlt(memory, 0, 0, width, height, screen, r.left, r.top, SRCCOPY);
  SelectObject(memory, old);
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;  // rows top first
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  std::vector<std::uint8_t> bgra(static_cast<std::size_t>(width) * height * 4);
  const int rows = GetDIBits(memory, bitmap, 0, height, bgra.data(), &info, DIB_RGB_COLORS);
  DeleteObject(bitmap);
  DeleteDC(memory);
  ReleaseDC(nullptr, screen);
  if (!copied || rows != height) throw std::runtime_error("the screen could not be read");

  // Each PNG row: filter byte 0, then red, green, blue.
  std::string raw;
  raw.reserve(static_cast<std::size_t>(height) * (1 + width * 3));
  for (int y = 0; y < height; ++y) {
    raw += '\0';
    for (int x = 0; x < width; ++x) {
      const std::uint8_t* p = &bgra[(static_cast<std::size_t>(y) * width + x) * 4];
      raw += static_cast<char>(p[2]);
      raw += static_cast<char>(p[1]);
      raw += static_cast<char>(p[0]);
    }
  }
  uLongf packedSize = compressBound(static_cast<uLong>(raw.size()));
  std::string packed(packedSize, '\0');
  if (compress2(reinterpret_cast<Bytef*>(packed.data()), &packedSize, reinterpret_cast<const Bytef*>(raw.data()),
                static_cast<uLong>(raw.size()), Z_BEST_COMPRESSION) != Z_OK) {
    throw std::runtime_error("compression failed");
  }
  packed.resize(packedSize);

  std::string png("\x89PNG\r\n\x1a\n", 8);
  std::string header;
  put32(header, static_cast<std::uint32_t>(width));
  put32(header, static_cast<std::uint32_t>(height));
  header += std::string("\x08\x02\x00\x00\x00", 5);  // 8 bits, RGB, deflate, no filter choice, no interlace
  chunk(png, "IHDR", header);
  chunk(png, "IDAT", packed);
  chunk(png, "IEND", "");
  std::ofstream out(file, std::ios::binary);
  out << png;
  if (!out.flush()) throw std::runtime_error("cannot write " + file.string());
}
