#include "support/StoreServer.h"

#include <gtest/gtest.h>
#ifdef XO_WITH_POSTGRES
#include <libpq-fe.h>
#endif

#include <atomic>
#include <memory>
#include <random>

#include "platform/Paths.h"

namespace xo::test {

std::string TestServer() { return xo::platform::GetEnv("XO_TEST_POSTGRES"); }

bool OnServer(const std::string& store) {
  return store.starts_with("postgresql://") || store.starts_with("postgres://");
}

std::string NewTestStore(const std::string& directory) {
  return TestServer().empty() ? "sqlite:" + directory + "/policy.db" : NewServerStore();
}

void DropTestStore(const std::string& store) {
  if (OnServer(store)) DropServerStore(store);
}

#ifdef XO_WITH_POSTGRES
namespace {

using Connection = std::unique_ptr<PGconn, decltype(&PQfinish)>;

const std::string kSchemaOption = "options=-csearch_path%3D";

Connection Connect(const std::string& uri) {
  Connection connection(PQconnectdb(uri.c_str()), &PQfinish);
  PQsetNoticeProcessor(
      connection.get(), [](void*, const char*) {}, nullptr);  // DROP ... CASCADE
  if (PQstatus(connection.get()) != CONNECTION_OK) {
    ADD_FAILURE() << "cannot connect to " << uri << ": " << PQerrorMessage(connection.get());
  }
  return connection;
}

std::vector<std::string> Rows(PGconn* connection, const std::string& sql,
                              const std::vector<std::string>& bind = {}) {
  std::vector<const char*> values;
  for (const std::string& value : bind) values.push_back(value.c_str());
  std::unique_ptr<PGresult, decltype(&PQclear)> result(
      PQexecParams(connection, sql.c_str(), static_cast<int>(values.size()), nullptr, values.data(),
                   nullptr, nullptr, 0),
      &PQclear);
  const ExecStatusType status = PQresultStatus(result.get());
  if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
    ADD_FAILURE() << sql << ": " << PQresultErrorMessage(result.get());
    return {};
  }
  std::vector<std::string> rows;
  for (int row = 0; row < PQntuples(result.get()); ++row) {
    std::string text;
    for (int column = 0; column < PQnfields(result.get()); ++column) {
      text += column ? "|" : "";
      text +=
          PQgetisnull(result.get(), row, column) ? "NULL" : PQgetvalue(result.get(), row, column);
    }
    rows.push_back(text);
  }
  return rows;
}

std::string SchemaOf(const std::string& store) {
  const size_t at = store.find(kSchemaOption);
  return at == std::string::npos ? "public" : store.substr(at + kSchemaOption.size());
}

}  // namespace

std::string NewServerStore() {
  static std::atomic<unsigned> counter{0};
  std::random_device random;
  const std::string schema =
      "xo_test_" + std::to_string(random() % 1000000) + "_" + std::to_string(++counter);
  Connection connection = Connect(TestServer());
  Rows(connection.get(), "CREATE SCHEMA " + schema);
  const std::string server = TestServer();
  return server + (server.find('?') == std::string::npos ? "?" : "&") + kSchemaOption + schema;
}

void DropServerStore(const std::string& store) {
  Connection connection = Connect(TestServer());
  Rows(connection.get(), "DROP SCHEMA IF EXISTS " + SchemaOf(store) + " CASCADE");
}

std::vector<std::string> ServerRows(const std::string& store, const std::string& sql) {
  return Rows(Connect(store).get(), sql);
}

std::string ServerSnapshot(const std::string& store) {
  Connection connection = Connect(store);
  std::string snapshot;
  for (const std::string& table :
       Rows(connection.get(),
            "SELECT table_name, count(*) FROM information_schema.columns WHERE table_schema = $1 "
            "AND table_name != 'xo_kept_session' GROUP BY table_name ORDER BY table_name",
            {SchemaOf(store)})) {
    const std::string name = table.substr(0, table.find('|'));
    std::string order;
    for (int column = 1; column <= std::stoi(table.substr(table.find('|') + 1)); ++column) {
      order += (column > 1 ? ", " : "") + std::to_string(column);
    }
    snapshot += "[" + name + "]\n";
    for (const std::string& row :
         Rows(connection.get(), "SELECT * FROM \"" + name + "\" ORDER BY " + order)) {
      snapshot += row + "\n";
    }
  }
  return snapshot;
}

std::vector<std::string> ServerColumns(const std::string& store, const std::string& table) {
  return Rows(Connect(store).get(),
              "SELECT column_name FROM information_schema.columns WHERE table_schema = $1 AND "
              "table_name = $2 ORDER BY ordinal_position",
              {SchemaOf(store), table});
}

#else
// A build without libpq has no server to test on.
std::string NewServerStore() {
  ADD_FAILURE() << "XO_TEST_POSTGRES is set, but this build has no PostgreSQL backend";
  return "";
}
void DropServerStore(const std::string&) {}
std::vector<std::string> ServerRows(const std::string&, const std::string&) { return {}; }
std::string ServerSnapshot(const std::string&) { return ""; }
std::vector<std::string> ServerColumns(const std::string&, const std::string&) { return {}; }
#endif

}  // namespace xo::test
