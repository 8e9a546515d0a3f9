#include "kivuimg/commons/core/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <mutex>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/funcs.h"

namespace kivu {

TLog* g_log = nullptr;

LogOut str2LogOut(const std::string& s) {
    const std::string l = toLower(s);
    if (l == "stdout") return LogOut::stdOut;
    if (l == "quiet") return LogOut::quiet;
    return LogOut::file;
}

TLog::TLog(const std::string& path, const std::string& name, LogOut out, bool info, bool warnings, bool startEnd,
           bool autoClear, bool parallel, const std::string& session, const std::string& extension)
    : path_(path),
      name_(name),
      out_(out),
      info_(info),
      warnings_(warnings),
      startEnd_(startEnd),
      autoClear_(autoClear),
      parallel_(parallel),
      session_(session),
      extension_(extension) {
    std::string full = name.empty() ? path + "kivu.log" : name;
    // Split off the extension of the file part only.
    const size_t dot = extensionStart(full);
    std::string base = full, ext;
    if (dot != std::string::npos) {
        base = full.substr(0, dot);
        ext = full.substr(dot);
    }
    if (!session.empty()) base += "." + session;
    base = replaceDateVars(base);
    full = base + ext;
    if (full.find('/') == std::string::npos && full.find('\\') == std::string::npos)
        full = backSlash(path) + "logs" + std::string(1, pathSeparator()) + full;
    fileName_ = full;
}

std::unique_ptr<TLog> TLog::copy(const std::string& name) {
    auto log = std::make_unique<TLog>(path_, name, out_, info_, warnings_, startEnd_, autoClear_, parallel_, session_,
                                      extension_);
    if (autoClear_) log->clean();
    return log;
}

std::unique_ptr<TLog> TLog::newSessionLog(const std::string& session) {
    auto log = std::make_unique<TLog>(path_, name_, out_, info_, warnings_, startEnd_, autoClear_, parallel_, session,
                                      extension_);
    if (autoClear_) log->clean();
    return log;
}

void TLog::clean() {
    std::error_code ec;
    if (std::filesystem::exists(fileName_, ec)) {
        if (FILE* f = std::fopen(fileName_.c_str(), "wb")) std::fclose(f);
    }
}

bool TLog::logFileExists() {
    if (!fileSeen_) {
        std::error_code ec;
        fileSeen_ = std::filesystem::exists(fileName_, ec);
    }
    return fileSeen_;
}

namespace {

// The message of a line: what follows its "[YYYY-MM-DD hh:mm:ss]" stamp, so
// that a repeat is known whatever second it comes in.
std::string_view messageOf(std::string_view line) {
    constexpr size_t kStamp = 21;  // "[" + 19 characters of time + "]"
    if (line.size() >= kStamp && line[0] == '[' && line[kStamp - 1] == ']') return line.substr(kStamp);
    return line;
}

}  // namespace

void TLog::addMessage(const std::string& text, bool, bool always) {
    if (!always) {
        if (!seen_.insert(md5(messageOf(text))).second) return;
    }
    FILE* f = std::fopen(fileName_.c_str(), "ab");
    if (!f) throwf("Can't write log file '%s'", fileName_.c_str());
    fileSeen_ = true;
    std::fwrite(text.data(), 1, text.size(), f);
    std::fputc('\n', f);
    std::fclose(f);
}

std::string TLog::timestamp() {
    const std::time_t now = std::time(nullptr);
    std::tm tm{};
    localtime_r(&now, &tm);
    return sformat("%04d-%02d-%02d %02d:%02d:%02d", tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour,
                   tm.tm_min, tm.tm_sec);
}

namespace {

void writeLine(TLog* log, const std::string& line) {
    switch (log->outMode()) {
        case LogOut::file: log->addMessage(line, true, false); break;
        case LogOut::stdOut:
            std::fwrite(line.data(), 1, line.size(), stdout);
            std::fputc('\n', stdout);
            break;
        case LogOut::quiet: break;
    }
}

// Formats and writes one line under the caller's own lock.
void emit(std::mutex& lock, TLog* log, bool (TLog::*level)(), const char* mark, const char* fmt, va_list args) {
    if (!log || !(log->*level)()) return;
    const std::string text = vsformat(fmt, args);
    std::lock_guard<std::mutex> guard(lock);
    writeLine(log, "[" + TLog::timestamp() + mark + text);
}

}  // namespace

void g_logInfo(TLog* log, const char* fmt, ...) {
    static std::mutex lock;
    va_list args;
    va_start(args, fmt);
    emit(lock, log, &TLog::infoLevel, "] : ", fmt, args);
    va_end(args);
}

void g_logExclamation(TLog* log, const char* fmt, ...) {
    static std::mutex lock;
    va_list args;
    va_start(args, fmt);
    emit(lock, log, &TLog::warningsLevel, "] ! ", fmt, args);
    va_end(args);
}

void g_info(const char* fmt, ...) {
    static std::mutex lock;
    va_list args;
    va_start(args, fmt);
    emit(lock, g_log, &TLog::infoLevel, "] : ", fmt, args);
    va_end(args);
}

void g_exclamation(const char* fmt, ...) {
    static std::mutex lock;
    va_list args;
    va_start(args, fmt);
    emit(lock, g_log, &TLog::warningsLevel, "] ! ", fmt, args);
    va_end(args);
}

void g_logDocStart(TLog* log, const std::string& name) {
    static std::mutex lock;
    if (!log || !log->startEndLevel()) return;
    std::lock_guard<std::mutex> guard(lock);
    writeLine(log, "[" + TLog::timestamp() + "] : " + sformat("'%s' -> Start", name.c_str()));
}

void g_logDocEnd(TLog* log, const std::string& name, unsigned count) {
    static std::mutex lock;
    if (!log || !log->startEndLevel()) return;
    std::lock_guard<std::mutex> guard(lock);
    writeLine(log, "[" + TLog::timestamp() + "] : " + sformat("'%s' -> End (%u)", name.c_str(), count));
}

void g_docStart(const std::string& name) { g_logDocStart(g_log, name); }
void g_docEnd(const std::string& name, unsigned count) { g_logDocEnd(g_log, name, count); }

void g_error(const char* fmt, ...) {
    static std::mutex lock;
    va_list args;
    va_start(args, fmt);
    const std::string text = vsformat(fmt, args);
    va_end(args);
    {
        std::lock_guard<std::mutex> guard(lock);
        std::fwrite(text.data(), 1, text.size(), stderr);
        std::fputc('\n', stderr);
        std::fflush(stderr);
    }
    std::exit(1);
}

}  // namespace kivu
