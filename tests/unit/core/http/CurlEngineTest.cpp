#include "core/http/CurlEngine.hpp"

#include "TemporaryFolder.hpp"
#include "core/support/CannedHTTPServer.hpp"
#include "core/support/LocalHTTPServer.hpp"
#include "core/support/ScopedEnvironment.hpp"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <mutex>
#include <optional>
#include <set>

namespace tessaline {
namespace {

const std::string testCA = TESSALINE_TEST_DATA "/tls/ca.pem";

// Every answer sets a cookie; none comes back, and all sends share one connection, which the
// server tells by the client port of each request.
TEST(CurlEngineSharingTest, ReusesTheConnectionAndNothingAUserCouldSee) {
    LocalHTTPServer server;
    std::mutex mutex;
    std::set<int> ports;
    server.http.set_keep_alive_max_count(100);
    server.http.set_keep_alive_timeout(1);  // how long stopping waits for the kept connection
    server.http.Get("/", [&](const httplib::Request& request, httplib::Response& response) {
        const std::lock_guard lock(mutex);
        ports.insert(request.remote_port);
        response.set_header("Set-Cookie", "session=1; Path=/");
        response.set_content(request.get_header_value("Cookie"), "text/plain");
    });
    server.start();
    CurlEngine engine;
    for (int send = 0; send < 10; ++send) {
        const auto response = engine.perform({.url = server.url()});
        EXPECT_EQ((std::pair<long, std::string>{200, ""}), std::pair(response.status, response.body)) << response.error.value_or("");
    }
    const std::lock_guard lock(mutex);
    EXPECT_EQ(1u, ports.size());
}

TEST(CurlEngineTrustTest, TakesTheCABundleFromTheVariablesCurlReads) {
    LocalHTTPSServer server;
    server.http.Get("/", [](const httplib::Request&, httplib::Response& response) { response.set_content("ok", "text/plain"); });
    server.start();
    // A folder of certificates named by their subject hash, as OpenSSL looks them up.
    TemporaryFolder hashed;
    std::filesystem::create_symlink(testCA, hashed / "ccf5d7e2.0");
    const struct {
        const char* variable;
        std::string value;
        std::optional<std::string> error;
    } cases[] = {
        {"SSL_CERT_FILE", testCA, std::nullopt},
        {"CURL_CA_BUNDLE", testCA, std::nullopt},
        {"SSL_CERT_DIR", hashed.path.string(), std::nullopt},
        {"SSL_CERT_FILE", "/dev/null", "error setting certificate file: /dev/null"},
        {"none", "", "SSL certificate problem: unable to get local issuer certificate"},  // the system's CAs
    };
    for (const auto& [variable, value, error] : cases) {
        std::vector<std::unique_ptr<ScopedEnvironment>> environment;
        for (const std::string name : {"SSL_CERT_FILE", "CURL_CA_BUNDLE", "SSL_CERT_DIR"}) {
            environment.push_back(std::make_unique<ScopedEnvironment>(name, name == variable ? std::optional(value) : std::nullopt));
        }
        const auto response = CurlEngine().perform({.url = server.url()});
        EXPECT_EQ(std::pair(error, std::string(error ? "" : "ok")), std::pair(response.error, response.body)) << variable;
    }
}

TEST(CurlEngineLoopbackTest, RefusesEveryHostButLoopbackBeforeLookingItUp) {
    CannedHTTPServer server("HTTP/1.1 302 Found\r\nLocation: /\r\nContent-Length: 0\r\n\r\n");
    CurlEngine engine;
    engine.setLoopbackOnly(true);
    EXPECT_EQ("Sending to \u201capi.example.com\u201d is switched off: only loopback addresses may be reached.",
              engine.perform({.url = "https://api.example.com/x"}).error);
    EXPECT_EQ(302, engine.perform({.url = "http://localhost:" + server.url("").substr(17)}).status);
}

// An address of this machine's own that is not a loopback one, if it has one.
std::optional<in_addr> ownNonLoopbackAddress() {
    ifaddrs* interfaces = nullptr;
    if (::getifaddrs(&interfaces) != 0) return std::nullopt;
    std::optional<in_addr> found;
    for (const ifaddrs* entry = interfaces; entry != nullptr && !found; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET || (entry->ifa_flags & IFF_LOOPBACK) != 0) continue;
        found = reinterpret_cast<const sockaddr_in*>(entry->ifa_addr)->sin_addr;
    }
    ::freeifaddrs(interfaces);
    return found;
}

// A redirect names its host after the check before the exchange; the address connected to
// is checked too, so nothing reaches a listener of this machine outside loopback.
TEST(CurlEngineLoopbackTest, RefusesARedirectToAnAddressOfThisMachineOutsideLoopback) {
    const auto own = ownNonLoopbackAddress();
    if (!own) GTEST_SKIP() << "This machine has no IPv4 address but loopback to listen on.";
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = *own, .sin_zero = {}};
    socklen_t length = sizeof address;
    ASSERT_EQ(0, ::bind(listener, reinterpret_cast<sockaddr*>(&address), length));
    ::listen(listener, 8);
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    char text[INET_ADDRSTRLEN] = {};
    ::inet_ntop(AF_INET, own.operator->(), text, sizeof text);
    const std::string target = std::string(text) + ":" + std::to_string(ntohs(address.sin_port));
    CannedHTTPServer server("HTTP/1.1 302 Found\r\nLocation: http://" + target + "/\r\nContent-Length: 0\r\n\r\n");

    CurlEngine engine;
    engine.setLoopbackOnly(true);
    const auto error = engine.perform({.url = server.url(), .followRedirects = true}).error.value_or("");
    EXPECT_TRUE(error.starts_with("Failed to connect to " + std::string(text) + " port ")) << error;
    EXPECT_EQ(-1, ::accept(listener, nullptr, nullptr)) << "a connection reached " << target;

    // Switched off again, the same handle connects there (the listener never answers).
    engine.setLoopbackOnly(false);
    EXPECT_EQ("No data arrived for 300 ms, the request's time-out.",
              engine.perform({.url = server.url(), .followRedirects = true, .timeout = 0.3}).error);
    const int accepted = ::accept(listener, nullptr, nullptr);
    EXPECT_NE(-1, accepted) << "nothing reached " << target;
    if (accepted != -1) ::close(accepted);
    ::close(listener);
}

}  // namespace
}  // namespace tessaline
