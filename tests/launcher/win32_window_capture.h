// A window as the screen shows it, saved as a PNG file (for the pictures of the documentation).
#pragma once

#include <filesystem>

// Copies the screen's pixels under the window `hwnd` (an HWND) into `file`, frame and title
// bar included. Throws std::runtime_error when the screen cannot be read or the file written.
void CaptureWindowPng(void* hwnd, const std::filesystem::path& file);
