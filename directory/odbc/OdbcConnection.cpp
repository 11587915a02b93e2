#include "odbc/OdbcConnection.h"

#include "odbc/ConnectionString.h"

// clang-format off
#include "odbc/OdbcApi.h"
// clang-format on

#include <cstdint>

namespace xo::directory::odbc {
namespace {

// The driver's diagnostics for a handle, joined into one text.
std::string Diagnostics(SQLSMALLINT type, SQLHANDLE handle) {
  std::string text;
  SQLCHAR state[6];
  SQLCHAR message[512];
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  for (SQLSMALLINT record = 1; SQL_SUCCEEDED(
           SQLGetDiagRec(type, handle, record, state, &native, message, sizeof message, &length));
       ++record) {
    if (!text.empty()) text += "; ";
    text += reinterpret_cast<const char*>(state);
    text += ": ";
    text += reinterpret_cast<const char*>(message);
  }
  return text.empty() ? "no diagnostics from the driver" : text;
}

bool Check(SQLRETURN result, SQLSMALLINT type, SQLHANDLE handle, const char* what,
           std::string& error) {
  if (SQL_SUCCEEDED(result)) return true;
  error = std::string(what) + " failed: " + Diagnostics(type, handle);
  return false;
}

SQLPOINTER AsPointer(intptr_t value) { return reinterpret_cast<SQLPOINTER>(value); }

bool ReadColumn(SQLHSTMT stmt, SQLUSMALLINT column, std::optional<std::string>& value,
                std::string& error) {
  char buffer[1024];
  std::string text;
  for (;;) {
    SQLLEN indicator = 0;
    const SQLRETURN result =
        SQLGetData(stmt, column, SQL_C_CHAR, buffer, sizeof buffer, &indicator);
    if (result == SQL_NO_DATA) break;
    if (!Check(result, SQL_HANDLE_STMT, stmt, "reading a result", error)) return false;
    if (indicator == SQL_NULL_DATA) {
      value.reset();
      return true;
    }
    // Long values come in pieces, each filling the buffer but its terminator.
    const bool piece = indicator == SQL_NO_TOTAL || indicator >= SQLLEN(sizeof buffer);
    text.append(buffer, piece ? sizeof buffer - 1 : static_cast<size_t>(indicator));
    if (result == SQL_SUCCESS) break;
  }
  value = std::move(text);
  return true;
}

// Closes the statement's cursor and forgets its parameters when a run
// ends, so that a kept statement holds no read transaction open between
// runs.
struct EndOfRun {
  SQLHSTMT stmt;
  ~EndOfRun() {
    SQLFreeStmt(stmt, SQL_CLOSE);
    SQLFreeStmt(stmt, SQL_RESET_PARAMS);
  }
};

bool Execute(SQLHSTMT stmt, SQLSMALLINT markers, const std::vector<OdbcParam>& params, int maxRows,
             std::vector<OdbcRow>& rows, std::string& error, int64_t* affected) {
  if (static_cast<size_t>(markers) != params.size()) {
    error = "the query has " + std::to_string(markers) + " parameter markers where " +
            std::to_string(params.size()) + " are expected";
    return false;
  }
  // The row limit is kept by reading no further, not by SQL_ATTR_MAX_ROWS:
  // the SQLite driver leaves a statement that stopped at that limit holding
  // its read lock, and loses rows when it runs again.
  EndOfRun end{stmt};
  // Bound buffers must stay in place until the statement has run.
  std::vector<SQLLEN> lengths(params.size());
  for (size_t i = 0; i < params.size(); ++i) {
    const SQLUSMALLINT number = static_cast<SQLUSMALLINT>(i + 1);
    SQLRETURN bound;
    if (const auto* value = std::get_if<std::string>(&params[i])) {
      lengths[i] = static_cast<SQLLEN>(value->size());
      bound = SQLBindParameter(stmt, number, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR,
                               value->empty() ? 1 : value->size(), 0,
                               const_cast<char*>(value->data()), lengths[i], &lengths[i]);
    } else {
      lengths[i] = 0;
      bound = SQLBindParameter(stmt, number, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0,
                               const_cast<int32_t*>(&std::get<int32_t>(params[i])), 0, &lengths[i]);
    }
    if (!Check(bound, SQL_HANDLE_STMT, stmt, "binding a parameter", error)) return false;
  }
  const SQLRETURN executed = SQLExecute(stmt);
  if (executed != SQL_NO_DATA &&
      !Check(executed, SQL_HANDLE_STMT, stmt, "running the query", error)) {
    return false;
  }
  SQLSMALLINT columns = 0;
  if (executed != SQL_NO_DATA) SQLNumResultCols(stmt, &columns);
  if (columns == 0) {
    SQLLEN count = 0;
    if (executed != SQL_NO_DATA) SQLRowCount(stmt, &count);
    if (affected) *affected = count;
    return true;
  }
  for (;;) {
    if (maxRows > 0 && rows.size() >= static_cast<size_t>(maxRows)) break;
    const SQLRETURN fetched = SQLFetch(stmt);
    if (fetched == SQL_NO_DATA) break;
    if (!Check(fetched, SQL_HANDLE_STMT, stmt, "reading the results", error)) {
      return false;
    }
    OdbcRow& row = rows.emplace_back(static_cast<size_t>(columns));
    for (SQLSMALLINT column = 1; column <= columns; ++column) {
      if (!ReadColumn(stmt, static_cast<SQLUSMALLINT>(column), row[column - 1], error)) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace

struct OdbcConnection::Handles {
  SQLHENV env = SQL_NULL_HENV;
  SQLHDBC dbc = SQL_NULL_HDBC;
  bool connected = false;
  ~Handles() {
    if (connected) SQLDisconnect(dbc);
    if (dbc != SQL_NULL_HDBC) SQLFreeHandle(SQL_HANDLE_DBC, dbc);
    if (env != SQL_NULL_HENV) SQLFreeHandle(SQL_HANDLE_ENV, env);
  }
};

std::unique_ptr<OdbcConnection> OdbcConnection::Open(const std::string& connectionString,
                                                     int timeoutSeconds, std::string& error) {
  if (!UsesRegisteredDriversOnly(connectionString, error)) return nullptr;
  auto handles = std::make_unique<Handles>();
  if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &handles->env))) {
    error = "the ODBC driver manager cannot be used";
    return nullptr;
  }
  SQLSetEnvAttr(handles->env, SQL_ATTR_ODBC_VERSION, AsPointer(SQL_OV_ODBC3), 0);
  if (!Check(SQLAllocHandle(SQL_HANDLE_DBC, handles->env, &handles->dbc), SQL_HANDLE_ENV,
             handles->env, "preparing an ODBC connection", error)) {
    return nullptr;
  }
  SQLSetConnectAttr(handles->dbc, SQL_ATTR_LOGIN_TIMEOUT, AsPointer(timeoutSeconds), 0);
  SQLSetConnectAttr(handles->dbc, SQL_ATTR_CONNECTION_TIMEOUT, AsPointer(timeoutSeconds), 0);
  std::string text = connectionString;
  SQLCHAR completed[1024];
  SQLSMALLINT length = 0;
  const SQLRETURN connected =
      SQLDriverConnect(handles->dbc, nullptr, reinterpret_cast<SQLCHAR*>(text.data()),
                       static_cast<SQLSMALLINT>(text.size()), completed, sizeof completed, &length,
                       SQL_DRIVER_NOPROMPT);
  if (!Check(connected, SQL_HANDLE_DBC, handles->dbc, "connecting", error)) return nullptr;
  handles->connected = true;
  return std::unique_ptr<OdbcConnection>(new OdbcConnection(std::move(handles), timeoutSeconds));
}

OdbcConnection::OdbcConnection(std::unique_ptr<Handles> handles, int timeoutSeconds)
    : handles_(std::move(handles)), timeoutSeconds_(timeoutSeconds) {}

OdbcConnection::~OdbcConnection() = default;

// A statement prepared on the connection, with the number of its markers.
struct OdbcConnection::Prepared {
  SQLHSTMT handle = SQL_NULL_HSTMT;
  SQLSMALLINT markers = 0;
  ~Prepared() {
    if (handle != SQL_NULL_HSTMT) SQLFreeHandle(SQL_HANDLE_STMT, handle);
  }
};

OdbcConnection::Prepared* OdbcConnection::Prepare(const std::string& sql, std::string& error) {
  if (auto kept = prepared_.find(sql); kept != prepared_.end()) return kept->second.get();
  auto stmt = std::make_unique<Prepared>();
  if (!Check(SQLAllocHandle(SQL_HANDLE_STMT, handles_->dbc, &stmt->handle), SQL_HANDLE_DBC,
             handles_->dbc, "preparing a statement", error)) {
    return nullptr;
  }
  SQLSetStmtAttr(stmt->handle, SQL_ATTR_QUERY_TIMEOUT, AsPointer(timeoutSeconds_), 0);
  std::string text = sql;
  if (!Check(SQLPrepare(stmt->handle, reinterpret_cast<SQLCHAR*>(text.data()),
                        static_cast<SQLINTEGER>(text.size())),
             SQL_HANDLE_STMT, stmt->handle, "preparing the query", error) ||
      !Check(SQLNumParams(stmt->handle, &stmt->markers), SQL_HANDLE_STMT, stmt->handle,
             "counting the query's parameters", error)) {
    return nullptr;
  }
  return prepared_.emplace(sql, std::move(stmt)).first->second.get();
}

bool OdbcConnection::Run(const std::string& sql, const std::vector<OdbcParam>& params, int maxRows,
                         std::vector<OdbcRow>& rows, std::string& error, int64_t* affected) {
  Prepared* stmt = Prepare(sql, error);
  if (stmt == nullptr ||
      !Execute(stmt->handle, stmt->markers, params, maxRows, rows, error, affected)) {
    broken_ = true;
    // A driver that cannot tell leaves the connection taken for alive.
    SQLUINTEGER dead = SQL_CD_FALSE;
    lost_ = SQL_SUCCEEDED(
                SQLGetConnectAttr(handles_->dbc, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr)) &&
            dead == SQL_CD_TRUE;
    return false;
  }
  return true;
}

}  // namespace xo::directory::odbc
