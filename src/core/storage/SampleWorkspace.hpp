#pragma once

#include "core/model/Workspace.hpp"

#include <set>
#include <string>

// The sample a first run starts with: the collection "DummyJSON" of 42 requests in six
// folders against a free fake REST service (https://dummyjson.com), showing chained
// requests, collection variables, dynamic values and bearer auth fed by a login, and the
// environment "DummyJSON" holding the service's public demo account.
namespace tessaline::sampleWorkspace {

// Every call makes fresh UUIDs.
APICollection starterCollection();
// Version 1, the starter collection, and the environment "DummyJSON", active.
Workspace starterWorkspace();

// The names of the sample's requests.
const std::set<std::string>& starterNames();

// An untouched sample is recognised by its request names: a collection named "DummyJSON"
// whose set of request names is exactly that of one edition of the sample. Edits inside its
// requests do not count as touching it; renaming, adding or deleting a request does.
//
// Replaces, in place and keeping its id, each collection that is an untouched earlier
// edition by the current one. Returns whether anything changed.
bool resetStarterIfOutdated(Workspace& workspace);

// Early samples kept the demo account as the collection variables "username" and
// "password". For an untouched sample of any edition that still holds them, moves them into
// an environment "DummyJSON", which becomes active when no existing environment is. Returns
// whether anything changed. Run it before resetStarterIfOutdated, which replaces the
// collection together with those variables.
bool migrateLegacyStarterIfNeeded(Workspace& workspace);

}  // namespace tessaline::sampleWorkspace
