// UTF-8 <-> UTF-16 for the Windows wide-character API (Windows builds only).
#pragma once

#include <string>

namespace os {

std::wstring widen(const std::string& utf8);
std::string narrow(const std::wstring& utf16);

}  // namespace os
