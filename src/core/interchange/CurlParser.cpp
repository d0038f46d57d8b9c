#include "core/interchange/CurlParser.hpp"

#include "core/interchange/CurlOption.hpp"
#include "core/interchange/FormEncoding.hpp"
#include "core/interchange/ImportError.hpp"
#include "core/interchange/RequestName.hpp"
#include "core/interchange/ShellWords.hpp"
#include "core/support/AtomicFile.hpp"
#include "core/support/CaseInsensitive.hpp"
#include "core/support/FileError.hpp"
#include "core/support/Joined.hpp"
#include "core/support/UnicodeText.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace tessaline {
namespace {

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(" \t") - first + 1));
}

// "@-" names standard input, which a saved request cannot read: it reads as nothing. Only
// regular files are read, so that a device or a pipe cannot stall the import.
std::string fileContent(std::string_view name) {
    if (name == "-") return {};
    const std::filesystem::path path{std::string(name)};
    std::error_code error;
    if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error)) throw FileError("read", path, EINVAL);
    return atomicFile::read(path);
}

std::string withoutLineBreaks(std::string text) {
    std::erase_if(text, [](char c) { return c == '\r' || c == '\n'; });
    return text;
}

// --data-urlencode and --url-query: "content", "=content", "name=content", "@file" and
// "name@file"; the content is encoded, the name kept as written.
std::string urlencodedPiece(std::string_view spec) {
    const auto separator = spec.find_first_of("=@");
    if (separator == std::string_view::npos) return formEncoding::curlEscaped(spec);
    const auto name = spec.substr(0, separator);
    const auto rest = spec.substr(separator + 1);
    const auto content = spec[separator] == '@' ? fileContent(rest) : std::string(rest);
    return (name.empty() ? "" : std::string(name) + "=") + formEncoding::curlEscaped(content);
}

// A -F value: a double-quoted word (backslash escapes " and \) or the text up to the first
// ";", which starts curl's part parameters (type=, filename=, headers=), all dropped here.
std::string formWord(std::string_view content) {
    if (!content.starts_with('"')) return std::string(content.substr(0, content.find(';')));
    std::string word;
    for (std::size_t i = 1; i < content.size() && content[i] != '"'; ++i) {
        if (content[i] == '\\' && i + 1 < content.size() && (content[i + 1] == '"' || content[i + 1] == '\\')) ++i;
        word += content[i];
    }
    return word;
}

// What the options of one command line say.
class Command {
public:
    void apply(std::string_view option, const std::string& value) {
        if (option == "request") methodName = value;
        else if (option == "header") addHeader(value);
        else if (option == "data" || option == "data-ascii")
            addData(value.starts_with('@') ? withoutLineBreaks(fileContent(value.substr(1))) : value);
        else if (option == "data-binary") addData(value.starts_with('@') ? fileContent(value.substr(1)) : value);
        else if (option == "data-raw") addData(value);
        else if (option == "data-urlencode") addData(urlencodedPiece(value));
        else if (option == "json") addJSON(value.starts_with('@') ? fileContent(value.substr(1)) : value);
        else if (option == "form") addFormPart(value, false);
        else if (option == "form-string") addFormPart(value, true);
        else if (option == "url") urls.push_back(value);
        else if (option == "url-query") query.push_back(value.starts_with('+') ? value.substr(1) : urlencodedPiece(value));
        else if (option == "user") user = value;
        else if (option == "oauth2-bearer") bearer = value;
        else if (option == "user-agent") headerPairs.emplace_back("User-Agent", value);
        else if (option == "referer") headerPairs.emplace_back("Referer", value.substr(0, value.rfind(";auto")));
        else if (option == "cookie") addCookie(value);
        else if (option == "max-time") setTimeout(value);
    }
    void apply(std::string_view option) {
        if (option == "get") dataInQuery = true;
        else if (option == "head") headOnly = true;
        else if (option == "location" || option == "location-trusted") followRedirects = true;
    }
    void addURL(std::string url) { urls.push_back(std::move(url)); }

    APIRequest request() const;

private:
    void addHeader(const std::string& line) {
        if (line.starts_with('@')) {
            std::string lines = fileContent(std::string_view(line).substr(1));
            for (std::size_t start = 0; start < lines.size();) {
                const auto end = std::min(lines.find('\n', start), lines.size());
                if (auto header = trimmed(std::string_view(lines).substr(start, end - start)); !header.empty()) {
                    if (header.back() == '\r') header.pop_back();
                    addHeader(header);
                }
                start = end + 1;
            }
            return;
        }
        // "Name: value" sends a header, "Name;" one with an empty value, "Name:" removes one
        // that curl would add itself, which leaves nothing to keep here.
        const auto colon = line.find(':');
        const auto semicolon = line.find(';');
        if (colon != std::string::npos && colon > 0) {
            if (auto value = trimmed(std::string_view(line).substr(colon + 1)); !value.empty()) {
                headerPairs.emplace_back(trimmed(std::string_view(line).substr(0, colon)), std::move(value));
            }
        } else if (semicolon != std::string::npos && semicolon > 0 && trimmed(line.substr(semicolon + 1)).empty()) {
            headerPairs.emplace_back(trimmed(line.substr(0, semicolon)), "");
        }
    }
    void addData(const std::string& piece) {
        if (data && !data->empty()) *data += '&';
        data = data.value_or("") + piece;
    }
    void addJSON(const std::string& piece) {
        data = data.value_or("") + piece;
        asJSON = true;
    }
    void addFormPart(const std::string& spec, bool literal) {
        const auto equals = spec.find('=');
        if (equals == std::string::npos) return;
        KeyValue row{.key = spec.substr(0, equals)};
        const auto content = std::string_view(spec).substr(equals + 1);
        if (literal) row.value = content;
        else if (content.starts_with('@')) row.value = "@" + std::filesystem::absolute(formWord(content.substr(1))).string();
        else if (content.starts_with('<')) row.value = fileContent(formWord(content.substr(1)));
        else row.value = formWord(content);
        form.push_back(std::move(row));
    }
    // A value with "=" is a cookie; anything else names a cookie file, not sent as such.
    void addCookie(const std::string& value) {
        if (value.find('=') == std::string::npos) return;
        cookies.push_back(value);
    }
    void setTimeout(const std::string& value) {
        try {
            timeout = std::stod(value);
        } catch (const std::exception&) {
            // curl rejects the command; the request keeps its default timeout instead.
        }
    }

    HTTPMethod method() const;
    std::string url() const;
    std::vector<KeyValue> headerRows() const;
    bool hasHeader(std::string_view name) const {
        return std::any_of(headerPairs.begin(), headerPairs.end(), [&](const auto& header) { return caseInsensitive::equal(header.first, name); });
    }
    bool sendsBody() const { return !form.empty() || (data && !dataInQuery); }
    RequestBody body(std::vector<KeyValue>& headers) const;

    std::vector<std::string> urls;
    std::optional<std::string> methodName;
    std::vector<std::pair<std::string, std::string>> headerPairs;
    std::optional<std::string> data;
    bool asJSON = false;
    std::vector<KeyValue> form;
    std::vector<std::string> query;
    std::optional<std::string> user;
    std::optional<std::string> bearer;
    std::vector<std::string> cookies;
    bool dataInQuery = false;
    bool headOnly = false;
    bool followRedirects = false;
    std::optional<double> timeout;
};

HTTPMethod Command::method() const {
    if (methodName) {
        std::string upper = *methodName;
        std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        if (const auto method = parseEnum<HTTPMethod>(upper)) return *method;
        throw ImportError::unsupportedMethod(*methodName);
    }
    if (headOnly) return HTTPMethod::head;
    return sendsBody() ? HTTPMethod::post : HTTPMethod::get;
}

// The first URL (curl would fetch the others in turn), with a scheme where curl would guess
// one, and the data of -G and the --url-query pieces appended to its query.
std::string Command::url() const {
    if (urls.empty()) throw ImportError::noURL();
    std::string url = urls.front();
    if (url.find("://") == std::string::npos && !url.starts_with('/') && !url.starts_with("{{")) url = "http://" + url;
    auto pieces = query;
    if (dataInQuery && data) pieces.insert(pieces.begin(), *data);
    for (const auto& piece : pieces) {
        if (piece.empty()) continue;
        url += url.find('?') == std::string::npos ? '?' : '&';
        url += piece;
    }
    return url;
}

std::vector<KeyValue> Command::headerRows() const {
    std::vector<KeyValue> rows;
    for (const auto& [name, value] : headerPairs) rows.push_back({.key = name, .value = value});
    if (!cookies.empty()) rows.push_back({.key = "Cookie", .value = joined(cookies, ";")});
    if (asJSON && data && !dataInQuery) {
        for (const char* name : {"Content-Type", "Accept"}) {
            if (!hasHeader(name)) rows.push_back({.key = name, .value = "application/json"});
        }
    }
    return rows;
}

// The body kind follows the Content-Type that curl sends. When that type is the form type
// but the kind chosen is not (the data is JSON or no form), the header is made explicit.
RequestBody Command::body(std::vector<KeyValue>& headers) const {
    if (!form.empty()) return {.kind = BodyKind::multipart, .form = form};
    if (!data || dataInQuery) return {};
    const auto contentType = std::find_if(headers.begin(), headers.end(), [](const KeyValue& row) {
        return caseInsensitive::equal(row.key, "Content-Type");
    });
    const std::string type = contentType != headers.end() ? unicodeText::lowercased(contentType->value) : "application/x-www-form-urlencoded";
    RequestBody body{.raw = *data};
    if (type.find("json") != std::string::npos) body.kind = BodyKind::json;
    else if (type.find("xml") != std::string::npos) body.kind = BodyKind::xml;
    else if (type.find("x-www-form-urlencoded") == std::string::npos) body.kind = BodyKind::text;
    else if ((data->starts_with('{') || data->starts_with('[')) && nlohmann::json::accept(*data)) body.kind = BodyKind::json;
    else if (auto rows = formEncoding::rowsIfExact(*data)) {
        body = {.kind = BodyKind::formURLEncoded, .raw = *data, .form = std::move(*rows)};
    } else {
        body.kind = BodyKind::text;
    }
    if (contentType == headers.end() && body.kind != BodyKind::formURLEncoded) {
        headers.push_back({.key = "Content-Type", .value = type});
    }
    return body;
}

APIRequest Command::request() const {
    APIRequest request{.method = method(), .url = url(), .headers = headerRows(), .followRedirects = followRedirects};
    request.name = requestName(request.method, request.url);
    if (allowsBody(request.method)) request.body = body(request.headers);
    if (user) {
        const auto colon = user->find(':');
        request.auth = {.kind = AuthKind::basic, .username = user->substr(0, colon),
                        .password = colon == std::string::npos ? "" : user->substr(colon + 1)};
    } else if (bearer) {
        request.auth = {.kind = AuthKind::bearer, .token = *bearer};
    }
    if (timeout) request.timeout = *timeout;
    return request;
}

bool isCurl(std::string_view word) { return word == "curl" || word == "curl.exe"; }

// Walks the words after "curl": long options (with "--name=value" accepted as well as a
// separate value), bundles of one-letter options where a value-taking letter ends the
// bundle ("-sSL", "-XPOST", "-d@file"), and everything else as URLs.
Command readCommand(const std::vector<std::string>& words) {
    Command command;
    const auto valueAfter = [&](std::size_t& i, std::string_view option) -> const std::string& {
        if (i + 1 >= words.size()) throw ImportError::missingValue(option);
        return words[++i];
    };
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word.starts_with("--") && word.size() > 2) {
            auto name = std::string_view(word).substr(2);
            std::optional<std::string> inlineValue;
            if (const auto equals = name.find('='); equals != std::string_view::npos && CurlOption::named(name.substr(0, equals)).takesValue) {
                inlineValue = std::string(name.substr(equals + 1));
                name = name.substr(0, equals);
            }
            const auto option = CurlOption::named(name);
            if (option.takesValue) command.apply(option.name, inlineValue ? *inlineValue : valueAfter(i, word));
            else command.apply(option.name);
        } else if (word.starts_with('-') && word.size() > 1) {
            for (std::size_t j = 1; j < word.size(); ++j) {
                const auto option = CurlOption::lettered(word[j]);
                if (!option) continue;
                if (!option->takesValue) {
                    command.apply(option->name);
                    continue;
                }
                command.apply(option->name, j + 1 < word.size() ? word.substr(j + 1) : valueAfter(i, "-" + std::string(1, word[j])));
                break;
            }
        } else {
            command.addURL(word);
        }
    }
    return command;
}

}  // namespace

APIRequest CurlParser::parse(std::string_view text) {
    const auto words = shellWords::split(text);
    if (words.empty() || !isCurl(words.front())) throw ImportError::notCurl();
    return readCommand(words).request();
}

}  // namespace tessaline
