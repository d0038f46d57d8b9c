// Each command line is run twice against the same echo server: by the real curl, through
// bash, and as the request that CurlParser imports, sent by HTTPRunner. What arrives must
// agree: method, path, query, the headers both send, and the body (the parts of a multipart
// body, whose boundaries differ by nature).
#include "interchange/CurlParser.hpp"

#include "http/HTTPRunner.hpp"
#include "http/RequestBuilder.hpp"
#include "support/LocalHTTPServer.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <regex>

#include <unistd.h>

namespace tessaline {
namespace {

constexpr const char* curlBinary = "/usr/bin/curl";

// What one request looked like on arrival.
struct Arrival {
    std::string method;
    std::string target;  // path and query, as sent
    std::vector<std::pair<std::string, std::string>> headers;  // lower-cased names, sorted
    std::string body;
    std::vector<std::string> parts;  // "name|filename|content", sorted

    bool operator==(const Arrival&) const = default;
};

std::string lowercased(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::ostream& operator<<(std::ostream& out, const Arrival& arrival) {
    out << arrival.method << " " << arrival.target << "\n";
    for (const auto& [name, value] : arrival.headers) out << name << ": " << value << "\n";
    out << "body: " << arrival.body << "\n";
    for (const auto& part : arrival.parts) out << "part: " << part << "\n";
    return out;
}

// Headers each client adds by itself, and those whose values depend on framing.
bool isClientOwn(const std::string& name, const std::string& curlValue) {
    static const std::vector<std::string> own{"host", "accept-encoding", "content-length", "connection", "expect"};
    if (std::find(own.begin(), own.end(), name) != own.end()) return true;
    if (name == "user-agent") return curlValue.starts_with("curl/");
    if (name == "accept") return curlValue == "*/*";
    return false;
}

class EchoServer {
public:
    EchoServer() {
        const auto record = [this](const httplib::Request& request, httplib::Response& response) {
            Arrival arrival{request.method, request.target, {}, request.body, {}};
            for (const auto& [name, value] : request.headers) {
                if (name == "REMOTE_ADDR" || name == "REMOTE_PORT" || name == "LOCAL_ADDR" || name == "LOCAL_PORT") continue;
                arrival.headers.emplace_back(lowercased(name), value);
            }
            for (const auto& [name, file] : request.files) arrival.parts.push_back(name + "|" + file.filename + "|" + file.content);
            std::sort(arrival.parts.begin(), arrival.parts.end());
            std::lock_guard lock(mutex);
            last = std::move(arrival);
            response.set_content("ok", "text/plain");
        };
        server.http.Get(".*", record);
        server.http.Post(".*", record);
        server.http.Put(".*", record);
        server.http.Patch(".*", record);
        server.http.Delete(".*", record);
        server.http.Options(".*", record);
        server.start();
    }

    std::string base() const { return server.url(""); }

    Arrival take() {
        std::lock_guard lock(mutex);
        auto arrival = std::move(last);
        last = {};
        return arrival;
    }

private:
    LocalHTTPServer server;
    std::mutex mutex;
    Arrival last;
};

struct ExchangeCase {
    const char* name;
    const char* command;  // as pasted; run by bash and imported
    const char* cmdForm = nullptr;  // when set, imported instead of `command`, which curl runs
};

class CurlImportExchange : public ::testing::TestWithParam<ExchangeCase> {
protected:
    static void SetUpTestSuite() {
        echo = new EchoServer;
        // One folder per process: ctest runs the cases in parallel processes.
        folder = std::filesystem::temp_directory_path() / ("curl-import-exchange-" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "report.txt", std::ios::binary) << "quarterly report\nline two\n";
        std::ofstream(folder / "meta.json", std::ios::binary) << "{\"kind\": \"meta\"}";
        std::ofstream(folder / "form.txt", std::ios::binary) << "a=1\r\n&b=2\n";
        std::ofstream(folder / "body.json", std::ios::binary) << "{\n  \"from\": \"file\"\r\n}\n";
    }
    static void TearDownTestSuite() {
        delete echo;
        std::filesystem::remove_all(folder);
    }

    // Every http(s) origin pointed at the echo server; file names at the test's folder.
    static std::string localised(std::string text) {
        text = std::regex_replace(text, std::regex(R"(https?://[A-Za-z0-9.\-]+(:[0-9]+)?)"), echo->base());
        for (auto at = text.find("@@DIR@@"); at != std::string::npos; at = text.find("@@DIR@@")) text.replace(at, 7, folder.string());
        return text;
    }

    static Arrival sentByCurl(const std::string& command) {
        const auto script = folder / "command.sh";
        std::ofstream(script, std::ios::binary) << "curl() { " << curlBinary << " -s -o /dev/null \"$@\"; }\n" << command << "\n";
        EXPECT_EQ(0, std::system(("cd '" + folder.string() + "' && bash '" + script.string() + "'").c_str()));
        return echo->take();
    }

    static Arrival sentByRunner(const std::string& command) {
        const auto request = CurlParser::parse(command);
        const auto response = HTTPRunner().send(requestBuilder::resolve(request, std::nullopt, VariableResolver{}), request);
        EXPECT_EQ(200, response.status) << response.error.value_or("");
        return echo->take();
    }

    static EchoServer* echo;
    static std::filesystem::path folder;
};

EchoServer* CurlImportExchange::echo = nullptr;
std::filesystem::path CurlImportExchange::folder;

// Both arrivals reduced to what both clients send on the command's behalf.
std::pair<Arrival, Arrival> comparable(Arrival curl, Arrival runner) {
    std::vector<std::string> skipped;
    for (const auto& [name, value] : curl.headers) {
        if (isClientOwn(name, value)) skipped.push_back(name);
    }
    for (const auto& [name, value] : runner.headers) {
        if (name == "user-agent" && value.starts_with("Tessaline/")) skipped.push_back(name);
        if (name == "accept" && value == "*/*") skipped.push_back(name);
        if (isClientOwn(name, "") && name != "user-agent" && name != "accept") skipped.push_back(name);
    }
    for (auto* arrival : {&curl, &runner}) {
        std::erase_if(arrival->headers, [&](const auto& header) { return std::find(skipped.begin(), skipped.end(), header.first) != skipped.end(); });
        for (auto& [name, value] : arrival->headers) {
            value.erase(0, value.find_first_not_of(" \t"));
            value.erase(value.find_last_not_of(" \t") + 1);
            // Boundaries are each client's own.
            if (name == "content-type" && value.starts_with("multipart/form-data")) value = "multipart/form-data";
        }
        std::sort(arrival->headers.begin(), arrival->headers.end());
        if (!arrival->parts.empty()) arrival->body.clear();
    }
    return {std::move(curl), std::move(runner)};
}

TEST_P(CurlImportExchange, SendsWhatCurlSends) {
    const auto& exchange = GetParam();
    const auto command = localised(exchange.command);
    const auto [curl, runner] = comparable(sentByCurl(command), sentByRunner(exchange.cmdForm ? localised(exchange.cmdForm) : command));
    EXPECT_FALSE(curl.method.empty()) << "curl sent nothing";
    EXPECT_EQ(curl, runner) << command;
}

INSTANTIATE_TEST_SUITE_P(
    Commands, CurlImportExchange,
    ::testing::Values(
        ExchangeCase{"PlainGet", "curl https://api.example.com/users"},
        ExchangeCase{"QueryString", "curl 'https://api.example.com/users?page=2&per_page=10&sort=-created'"},
        ExchangeCase{"EncodedQuery", "curl -m 5 -L --compressed -k 'https://api.example.com/search?q=%E2%9C%93&x=1+2'"},
        ExchangeCase{"Delete", "curl -X DELETE https://api.example.com/users/42"},
        ExchangeCase{"PutJSON", "curl -X PUT https://api.example.com/users/42 -H 'Content-Type: application/json' -d '{\"name\":\"Ada\"}'"},
        ExchangeCase{"FormFields", "curl -d 'name=Ada&lang=en' https://api.example.com/form"},
        ExchangeCase{"FormWithSpace", "curl -d \"name=Ada Lovelace\" https://api.example.com/form"},
        ExchangeCase{"FormWithEscapes", "curl -H 'Content-Type: application/x-www-form-urlencoded' -d 'a=1&b=%20x' https://api.example.com/form"},
        ExchangeCase{"DataURLEncode", "curl --data-urlencode 'q=hello world & more' --data-urlencode 'lang=é' https://search.example.com/s"},
        ExchangeCase{"GetWithData", "curl -G --data-urlencode 'q=a b' -d page=2 https://search.example.com/s"},
        ExchangeCase{"BasicAuth", "curl -u alice:s3cr3t https://api.example.com/me"},
        ExchangeCase{"BasicAuthNoPassword", "curl https://api.stripe.com/v1/charges -u sk_test_123: -d amount=2000 -d currency=usd -d \"description=My First Test Charge\""},
        ExchangeCase{"BearerOption", "curl --oauth2-bearer tok_123 https://api.example.com/me"},
        ExchangeCase{"BearerHeader", "curl -H 'Authorization: Bearer abc.def' https://api.example.com/me"},
        ExchangeCase{"AgentAndReferer", "curl -A 'MyAgent/2.0' -e 'https://ref.example.com/page;auto' https://api.example.com/"},
        ExchangeCase{"Cookies", "curl -b 'session=abc; theme=dark' -b 'extra=1' https://api.example.com/"},
        ExchangeCase{"Head", "curl -I https://api.example.com/health"},
        ExchangeCase{"JSONOption", "curl --json '{\"a\":1,\"b\":[true,null]}' https://api.example.com/items"},
        ExchangeCase{"JSONPieces", "curl --json '{\"a\":' --json '1}' https://api.example.com/items"},
        ExchangeCase{"AttachedValues", "curl -XPATCH -H'Content-Type: application/merge-patch+json' -d'{\"x\":null}' https://api.example.com/items/1"},
        ExchangeCase{"ANSICQuoting", "curl -sSL -X POST https://api.example.com/echo --data-binary $'line1\\nline2\\ttab \\u00e9 \\x41' -H 'Content-Type: text/plain'"},
        ExchangeCase{"DoubleQuotedJSON", "curl -X POST https://api.example.com/echo -H \"Content-Type: application/json\" -d \"{\\\"quote\\\":\\\"it's \\\\\\\"fine\\\\\\\"\\\"}\""},
        ExchangeCase{"XML", "curl https://api.example.com/echo -H 'Content-Type: application/xml' -d '<note><to>Tove</to></note>'"},
        ExchangeCase{"MultipartFile", "curl -F 'name=Ada' -F 'file=@@@DIR@@/report.txt' https://api.example.com/upload"},
        ExchangeCase{"MultipartFileContent", "curl -F 'meta=<@@DIR@@/meta.json' -F 'note=hello;type=text/plain' https://api.example.com/upload"},
        ExchangeCase{"MultipartString", "curl --form-string 'raw=<not-a-file;x' -F 'q=\"x;y\"' https://api.example.com/upload"},
        ExchangeCase{"DataFromFile", "curl -d @@@DIR@@/form.txt https://api.example.com/form"},
        ExchangeCase{"BinaryDataFromFile", "curl --data-binary @@@DIR@@/body.json -H 'Content-Type: application/json' https://api.example.com/items"},
        ExchangeCase{"URLOption", "curl --url https://api.example.com/by-url -X OPTIONS"},
        ExchangeCase{"EmptyHeaderValue", "curl -H 'X-Empty;' -H 'X-Tab:\tvalue' https://api.example.com/headers"},
        ExchangeCase{"UnicodeBody", "curl https://api.example.com/unicode -H 'Content-Type: text/plain; charset=utf-8' --data-raw 'π = 3.14159 — ünïcödé'"},
        ExchangeCase{"EmptyData", "curl -X POST -d '' https://api.example.com/empty"},
        ExchangeCase{"DataJoined", "curl -H 'Content-Type: application/json' -d '{\"a\":' -d '1}' https://api.example.com/joined"},
        ExchangeCase{"OutputOptions", "curl -sS -o /dev/null -w '%{http_code}' -H 'Accept: text/csv' https://api.example.com/report.csv"},
        ExchangeCase{"OddQuoting", "curl 'https://api.example.com/odd' -H \"X-Mixed: \"'single'\"double\" -d 'a'\"b\"'c'"},
        ExchangeCase{"BackslashEscapes", "curl https://api.example.com/esc -H X-Spaced:\\ a\\ b -d \\{\\\"k\\\":1\\}"},
        ExchangeCase{"Continuations", "curl -X POST \\\n  https://api.example.com/lines \\\n  -H 'X-One: 1' \\\n  -H \"X-Two: 2\" \\\n  -d 'k=v'"},
        ExchangeCase{"GitHubDocs",
                     "curl -L \\\n  -X POST \\\n  -H \"Accept: application/vnd.github+json\" \\\n  -H \"Authorization: Bearer <YOUR-TOKEN>\" \\\n"
                     "  -H \"X-GitHub-Api-Version: 2022-11-28\" \\\n  https://api.github.com/repos/OWNER/REPO/issues \\\n"
                     "  -d '{\"title\":\"Found a bug\",\"body\":\"I'\\''m having a problem with this.\",\"labels\":[\"bug\"]}'"},
        ExchangeCase{"TwilioDocs",
                     "curl -X POST \"https://api.twilio.com/2010-04-01/Accounts/AC123/Messages.json\" \\\n"
                     "--data-urlencode \"Body=Hi there ☺\" \\\n--data-urlencode \"From=+15017122661\" \\\n-u AC123:your_auth_token"},
        ExchangeCase{"SlackDocs", "curl -X POST -H 'Content-type: application/json' --data '{\"text\":\"Hello, World!\"}' https://hooks.slack.com/services/T000/B000/XXXX"},
        ExchangeCase{"SearchDocs", "curl -X GET \"http://localhost:9200/my-index/_search?pretty\" -H 'Accept: application/json'"},
        ExchangeCase{"ChromeBash",
                     "curl 'https://api.example.com/graphql' \\\n  -H 'accept: */*' \\\n  -H 'accept-language: en-GB,en;q=0.9' \\\n"
                     "  -H 'content-type: application/json' \\\n  -H 'origin: https://app.example.com' \\\n"
                     "  -H 'referer: https://app.example.com/' \\\n  -H 'sec-fetch-mode: cors' \\\n"
                     "  -H 'user-agent: Mozilla/5.0 (X11; Linux x86_64) AppleWebKit/537.36' \\\n"
                     "  --data-raw $'{\"query\":\"{ me { name } }\",\"variables\":{\"note\":\"it\\'s ok\"}}' \\\n  --compressed"},
        ExchangeCase{"FirefoxBash",
                     "curl 'https://api.example.com/items?sort=desc' -X POST -H 'User-Agent: Mozilla/5.0 (X11; Linux x86_64; rv:109.0) "
                     "Gecko/20100101 Firefox/115.0' -H 'Accept: application/json' -H 'Accept-Language: en-US,en;q=0.5' "
                     "-H 'Accept-Encoding: gzip, deflate, br' -H 'Content-Type: application/json' -H 'Origin: https://app.example.com' "
                     "-H 'Connection: keep-alive' --data-raw '{\"name\":\"x\"}'"},
        ExchangeCase{"ChromeCmdJSON",
                     "curl 'https://api.example.com/graphql' -H 'accept: */*' -H 'content-type: application/json' "
                     "--data-raw '{\"query\":\"{ me { name } }\",\"variables\":{\"note\":\"100% it'\\''s ^ok\"}}' --compressed",
                     "curl ^\"https://api.example.com/graphql^\" ^\n  -H ^\"accept: */*^\" ^\n  -H ^\"content-type: application/json^\" ^\n"
                     "  --data-raw ^\"^{^\\^\"query^\\^\":^\\^\"^{ me ^{ name ^} ^}^\\^\",^\\^\"variables^\\^\":^{^\\^\"note^\\^\":^\\^\"100^% it's ^^ok^\\^\"^}^}^\" ^\n"
                     "  --compressed"},
        ExchangeCase{"ChromeCmdForm",
                     "curl 'https://api.example.com/form?x=1&y=2' -H 'content-type: application/x-www-form-urlencoded' "
                     "--data-raw 'name=Ada+Lovelace&note=50%25 off'",
                     "curl ^\"https://api.example.com/form?x=1^&y=2^\" ^\r\n  -H ^\"content-type: application/x-www-form-urlencoded^\" ^\r\n"
                     "  --data-raw ^\"name=Ada+Lovelace^&note=50^%^25 off^\""},
        ExchangeCase{"ChromeCmdLineBreak", "curl 'https://api.example.com/text' -H 'content-type: text/plain' --data-raw $'line1\\nline2'",
                     "curl ^\"https://api.example.com/text^\" ^\n  -H ^\"content-type: text/plain^\" ^\n  --data-raw ^\"line1^\n\nline2^\""},
        ExchangeCase{"WindowsPlainQuotes", "curl 'https://api.example.com/items' -H 'Content-Type: application/json' -X POST -d '{\"name\":\"x\"}'",
                     "curl \"https://api.example.com/items\" -H \"Content-Type: application/json\" -X POST -d \"{\\\"name\\\":\\\"x\\\"}\""}),
    [](const ::testing::TestParamInfo<ExchangeCase>& param) { return std::string(param.param.name); });

}  // namespace
}  // namespace tessaline
