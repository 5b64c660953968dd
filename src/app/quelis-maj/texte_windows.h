// Reading the tool's own text files (logs) back for the terminal: Windows-1252 with CR LF
// line ends, given as UTF-8 with LF line ends.
#pragma once

#include <filesystem>
#include <string>

std::string LitTexteWindows(const std::filesystem::path& fichier);
