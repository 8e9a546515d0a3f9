// Dates of the Info dictionary: the time now, and a date a host gives in
// ISO 8601 or PDF form, both as PDF dates ("D:YYYYMMDDHHmmSS+HH'mm'").
#pragma once

#include <string>

namespace kivu::pdf {

// The local time now.
std::string pdfDateNow();
// "2026", "2026-11", "2026-11-24", then "T" or a blank and "09:30" or
// "09:30:15" (fractions of a second dropped), then "Z", "+01:00", "+0100"
// or "-05"; or a PDF date, checked and kept.  Raises
// "'...' is no date (ISO 8601, e.g. 2026-11-24T09:30:00Z, or D:...)".
std::string pdfDate(const std::string& text);

}  // namespace kivu::pdf
