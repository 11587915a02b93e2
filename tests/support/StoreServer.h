// Test stores on a PostgreSQL server. When XO_TEST_POSTGRES names a database
// (postgresql://user@host:port/db), every store that a suite makes is a
// schema of its own in that database, and the store file helpers read and
// change it there.
#pragma once

#include <string>
#include <vector>

namespace xo::test {

// XO_TEST_POSTGRES, or empty when the suites run on SQLite files.
std::string TestServer();
bool OnServer(const std::string& store);

// The URI of a new test store: a schema on the test server, or else the file
// policy.db in `directory`. Nothing is created yet.
std::string NewTestStore(const std::string& directory);
// Drops a server store's schema; a file goes with its directory.
void DropTestStore(const std::string& store);

// A new empty schema on the server, and the store URI that selects it.
std::string NewServerStore();
void DropServerStore(const std::string& store);

// The rows of a query on the store's schema, each row's columns joined by '|'.
std::vector<std::string> ServerRows(const std::string& store, const std::string& sql);
// Every table's rows, as SnapshotStoreFile gives them, on one connection.
std::string ServerSnapshot(const std::string& store);
// The columns of one of its tables.
std::vector<std::string> ServerColumns(const std::string& store, const std::string& table);

}  // namespace xo::test
