// Visual Basic string functions over the program's UTF-8 texts. VB strings are UTF-16, so
// lengths and positions count characters (code points), never bytes: Len("Déjà") is 4.
// Upper/lower casing follows Windows' per-character mapping, French accented letters included
// (UCase("élève") is "ÉLÈVE").
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

// VB's compare modes for Replace, InStr and StrComp.
enum class CompareMethod { Binary = 0, Text = 1 };

std::string UCase(std::string_view text);
std::string LCase(std::string_view text);

// Character counts and slices; `start` is 1-based as in VB. Out-of-range lengths are clipped
// as VB clips them; a start below 1 raises Error(InvalidProcedureCall).
std::size_t Len(std::string_view text);
std::string Left(std::string_view text, std::size_t length);
std::string Right(std::string_view text, std::size_t length);
std::string Mid(std::string_view text, std::size_t start);
std::string Mid(std::string_view text, std::size_t start, std::size_t length);

// Trim, LTrim and RTrim remove spaces (U+0020) only, as VB does; tabs stay.
std::string Trim(std::string_view text);
std::string LTrim(std::string_view text);
std::string RTrim(std::string_view text);

// Every occurrence of `find` replaced, left to right, without re-scanning replaced text.
// CompareMethod::Text matches without regard to case ("C:\QUELIS" finds "c:\Quelis").
std::string Replace(std::string_view expression, std::string_view find, std::string_view replacement,
                    CompareMethod compare = CompareMethod::Binary);

// 1-based character position of `find` in `text` from `start`, 0 when absent.
std::size_t InStr(std::size_t start, std::string_view text, std::string_view find,
                  CompareMethod compare = CompareMethod::Binary);

// Case-blind equality of two texts as Windows compares file names (per-character upper case).
bool EqualsNoCase(std::string_view a, std::string_view b);
// The per-character upper case of a text: two texts are EqualsNoCase exactly when their
// folded forms are equal, so the folded form can key a lookup table.
std::string FoldCase(std::string_view text);
// The same into `out` (replacing what it held, reusing its buffer).
void FoldCase(std::string_view text, std::string& out);

// The order in which NTFS lists the entries of a folder: names compared by their upper-cased
// UTF-16 code units, as unsigned numbers. Returns <0, 0 or >0.
int CompareNtfsOrder(std::string_view a, std::string_view b);

}  // namespace platform
