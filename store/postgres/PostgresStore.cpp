#include "postgres/PostgresStore.h"

#include "XoStoreCodes.h"
#include "postgres/PostgresConnection.h"
#include "sql/RelationalBackend.h"

namespace xo::store::postgres {

std::unique_ptr<IStoreBackend> OpenStore(const std::string& uri, std::string& message) {
  int32_t code = kOk;
  std::unique_ptr<sql::Connection> control = PostgresConnection::Open(uri, message, code);
  if (!control) return nullptr;
  const std::string location = DisplayName({"postgresql", uri});
  if (Failed(sql::RelationalBackend::CheckInitialised(*control, location, message))) {
    return nullptr;
  }
  auto connect = [uri](std::string& error, int32_t& result) -> std::unique_ptr<sql::Connection> {
    return PostgresConnection::Open(uri, error, result);
  };
  return std::make_unique<sql::RelationalBackend>(location, connect, std::move(control));
}

std::unique_ptr<sql::Connection> OpenConnection(const std::string& uri, bool, std::string& message,
                                                int32_t& code) {
  return PostgresConnection::Open(uri, message, code);
}

int32_t CreateStore(const std::string& uri, const NewStoreOptions& options, std::string& message) {
  int32_t code = kOk;
  std::unique_ptr<PostgresConnection> connection = PostgresConnection::Open(uri, message, code);
  if (!connection) return code;
  return sql::RelationalBackend::Initialise(*connection, DisplayName({"postgresql", uri}), options,
                                            message);
}

}  // namespace xo::store::postgres
