#include "core/http/CurlLibrary.hpp"

#include "core/support/Error.hpp"
#include "core/support/Platform.hpp"

#include <dlfcn.h>

#include <string>

namespace tessaline {
namespace {

[[noreturn]] void fail(const char* what) {
    const char* reason = ::dlerror();
    throw Error(std::string("The HTTP library could not be loaded: ") + (reason ? reason : what));
}

template <class Function>
void resolve(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(::dlsym(library, name));
    if (function == nullptr) fail(name);
}

CurlLibrary load() {
    // Never closed: the functions stay in use until the process ends.
    void* library = ::dlopen(platform::curlLibraryName(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) fail(platform::curlLibraryName());
    CurlLibrary curl{};
    resolve(library, "curl_easy_init", curl.easyInit);
    resolve(library, "curl_easy_cleanup", curl.easyCleanup);
    resolve(library, "curl_easy_setopt", curl.easySetopt);
    resolve(library, "curl_easy_getinfo", curl.easyGetinfo);
    resolve(library, "curl_easy_strerror", curl.easyStrerror);
    resolve(library, "curl_multi_init", curl.multiInit);
    resolve(library, "curl_multi_cleanup", curl.multiCleanup);
    resolve(library, "curl_multi_add_handle", curl.multiAddHandle);
    resolve(library, "curl_multi_remove_handle", curl.multiRemoveHandle);
    resolve(library, "curl_multi_perform", curl.multiPerform);
    resolve(library, "curl_multi_poll", curl.multiPoll);
    resolve(library, "curl_multi_info_read", curl.multiInfoRead);
    resolve(library, "curl_multi_strerror", curl.multiStrerror);
    resolve(library, "curl_share_init", curl.shareInit);
    resolve(library, "curl_share_setopt", curl.shareSetopt);
    resolve(library, "curl_share_cleanup", curl.shareCleanup);
    resolve(library, "curl_url", curl.url);
    resolve(library, "curl_url_dup", curl.urlDup);
    resolve(library, "curl_url_set", curl.urlSet);
    resolve(library, "curl_url_get", curl.urlGet);
    resolve(library, "curl_url_cleanup", curl.urlCleanup);
    resolve(library, "curl_free", curl.free);
    decltype(&::curl_global_init) globalInit = nullptr;
    resolve(library, "curl_global_init", globalInit);
    if (globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK) fail("curl_global_init");
    return curl;
}

}  // namespace

const CurlLibrary& curl() {
    static const CurlLibrary library = load();
    return library;
}

}  // namespace tessaline
