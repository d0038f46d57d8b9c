#pragma once

#include "core/model/Workspace.hpp"
#include "core/support/CurlyQuoted.hpp"
#include "core/support/JSONReader.hpp"
#include "core/support/JSONWriter.hpp"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

// The persisted JSON form of the workspace records. Keys are the field names; enumerations
// are written as their strings (EnumStrings), UUIDs as upper-case text; an absent optional is left out.
//
// Reading is strict: every non-optional key must be present with a value of its type or the
// whole document is rejected with a DecodingError that names the path to the value. Unknown keys
// are ignored and null reads as absent. Two records are tolerant, so that documents from
// before their later fields existed still load: APICollection needs only "id" and "name",
// and every key of OAuth2Config is optional; missing keys take the defaults of the records.
namespace tessaline {

std::string encodeWorkspace(const Workspace& workspace);
// Throws DecodingError.
Workspace decodeWorkspace(std::string_view bytes);

// Each record streamed into a writer, as part of a larger persisted document.
void write(JSONWriter& writer, const Workspace& workspace);
void write(JSONWriter& writer, const APICollection& collection);
void write(JSONWriter& writer, const CollectionItem& item);
void write(JSONWriter& writer, const Folder& folder);
void write(JSONWriter& writer, const APIRequest& request);
void write(JSONWriter& writer, const KeyValue& row);
void write(JSONWriter& writer, const std::vector<KeyValue>& rows);
void write(JSONWriter& writer, const RequestBody& body);
void write(JSONWriter& writer, const Auth& auth);
void write(JSONWriter& writer, const OAuth2Config& config);
void write(JSONWriter& writer, const APIEnvironment& environment);

Workspace decodeWorkspace(const JSONReader& reader);
APICollection decodeAPICollection(const JSONReader& reader);
// An item is {"folder": {"_0": {...}}} or {"request": {"_0": {...}}}: exactly one of the two
// case keys must be there (other keys are ignored like everywhere else).
CollectionItem decodeCollectionItem(const JSONReader& reader);
Folder decodeFolder(const JSONReader& reader);
APIRequest decodeAPIRequest(const JSONReader& reader);
KeyValue decodeKeyValue(const JSONReader& reader);
std::vector<KeyValue> decodeKeyValues(const JSONReader& reader);
RequestBody decodeRequestBody(const JSONReader& reader);
Auth decodeAuth(const JSONReader& reader);
OAuth2Config decodeOAuth2Config(const JSONReader& reader);
APIEnvironment decodeAPIEnvironment(const JSONReader& reader);

// Reads an enumeration from its raw value; any other text is a reading error that lists
// the accepted spellings.
template <class Enum>
Enum decodeEnum(const JSONReader& reader) {
    const auto text = reader.string();
    if (const auto value = parseEnum<Enum>(text)) return *value;
    reader.fail(DecodingError::Kind::malformed, "Unknown value " + curlyQuoted(text) + ", expected one of " + enumNames<Enum>() + ".");
}

}  // namespace tessaline
