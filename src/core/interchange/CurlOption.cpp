#include "core/interchange/CurlOption.hpp"

#include <algorithm>
#include <array>

namespace tessaline {
namespace {

constexpr CurlOption value(std::string_view name, char letter = 0) { return {name, letter, true}; }
constexpr CurlOption flag(std::string_view name, char letter) { return {name, letter, false}; }

constexpr std::array table{
    // One-letter switches.
    flag("append", 'a'), flag("use-ascii", 'B'), flag("fail", 'f'), flag("globoff", 'g'), flag("get", 'G'),
    flag("help", 'h'), flag("include", 'i'), flag("head", 'I'), flag("junk-session-cookies", 'j'),
    flag("remote-header-name", 'J'), flag("insecure", 'k'), flag("list-only", 'l'), flag("location", 'L'),
    flag("manual", 'M'), flag("netrc", 'n'), flag("no-buffer", 'N'), flag("remote-name", 'O'),
    flag("proxytunnel", 'p'), flag("disable", 'q'), flag("remote-time", 'R'), flag("silent", 's'),
    flag("show-error", 'S'), flag("verbose", 'v'), flag("version", 'V'), flag("parallel", 'Z'),
    flag("progress-bar", '#'), flag("http1.0", '0'), flag("tlsv1", '1'), flag("sslv2", '2'), flag("sslv3", '3'),
    flag("ipv4", '4'), flag("ipv6", '6'), flag("next", ':'),
    // Options with a value, with or without a letter.
    value("abstract-unix-socket"), value("alt-svc"), value("aws-sigv4"), value("cacert"), value("capath"),
    value("cert", 'E'), value("cert-type"), value("ciphers"), value("config", 'K'), value("connect-timeout"),
    value("connect-to"), value("continue-at", 'C'), value("cookie", 'b'), value("cookie-jar", 'c'),
    value("create-file-mode"), value("crlfile"), value("curves"), value("data", 'd'), value("data-ascii"),
    value("data-binary"), value("data-raw"), value("data-urlencode"), value("delegation"), value("dns-interface"),
    value("dns-ipv4-addr"), value("dns-ipv6-addr"), value("dns-servers"), value("doh-url"),
    value("dump-header", 'D'), value("ech"), value("egd-file"), value("engine"), value("etag-compare"),
    value("etag-save"), value("expect100-timeout"), value("form", 'F'), value("form-string"), value("ftp-account"),
    value("ftp-alternative-to-user"), value("ftp-method"), value("ftp-port", 'P'), value("ftp-ssl-ccc-mode"),
    value("happy-eyeballs-timeout-ms"), value("header", 'H'), value("hostpubmd5"), value("hostpubsha256"),
    value("hsts"), value("interface"), value("ip-tos"), value("ipfs-gateway"), value("json"),
    value("keepalive-cnt"), value("keepalive-time"), value("key"), value("key-type"), value("krb"),
    value("libcurl"), value("limit-rate"), value("local-port"), value("login-options"), value("mail-auth"),
    value("mail-from"), value("mail-rcpt"), value("max-filesize"), value("max-redirs"), value("max-time", 'm'),
    value("netrc-file"), value("noproxy"), value("oauth2-bearer"), value("output", 'o'), value("output-dir"),
    value("parallel-max"), value("pass"), value("pinnedpubkey"), value("preproxy"), value("proto"),
    value("proto-default"), value("proto-redir"), value("proxy", 'x'), value("proxy-cacert"),
    value("proxy-capath"), value("proxy-cert"), value("proxy-cert-type"), value("proxy-ciphers"),
    value("proxy-crlfile"), value("proxy-header"), value("proxy-key"), value("proxy-key-type"),
    value("proxy-pass"), value("proxy-pinnedpubkey"), value("proxy-service-name"), value("proxy-tls13-ciphers"),
    value("proxy-tlsauthtype"), value("proxy-tlspassword"), value("proxy-tlsuser"), value("proxy-user", 'U'),
    value("proxy1.0"), value("pubkey"), value("quote", 'Q'), value("random-file"), value("range", 'r'),
    value("rate"), value("referer", 'e'), value("request", 'X'), value("request-target"), value("resolve"),
    value("retry"), value("retry-delay"), value("retry-max-time"), value("sasl-authzid"), value("service-name"),
    value("socks4"), value("socks4a"), value("socks5"), value("socks5-gssapi-service"), value("socks5-hostname"),
    value("speed-limit", 'Y'), value("speed-time", 'y'), value("stderr"), value("telnet-option", 't'),
    value("tftp-blksize"), value("time-cond", 'z'), value("tls-max"), value("tls13-ciphers"),
    value("tlsauthtype"), value("tlspassword"), value("tlsuser"), value("trace"), value("trace-ascii"),
    value("trace-config"), value("unix-socket"), value("upload-file", 'T'), value("url"), value("url-query"),
    value("user", 'u'), value("user-agent", 'A'), value("variable"), value("vlan-priority"),
    value("write-out", 'w'),
};

}  // namespace

CurlOption CurlOption::named(std::string_view name) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const CurlOption& option) { return option.name == name; });
    return found != table.end() ? *found : CurlOption{name};
}

std::optional<CurlOption> CurlOption::lettered(char letter) {
    const auto found =
        std::find_if(table.begin(), table.end(), [&](const CurlOption& option) { return option.letter == letter; });
    if (found == table.end()) return std::nullopt;
    return *found;
}

}  // namespace tessaline
