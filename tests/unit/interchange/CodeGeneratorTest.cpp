#include "interchange/CodeGenerator.hpp"

#include "interchange/SourceLiteral.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Target = CodeGenerator::Target;

const ResolvedRequest jsonPost{.method = HTTPMethod::post,
                               .url = "https://api.example.com/users?q=a%20b",
                               .headers = {{"Content-Type", "application/json"}, {"X-Tag", "a"}, {"X-Tag", "b"}},
                               .body = "{\"name\":\"Ada \\\"L\\\" é\",\n\"path\":\"C:\\\\x\"}",
                               .bodyKind = BodyKind::json};

TEST(CodeGeneratorTest, NamesItsSevenTargetsInOrder) {
    std::vector<std::string_view> names;
    for (const auto target : CodeGenerator::targets) names.push_back(CodeGenerator::displayName(target));
    EXPECT_EQ((std::vector<std::string_view>{"cURL", "Swift (URLSession)", "JavaScript (fetch)", "Node.js (https)", "Python (requests)",
                                             "Go (net/http)", "HTTPie"}),
              names);
    EXPECT_EQ(Target::python, CodeGenerator::targetNamed("python (REQUESTS)"));
    EXPECT_EQ(Target::node, CodeGenerator::targetNamed("NODE.JS (HTTPS)"));
    EXPECT_FALSE(CodeGenerator::targetNamed("Python"));
}

TEST(CodeGeneratorTest, WritesEachTargetWithItsQuoting) {
    EXPECT_EQ("curl -X POST 'https://api.example.com/users?q=a%20b' \\\n"
              "  -H 'Content-Type: application/json' \\\n"
              "  -H 'X-Tag: a' \\\n"
              "  -H 'X-Tag: b' \\\n"
              "  --data-raw '{\"name\":\"Ada \\\"L\\\" é\",\n\"path\":\"C:\\\\x\"}'\n",
              CodeGenerator::generate(Target::curl, jsonPost));

    const auto python = CodeGenerator::generate(Target::python, jsonPost);
    EXPECT_TRUE(python.starts_with("import requests\n\nurl = \"https://api.example.com/users?q=a%20b\"\n")) << python;
    EXPECT_NE(std::string::npos, python.find("    \"X-Tag\": \"a, b\",\n")) << python;
    EXPECT_NE(std::string::npos, python.find(R"(payload = "{\"name\":\"Ada \\\"L\\\" é\",\n\"path\":\"C:\\\\x\"}".encode("utf-8"))")) << python;
    EXPECT_TRUE(python.ends_with("response = requests.request(\"POST\", url, headers=headers, data=payload)\n\n"
                                 "print(response.status_code)\nprint(response.text)\n"));

    const auto go = CodeGenerator::generate(Target::go, jsonPost);
    EXPECT_NE(std::string::npos, go.find("body := strings.NewReader(`{\"name\":\"Ada \\\"L\\\" é\",\n\"path\":\"C:\\\\x\"}`)")) << go;
    EXPECT_NE(std::string::npos, go.find("http.NewRequest(\"POST\", \"https://api.example.com/users?q=a%20b\", body)"));
    EXPECT_NE(std::string::npos, go.find("http.DefaultClient.Do(req)"));

    const auto node = CodeGenerator::generate(Target::node, jsonPost);
    EXPECT_TRUE(node.starts_with("const https = require(\"https\");\n")) << node;
    EXPECT_NE(std::string::npos, node.find("    \"X-Tag\": [\"a\", \"b\"],\n")) << node;

    const auto swift = CodeGenerator::generate(Target::swift, jsonPost);
    EXPECT_NE(std::string::npos, swift.find(R"(request.httpBody = Data("{\"name\":\"Ada \\\"L\\\" é\",\n\"path\":\"C:\\\\x\"}".utf8))")) << swift;

    EXPECT_EQ("http --raw '{\"name\":\"Ada \\\"L\\\" é\",\n\"path\":\"C:\\\\x\"}' POST 'https://api.example.com/users?q=a%20b' \\\n"
              "  'Content-Type:application/json' \\\n  'X-Tag:a' \\\n  'X-Tag:b'\n",
              CodeGenerator::generate(Target::httpie, jsonPost));
}

TEST(CodeGeneratorTest, RebuildsMultipartBodiesWithFormAPIs) {
    const ResolvedRequest upload{
        .method = HTTPMethod::post,
        .url = "http://127.0.0.1:8080/upload",
        .headers = {{"Content-Type", "multipart/form-data; boundary=XYZ"}},
        .body = "--XYZ\r\nContent-Disposition: form-data; name=\"note\"\r\n\r\n@not;a file\r\n"
                "--XYZ\r\nContent-Disposition: form-data; name=\"doc\"; filename=\"a b.pdf\"\r\nContent-Type: application/octet-stream\r\n\r\n\x01\xFF\r\n"
                "--XYZ--\r\n",
        .bodyKind = BodyKind::multipart};
    EXPECT_EQ("curl -X POST 'http://127.0.0.1:8080/upload' \\\n  --form-string 'note=@not;a file' \\\n  -F 'doc=@\"a b.pdf\"'\n",
              CodeGenerator::generate(Target::curl, upload));
    EXPECT_EQ("http --multipart POST 'http://127.0.0.1:8080/upload' \\\n  'note=\\@not;a file' \\\n  'doc@a b.pdf'\n",
              CodeGenerator::generate(Target::httpie, upload));
    const auto python = CodeGenerator::generate(Target::python, upload);
    EXPECT_NE(std::string::npos, python.find("    (\"note\", (None, \"@not;a file\")),\n    (\"doc\", (\"a b.pdf\", open(\"a b.pdf\", \"rb\"))),\n"))
        << python;
    // Bytes that are not text travel in Base64 where the body is sent as it is.
    EXPECT_NE(std::string::npos, CodeGenerator::generate(Target::node, upload).find("const body = Buffer.from(\"LS1YWVoNCkNvbnRlbnQ"));
    EXPECT_NE(std::string::npos, CodeGenerator::generate(Target::go, upload).find("\\x01\\xff\\r\\n--XYZ--\\r\\n\")"));
    EXPECT_NE(std::string::npos, CodeGenerator::generate(Target::node, upload).find("const http = require(\"http\");"));
}

TEST(CodeGeneratorTest, LeavesOutWhatARequestDoesNotHave) {
    const ResolvedRequest head{.method = HTTPMethod::head, .url = "https://x/h"};
    EXPECT_EQ("curl --head 'https://x/h'\n", CodeGenerator::generate(Target::curl, head));
    EXPECT_EQ("http HEAD 'https://x/h'\n", CodeGenerator::generate(Target::httpie, head));
    const auto go = CodeGenerator::generate(Target::go, head);
    EXPECT_EQ(std::string::npos, go.find("strings")) << "an unused import does not compile";
    EXPECT_NE(std::string::npos, go.find("http.NewRequest(\"HEAD\", \"https://x/h\", nil)"));
    EXPECT_EQ(std::string::npos, CodeGenerator::generate(Target::python, head).find("headers"));
}

TEST(SourceLiteralTest, QuotesForEachLanguage) {
    EXPECT_EQ("'it'\\''s'", sourceLiteral::shell("it's"));
    EXPECT_EQ("\"a\\\"b\\\\c\\n\\u0001é\"", sourceLiteral::doubleQuoted("a\"b\\c\n\x01é"));
    EXPECT_EQ("\"a\\\"b\\\\c\\n\\u{1}\\0é\"", sourceLiteral::swift(std::string("a\"b\\c\n\x01\0é", 10)));
    EXPECT_EQ("`a\"b\\c\né`", sourceLiteral::go("a\"b\\c\né"));
    EXPECT_EQ("\"a`b\\r\\n\"", sourceLiteral::go("a`b\r\n"));
    EXPECT_EQ("\"\\xff\\x00\"", sourceLiteral::go(std::string("\xFF\0", 2)));
}

}  // namespace
}  // namespace tessaline
