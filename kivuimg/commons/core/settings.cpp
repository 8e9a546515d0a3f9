#include "kivuimg/commons/core/settings.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/funcs.h"

namespace fs = std::filesystem;
using nlohmann::json;

namespace kivu {

TSettings* g_settings = nullptr;

Rules currentRules() { return g_settings ? g_settings->rules() : rulesEngine; }

namespace {

std::string sub(const std::string& home, std::initializer_list<const char*> parts) {
    std::string out = backSlash(home);
    for (const char* p : parts) out += std::string(p) + pathSeparator();
    return out;
}

std::string currentHome() { return g_settings ? g_settings->packageHome() : TSettings::resolveHomeFolder(); }

int intKey(const json& j, const char* key, int fallback) {
    auto it = j.find(key);
    if (it == j.end()) return fallback;
    if (it->is_number()) return it->get<int>();
    if (it->is_string()) {
        try {
            return std::stoi(it->get<std::string>());
        } catch (const std::exception&) {
        }
    }
    return fallback;
}

bool boolKey(const json& j, const char* key, bool fallback) {
    auto it = j.find(key);
    return it != j.end() && it->is_boolean() ? it->get<bool>() : fallback;
}

std::string stringKey(const json& j, const char* key, const std::string& fallback) {
    auto it = j.find(key);
    return it != j.end() && it->is_string() ? it->get<std::string>() : fallback;
}

// The package folder's configuration, or the built-in one when there is no
// folder or no configuration in it.
json readConfiguration(const std::string& home) {
    const std::string confFile = home + ".conf.json";
    json conf;
    try {
        if (!home.empty() && fileExists(confFile)) {
            conf = TSettings::loadJSONData(confFile);
        } else {
            // The built-in configuration draws as browsers do, as the tool does.
            conf = json::parse(TSettings::defaultConfigText());
            conf["rules"] = "standard";
        }
    } catch (const std::exception& e) {
        g_error("%s", e.what());
    }
    if (!conf.is_object()) g_error("Invalid config file '%s'", confFile.c_str());
    return conf;
}

}  // namespace

TSettings::TSettings(const std::string& path, LogOut out, int) {
    // Without a package folder, or without a configuration in it, the
    // built-in configuration holds; without a folder a log file has no
    // place, so nothing is written anywhere.
    home_ = path.empty() ? std::string() : backSlash(path);
    if (home_.empty() && out == LogOut::file) out = LogOut::quiet;
    const json conf = readConfiguration(home_);

    memOptOnEveryPage_ = intKey(conf, "mem-opt-on-every-page", memOptOnEveryPage_);
    timeLimit_ = intKey(conf, "time-limit", timeLimit_);
    defaultLanguage_ = stringKey(conf, "lang", defaultLanguage_);
    const std::string rules = stringKey(conf, "rules", "engine");
    allowNetwork_ = boolKey(conf, "allow-network", false);
    maxSvgBytes_ = static_cast<uint64_t>(std::max(0, intKey(conf, "max-svg-bytes", 0)));
    const std::string pathout = stringKey(conf, "pathout", "$DEFAULT");

    logPath_ = sub(home_, {"logs"});
    bool info = true, warnings = true, startEnd = false, autoClear = false;
    std::string logPathText;
    auto logIt = conf.find("log");
    const bool hasLog = logIt != conf.end() && logIt->is_object();
    if (hasLog && logIt->contains("path")) logPathText = stringKey(*logIt, "path", "$DEFAULT");
    if (hasLog && out != LogOut::quiet) {
        info = boolKey(*logIt, "info", info);
        warnings = boolKey(*logIt, "warnings", warnings);
        startEnd = boolKey(*logIt, "start-end", startEnd);
        autoClear = boolKey(*logIt, "auto-clear", autoClear);
    }
    const bool logFolderMissing = !logPathText.empty() && _resolveLogPath(logPathText, logPath_);
    std::error_code ec;
    if (out == LogOut::file) fs::create_directories(logPath_, ec);
    log_ = std::make_unique<TLog>(logPath_, "", out, info, warnings, startEnd, autoClear, false);
    if (autoClear) log_->clean();
    // Messages of the remaining steps go to this log, the missing log folder's too.
    if (logFolderMissing)
        g_logExclamation(log_.get(), "Output folder '%s' does not exists, using '%s'", logPathText.c_str(),
                         logPath_.c_str());
    outputPath_ = _resolveOutputPath(pathout);
    rules_ = str2Rules(rules);
    if (rules2Str(rules_) != toLower(rules))
        g_logExclamation(log_.get(), "Unknown rules '%s', using 'engine'", rules.c_str());

    auto fontIt = conf.find("default-font");
    if (fontIt != conf.end() && fontIt->is_string()) {
        const std::string font = toLower(fontIt->get<std::string>());
        static const char* const kFonts[] = {"helvetica", "times", "courier", "symbol", "zapfdingbats"};
        bool known = false;
        for (const char* f : kFonts) known = known || font == f;
        if (known) defaultFont_ = font;
        else g_logExclamation(log_.get(), "Allowed default fonts are helvetica, times, courier, symbol or zapfdingbats");
    }
}

TSettings::~TSettings() = default;

std::string TSettings::_resolveOutputPath(const std::string& text) const {
    auto fallback = [this]() {
        const char* profile = std::getenv("USERPROFILE");
        if (!profile || !*profile) profile = std::getenv("HOME");
        if (profile && *profile) {
            const std::string docs = sub(profile, {"Documents"});
            if (dirExists(docs)) return docs;
        }
        return sub(home_, {"output"});
    };
    if (toUpper(text) == "$DEFAULT") return fallback();
    if (dirExists(text)) return backSlash(text);
    const std::string def = fallback();
    g_logExclamation(log_.get(), "Output folder '%s' does not exists, using '%s'", text.c_str(), def.c_str());
    return def;
}

bool TSettings::_resolveLogPath(const std::string& text, std::string& folder) const {
    folder = sub(home_, {"logs"});
    if (toUpper(text) == "$DEFAULT") return false;
    if (!dirExists(text)) return true;
    folder = backSlash(text);
    return false;
}

void TSettings::maxThreads(const std::string& value) {
    try {
        maxThreads_ = std::stoi(value);
    } catch (const std::exception&) {
    }
}

std::unique_ptr<TLog> TSettings::sessionLog(const std::string& name) { return log_->newSessionLog(name); }

std::string TSettings::xsdSchema() const { return sub(home_, {"resources"}) + "kivu.xsd"; }

bool TSettings::isValidPackageFolder(const std::string& folder) const {
    for (const char* d : {"logs", "output", "resources"}) {
        if (!dirExists(backSlash(folder) + d)) {
            g_logExclamation(log_.get(), "Folder '%s' is not valid Kivu Packaging folder", folder.c_str());
            return false;
        }
    }
    return true;
}

std::string TSettings::resolveHomeFolder() {
    const char* kivu = std::getenv("KIVU_HOME");
    if (kivu && *kivu) return backSlash(kivu);
    const char* profile = std::getenv("USERPROFILE");
    if (!profile || !*profile) profile = std::getenv("HOME");
    if (profile && *profile) return sub(profile, {"Kivu"});
    g_error("Environment variable KIVU_HOME is not defined");
}

json TSettings::loadJSONData(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throwf("File '%s' can't be read", path.c_str());
    try {
        return json::parse(in);
    } catch (const json::exception& e) {
        throwf("Invalid JSON file '%s': %s", path.c_str(), e.what());
    }
}

std::string TSettings::defaultConfigText() {
    return "{\n"
           "   \"default-language\": \"\",\n"
           "   \"log\": {\n"
           "        \"out\": \"file\",\n"
           "        \"info\": true,\n"
           "        \"warnings\": true,\n"
           "        \"start-end\": false,\n"
           "        \"auto-clear\": false,\n"
           "        \"path\": \"$DEFAULT\"\n"
           "   },\n"
           "   \"pathout\": \"$DEFAULT\",\n"
           "   \"scale-small-caps\": 7.5000000000000000E-001,\n"
           "   \"threads\": \"1\",\n"
           "   \"time-limit\": 10\n"
           "}\n";
}

bool TSettings::createDefaultConfigFile(const std::string& home) {
    const std::string folder = home.empty() ? resolveHomeFolder() : backSlash(home);
    const std::string file = folder + ".conf.json";
    if (fileExists(file)) {
        std::fprintf(stderr, "Config file .conf.file already exists\n");
        return false;
    }
    std::error_code ec;
    fs::create_directories(folder, ec);
    return filePutContents(file, defaultConfigText(), false);
}

bool TSettings::testPackageFolder(const std::string& folder) {
    if (folder.empty()) {
        g_exclamation("Package folder can not be empty ''");
        return false;
    }
    for (const char* d : {"fonts", "hyphenation", "images", "profiles"}) {
        if (!dirExists(sub(folder, {"resources", d}))) return false;
    }
    return true;
}

std::string TSettings::getFontsFolder() { return sub(currentHome(), {"resources", "fonts"}); }
std::string TSettings::getImagesFolder() { return sub(currentHome(), {"resources", "images"}); }
std::string TSettings::getProfilesFolder() { return sub(currentHome(), {"resources", "profiles"}); }
std::string TSettings::getHyphenFilesFolder() { return sub(currentHome(), {"resources", "hyphenation"}); }
std::string TSettings::getPDFFolder() { return sub(currentHome(), {"resources", "pdf"}); }
std::string TSettings::getXmlFolder() { return sub(currentHome(), {"resources", "xml"}); }
std::string TSettings::fontsCatalogFileName() { return getFontsFolder() + "catalog.json"; }

std::vector<SFontItem> TSettings::getFontsCatalog() {
    const std::string file = fontsCatalogFileName();
    if (!fileExists(file)) throw KivuException("File catalog.json doesn't exists");
    json j;
    try {
        j = loadJSONData(file);
    } catch (const std::exception&) {
        throw KivuException("Invalid catalog.json file");
    }
    auto it = j.find("catalog");
    if (it == j.end() || !it->is_array() || it->empty()) throw KivuException("Fonts not defined");
    std::vector<SFontItem> out;
    for (const auto& f : *it) {
        if (!f.is_object()) continue;
        out.push_back(SFontItem{stringKey(f, "family", ""), stringKey(f, "normal", ""), stringKey(f, "bold", ""),
                                stringKey(f, "italic", ""), stringKey(f, "bold-italic", "")});
    }
    return out;
}

std::map<std::string, std::string> TSettings::getFontFamilyAliases() {
    std::map<std::string, std::string> out;
    const std::string file = fontsCatalogFileName();
    if (!fileExists(file)) return out;
    try {
        const json j = loadJSONData(file);
        auto it = j.find("aliases");
        if (it != j.end() && it->is_object())
            for (const auto& [k, v] : it->items())
                if (v.is_string()) out[k] = v.get<std::string>();
    } catch (const std::exception&) {
    }
    return out;
}

void TSettings::initFontsLocation(std::vector<SFontItem>& fonts, const std::map<std::string, std::string>& aliases) {
    g_logInfo(log_.get(), "Saving fonts ...");
    json catalog = json::array();
    for (const auto& f : fonts)
        catalog.push_back({{"family", f.family},
                           {"normal", f.normal},
                           {"bold", f.bold},
                           {"italic", f.italic},
                           {"bold-italic", f.boldItalic}});
    json j = {{"catalog", catalog}, {"aliases", aliases}};
    std::error_code ec;
    fs::create_directories(getFontsFolder(), ec);
    filePutContents(getFontsFolder() + "catalog.json", j.dump(3), false);
    g_logInfo(log_.get(), "Font settings done");
}

std::string g_checkFile2Resources(const std::string& name) {
    if (startsWith(name, "res://")) {
        const std::string file = name.substr(6);
        std::string folder;
        if (isFont(file)) folder = TSettings::getFontsFolder();
        else if (isImage(file)) folder = TSettings::getImagesFolder();
        else if (isProfileICC(file)) folder = TSettings::getProfilesFolder();
        else if (isPDF(file)) folder = TSettings::getPDFFolder();
        else if (isXml(file) || isJson(file) || isCSS(file)) folder = TSettings::getXmlFolder();
        else return "";
        return folder + file;
    }
    if (startsWith(name, "url(") && endsWith(name, ")")) {
        const std::string url = name.substr(4, name.size() - 5);
        const size_t slash = url.rfind('/');
        const std::string file = slash == std::string::npos ? url : url.substr(slash + 1);
        try {
            auto data = TBuffer::loadFromURL(url);
            if (data && !file.empty()) {
                const std::string target = TSettings::getImagesFolder() + file;
                if (data->save(target, false) == 1) return target;
            }
        } catch (const std::exception&) {
        }
        g_exclamation("No access to image url: '%s'", url.c_str());
        return "";
    }
    return fileExists(name) ? name : "";
}

bool g_validatePackagePath(const std::string& path) {
    const fs::path parent = fs::path(path).parent_path();
    for (const char* d : {"resources", "logs", "output"})
        if (!dirExists((parent / d).string())) return false;
    return true;
}

void waitThreadsAll(int ms) {
    if (!g_settings) return;
    while (threadCount() > 0) std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

}  // namespace kivu
