#include "kivuimg/commons/core/curlapi.h"

#include <dlfcn.h>

#include <mutex>
#include <string>

#include "kivuimg/commons/core/cstr.h"

namespace kivu {

namespace {

template <typename F>
void bind(void* lib, const char* name, F& slot, std::string& missing) {
    slot = reinterpret_cast<F>(dlsym(lib, name));
    if (!slot) missing = name;
}

}  // namespace

const SCurlApi& curlApi() {
    static SCurlApi api{};
    static std::string failure;
    static std::once_flag loaded;
    std::call_once(loaded, [] {
        // Never closed: the handle lives as long as the process.
        void* lib = dlopen("libcurl.so.4", RTLD_NOW | RTLD_LOCAL);
        if (!lib) {
            const char* why = dlerror();
            failure = why ? why : "libcurl.so.4 not found";
            return;
        }
        bind(lib, "curl_global_init", api.global_init, failure);
        bind(lib, "curl_easy_init", api.easy_init, failure);
        bind(lib, "curl_easy_cleanup", api.easy_cleanup, failure);
        bind(lib, "curl_easy_setopt", api.easy_setopt, failure);
        bind(lib, "curl_easy_perform", api.easy_perform, failure);
        bind(lib, "curl_easy_getinfo", api.easy_getinfo, failure);
        bind(lib, "curl_easy_strerror", api.easy_strerror, failure);
        if (failure.empty()) api.global_init(CURL_GLOBAL_DEFAULT);
    });
    if (!failure.empty()) throwf("HTTP client could not be loaded: %s", failure.c_str());
    return api;
}

}  // namespace kivu
