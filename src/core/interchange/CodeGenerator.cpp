#include "core/interchange/CodeGenerator.hpp"

#include "core/interchange/MultipartBody.hpp"
#include "core/interchange/SourceLiteral.hpp"
#include "core/support/Base64.hpp"
#include "core/support/CaseInsensitive.hpp"
#include "core/support/Joined.hpp"
#include "core/support/Utf8.hpp"

#include <algorithm>

namespace tessaline {
namespace {

using Headers = std::vector<std::pair<std::string, std::string>>;
using sourceLiteral::doubleQuoted;
using sourceLiteral::shell;

std::string method(const ResolvedRequest& request) { return std::string(toString(request.method)); }

const std::string* header(const ResolvedRequest& request, std::string_view name) {
    for (const auto& [key, value] : request.headers) {
        if (caseInsensitive::equal(key, name)) return &value;
    }
    return nullptr;
}

// The body as parts, when it is a multipart form that a form API can rebuild.
std::optional<MultipartBody> multipart(const ResolvedRequest& request) {
    const auto* contentType = header(request, "Content-Type");
    if (request.bodyKind != BodyKind::multipart || !request.body || !contentType) return std::nullopt;
    return MultipartBody::parse(*request.body, *contentType);
}

// The headers without the Content-Type that a form API writes itself, with its boundary.
Headers withoutContentType(const Headers& headers) {
    Headers result;
    std::copy_if(headers.begin(), headers.end(), std::back_inserter(result),
                 [](const auto& pair) { return !caseInsensitive::equal(pair.first, "Content-Type"); });
    return result;
}

// One value per name, repeats joined with ", " as HTTP reads them, for languages whose
// header maps hold one value per name.
Headers merged(const Headers& headers) {
    Headers result;
    for (const auto& header : headers) {
        const auto found = std::find_if(result.begin(), result.end(), [&](const auto& pair) { return caseInsensitive::equal(pair.first, header.first); });
        if (found == result.end()) result.push_back(header);
        else found->second += ", " + header.second;
    }
    return result;
}

bool isText(const std::string& body) { return utf8::isValid(body); }

// Shell commands.

// Lines of a shell command, continued with backslashes.
std::string shellCommand(const std::vector<std::string>& lines) {
    std::string text;
    for (std::size_t i = 0; i < lines.size(); ++i) text += (i == 0 ? "" : " \\\n  ") + lines[i];
    return text + "\n";
}

// A -F value that curl would read as-is: anything else goes through --form-string.
bool isPlainFormValue(std::string_view value) {
    return value.find(';') == std::string_view::npos && !value.starts_with('@') && !value.starts_with('<') && !value.starts_with('"');
}

std::string curl(const ResolvedRequest& request) {
    std::vector<std::string> lines;
    if (request.method == HTTPMethod::head) lines.push_back("curl --head " + shell(request.url));
    else if (request.method == HTTPMethod::get) lines.push_back("curl " + shell(request.url));
    else lines.push_back("curl -X " + method(request) + " " + shell(request.url));
    const auto form = multipart(request);
    for (const auto& [name, value] : form ? withoutContentType(request.headers) : request.headers) {
        lines.push_back("-H " + shell(value.empty() ? name + ";" : name + ": " + value));
    }
    if (form) {
        for (const auto& part : form->parts) {
            if (part.filename) lines.push_back("-F " + shell(part.name + "=@\"" + *part.filename + "\""));
            else if (isPlainFormValue(part.content)) lines.push_back("-F " + shell(part.name + "=" + part.content));
            else lines.push_back("--form-string " + shell(part.name + "=" + part.content));
        }
    } else if (request.body) {
        lines.push_back("--data-raw " + shell(*request.body));
    }
    return shellCommand(lines);
}

// An HTTPie request item: a backslash keeps a value that starts with a separator's
// character from being read as part of the separator.
std::string httpieItem(const std::string& name, std::string_view separator, const std::string& value) {
    const bool escape = value.starts_with('=') || value.starts_with('@') || value.starts_with(':');
    return shell(name + std::string(separator) + (escape ? "\\" : "") + value);
}

std::string httpie(const ResolvedRequest& request) {
    const auto form = multipart(request);
    std::string command = "http";
    if (form) command += " --multipart";
    else if (request.body) command += " --raw " + shell(*request.body);
    std::vector<std::string> lines{command + " " + method(request) + " " + shell(request.url)};
    for (const auto& [name, value] : form ? withoutContentType(request.headers) : request.headers) {
        lines.push_back(value.empty() ? shell(name + ";") : httpieItem(name, ":", value));
    }
    if (form) {
        for (const auto& part : form->parts) {
            lines.push_back(part.filename ? shell(part.name + "@" + *part.filename) : httpieItem(part.name, "=", part.content));
        }
    }
    return shellCommand(lines);
}

// Programs in other languages.

std::string python(const ResolvedRequest& request) {
    const auto form = multipart(request);
    const auto headers = merged(form ? withoutContentType(request.headers) : request.headers);
    std::string code = "import requests\n\nurl = " + doubleQuoted(request.url) + "\n";
    std::string arguments = doubleQuoted(method(request)) + ", url";
    if (!headers.empty()) {
        code += "headers = {\n";
        for (const auto& [name, value] : headers) code += "    " + doubleQuoted(name) + ": " + doubleQuoted(value) + ",\n";
        code += "}\n";
        arguments += ", headers=headers";
    }
    if (form) {
        code += "files = [\n";
        for (const auto& part : form->parts) {
            const auto file = part.filename ? "(" + doubleQuoted(*part.filename) + ", open(" + doubleQuoted(*part.filename) + ", \"rb\"))"
                                            : "(None, " + doubleQuoted(part.content) + ")";
            code += "    (" + doubleQuoted(part.name) + ", " + file + "),\n";
        }
        code += "]\n";
        arguments += ", files=files";
    } else if (request.body) {
        code += isText(*request.body) ? "payload = " + doubleQuoted(*request.body) + ".encode(\"utf-8\")\n"
                                      : "payload = base64.b64decode(" + doubleQuoted(base64::encode(*request.body)) + ")\n";
        if (!isText(*request.body)) code.insert(0, "import base64\n");
        arguments += ", data=payload";
    }
    return code + "\nresponse = requests.request(" + arguments + ")\n\nprint(response.status_code)\nprint(response.text)\n";
}

// A JavaScript expression for the body's bytes.
std::string javaScriptBody(const std::string& body, std::string_view binaryForm) {
    if (isText(body)) return doubleQuoted(body);
    std::string expression(binaryForm);
    return expression.replace(expression.find('$'), 1, doubleQuoted(base64::encode(body)));
}

std::string fetch(const ResolvedRequest& request) {
    std::string code = "const options = {\n  method: " + doubleQuoted(method(request)) + ",\n";
    if (!request.headers.empty()) {
        code += "  headers: {\n";
        for (const auto& [name, value] : merged(request.headers)) code += "    " + doubleQuoted(name) + ": " + doubleQuoted(value) + ",\n";
        code += "  },\n";
    }
    if (request.body) code += "  body: " + javaScriptBody(*request.body, "Uint8Array.from(atob($), (c) => c.charCodeAt(0))") + ",\n";
    return code + "};\n\nfetch(" + doubleQuoted(request.url) +
           ", options)\n"
           "  .then(async (response) => {\n"
           "    console.log(response.status);\n"
           "    console.log(await response.text());\n"
           "  })\n"
           "  .catch((error) => console.error(error));\n";
}

std::string node(const ResolvedRequest& request) {
    const std::string module = request.url.starts_with("http:") ? "http" : "https";
    std::string code = "const " + module + " = require(" + doubleQuoted(module) + ");\n\n";
    if (request.body) code += "const body = " + javaScriptBody(*request.body, "Buffer.from($, \"base64\")") + ";\n";
    code += "const options = {\n  method: " + doubleQuoted(method(request)) + ",\n  headers: {\n";
    for (const auto& [name, joinedValues] : merged(request.headers)) {
        std::vector<std::string> values;
        for (const auto& [key, value] : request.headers) {
            if (caseInsensitive::equal(key, name)) values.push_back(doubleQuoted(value));
        }
        const auto list = joined(values, ", ");
        code += "    " + doubleQuoted(name) + ": " + (values.size() == 1 ? list : "[" + list + "]") + ",\n";
    }
    if (request.body) code += "    \"Content-Length\": Buffer.byteLength(body),\n";
    code += "  },\n};\n\nconst request = " + module + ".request(" + doubleQuoted(request.url) +
            ", options, (response) => {\n"
            "  const chunks = [];\n"
            "  response.on(\"data\", (chunk) => chunks.push(chunk));\n"
            "  response.on(\"end\", () => {\n"
            "    console.log(response.statusCode);\n"
            "    console.log(Buffer.concat(chunks).toString());\n"
            "  });\n"
            "});\n"
            "request.on(\"error\", (error) => console.error(error));\n";
    if (request.body) code += "request.write(body);\n";
    return code + "request.end();\n";
}

std::string go(const ResolvedRequest& request) {
    std::string code = "package main\n\nimport (\n\t\"fmt\"\n\t\"io\"\n\t\"net/http\"\n";
    if (request.body) code += "\t\"strings\"\n";
    code += ")\n\nfunc main() {\n";
    std::string body = "nil";
    if (request.body) {
        code += "\tbody := strings.NewReader(" + sourceLiteral::go(*request.body) + ")\n";
        body = "body";
    }
    code += "\treq, err := http.NewRequest(" + doubleQuoted(method(request)) + ", " + doubleQuoted(request.url) + ", " + body +
            ")\n\tif err != nil {\n\t\tpanic(err)\n\t}\n";
    for (const auto& [name, value] : request.headers) code += "\treq.Header.Add(" + doubleQuoted(name) + ", " + doubleQuoted(value) + ")\n";
    return code +
           "\n\tres, err := http.DefaultClient.Do(req)\n"
           "\tif err != nil {\n\t\tpanic(err)\n\t}\n"
           "\tdefer res.Body.Close()\n\n"
           "\tresponseBody, err := io.ReadAll(res.Body)\n"
           "\tif err != nil {\n\t\tpanic(err)\n\t}\n"
           "\tfmt.Println(res.StatusCode)\n"
           "\tfmt.Println(string(responseBody))\n"
           "}\n";
}

std::string swift(const ResolvedRequest& request) {
    std::string code = "import Foundation\n\nvar request = URLRequest(url: URL(string: " + sourceLiteral::swift(request.url) +
                       ")!)\nrequest.httpMethod = " + sourceLiteral::swift(method(request)) + "\n";
    for (const auto& [name, value] : request.headers) {
        code += "request.addValue(" + sourceLiteral::swift(value) + ", forHTTPHeaderField: " + sourceLiteral::swift(name) + ")\n";
    }
    if (request.body) {
        code += isText(*request.body) ? "request.httpBody = Data(" + sourceLiteral::swift(*request.body) + ".utf8)\n"
                                      : "request.httpBody = Data(base64Encoded: " + sourceLiteral::swift(base64::encode(*request.body)) + ")!\n";
    }
    return code +
           "\nlet semaphore = DispatchSemaphore(value: 0)\n"
           "let task = URLSession.shared.dataTask(with: request) { data, response, error in\n"
           "    defer { semaphore.signal() }\n"
           "    if let error = error {\n"
           "        print(error)\n"
           "        return\n"
           "    }\n"
           "    if let response = response as? HTTPURLResponse {\n"
           "        print(response.statusCode)\n"
           "    }\n"
           "    print(String(decoding: data ?? Data(), as: UTF8.self))\n"
           "}\n"
           "task.resume()\n"
           "semaphore.wait()\n";
}

}  // namespace

std::string_view CodeGenerator::displayName(Target target) {
    switch (target) {
    case Target::curl: return "cURL";
    case Target::swift: return "Swift (URLSession)";
    case Target::fetch: return "JavaScript (fetch)";
    case Target::node: return "Node.js (https)";
    case Target::python: return "Python (requests)";
    case Target::go: return "Go (net/http)";
    case Target::httpie: return "HTTPie";
    }
    return {};
}

std::optional<CodeGenerator::Target> CodeGenerator::targetNamed(std::string_view name) {
    const auto found = std::find_if(targets.begin(), targets.end(), [&](Target target) { return caseInsensitive::equal(displayName(target), name); });
    if (found == targets.end()) return std::nullopt;
    return *found;
}

std::string CodeGenerator::generate(Target target, const ResolvedRequest& request) {
    switch (target) {
    case Target::curl: return curl(request);
    case Target::swift: return swift(request);
    case Target::fetch: return fetch(request);
    case Target::node: return node(request);
    case Target::python: return python(request);
    case Target::go: return go(request);
    case Target::httpie: return httpie(request);
    }
    return {};
}

}  // namespace tessaline
