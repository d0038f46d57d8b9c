#include "desktop/reference/StatusGuide.hpp"

#include "core/http/HTTPStatus.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(StatusGuideTest, PhraseAndGuideOfRegisteredAndUnregisteredCodes) {
    const struct {
        int code;
        const char* phrase;
        const char* title;
        const char* summary;
    } cases[] = {
        {404, "Not Found", "Not Found", "Nothing lives at this URL."},
        // Codes without a guide of their own take their class's, or say they are unknown.
        {299, "", "", "Success."},
        {599, "", "", "Server error \u2014 the problem is on their side."},
        {0, "", "Unknown", "Non-standard status code."},
        {600, "", "Unknown", "Non-standard status code."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        EXPECT_EQ(c.phrase, httpStatus::reasonPhrase(c.code));
        const auto guide = httpStatus::guide(c.code);
        EXPECT_EQ(c.title, guide.title);
        EXPECT_EQ(c.summary, guide.summary);
    }
}

}  // namespace
}  // namespace tessaline
