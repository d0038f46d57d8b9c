#pragma once

#include "support/JSONWriter.hpp"

#include <nlohmann/json.hpp>

namespace tessaline {

// A record as its persisted JSON, read back as a tree so that tests can look at its members.
template <class Record>
nlohmann::json written(const Record& record) {
    JSONWriter writer;
    write(writer, record);
    return nlohmann::json::parse(std::move(writer).text());
}

}  // namespace tessaline
