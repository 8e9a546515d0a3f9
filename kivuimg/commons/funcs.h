// Free functions shared by the whole library: names and paths, file
// classes, MD5, thread counters and the numeric helpers of geometry.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kivu {

// ---- names and paths -------------------------------------------------------
char pathSeparator();
// The path with the platform separator at its end if it lacks one.
std::string backSlash(const std::string& path);
// Index of `s` in `list`, or -1.
long index(const std::vector<std::string>& list, const std::string& s);
std::string pathEscape(const std::string& s);
std::string escapedForPath(const std::string& s);
// "\xHH" and "%HH" escapes to their characters.
std::string convertHexas(const std::string& s);
std::string replaceDateVars(const std::string& s);
std::string replaceNumberVar(const std::string& s, uint64_t n);
std::string session(const std::string& path, const std::string& word);
std::string fileNameWithExt(const std::string& name, const std::string& ext);
std::vector<std::string> g_listDir(const std::string& folder, const std::string& prefix, const std::string& ext);
std::string g_resolveDownloadFilename(const std::string& name, const std::string& source, const std::string& extra);
std::string g_resolveDownloadData(const std::string& name, const std::string& source, const std::string& extra);
bool g_checkKivuXsdFile(const std::string& path);

bool fileExists(const std::string& path);
bool dirExists(const std::string& path);
// Where the extension's dot stands, npos when the name has none: the last
// "." of the last path segment, unless it begins the segment (".hidden").
size_t extensionStart(std::string_view name);
// The lowercase extension with its dot, "" when the name has none.
std::string fileExtension(const std::string& name);

// ---- file classes by extension (any case) ----------------------------------
bool isImage(const std::string& name);
bool isFont(const std::string& name);
bool isProfileICC(const std::string& name);
bool isPDF(const std::string& name);
bool isXml(const std::string& name);
bool isJson(const std::string& name);
bool isCSS(const std::string& name);
// "image", "font", "profile", "pdf", "xml", "json", "css" or "".
std::string g_checkFileType(const std::string& name);
bool isFormObject(const std::string& name);
std::string imageTypeAsExt(const std::string& s);
bool hasColorSpaceModification(const std::string& s);
bool hasURL(const std::string& s);
bool hasFunc(const std::string& s);

// ---- CSS declarations ------------------------------------------------------
// "name: value" gives the lowercase name without blanks.
std::string parsePropertyName(const std::string& declaration);
// Each "name: value" of the list as a (name, value) pair, both stripped.
std::vector<std::pair<std::string, std::string>> getPropertyAndKeyValues(const std::vector<std::string>& list);
bool isInheritableProperty(const std::string& name);

// ---- files and digests -----------------------------------------------------
// MD5 as 32 uppercase hexadecimal digits.
std::string md5(std::string_view text);
std::string md5(std::span<const uint8_t> bytes);
bool filePutContents(const std::string& path, const std::string& text, bool append);
std::string getFileContents(const std::string& path);

// ---- thread counters -------------------------------------------------------
void incThreads();
void decThreads();
int threadCount();
void waitThreads(int limit, int ms);
void waitThreadsAll(int ms);

// ---- numeric helpers (32-bit float arithmetic) ------------------------------
float aN(float v);
float zeon(float v);
float mins(float a, float b);
float mins(float a, float b, float c);
float maxs(float a, float b);
float maxs(float a, float b, float c);
float aMin(std::span<const float> values);
float aMax(std::span<const float> values);
// NaN test by bit pattern, safe under -ffast-math.
bool isNaNBits(float v);
// Equal values, or both NaN: the equality of fields where NaN means "not set".
inline bool sameFloat(float a, float b) { return a == b || (isNaNBits(a) && isNaNBits(b)); }

}  // namespace kivu
