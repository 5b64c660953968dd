// hold_file PATH: opens PATH (creating it) without sharing, as Access holds a database's
// ".ldb" while the database is open, writes "held" on its output and keeps the file until its
// input is closed. Lets the Windows tests meet a file held by another process.
#include <windows.h>

#include <cstdio>

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) return 2;
  HANDLE file = ::CreateFileW(argv[1], GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return 1;
  std::fputs("held\n", stdout);
  std::fflush(stdout);
  char buffer[16];
  while (std::fgets(buffer, sizeof buffer, stdin)) {
  }
  ::CloseHandle(file);
  return 0;
}
