#pragma once

#include "core/http/CurlEasy.hpp"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tessaline {

// The process's one transfer engine, through which every outgoing exchange goes: sends,
// OAuth 2 token requests, device-code polls. Its easy handles are kept between exchanges, so
// each loads the CA store once (libcurl caches it in the handle), and share one libcurl share
// handle, so connections, TLS sessions and DNS answers are reused by whichever handle comes
// next. Nothing a user could see crosses from one exchange to the next: no cookie engine, no
// response cache, and every option a request decides, its fields (credentials included) among
// them, is set for each exchange (see CurlEasy).
//
// The CA bundle is read from where curl's users expect it: the file named by CURL_CA_BUNDLE,
// else by SSL_CERT_FILE, and the hashed folder named by SSL_CERT_DIR; libcurl's defaults
// otherwise. Proxies come from libcurl's own reading of http_proxy, HTTPS_PROXY, ALL_PROXY
// and NO_PROXY at each exchange.
//
// Thread-safe: exchanges on separate threads run at once, each on a handle of its own.
class CurlEngine {
public:
    // Created on first use and never destroyed, so that an exchange still running on another
    // thread at exit never meets a destroyed engine. Throws Error when libcurl cannot be loaded.
    static CurlEngine& shared();

    // Reads the CA variables of the environment; tests make their own engines to read them
    // afresh. Throws Error when libcurl cannot be loaded.
    CurlEngine();
    // Closes the connections it keeps; no exchange may be running.
    ~CurlEngine();
    CurlEngine(const CurlEngine&) = delete;
    CurlEngine& operator=(const CurlEngine&) = delete;

    // Blocks until the exchange ends; see CurlEasy::perform.
    CurlEasy::Response perform(const CurlEasy::Request& request, const TransferControl& control = {});

    // When on, every exchange to a host other than this machine's loopback addresses fails
    // before any name lookup or connection (for fuzzing and for tests, which must never
    // reach the network).
    void setLoopbackOnly(bool only) { loopbackOnly = only; }

private:
    std::unique_ptr<CurlEasy> takeHandle();
    void giveBack(std::unique_ptr<CurlEasy> handle);

    void* share;  // CURLSH*
    std::optional<std::string> caFile;
    std::optional<std::string> caDirectory;
    std::atomic<bool> loopbackOnly = false;
    // One mutex for each kind of data the share handle guards, indexed by curl_lock_data.
    std::vector<std::mutex> shareLocks;

    // State below is protected by idleMutex.
    std::mutex idleMutex;
    std::vector<std::unique_ptr<CurlEasy>> idle;
};

}  // namespace tessaline
