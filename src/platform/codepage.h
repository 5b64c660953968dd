// Windows-1252, the single-byte code page of a French Windows: the encoding of the program's
// text files, INI files and ANSI registry exports. Inside the program texts are UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// UTF-8 to Windows-1252. A character the code page cannot hold becomes '?', as Windows'
// best-effort conversion writes it; invalid UTF-8 bytes become '?' too.
std::string Utf8ToCp1252(std::string_view utf8);

// Windows-1252 to UTF-8. The five bytes the code page leaves undefined (0x81, 0x8D, 0x8F,
// 0x90, 0x9D) map to the C1 controls of the same value, as Windows maps them.
std::string Cp1252ToUtf8(std::string_view bytes);

// UTF-16LE bytes (no BOM) to UTF-8; unpaired surrogates become U+FFFD.
std::string Utf16LeToUtf8(std::string_view bytes);
// UTF-8 to UTF-16LE bytes (no BOM).
std::string Utf8ToUtf16Le(std::string_view utf8);

}  // namespace platform
