#include "desktop/editing/ChainAnalyzer.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Names = std::vector<std::string>;

APIRequest request(std::string name, std::string url = "/") { return {.name = std::move(name), .url = std::move(url)}; }

Names names(const std::vector<APIRequest>& requests) {
    Names result;
    for (const auto& item : requests) result.push_back(item.name);
    return result;
}

APICollection collection(std::vector<CollectionItem> items) { return {.name = "Shop", .items = std::move(items)}; }

TEST(ChainAnalyzerTest, ReferencesNameTheRequestBeforeTheFirstDot) {
    const std::pair<const char*, Names> cases[] = {
        {"{{token}} and {{$uuid}}", {}},
        {"{{@List products.body.products.0.id}}", {"List products"}},
        {"{{@\tLogin .status}}", {"Login"}},
        {"{{@Login}}", {}},  // no "." names nothing
        {"{{ @Login.status}}", {}},  // "{{@" must be written together
        {"{{{@Login.status}}", {"Login"}},
        {"{{@A.status}}/{{@B.header.X}}/{{@A.body}}", {"A", "B", "A"}},
        {"{{@A.status}} {{@B.status", {"A"}},  // an unclosed placeholder ends the scan
        {"{{@A}}.x}} {{@B.status}}", {"B"}},   // the body ends at the first "}}"
        {"{{@A{{@B.status}}", {"A{{@B"}},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(expected, chainAnalyzer::references(text)) << text;
}

TEST(ChainAnalyzerTest, DependenciesScanTheEnabledPartsOfTheRequestOnce) {
    APIRequest read = request("Read", "{{@Url.body.id}}/{{@Login.body.token}}");
    read.body.raw = R"({"a": "{{@Raw.status}}"})";
    read.auth = {.token = "{{@Token.body}}", .username = "{{@User.body}}", .password = "{{@Password.body}}",
                 .apiKeyName = "{{@KeyName.body}}",  // names are not scanned
                 .apiKeyValue = "{{@KeyValue.body}}"};
    read.query = {{.key = "{{@QueryKey.body}}", .value = "{{@Query.body}}"}, {.value = "{{@DisabledQuery.body}}", .enabled = false}};
    read.headers = {{.key = "X", .value = "{{@Header.body}} {{@Login.status}}"}, {.value = "{{@DisabledHeader.body}}", .enabled = false}};
    read.body.form = {{.key = "f", .value = "{{@Form.body}}"}, {.value = "{{@DisabledForm.body}}", .enabled = false}};
    EXPECT_EQ((Names{"Url", "Login", "Raw", "Token", "User", "Password", "KeyValue", "Query", "Header", "Form"}), chainAnalyzer::dependencies(read));
}

TEST(ChainAnalyzerTest, DependentsAreTheOtherRequestsThatReadItThroughEnabledRows) {
    const auto login = request("Login", "{{@Login.body}}");  // reads itself
    const auto profile = request("Profile", "/me?t={{@Login.body.token}}");
    auto orders = request("Orders");
    orders.headers = {{.key = "Authorization", .value = "{{@Login.header.Set-Cookie}}"}};
    auto disabled = request("Disabled");
    disabled.headers = {{.key = "Authorization", .value = "{{@Login.status}}", .enabled = false}};
    const auto shop = collection({profile, Folder{Uuid::random(), "Nested", {request("Plain"), orders}}, login, disabled});
    EXPECT_EQ((Names{"Profile", "Orders"}), names(chainAnalyzer::dependents(login, shop)));
}

TEST(ChainAnalyzerTest, SendOrderVisitsPrerequisitesFirst) {
    const struct {
        const char* title;
        std::vector<APIRequest> requests;  // the first is the root
        Names order;
    } cases[] = {
        {"no references", {request("A"), request("B")}, {}},
        {"a chain", {request("A", "{{@B.body}}"), request("B", "{{@C.body}}"), request("C")}, {"C", "B"}},
        {"a cycle through the root", {request("A", "{{@B.body}}"), request("B", "{{@A.body}}")}, {"B"}},
        {"an unknown name", {request("A", "{{@Ghost.body}}{{@B.status}}"), request("B")}, {"B"}},
        {"a shared prerequisite",
         {request("A", "{{@B.body}}{{@C.body}}"), request("B", "{{@D.body}}"), request("C", "{{@D.body}}"), request("D")},
         {"D", "B", "C"}},
        // B and C read each other: B is appended inside the recursion and again on the way out.
        {"a cycle that avoids the root", {request("A", "{{@B.body}}"), request("B", "{{@C.body}}"), request("C", "{{@B.body}}")}, {"B", "C", "B"}},
    };
    for (const auto& c : cases) {
        const std::vector<CollectionItem> items(c.requests.begin(), c.requests.end());
        EXPECT_EQ(c.order, names(chainAnalyzer::sendOrder(c.requests.front(), collection(items)))) << c.title;
    }

    // Of two requests with one name, the first in depth-first order is the one sent.
    const auto root = request("Root", "{{@Twin.body}}");
    const auto nestedTwin = request("Twin", "{{@Leaf.body}}");
    const auto order = chainAnalyzer::sendOrder(root, collection({root, Folder{Uuid::random(), "Nested", {nestedTwin}}, request("Twin"), request("Leaf")}));
    ASSERT_EQ((Names{"Leaf", "Twin"}), names(order));
    EXPECT_EQ(nestedTwin.id, order[1].id);
}

}  // namespace
}  // namespace tessaline
