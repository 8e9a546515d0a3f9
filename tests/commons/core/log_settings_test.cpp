#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/log.h"
#include "kivuimg/commons/core/settings.h"
#include "kivuimg/commons/funcs.h"

namespace fs = std::filesystem;
using namespace kivu;

namespace {

std::string freshDir(const std::string& name) {
    const fs::path p = fs::path(::testing::TempDir()) / ("kivu_" + name);
    fs::remove_all(p);
    fs::create_directories(p);
    return p.string() + "/";
}

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

}  // namespace

TEST(Log, RepeatsAreWrittenOnce) {
    const std::string dir = freshDir("log1");
    TLog log(dir, "", LogOut::file, true, true, true, false, false);
    EXPECT_EQ(log.logPathFilename(), dir + "kivu.log");
    g_logExclamation(&log, "bad %s", "thing");
    g_logExclamation(&log, "bad %s", "thing");
    g_logInfo(&log, "fine");
    g_logDocStart(&log, "doc.pdf");
    g_logDocEnd(&log, "doc.pdf", 3);
    const std::string text = readAll(log.logPathFilename());
    std::istringstream lines(text);
    std::vector<std::string> all;
    for (std::string l; std::getline(lines, l);) all.push_back(l);
    ASSERT_EQ(all.size(), 4u) << text;
    // "[YYYY-MM-DD hh:mm:ss] ! bad thing"
    EXPECT_EQ(all[0].size(), 24u + std::string("bad thing").size());
    EXPECT_EQ(all[0].substr(22), "! bad thing");
    EXPECT_EQ(all[1].substr(22), ": fine");
    EXPECT_EQ(all[2].substr(22), ": 'doc.pdf' -> Start");
    EXPECT_EQ(all[3].substr(22), ": 'doc.pdf' -> End (3)");
    EXPECT_EQ(all[0][0], '[');
    EXPECT_EQ(all[0][5], '-');
    // A repeat is known by its message, whatever second it comes in.
    log.addMessage("[2001-01-01 00:00:00] ! later", true, false);
    log.addMessage("[2001-01-01 00:00:01] ! later", true, false);
    EXPECT_EQ(readAll(log.logPathFilename()).substr(text.size()), "[2001-01-01 00:00:00] ! later\n");
}

TEST(Log, LevelsQuietAndNull) {
    const std::string dir = freshDir("log2");
    TLog noWarnings(dir, "", LogOut::file, true, false, false, false, false);
    g_logExclamation(&noWarnings, "hidden");
    EXPECT_EQ(noWarnings.seenCount(), 0u);
    EXPECT_FALSE(noWarnings.logFileExists());
    TLog quiet(dir, dir + "q.log", LogOut::quiet, true, true, true, false, false);
    g_logInfo(&quiet, "nothing");
    EXPECT_FALSE(fs::exists(dir + "q.log"));
    g_logExclamation(nullptr, "dropped");
    TLog* saved = g_log;
    g_log = nullptr;
    g_exclamation("dropped too");
    g_log = saved;
    EXPECT_EQ(str2LogOut("STDOUT"), LogOut::stdOut);
    EXPECT_EQ(str2LogOut("quiet"), LogOut::quiet);
    EXPECT_EQ(str2LogOut("x"), LogOut::file);
}

TEST(Log, SessionsAndAutoClear) {
    const std::string dir = freshDir("log3");
    TLog log(dir, "", LogOut::file, true, true, false, true, false);
    g_logInfo(&log, "first");
    auto session = log.newSessionLog("17");
    EXPECT_EQ(session->logPathFilename(), dir + "kivu.17.log");
    g_logInfo(session.get(), "in session");
    auto again = log.newSessionLog("17");  // auto-clear empties the file at once
    EXPECT_EQ(readAll(again->logPathFilename()), "");
    TLog named(dir, "trace.txt", LogOut::file, true, true, false, false, false);
    EXPECT_EQ(named.logPathFilename(), dir + "logs/trace.txt");
}

TEST(Settings, DefaultConfigReadsBackAsTheDefaults) {
    const std::string home = freshDir("home1");
    fs::create_directories(home + "output");
    ASSERT_TRUE(TSettings::createDefaultConfigFile(home));
    TSettings s(home, LogOut::quiet, -1);
    EXPECT_EQ(s.measurementTimeLimit(), 10);
    EXPECT_EQ(s.scaleSmallCaps(), 0.75f);
    EXPECT_EQ(s.defaultLanguage(), "");
    EXPECT_EQ(s.logPath(), home + "logs/");
    filePutContents(home + ".conf.json", "{}", false);
    EXPECT_FALSE(TSettings::createDefaultConfigFile(home)) << "an existing file stays";
    EXPECT_EQ(readAll(home + ".conf.json"), "{}");
}

TEST(Settings, ReadsKeysAndChecksTheDefaultFont) {
    const std::string home = freshDir("home2");
    fs::create_directories(home + "output");
    filePutContents(home + ".conf.json",
                    "{\"time-limit\": 25, \"lang\": \"fi\", \"pathout\": \"$default\", \"default-font\": \"Times\","
                    " \"log\": {\"warnings\": true}}",
                    false);
    TSettings s(home, LogOut::file, -1);
    EXPECT_EQ(s.measurementTimeLimit(), 25);
    EXPECT_EQ(s.defaultLanguage(), "fi");
    EXPECT_EQ(s.defaultFont(), "times");
    EXPECT_EQ(s.scaleSmallCaps(), 0.75f);
    EXPECT_EQ(s.packageHome(), home);
    EXPECT_TRUE(s.getFontPaths().empty());

    filePutContents(home + ".conf.json",
                    "{\"default-font\": \"arial\", \"pathout\": \"/no/such/dir\","
                    " \"log\": {\"path\": \"/no/such/logs\"}}",
                    false);
    TSettings t(home, LogOut::file, -1);
    EXPECT_EQ(t.defaultFont(), "helvetica");
    EXPECT_EQ(t.logPath(), home + "logs/");
    const std::string log = readAll(home + "logs/kivu.log");
    EXPECT_NE(log.find("Allowed default fonts are helvetica, times, courier, symbol or zapfdingbats"), std::string::npos);
    EXPECT_NE(log.find("Output folder '/no/such/dir' does not exists, using"), std::string::npos);
    // The missing log folder is told in the log it falls back to, in the same words.
    EXPECT_NE(log.find("] ! Output folder '/no/such/logs' does not exists, using '" + home + "logs/'"), std::string::npos);
}

TEST(Settings, MissingConfigTakesTheBuiltInOneAndWritesNothing) {
    const std::string home = freshDir("home3");
    // A log file is asked for: without a folder it has no place.
    const fs::path before = fs::current_path();
    fs::current_path(home);
    for (const std::string& path : {std::string(), home}) {
        TSettings t(path, path.empty() ? LogOut::file : LogOut::quiet, -1);
        EXPECT_EQ(t.rules(), rulesStandard);
    }
    fs::current_path(before);
    EXPECT_TRUE(fs::is_empty(home));
}

TEST(Funcs, NamesAndPaths) {
    const std::string s = "a/b@c=d#e.f:g h";
    EXPECT_EQ(pathEscape("a.b c"), "a{%dot%}b{%20%}c");
    EXPECT_EQ(escapedForPath(pathEscape(s)), s);
    EXPECT_EQ(session("x", ""), "x");
    EXPECT_EQ(session("x~session~1.pdf", "2"), "x~session~1.pdf");
    EXPECT_EQ(session("", "7"), "~session~7");
    EXPECT_EQ(session("a/b.pdf", "17"), "a/b~session~17.pdf");
    EXPECT_EQ(session(".hidden", "7"), ".hidden~session~7") << "a leading dot starts no extension";
    EXPECT_EQ(session("a.d/.x", "7"), "a.d/.x~session~7");
    EXPECT_EQ(replaceNumberVar("page-%04n.png", 7), "page-0007.png");
    EXPECT_EQ(replaceDateVars("plain"), "plain");
    EXPECT_EQ(replaceDateVars("%Y").size(), 4u);
    EXPECT_EQ(backSlash("dir"), std::string("dir") + pathSeparator());
    EXPECT_EQ(fileExtension("a/b.PNG"), ".png");
    EXPECT_EQ(fileExtension("dir.x/name"), "");
    EXPECT_EQ(fileExtension(".hidden"), "");
    EXPECT_EQ(imageTypeAsExt("image/JPEG"), ".jpeg");
    EXPECT_EQ(imageTypeAsExt("x"), "");
    EXPECT_TRUE(isImage("A.WMF"));
    EXPECT_TRUE(isFormObject("x.svg"));
    EXPECT_FALSE(isFormObject("x.png"));
    EXPECT_EQ(convertHexas("a\\x41%42"), "aAB");
}

TEST(Funcs, TextPredicates) {
    EXPECT_TRUE(hasFunc("scale(2)"));
    EXPECT_FALSE(hasFunc("scale 2"));
    EXPECT_TRUE(hasColorSpaceModification("a.jpg+GRAY"));
    EXPECT_FALSE(hasColorSpaceModification("+GRAY"));
    EXPECT_TRUE(hasColorSpaceModification("+GRAY+GRAY"));
    EXPECT_TRUE(hasColorSpaceModification("+CMYK.jpg+RGB"));
    EXPECT_TRUE(hasURL("url(x)"));
    EXPECT_FALSE(hasURL("url x"));
    EXPECT_TRUE(isInheritableProperty("color"));
    EXPECT_TRUE(isInheritableProperty("format-thousands-separator"));
    EXPECT_TRUE(isInheritableProperty("font"));
    EXPECT_FALSE(isInheritableProperty("margin"));
    EXPECT_FALSE(isInheritableProperty("Color"));
    auto kv = getPropertyAndKeyValues({" Fill : red ", "bad", "stroke:blue"});
    ASSERT_EQ(kv.size(), 2u);
    EXPECT_EQ(kv[0], (std::pair<std::string, std::string>{"fill", "red"}));
}

TEST(Funcs, ThreadCounter) {
    EXPECT_EQ(threadCount(), 0);
    decThreads();
    EXPECT_EQ(threadCount(), 0);
    incThreads();
    incThreads();
    decThreads();
    EXPECT_EQ(threadCount(), 1);
    decThreads();
    waitThreads(1, 1);
    waitThreadsAll(1);
}

TEST(Funcs, Md5OfText) { EXPECT_EQ(md5("abc"), "900150983CD24FB0D6963F7D28E17F72"); }

TEST(Settings, FontCatalogueAndResources) {
    const std::string home = freshDir("home4");
    ASSERT_TRUE(TSettings::createDefaultConfigFile(home));
    TSettings s(home, LogOut::quiet, -1);
    TSettings* saved = g_settings;
    g_settings = &s;
    auto message = [&]() {
        try {
            s.getFontsCatalog();
        } catch (const KivuException& e) {
            return std::string(e.what());
        }
        return std::string();
    };
    EXPECT_EQ(message(), "File catalog.json doesn't exists");
    fs::create_directories(TSettings::getFontsFolder());
    filePutContents(TSettings::fontsCatalogFileName(), "{ not json", false);
    EXPECT_EQ(message(), "Invalid catalog.json file");
    filePutContents(TSettings::fontsCatalogFileName(), "{\"catalog\": []}", false);
    EXPECT_EQ(message(), "Fonts not defined");

    std::vector<SFontItem> fonts = {{"Sans", "s.ttf", "sb.ttf", "si.ttf", "sbi.ttf"}};
    s.initFontsLocation(fonts, {{"Arial", "Sans"}});
    const auto back = s.getFontsCatalog();
    ASSERT_EQ(back.size(), 1u);
    EXPECT_EQ(back[0].boldItalic, "sbi.ttf");
    EXPECT_EQ(s.getFontFamilyAliases().at("Arial"), "Sans");

    EXPECT_EQ(TSettings::getFontsFolder(), home + "resources/fonts/");
    EXPECT_EQ(g_checkFile2Resources("res://logo.PNG"), home + "resources/images/logo.PNG");
    EXPECT_EQ(g_checkFile2Resources("res://sRGB.icc"), home + "resources/profiles/sRGB.icc");
    EXPECT_EQ(g_checkFile2Resources("res://x.unknown"), "");
    fs::create_directories(home + "output");
    fs::create_directories(home + "logs");
    EXPECT_TRUE(g_validatePackagePath(home + "document.xml"));
    EXPECT_FALSE(g_validatePackagePath(home + "resources/fonts/x.ttf"));
    EXPECT_FALSE(s.isValidPackageFolder(home + "resources"));
    EXPECT_TRUE(s.isValidPackageFolder(home));
    g_settings = saved;
}
