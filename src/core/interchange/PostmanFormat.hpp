#pragma once

#include "core/model/APICollection.hpp"
#include "core/model/APIEnvironment.hpp"

#include <string>
#include <string_view>
#include <variant>

namespace tessaline {

// Postman's collection and environment documents.
//
// Export writes Collection v2.1: folders as item groups; each request with its method, URL
// (raw text and its parts: protocol, host, port, path, query rows with disabled ones marked,
// hash, and the :name path variables), headers, body (raw with its language, urlencoded,
// formdata with files as "src"), auth (see PostmanAuth), notes as descriptions, and
// followRedirects and the timeout in "protocolProfileBehavior". The collection's variables
// and its base URL, as the variable "baseUrl", travel in "variable"; relative request URLs
// are written after {{baseUrl}}.
//
// Import reads v2.0 and v2.1. Exporting and importing again gives the same collection apart
// from ids (new ids are made, so that importing twice makes two collections), with one
// normalisation: query parameters written in the URL text come back as query rows.
// Postman's :name path variables that have a value are put into the URL; a folder's auth
// goes to the requests in it that inherit.
class PostmanFormat {
public:
    static constexpr std::string_view schemaURL = "https://schema.getpostman.com/json/collection/v2.1.0/collection.json";

    static std::string exportCollection(const APICollection& collection);
    static std::string exportEnvironment(const APIEnvironment& environment);

    using Document = std::variant<APICollection, APIEnvironment>;

    // A collection (v2.0 or v2.1) or an environment. Throws ImportError.
    static Document importDocument(std::string_view text);
    // Throws ImportError, also for an environment.
    static APICollection importCollection(std::string_view text);
};

}  // namespace tessaline
