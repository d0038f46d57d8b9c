#include "pipeline/HTTPStatus.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(HTTPStatusTest, ReasonPhrasesFollowTheRegistry) {
    const std::pair<int, const char*> cases[] = {
        {200, "OK"},
        {301, "Moved Permanently"},
        {413, "Payload Too Large"},
        {422, "Unprocessable Entity"},
        {429, "Too Many Requests"},
        {451, "Unavailable For Legal Reasons"},
        {511, "Network Authentication Required"},
        {299, ""},
        {0, ""},
    };
    for (const auto& [code, phrase] : cases) EXPECT_EQ(phrase, httpStatus::reasonPhrase(code)) << code;
}

TEST(HTTPStatusTest, CodesThatShareARowShareItsTexts) {
    EXPECT_EQ(httpStatus::guide(301).summary, httpStatus::guide(308).summary);
    EXPECT_EQ(httpStatus::guide(301).tips, httpStatus::guide(308).tips);
    EXPECT_EQ("Permanent Redirect", httpStatus::guide(308).title);
    for (int code : {303, 307}) EXPECT_EQ(httpStatus::guide(302).tips, httpStatus::guide(code).tips);
    EXPECT_EQ((std::vector<std::string>{"Update the request URL.",
                                        "Tessaline follows redirects unless you turn that off in Docs \u2192 "
                                        "Follow redirects."}),
              httpStatus::guide(301).tips);
}

TEST(HTTPStatusTest, OtherCodesFallBackByClass) {
    const StatusGuide success = httpStatus::guide(299);
    EXPECT_EQ("", success.title);
    EXPECT_EQ("Success.", success.summary);
    EXPECT_TRUE(success.tips.empty());

    EXPECT_EQ("Server error \u2014 the problem is on their side.", httpStatus::guide(599).summary);
    EXPECT_EQ("Client error \u2014 something about this request needs to change.", httpStatus::guide(431).summary);
    EXPECT_EQ("Informational \u2014 the server is still working on the request.", httpStatus::guide(100).summary);

    const StatusGuide transportFailure = httpStatus::guide(0);
    EXPECT_EQ("Unknown", transportFailure.title);
    EXPECT_EQ("Non-standard status code.", transportFailure.summary);
    EXPECT_EQ("Unknown", httpStatus::guide(600).title);
}

TEST(HTTPStatusTest, DocsLinkNamesTheCode) {
    EXPECT_EQ("https://developer.mozilla.org/en-US/docs/Web/HTTP/Status/404", httpStatus::guide(404).docsURL());
}

}  // namespace
}  // namespace tessaline
