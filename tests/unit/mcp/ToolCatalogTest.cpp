#include "mcp/ToolCatalog.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(ToolCatalogTest, ListsSeventeenToolsInOrder) {
    std::vector<std::string> names;
    for (const auto& tool : toolCatalog::definitions()) names.push_back(tool["name"]);
    EXPECT_EQ((std::vector<std::string>{"list_collections", "list_requests", "get_request", "send_request",
                                        "send_adhoc", "create_request", "update_request", "delete_request",
                                        "get_last_response", "list_environments", "set_active_environment",
                                        "set_variable", "update_collection", "import_curl", "generate_code",
                                        "export_postman", "oauth_token"}),
              names);
}

TEST(ToolCatalogTest, DefinitionsSerialiseByteForByte) {
    const auto& tools = toolCatalog::definitions();
    EXPECT_EQ(R"({"description":"List collections with their request counts and variable names.",)"
              R"("inputSchema":{"properties":{},"type":"object"},"name":"list_collections"})",
              tools[0].dump());
    EXPECT_EQ(R"j({"description":"Create or update a variable in an environment (default: the active one) or in a )j"
              R"j(collection.","inputSchema":{"properties":{"collection":{"description":"Collection name or id )j"
              "\u2014"
              R"j( sets a collection variable instead","type":"string"},"environment":{"description":"Environment )j"
              R"j(name (default active)","type":"string"},"key":{"description":"Variable name","type":"string"},)j"
              R"j("value":{"description":"Value","type":"string"}},"required":["key","value"],"type":"object"},)j"
              R"j("name":"set_variable"})j",
              tools[11].dump());
    EXPECT_EQ(R"({"additionalProperties":{"type":"string"},"description":"Header name )"
              "\u2192"
              R"( value","type":"object"})",
              tools[4]["inputSchema"]["properties"]["headers"].dump());
    EXPECT_EQ(R"({"type":"integer"})", tools[4]["inputSchema"]["properties"]["maxBodyChars"].dump());
    EXPECT_FALSE(tools[16]["inputSchema"].contains("required"));
}

TEST(ToolCatalogTest, ListingHasOneLinePerTool) {
    const std::string listing = toolCatalog::listing();
    EXPECT_TRUE(listing.starts_with(
        "list_collections  \u2014  List collections with their request counts and variable names.\n"));
    EXPECT_TRUE(listing.substr(listing.rfind('\n') + 1).starts_with("oauth_token  \u2014  OAuth 2 token for a request"));
    EXPECT_EQ(16, std::count(listing.begin(), listing.end(), '\n'));
}

}  // namespace
}  // namespace tessaline
