// TSettings: finds the package home, reads ".conf.json", makes the log and
// answers where the package's resources lie.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "kivuimg/commons/consts.h"
#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/core/log.h"

namespace kivu {

// One family of the font catalogue with its four styles.
struct KIVU_API SFontItem {
    std::string family;
    std::string normal;
    std::string bold;
    std::string italic;
    std::string boldItalic;
};

class KIVU_API TSettings {
public:
    // An empty path is no package folder: the built-in configuration (that
    // of defaultConfigText, drawings by the standard rules), and no log
    // file.  A home without ".conf.json" takes the built-in configuration
    // too; an unreadable one ends the process through g_error.
    TSettings(const std::string& path, LogOut out, int limit);
    virtual ~TSettings();

    virtual void initFontsLocation(std::vector<SFontItem>& fonts, const std::map<std::string, std::string>& aliases);
    virtual std::vector<SFontItem> getFontsCatalog();
    virtual std::map<std::string, std::string> getFontFamilyAliases();
    virtual std::string packageHome() const { return home_; }
    virtual std::string homeDir() const { return home_; }
    virtual int maxThreads() const { return maxThreads_; }
    virtual void maxThreads(const std::string& value);
    virtual int memOptOnEveryPage() const { return memOptOnEveryPage_; }
    virtual int measurementTimeLimit() const { return timeLimit_; }
    virtual std::string defaultLanguage() const { return defaultLanguage_; }
    virtual std::vector<std::string> getFontPaths() const { return {}; }
    virtual float scaleSmallCaps() const { return scaleSmallCaps_; }
    virtual std::string outputPath() const { return outputPath_; }
    virtual std::string logPath() const { return logPath_; }
    virtual std::unique_ptr<TLog> sessionLog(const std::string& name);
    virtual std::string xsdSchema() const;
    virtual TLog* log() const { return log_.get(); }
    virtual std::string defaultFont() const { return defaultFont_; }
    virtual int defaultFontNumber() const { return defaultFontNumber_; }
    virtual float defaultFontSize() const { return defaultFontSize_; }
    virtual bool isValidPackageFolder(const std::string& folder) const;
    // The rules drawings are read by: "rules" in the configuration, "engine"
    // when absent.  A host may choose them before it loads drawings.
    Rules rules() const { return rules_; }
    void rules(Rules r) { rules_ = r; }
    // Whether drawings may fetch their pictures over the network:
    // "allow-network" in the configuration, false when absent.
    bool allowNetwork() const { return allowNetwork_; }
    void allowNetwork(bool on) { allowNetwork_ = on; }
    // What one drawing (with those embedded in it) may hold in its tree and
    // write into its content, in bytes each: "max-svg-bytes" in the
    // configuration; 0 when absent (the library's default, 64 MB, holds).
    uint64_t maxSvgBytes() const { return maxSvgBytes_; }
    void maxSvgBytes(uint64_t bytes) { maxSvgBytes_ = bytes; }

    // KIVU_HOME, else the user profile's "Kivu" folder (HOME stands in for
    // USERPROFILE); neither ends the process through g_error.
    static std::string resolveHomeFolder();
    // Parses a JSON file; raises with the file name when it doesn't parse.
    static nlohmann::json loadJSONData(const std::string& path);
    // Writes the default ".conf.json" into `home` (default: the resolved
    // home).  False, with a message on standard error, when one exists.
    static bool createDefaultConfigFile(const std::string& home = "");
    // The exact text that createDefaultConfigFile writes.
    static std::string defaultConfigText();
    static bool testPackageFolder(const std::string& folder);

    // Folders of the package, each with a trailing separator.
    static std::string getFontsFolder();
    static std::string getImagesFolder();
    static std::string getProfilesFolder();
    static std::string getHyphenFilesFolder();
    static std::string getPDFFolder();
    static std::string getXmlFolder();
    static std::string fontsCatalogFileName();

private:
    std::string _resolveOutputPath(const std::string& text) const;
    // The log folder for the configured text; true when that folder doesn't
    // exist and the default took its place (the log isn't made yet to say so).
    bool _resolveLogPath(const std::string& text, std::string& folder) const;

    std::string home_;
    std::string outputPath_;
    std::string logPath_;
    std::string logFile_;
    std::string defaultLanguage_;
    std::string defaultFont_ = "helvetica";
    int defaultFontNumber_ = 9;
    float defaultFontSize_ = 10;
    float scaleSmallCaps_ = 0.75f;
    int maxThreads_ = 1;
    int memOptOnEveryPage_ = 0;
    int timeLimit_ = 10;
    Rules rules_ = rulesEngine;
    bool allowNetwork_ = false;
    uint64_t maxSvgBytes_ = 0;
    std::unique_ptr<TLog> log_;
};

// The library's settings; null until the library starts.
extern KIVU_API TSettings* g_settings;

// The rules of the library's settings; the engine's while none are made.
KIVU_API Rules currentRules();

// Places a file named in a document: "res://" names resolve in the package's
// resource folder of their class, "url(...)" names are fetched and saved
// there.  Answers the local path, or "" when it can't be had.
std::string g_checkFile2Resources(const std::string& name);
// True when "resources", "logs" and "output" stand beside the path.
bool g_validatePackagePath(const std::string& path);

}  // namespace kivu
