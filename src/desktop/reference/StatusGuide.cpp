#include "desktop/reference/StatusGuide.hpp"

#include "core/http/HTTPStatus.hpp"

#include <map>

namespace tessaline {
namespace {

struct GuideText {
    std::string summary;
    std::vector<std::string> tips;
};

const GuideText movedPermanently = {
    "The resource moved permanently to the URL in Location.",
    {"Update the request URL.",
     "Tessaline follows redirects unless you turn that off in Docs \u2192 Follow redirects."}};
const GuideText temporaryRedirect = {
    "Temporary redirect to the URL in Location.",
    {"302/303 may switch to GET; 307 keeps the method and body.",
     "Turn off Follow redirects (Docs tab) to inspect the redirect itself."}};

const std::map<int, GuideText> guides = {
    {200, {"The request succeeded and the body holds the result.",
           {"For POST, many APIs return 201 instead \u2014 200 with a body is fine too."}}},
    {201, {"Something was created. The body or a Location header usually points at it.",
           {"Check the Location header for the new resource's URL."}}},
    {202, {"Accepted for processing, but not finished yet.",
           {"Poll the URL in Location or a job endpoint for completion."}}},
    {204, {"Success with no body \u2014 normal for DELETE and some PUT/PATCH calls.",
           {"An empty body here is not an error."}}},
    {206, {"Only part of the resource was returned, because you sent a Range header.",
           {"Check Content-Range for which bytes you got."}}},
    {301, movedPermanently},
    {308, movedPermanently},
    {302, temporaryRedirect},
    {303, temporaryRedirect},
    {307, temporaryRedirect},
    {304, {"Not changed since the version you cached; no body returned.",
           {"You sent If-None-Match or If-Modified-Since \u2014 remove it to fetch the full body."}}},
    {400, {"The server couldn't parse or accept the request.",
           {"Validate the body: is it valid JSON, are required fields present?",
            "Check Content-Type matches the body (application/json for JSON).",
            "Look at the response body \u2014 most APIs say which field is wrong."}}},
    {401, {"No valid credentials were sent.",
           {"Auth tab: is a token set, and is the environment providing {{token}}?",
            "Tokens expire \u2014 fetch a fresh one and chain it with {{@Login.body.token}}.",
            "Check WWW-Authenticate for the scheme the server expects (Bearer vs Basic)."}}},
    {402, {"Payment or plan upgrade required by this API.", {"Check your account/plan with the provider."}}},
    {403, {"You are authenticated, but not allowed to do this.",
           {"Missing scope or role on the token, or the resource belongs to someone else.",
            "Some APIs return 403 for a wrong API key \u2014 verify the key."}}},
    {404, {"Nothing lives at this URL.",
           {"Check the path and the base URL / environment \u2014 is baseUrl pointing at the right host?",
            "Path parameters like {{id}} resolve to real values? Hover the URL to see the resolved form.",
            "Trailing slash and API version segment (/v1 vs /v2) are common culprits."}}},
    {405, {"The URL exists but not for this HTTP method.",
           {"Check the Allow header for permitted methods.",
            "POST vs PUT vs PATCH \u2014 the API docs will say which one this endpoint takes."}}},
    {406, {"The server can't produce a format your Accept header allows.", {"Set Accept to application/json or */*."}}},
    {408, {"The server gave up waiting for the request.",
           {"Retry; if it repeats, the body may be too large or the connection slow."}}},
    {409, {"Conflict with the current state \u2014 duplicate, version mismatch, or concurrent edit.",
           {"Re-fetch the resource and retry with the current version/ETag.",
            "Creating something that already exists? Use PUT/PATCH instead."}}},
    {410, {"Gone for good \u2014 the resource was deleted or the endpoint retired.",
           {"Check the API changelog for the replacement endpoint."}}},
    {412, {"A precondition header (If-Match, If-Unmodified-Since) failed.",
           {"Fetch the latest ETag and send it in If-Match."}}},
    {413, {"The request body is larger than the server accepts.",
           {"Upload in parts or compress; check the API's size limit."}}},
    {415, {"The Content-Type of your body isn't supported.",
           {"Body tab: pick JSON or Form so Tessaline sets the right Content-Type.",
            "If you set Content-Type manually in Headers, make sure it matches the body."}}},
    {418, {"The server is a teapot. Someone is having fun.",
           {"RFC 2324. Not a real problem \u2014 unless you wanted coffee."}}},
    {422, {"Syntactically fine, semantically rejected \u2014 validation failed.",
           {"The body usually lists the offending fields.",
            "Types matter: \"1\" vs 1, missing required keys, bad enum values."}}},
    {429, {"Too many requests \u2014 you hit a rate limit.",
           {"Check Retry-After or X-RateLimit-Reset for when to try again.",
            "Back off; don't hammer the endpoint from a loop."}}},
    {500, {"The server crashed handling this request. It's their bug, but your input may have triggered it.",
           {"Try a minimal body to see whether a field triggers it.",
            "Check the response body / a request id header to report to the API team."}}},
    {501, {"The server doesn't implement this method or feature.", {"Check the API docs for supported methods."}}},
    {502, {"A gateway or proxy got an invalid response from the upstream server.",
           {"Usually transient \u2014 retry after a moment.",
            "If persistent, the backend behind the load balancer may be down."}}},
    {503, {"The service is temporarily unavailable \u2014 overloaded or in maintenance.",
           {"Check Retry-After.", "Look at the provider's status page."}}},
    {504, {"A gateway timed out waiting for the upstream server.",
           {"Retry; consider a smaller request or pagination if the operation is heavy."}}},
};

GuideText classGuide(int code) {
    if (code >= 100 && code <= 199) return {"Informational \u2014 the server is still working on the request.", {}};
    if (code >= 200 && code <= 299) return {"Success.", {}};
    if (code >= 300 && code <= 399) {
        return {"Redirection \u2014 look at the Location header.",
                {"Toggle Follow redirects in the Docs tab to see the redirect itself."}};
    }
    if (code >= 400 && code <= 499) {
        return {"Client error \u2014 something about this request needs to change.",
                {"Read the response body; most APIs explain what was wrong."}};
    }
    if (code >= 500 && code <= 599) {
        return {"Server error \u2014 the problem is on their side.",
                {"Retry later; report with the request id if it persists."}};
    }
    return {"Non-standard status code.", {}};
}

}  // namespace

std::string StatusGuide::docsURL() const {
    return std::string(docsHost) + "/en-US/docs/Web/HTTP/Status/" + std::to_string(code);
}

StatusGuide httpStatus::guide(int code) {
    const auto found = guides.find(code);
    GuideText text = found == guides.end() ? classGuide(code) : found->second;
    std::string title = reasonPhrase(code);
    if (title.empty() && (code < 100 || code > 599)) title = "Unknown";
    return {code, std::move(title), std::move(text.summary), std::move(text.tips)};
}

}  // namespace tessaline
