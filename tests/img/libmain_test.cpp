#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/settings.h"
#include "kivuimg/commons/funcs.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/jpg.h"
#include "kivuimg/img/libmain.h"

namespace fs = std::filesystem;
using namespace kivu;

namespace {

std::string sample(const std::string& name) { return std::string(KIVU_SOURCE_DIR) + "/samples/" + name; }

// A one-thread HTTP server on 127.0.0.1 that answers GET /<path> from a map.
class TinyHttpServer {
public:
    explicit TinyHttpServer(std::map<std::string, std::string> files) : files_(std::move(files)) {
        fd_ = socket(AF_INET, SOCK_STREAM, 0);
        int one = 1;
        setsockopt(fd_, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        addr.sin_port = 0;
        bind(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
        socklen_t len = sizeof addr;
        getsockname(fd_, reinterpret_cast<sockaddr*>(&addr), &len);
        port_ = ntohs(addr.sin_port);
        listen(fd_, 8);
        thread_ = std::thread([this] { serve(); });
    }
    ~TinyHttpServer() {
        stop_ = true;
        shutdown(fd_, SHUT_RDWR);
        close(fd_);
        thread_.join();
    }
    std::string url(const std::string& path) const { return sformat("http://127.0.0.1:%d/%s", port_, path.c_str()); }
    int requests() const { return requests_; }

private:
    void serve() {
        while (!stop_) {
            const int c = accept(fd_, nullptr, nullptr);
            if (c < 0) return;
            ++requests_;
            char buf[4096];
            const ssize_t n = recv(c, buf, sizeof buf - 1, 0);
            std::string req(buf, n > 0 ? static_cast<size_t>(n) : 0);
            const size_t sp1 = req.find(' '), sp2 = req.find(' ', sp1 + 1);
            const std::string path = sp1 == std::string::npos ? "" : req.substr(sp1 + 2, sp2 - sp1 - 2);
            auto it = files_.find(path);
            std::string reply;
            if (it == files_.end()) {
                reply = "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
            } else {
                reply = sformat("HTTP/1.1 200 OK\r\nContent-Length: %zu\r\nConnection: close\r\n\r\n",
                                it->second.size()) +
                        it->second;
            }
            send(c, reply.data(), reply.size(), MSG_NOSIGNAL);
            close(c);
        }
    }
    std::map<std::string, std::string> files_;
    int fd_ = -1;
    int port_ = 0;
    std::atomic<bool> stop_{false};
    std::atomic<int> requests_{0};
    std::thread thread_;
};

struct Expect {
    const char* file;
    int width, height, components;
    ColorSpace space;
};

class ImageFrame : public ::testing::Test {
protected:
    void SetUp() override {
        // Tests run as parallel processes: each gets a home of its own.
        home_ = fs::path(::testing::TempDir()) /
                ("kivu_frame_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(home_);
        fs::create_directories(home_);
        ASSERT_TRUE(TSettings::createDefaultConfigFile(home_.string()));
        ASSERT_TRUE(libimg_init(home_.c_str(), 1));
    }
    void TearDown() override { lib_uninit(); }
    std::string logText() { return getFileContents((home_ / "logs" / "kivu.log").string()); }
    fs::path home_;
};

}  // namespace

TEST_F(ImageFrame, LoadsJpegFromAFileInEveryColourSpace) {
    const Expect cases[] = {{"gradient-rgb.jpg", 160, 120, 3, csRGB},
                            {"gradient-gray.jpg", 160, 120, 1, csGray},
                            {"gradient-cmyk.jpg", 160, 120, 4, csCMYK}};
    for (const auto& c : cases) {
        const std::string name = libimg_loadImage(sample(c.file).c_str(), nullptr);
        ASSERT_EQ(name, sample(c.file));
        TImageFormat* img = libimg_getImage(name.c_str());
        ASSERT_NE(img, nullptr);
        EXPECT_EQ(img->width(), c.width);
        EXPECT_EQ(img->height(), c.height);
        EXPECT_EQ(img->components(), c.components);
        EXPECT_EQ(img->colorSpace(), c.space);
        EXPECT_EQ(img->bitsPerComponent(), 8);
        EXPECT_TRUE(std::isnan(img->minPDFVer()));
        EXPECT_FALSE(img->has2Pass());
        EXPECT_TRUE(img->getSubImageSources().empty());
    }
}

TEST_F(ImageFrame, LoadsJpegFromAGivenBufferAndAnswersRepeatsFromTheRegistry) {
    auto buffer = TBuffer::loadFromFile(sample("gradient-gray.jpg"));
    ASSERT_TRUE(buffer);
    EXPECT_STREQ(libimg_loadImage("mem.jpg", buffer.release()), "mem.jpg");
    EXPECT_EQ(libimg_getImage("mem.jpg")->colorSpace(), csGray);
    // A second load with another source answers from the registry.
    EXPECT_STREQ(libimg_loadImage("mem.jpg", TBuffer::loadFromFile(sample("gradient-cmyk.jpg")).release()), "mem.jpg");
    EXPECT_EQ(libimg_getImage("mem.jpg")->colorSpace(), csGray);
}

TEST_F(ImageFrame, LoadsJpegFromAUrl) {
    const std::string jpeg = getFileContents(sample("gradient-cmyk.jpg"));
    TinyHttpServer server({{"a/b.JPG", jpeg}, {"dir/", jpeg}});
    const std::string name = libimg_loadImage(("url(" + server.url("a/b.JPG") + ")").c_str(), nullptr);
    EXPECT_EQ(name, "b.JPG");
    TImageFormat* img = libimg_getImage("b.JPG");
    ASSERT_NE(img, nullptr);
    EXPECT_EQ(img->colorSpace(), csCMYK);
    EXPECT_EQ(img->width(), 160);
    EXPECT_NE(logText().find("Fetch data from: '" + server.url("a/b.JPG") + "'"), std::string::npos);
    // The long name isn't in the registry: it is fetched again, and the
    // image it replaces lives on until the reset.
    libimg_loadImage(("url(" + server.url("a/b.JPG") + ")").c_str(), nullptr);
    EXPECT_EQ(server.requests(), 2);
    EXPECT_NE(libimg_getImage("b.JPG"), img);
    EXPECT_EQ(img->width(), 160);
    // A URL ending in "/" has no extension.
    EXPECT_STREQ(libimg_loadImage(("url(" + server.url("dir/") + ")").c_str(), nullptr), "unsuppored-image.jpg");
    // A status of 400 and up is an exception: the fallback of exceptions.
    EXPECT_STREQ(libimg_loadImage(("url(" + server.url("missing.jpg") + ")").c_str(), nullptr), "exception-image.jpg");
    EXPECT_NE(logText().find("HTTP request returned status code 404 (Not Found)"), std::string::npos);
}

TEST_F(ImageFrame, FallbacksHaveTheirNames) {
    const fs::path dir = fs::path(::testing::TempDir()) / "kivu_frame_files";
    fs::create_directories(dir);
    const std::string oneByte = (dir / "one.jpg").string();
    filePutContents(oneByte, "x", false);
    const std::string broken = (dir / "broken.jpg").string();
    filePutContents(broken, std::string("\xFF\xD8\xFF\xC0\x00\x05garbage", 11), false);
    const std::string jpe = (dir / "x.jpe").string();
    filePutContents(jpe, getFileContents(sample("gradient-rgb.jpg")), false);

    EXPECT_STREQ(libimg_loadImage((dir / "missing.jpg").c_str(), nullptr), "not-found.jpg");
    TImageFormat* first = libimg_getImage("not-found.jpg");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->width(), 57);
    EXPECT_STREQ(libimg_loadImage(oneByte.c_str(), nullptr), "not-found.jpg");
    // The name went to a new picture; the host's pointer to the first stays good.
    EXPECT_NE(libimg_getImage("not-found.jpg"), first);
    EXPECT_EQ(first->width(), 57);
    EXPECT_STREQ(libimg_loadImage("empty.jpg", TBuffer::create("").release()), "not-found.jpg");
    EXPECT_STREQ(libimg_loadImage(jpe.c_str(), nullptr), "unsuppored-image.jpg");
    EXPECT_NE(logText().find("Image format '.jpe' is not supported"), std::string::npos);
    EXPECT_STREQ(libimg_loadImage(broken.c_str(), nullptr), "exception-image.jpg");
    EXPECT_EQ(libimg_getImage("exception-image.jpg"), nullptr);
    EXPECT_NE(logText().find(broken + " -> JPEG: "), std::string::npos);
    EXPECT_STREQ(libimg_makeColorSpaceModification(), "");

    // Each name the host asked for keeps why it fell back; a name that was read has no reason.
    const std::pair<std::string, const char*> reasons[] = {{(dir / "missing.jpg").string(), "no such file"},
                                                           {dir.string() + "/", "is a directory"},
                                                           {"empty.jpg", "empty"},
                                                           {jpe, "the format 'jpe' is not supported"},
                                                           {broken, "JPEG: "}};
    libimg_loadImage(dir.string().append("/").c_str(), nullptr);
    for (const auto& [name, why] : reasons) {
        const char* got = libimg_getFailure(name.c_str());
        ASSERT_NE(got, nullptr) << name;
        EXPECT_NE(std::string(got).find(why), std::string::npos) << name << ": " << got;
        EXPECT_EQ(loadFailure(name), got);
    }
    EXPECT_STREQ(libimg_loadImage(sample("gradient-gray.jpg").c_str(), nullptr), sample("gradient-gray.jpg").c_str());
    EXPECT_EQ(libimg_getFailure(sample("gradient-gray.jpg").c_str()), nullptr);
    libimg_resetResources();
    EXPECT_EQ(libimg_getFailure(broken.c_str()), nullptr) << "reasons go with the reset";

    // readImage gives the same names, and the picture itself, to its caller alone.
    const std::pair<std::string, std::string> owned[] = {{sample("gradient-gray.jpg"), sample("gradient-gray.jpg")},
                                                         {(dir / "gone.jpg").string(), "not-found.jpg"},
                                                         {jpe, "unsuppored-image.jpg"},
                                                         {broken, "exception-image.jpg"}};
    for (const auto& [input, expected] : owned) {
        std::string name = input;
        auto img = readImage(name, nullptr);
        EXPECT_EQ(name, expected);
        ASSERT_NE(img, nullptr) << input;
        EXPECT_EQ(img->width(), expected == input ? 160 : 57) << input;
    }
    EXPECT_EQ(libimg_getImage(sample("gradient-gray.jpg").c_str()), nullptr) << "nothing was registered";
}

TEST_F(ImageFrame, ExtensionDecidesTheClass) {
    auto buf = TBuffer::loadFromFile(sample("gradient-rgb.jpg"));
    std::string name = "X.JPEG";
    auto img = createImage(std::move(buf), fileExtension(name), name);
    EXPECT_EQ(img->ext(), "JPG");
    EXPECT_EQ(name, "X.JPEG");
    std::string ext = "keep";
    auto decoded = fromSource(*TBuffer::create("id:7;data:image/ PNG ;base64,QUJD"), ext);
    EXPECT_EQ(ext, "keep") << "the pattern needs the subtype right after the slash";
    decoded = fromSource(*TBuffer::create("id:7;data:image/png;base64,QUJD"), ext);
    EXPECT_EQ(ext, "png");
    EXPECT_EQ(decoded->to_string(), "ABC");
}

TEST_F(ImageFrame, CopiesAndTheFallbackPicture) {
    const std::string name = libimg_loadImage(sample("gradient-rgb.jpg").c_str(), nullptr);
    std::unique_ptr<TImageFormat> copy(libimg_copyImage(name.c_str()));
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->width(), 160);
    EXPECT_NE(copy->buffer(), libimg_getImage(name.c_str())->buffer());
    EXPECT_EQ(libimg_copyImage("nothing.jpg"), nullptr);

    auto fallback = createUndefinedImage();
    fallback->readSpecs();
    EXPECT_EQ(fallback->width(), 57);
    EXPECT_EQ(fallback->height(), 57);
    EXPECT_EQ(fallback->components(), 3);
    EXPECT_EQ(fallback->colorSpace(), csRGB);
    const auto bytes = fallback->buffer()->pointChunk(0, 0);
    ASSERT_GT(bytes.size(), 4u);
    const std::string head(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    EXPECT_NE(head.find("\xFF\xC2"), std::string::npos) << "progressive";
    EXPECT_NE(head.find("Adobe"), std::string::npos);
    EXPECT_NE(head.find("ICC_PROFILE"), std::string::npos);
}

TEST_F(ImageFrame, JpegEmission) {
    TObjects store;
    const std::string cmyk = libimg_loadImage(sample("gradient-cmyk.jpg").c_str(), nullptr);
    TImageFormat* img = libimg_getImage(cmyk.c_str());
    const uint64_t n = img->addObjectSpecs(&store, "Im1", nullptr, csAuto, ciNo);
    EXPECT_EQ(n, 3u);
    EXPECT_EQ(img->addObjectSpecs(&store, "Im1", nullptr, csRGB, ciTransform), 4u);
    auto* obj = static_cast<TIndirectObject*>(store.get(n));
    EXPECT_EQ(obj->comment(), "Image/JPEG");
    const std::string text = obj->toPDF()->to_string();
    const std::string head =
        "3 0 obj\n<< /Type /XObject\n   /Subtype /Image\n   /Width 160\n   /Height 120\n   /ColorSpace /DeviceCMYK\n"
        "   /Decode [1 0 1 0 1 0 1 0]\n   /BitsPerComponent 8\n   /Length ";
    EXPECT_EQ(text.substr(0, head.size()), head);
    const std::string file = getFileContents(sample("gradient-cmyk.jpg"));
    EXPECT_EQ(std::string(obj->stream().begin(), obj->stream().end()), file) << "the stream is the file as it stands";

    const std::string gray = libimg_loadImage(sample("gradient-gray.jpg").c_str(), nullptr);
    const uint64_t g = libimg_getImage(gray.c_str())->addObjectSpecs(&store, "", nullptr, csAuto, ciNo);
    const std::string gtext = store.get(g)->toPDF()->to_string();
    EXPECT_NE(gtext.find("/ColorSpace /DeviceGray\n"), std::string::npos);
    EXPECT_EQ(gtext.find("/Decode"), std::string::npos);
}

TEST(LibraryStart, InitResetAndRestart) {
    EXPECT_TRUE(libimg_init(nullptr, 3));
    lib_uninit();
    EXPECT_TRUE(libimg_init("", 1));
    lib_uninit();
    const fs::path home = fs::path(::testing::TempDir()) / "kivu_start_home";
    fs::remove_all(home);
    fs::create_directories(home);
    TSettings::createDefaultConfigFile(home.string());
    ASSERT_TRUE(libimg_init(home.c_str(), 3));
    ASSERT_NE(g_settings, nullptr);
    const std::string name = libimg_loadImage(sample("gradient-rgb.jpg").c_str(), nullptr);
    ASSERT_NE(libimg_getImage(name.c_str()), nullptr);
    libimg_resetResources();
    EXPECT_EQ(libimg_getImage(name.c_str()), nullptr);
    EXPECT_NE(g_settings, nullptr);
    EXPECT_STREQ(libimg_loadImage(sample("gradient-rgb.jpg").c_str(), nullptr), name.c_str());
    lib_uninit();
    EXPECT_EQ(g_settings, nullptr);
    EXPECT_EQ(g_log, nullptr);
    ASSERT_TRUE(libimg_init(home.c_str(), 3));
    EXPECT_EQ(libimg_getImage(name.c_str()), nullptr);
    lib_uninit();
}

TEST(LibraryStart, ALogThatCantBeWrittenStaysInsideTheLibrary) {
    const fs::path home = fs::path(::testing::TempDir()) / "kivu_broken_log_home";
    fs::remove_all(home);
    fs::create_directories(home / "logs" / "kivu.log");  // a folder where the log file should be
    TSettings::createDefaultConfigFile(home.string());
    ASSERT_TRUE(libimg_init(home.c_str(), 1));
    const fs::path jpe = home / "x.jpe";
    filePutContents(jpe.string(), "not a picture", false);
    // Logging the unknown extension fails; the caller still gets a name.
    EXPECT_STREQ(libimg_loadImage(jpe.c_str(), nullptr), "exception-image.jpg");
    lib_uninit();
}
