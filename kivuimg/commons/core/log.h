// The library's log: lines with a local time stamp, to a file or to
// standard output, each distinct text written once per log.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>

#include "kivuimg/commons/core/export.h"

namespace kivu {

enum class LogOut : uint32_t { file = 1, stdOut = 2, quiet = 3 };

// "stdout" gives stdOut, "quiet" quiet, anything else file (case-insensitive).
KIVU_API LogOut str2LogOut(const std::string& s);

class KIVU_API TLog {
public:
    TLog(const std::string& path, const std::string& name, LogOut out, bool info, bool warnings, bool startEnd,
         bool autoClear, bool parallel, const std::string& session = "", const std::string& extension = "");
    virtual ~TLog() = default;

    // A new log with the same settings and another file name or session word.
    virtual std::unique_ptr<TLog> copy(const std::string& name);
    virtual std::unique_ptr<TLog> newSessionLog(const std::string& session);
    virtual std::string logPathFilename() { return fileName_; }
    // Empties the file if it exists.
    virtual void clean();
    virtual bool logFileExists();
    // Appends one line unless the same message was written before (or
    // `always`); a leading time stamp doesn't count as part of the message.
    virtual void addMessage(const std::string& text, bool flag, bool always);
    virtual bool isParallelMode() { return parallel_; }
    virtual void parallelMode(bool on) { parallel_ = on; }
    virtual LogOut outMode() { return out_; }
    virtual bool infoLevel() { return info_; }
    virtual bool warningsLevel() { return warnings_; }
    virtual bool debugLevel() { return false; }
    virtual bool startEndLevel() { return startEnd_; }
    virtual bool autoClear() { return autoClear_; }

    // Local time as "YYYY-MM-DD hh:mm:ss".
    static std::string timestamp();

    size_t seenCount() const { return seen_.size(); }

private:
    std::string path_;
    std::string name_;
    std::string fileName_;
    LogOut out_;
    bool info_, warnings_, startEnd_, autoClear_, parallel_;
    std::string session_;
    std::string extension_;
    bool fileSeen_ = false;
    std::unordered_set<std::string> seen_;
};

// The library's log; owned by the settings, null until the library starts.
// A message given to a null log is dropped.
extern KIVU_API TLog* g_log;

// Logging on a given log (null: nothing happens).
KIVU_API void g_logInfo(TLog* log, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
KIVU_API void g_logExclamation(TLog* log, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
KIVU_API void g_logDocStart(TLog* log, const std::string& name);
KIVU_API void g_logDocEnd(TLog* log, const std::string& name, unsigned count);

// The same on g_log.
KIVU_API void g_info(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
KIVU_API void g_exclamation(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
KIVU_API void g_docStart(const std::string& name);
KIVU_API void g_docEnd(const std::string& name, unsigned count);

// The one orderly stop: the text to standard error, then exit code 1.
// Only for a broken package or configuration.
[[noreturn]] KIVU_API void g_error(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

}  // namespace kivu
