#include "postgres/PostgresConnection.h"

#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

#include "StoreBackend.h"
#include "XoStoreCodes.h"

namespace xo::store::postgres {

using sql::StoreError;

int32_t MapPostgresError(const PGresult* result, const PGconn* connection) {
  const char* state = result ? PQresultErrorField(result, PG_DIAG_SQLSTATE) : nullptr;
  if (!state || std::strlen(state) != 5) {
    return PQstatus(connection) == CONNECTION_OK ? kInternal : kUnavailable;
  }
  const std::string code(state);
  const std::string category = code.substr(0, 2);
  if (code == "40001" || code == "40P01" || code == "55P03" || code == "57014") return kBusy;
  if (code == "53200") return kOutOfMemory;
  if (code == "53100") return kDiskFull;
  if (code == "25006") return kReadOnly;  // a standby, or a read-only transaction
  if (code == "22001" || code == "54000") return kTextTooLong;
  // Bytes that are no text in the database's encoding (a UTF-8 database).
  if (code == "22021" || code == "22P05") return kInvalidArgument;
  if (code == "XX001" || code == "XX002") return kCorrupt;
  if (category == "23") return kConstraint;
  if (category == "08" || category == "53" || code == "57P01" || code == "57P02" ||
      code == "57P03" || category == "28") {
    return kUnavailable;
  }
  if (category == "58") return kIoError;
  return kInternal;
}

const sql::Dialect& PostgresDialect() {
  static const sql::Dialect dialect{
      .name = "postgresql",
      // Writers queue on one transaction-scoped advisory lock, as SQLite's
      // writers queue on the file's write lock; once it is held, each
      // statement sees every change committed before.
      .beginWrite = "BEGIN ISOLATION LEVEL READ COMMITTED; SELECT pg_advisory_xact_lock(7210461)",
      .beginRead = "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY",
      .joinTexts = "string_agg",
      .sequenceKey = "BIGSERIAL PRIMARY KEY",
      .listSequenceColumn = ", seq BIGSERIAL",
      .listOrder = "seq",
      .integer = "BIGINT",
      // Compared and ordered byte by byte, as SQLite does, whatever the
      // database's locale.
      .text = "TEXT COLLATE \"C\"",
      .countTables =
          "SELECT count(*) FROM information_schema.tables WHERE table_schema = current_schema()",
      .sequenceAfterCopy =
          "SELECT setval(pg_get_serial_sequence('TABLE', 'seq'), "
          "(SELECT coalesce(max(seq), 0) + 1 FROM TABLE), false)",
  };
  return dialect;
}

namespace {

struct ResultDeleter {
  void operator()(PGresult* result) const { PQclear(result); }
};
using Result = std::unique_ptr<PGresult, ResultDeleter>;

bool Succeeded(const PGresult* result) {
  const ExecStatusType status = PQresultStatus(result);
  return status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK;
}

// "?N" becomes "$N" outside quoted literals and names.
std::string Numbered(const std::string& sql) {
  std::string out;
  out.reserve(sql.size());
  char quote = 0;
  for (char c : sql) {
    if (quote) {
      if (c == quote) quote = 0;
    } else if (c == '\'' || c == '"') {
      quote = c;
    } else if (c == '?') {
      c = '$';
    }
    out += c;
  }
  return out;
}

class PostgresStatement : public sql::Statement {
 public:
  PostgresStatement(PostgresConnection& connection, std::string sql, std::string name)
      : connection_(connection), sql_(std::move(sql)), name_(std::move(name)) {}

  Statement& Bind(int index, std::string_view text) override {
    Slot(index) = std::string(text);
    return *this;
  }
  Statement& Bind(int index, int64_t value) override {
    Slot(index) = std::to_string(value);
    return *this;
  }
  Statement& BindNull(int index) override {
    Slot(index).reset();
    return *this;
  }

  bool Step() override {
    if (!result_) Execute();
    return ++row_ < PQntuples(result_.get());
  }
  void Reset() override {
    result_.reset();
    row_ = -1;
    parameters_.clear();
  }

  std::string Text(int column) const override {
    const char* value = PQgetvalue(result_.get(), row_, column);
    return std::string(value, static_cast<size_t>(PQgetlength(result_.get(), row_, column)));
  }
  int64_t Int(int column) const override {
    const char* value = PQgetvalue(result_.get(), row_, column);
    if (value[0] == 't' || value[0] == 'f') return value[0] == 't';  // a boolean
    return std::strtoll(value, nullptr, 10);
  }
  bool IsNull(int column) const override { return PQgetisnull(result_.get(), row_, column); }

 private:
  std::optional<std::string>& Slot(int index) {
    if (index < 1) throw StoreError{kInternal};
    if (parameters_.size() < static_cast<size_t>(index)) parameters_.resize(index);
    return parameters_[index - 1];
  }

  void Execute() {
    PGconn* connection = connection_.Ready();
    if (prepared_ != connection_.Generation() + 1) {
      Result prepared(PQprepare(connection, name_.c_str(), sql_.c_str(), 0, nullptr));
      if (!Succeeded(prepared.get()))
        throw StoreError{MapPostgresError(prepared.get(), connection)};
      prepared_ = connection_.Generation() + 1;
    }
    std::vector<const char*> values;
    values.reserve(parameters_.size());
    for (const std::optional<std::string>& parameter : parameters_) {
      values.push_back(parameter ? parameter->c_str() : nullptr);
    }
    Result result(PQexecPrepared(connection, name_.c_str(), static_cast<int>(values.size()),
                                 values.data(), nullptr, nullptr, 0));
    if (!Succeeded(result.get())) throw StoreError{MapPostgresError(result.get(), connection)};
    result_ = std::move(result);
    row_ = -1;
  }

  PostgresConnection& connection_;
  std::string sql_;
  std::string name_;
  uint64_t prepared_ = 0;  // the connection's generation + 1 when prepared
  std::vector<std::optional<std::string>> parameters_;
  Result result_;
  int row_ = -1;
};

}  // namespace

std::unique_ptr<PostgresConnection> PostgresConnection::Open(const std::string& uri,
                                                             std::string& message, int32_t& code) {
  PGconn* connection = PQconnectdb(uri.c_str());
  if (!connection || PQstatus(connection) != CONNECTION_OK) {
    message = "cannot connect to the policy store at " + DisplayName({"postgresql", uri}) + ": " +
              (connection ? PQerrorMessage(connection) : "out of memory");
    while (!message.empty() && message.back() == '\n') message.pop_back();
    code = connection ? kUnavailable : kOutOfMemory;
    PQfinish(connection);
    return nullptr;
  }
  std::unique_ptr<PostgresConnection> opened(new PostgresConnection(connection));
  try {
    opened->Configure();
  } catch (const StoreError& error) {
    message = "cannot use the policy store at " + DisplayName({"postgresql", uri}) + ": " +
              opened->LastError();
    code = error.code;
    return nullptr;
  }
  code = kOk;
  return opened;
}

PostgresConnection::~PostgresConnection() {
  ForgetStatements();
  PQfinish(connection_);
}

// A writer waits for the write lock as long as SQLite's writers do; notices
// (an empty transaction committed, say) are not printed.
void PostgresConnection::Configure() {
  PQsetNoticeProcessor(
      connection_, [](void*, const char*) {}, nullptr);
  Result result(PQexec(connection_, "SET lock_timeout = '10s'; SET client_min_messages = warning"));
  if (!Succeeded(result.get())) throw StoreError{MapPostgresError(result.get(), connection_)};
}

std::string PostgresConnection::LastError() const {
  std::string message = PQerrorMessage(connection_);
  while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.pop_back();
  return message;
}

PGconn* PostgresConnection::Ready() {
  if (PQstatus(connection_) == CONNECTION_OK) return connection_;
  if (HoldsTransaction()) throw StoreError{kUnavailable};  // its transaction is gone
  PQreset(connection_);
  if (PQstatus(connection_) != CONNECTION_OK) throw StoreError{kUnavailable};
  ++generation_;
  Configure();
  return connection_;
}

std::unique_ptr<sql::Statement> PostgresConnection::PrepareNew(const std::string& sql) {
  return std::make_unique<PostgresStatement>(*this, Numbered(sql),
                                             "xo_" + std::to_string(++statements_));
}

void PostgresConnection::Exec(const std::string& sql) {
  PGconn* connection = Ready();
  Result result(PQexec(connection, sql.c_str()));
  if (!Succeeded(result.get())) throw StoreError{MapPostgresError(result.get(), connection)};
}

bool PostgresConnection::InTransaction() const {
  const PGTransactionStatusType status = PQtransactionStatus(connection_);
  return status == PQTRANS_INTRANS || status == PQTRANS_INERROR || status == PQTRANS_ACTIVE;
}

bool PostgresConnection::TryExec(const std::string& sql) noexcept {
  if (PQstatus(connection_) != CONNECTION_OK) return false;
  Result result(PQexec(connection_, sql.c_str()));
  return Succeeded(result.get());
}

}  // namespace xo::store::postgres
