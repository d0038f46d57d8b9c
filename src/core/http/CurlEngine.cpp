#include "core/http/CurlEngine.hpp"

#include "core/http/CurlLibrary.hpp"

#include <cstdlib>
#include <new>

namespace tessaline {
namespace {

std::optional<std::string> environment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return std::nullopt;
    return value;
}

void lockShare(CURL*, curl_lock_data data, curl_lock_access, void* locks) {
    (*static_cast<std::vector<std::mutex>*>(locks))[data].lock();
}

void unlockShare(CURL*, curl_lock_data data, void* locks) {
    (*static_cast<std::vector<std::mutex>*>(locks))[data].unlock();
}

std::optional<std::string> firstOf(std::optional<std::string> one, std::optional<std::string> other) {
    return one ? one : other;
}

const char* pointer(const std::optional<std::string>& text) { return text ? text->c_str() : nullptr; }

}  // namespace

CurlEngine& CurlEngine::shared() {
    static CurlEngine& engine = *new CurlEngine;
    return engine;
}

CurlEngine::CurlEngine()
    : share(curl().shareInit()),
      caFile(firstOf(environment("CURL_CA_BUNDLE"), environment("SSL_CERT_FILE"))),
      caDirectory(environment("SSL_CERT_DIR")),
      shareLocks(CURL_LOCK_DATA_LAST) {
    if (share == nullptr) throw std::bad_alloc();
    curl().shareSetopt(share, CURLSHOPT_LOCKFUNC, lockShare);
    curl().shareSetopt(share, CURLSHOPT_UNLOCKFUNC, unlockShare);
    curl().shareSetopt(share, CURLSHOPT_USERDATA, &shareLocks);
    for (const auto data : {CURL_LOCK_DATA_CONNECT, CURL_LOCK_DATA_SSL_SESSION, CURL_LOCK_DATA_DNS}) {
        curl().shareSetopt(share, CURLSHOPT_SHARE, data);
    }
}

CurlEngine::~CurlEngine() {
    idle.clear();  // a share handle still in use by an easy handle cannot be cleaned up
    curl().shareCleanup(share);
}

CurlEasy::Response CurlEngine::perform(const CurlEasy::Request& request, const TransferControl& control) {
    auto handle = takeHandle();
    auto response = handle->perform(request, loopbackOnly, control);
    giveBack(std::move(handle));
    return response;
}

std::unique_ptr<CurlEasy> CurlEngine::takeHandle() {
    {
        const std::lock_guard lock(idleMutex);
        if (!idle.empty()) {
            auto handle = std::move(idle.back());
            idle.pop_back();
            return handle;
        }
    }
    return std::make_unique<CurlEasy>(
        CurlEasy::Context{.share = share, .caFile = pointer(caFile), .caDirectory = pointer(caDirectory)});
}

void CurlEngine::giveBack(std::unique_ptr<CurlEasy> handle) {
    const std::lock_guard lock(idleMutex);
    idle.push_back(std::move(handle));
}

}  // namespace tessaline
