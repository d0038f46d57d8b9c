// The snippets of every other language are run end to end against a local server; Swift's
// runtime is missing there, so its text is checked here.
#include "interchange/CodeGenerator.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Target = CodeGenerator::Target;

TEST(CodeGeneratorTest, WritesSwiftWithEveryHeaderAndItsEscapes) {
    constexpr char body[] = "{\"name\":\"Ada \\\"L\\\" é\",\n\t\"x\":\"\x01\0\x7F\r\"}";
    const ResolvedRequest text{.method = HTTPMethod::post,
                               .url = "https://api.example.com/users?q=a%20b",
                               .headers = {{"X-Tag", "a"}, {"X-Tag", "\"b\""}},
                               .body = std::string(body, sizeof body - 1),
                               .bodyKind = BodyKind::json};
    const auto swift = CodeGenerator::generate(Target::swift, text);
    // What follows is the same for every request.
    EXPECT_EQ(
        "import Foundation\n\n"
        "var request = URLRequest(url: URL(string: \"https://api.example.com/users?q=a%20b\")!)\n"
        "request.httpMethod = \"POST\"\n"
        "request.addValue(\"a\", forHTTPHeaderField: \"X-Tag\")\n"
        "request.addValue(\"\\\"b\\\"\", forHTTPHeaderField: \"X-Tag\")\n"
        "request.httpBody = Data(\"{\\\"name\\\":\\\"Ada \\\\\\\"L\\\\\\\" é\\\",\\n\\t\\\"x\\\":\\\"\\u{1}\\0\\u{7F}\\r\\\"}\".utf8)\n\n",
        swift.substr(0, swift.find("let semaphore")));
    EXPECT_TRUE(swift.ends_with("task.resume()\nsemaphore.wait()\n")) << swift;

    const ResolvedRequest binary{.method = HTTPMethod::put, .url = "https://x/b", .body = std::string("\xFF\0a", 3)};
    EXPECT_NE(std::string::npos, CodeGenerator::generate(Target::swift, binary).find("request.httpMethod = \"PUT\"\nrequest.httpBody = Data(base64Encoded: \"/wBh\")!\n"));
}

}  // namespace
}  // namespace tessaline
