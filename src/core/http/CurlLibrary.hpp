#pragma once

#include <curl/curl.h>

namespace tessaline {

// The libcurl functions this program calls, resolved from the shared library the first time
// an exchange or a URL needs them. Linked in the usual way, libcurl and its dependency chain
// (TLS, Kerberos, LDAP, SSH, IDN, ...) would be loaded and relocated at every start, which
// costs a process several times more than everything else it does before its first reply,
// and most sessions of an assistant never send anything.
//
// The members are named after the functions without their "curl_" prefix.
struct CurlLibrary {
    decltype(&::curl_easy_init) easyInit;
    decltype(&::curl_easy_cleanup) easyCleanup;
    decltype(&::curl_easy_setopt) easySetopt;
    decltype(&::curl_easy_getinfo) easyGetinfo;
    decltype(&::curl_easy_strerror) easyStrerror;
    decltype(&::curl_multi_init) multiInit;
    decltype(&::curl_multi_cleanup) multiCleanup;
    decltype(&::curl_multi_add_handle) multiAddHandle;
    decltype(&::curl_multi_remove_handle) multiRemoveHandle;
    decltype(&::curl_multi_perform) multiPerform;
    decltype(&::curl_multi_poll) multiPoll;
    decltype(&::curl_multi_info_read) multiInfoRead;
    decltype(&::curl_multi_strerror) multiStrerror;
    decltype(&::curl_share_init) shareInit;
    decltype(&::curl_share_setopt) shareSetopt;
    decltype(&::curl_share_cleanup) shareCleanup;
    decltype(&::curl_url) url;
    decltype(&::curl_url_dup) urlDup;
    decltype(&::curl_url_set) urlSet;
    decltype(&::curl_url_get) urlGet;
    decltype(&::curl_url_cleanup) urlCleanup;
    decltype(&::curl_free) free;
};

// Loads libcurl and runs its global set-up the first time, whichever thread comes first.
// Throws Error when the library or one of its functions cannot be found; the next call tries
// again.
const CurlLibrary& curl();

}  // namespace tessaline
