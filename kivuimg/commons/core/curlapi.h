// libcurl, loaded on the first fetch of a `url(...)` name rather than when
// the library is: most runs fetch nothing, and libcurl brings about thirty
// shared libraries (TLS, Kerberos, LDAP, SSH) whose loading dominates a
// one-file conversion.  The types and constants are libcurl's own header's.
#pragma once

#include <curl/curl.h>

namespace kivu {

struct SCurlApi {
    CURLcode (*global_init)(long);
    CURL* (*easy_init)();
    void (*easy_cleanup)(CURL*);
    CURLcode (*easy_setopt)(CURL*, CURLoption, ...);
    CURLcode (*easy_perform)(CURL*);
    CURLcode (*easy_getinfo)(CURL*, CURLINFO, ...);
    const char* (*easy_strerror)(CURLcode);
};

// The functions, loaded and initialized once; raises KivuException when
// libcurl can't be loaded.
const SCurlApi& curlApi();

}  // namespace kivu
