#include "support/DirectoryFixtures.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "support/Environment.h"

namespace xo::test {
namespace {

// A port on 127.0.0.1 that the system picks, or (with `connect`) whether
// something accepts connections on `port`.
int Port(int port, bool connect = false) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* raw = reinterpret_cast<sockaddr*>(&address);
  const bool done =
      fd >= 0 && (connect ? ::connect(fd, raw, length) == 0
                          : bind(fd, raw, length) == 0 && getsockname(fd, raw, &length) == 0);
  if (fd >= 0) close(fd);
  if (!connect && !done) throw std::runtime_error("cannot bind a socket to 127.0.0.1");
  return connect ? done : ntohs(address.sin_port);
}

// The test data beside the directory tests.
std::string DataFile(const std::string& name) { return TestDataPath("directory/" + name); }

// Runs SQL on a database; `first`, when given, receives the first column of
// the first row (and the rest is not read).
int RunSql(const std::string& path, const std::string& sql, std::string* first,
           std::string& error) {
  sqlite3* db = nullptr;
  int result = sqlite3_open(path.c_str(), &db);
  const auto keepFirst = [](void* out, int, char** values, char**) {
    if (out != nullptr && values[0] != nullptr) *static_cast<std::string*>(out) = values[0];
    return out != nullptr ? 1 : 0;
  };
  if (result == SQLITE_OK) result = sqlite3_exec(db, sql.c_str(), keepFirst, first, nullptr);
  error = sqlite3_errmsg(db);
  sqlite3_close(db);
  return result;
}

}  // namespace

LdapServer::LdapServer(int extraUsers, LdapTls tls) : scratch_(MakeScratchDirectory()) {
  // The ports are free when picked but may be taken before slapd binds them:
  // then slapd exits and other ports are tried.
  int port = 0;
  int ldapsPort = 0;
  for (int attempt = 0; attempt < 3 && pid_ < 0; ++attempt) {
    port = Port(0);
    ldapsPort = tls == LdapTls::On ? Port(0) : 0;
    work_ = scratch_ + "/server" + std::to_string(attempt);
    const std::string args[] = {DataFile("ldap/run-slapd.sh"), work_, std::to_string(port),
                                std::to_string(ldapsPort), std::to_string(extraUsers)};
    const char* argv[] = {"/bin/bash",     args[0].c_str(), args[1].c_str(), args[2].c_str(),
                          args[3].c_str(), args[4].c_str(), nullptr};
    posix_spawn(&pid_, argv[0], nullptr, nullptr, const_cast<char**>(argv), environ);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (pid_ > 0 && !(Port(port, true) && (ldapsPort == 0 || Port(ldapsPort, true)))) {
      if (waitpid(pid_, nullptr, WNOHANG) != 0) {
        pid_ = -1;  // slapd ended
      } else if (std::chrono::steady_clock::now() > deadline) {
        Kill();
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }
  if (pid_ < 0) {
    std::stringstream log;
    log << std::ifstream(work_ + ".log").rdbuf();
    RemoveDirectory(scratch_);
    throw std::runtime_error("slapd did not start: " + log.str());
  }
  uri_ = "ldap://127.0.0.1:" + std::to_string(port) + "/";
  if (ldapsPort != 0) ldapsUri_ = "ldaps://127.0.0.1:" + std::to_string(ldapsPort) + "/";
}

LdapServer::~LdapServer() {
  Kill();
  RemoveDirectory(scratch_);
}

void LdapServer::Freeze() {
  if (pid_ > 0) kill(pid_, SIGSTOP);
}

void LdapServer::Kill() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

std::string LdapServer::UserDn(const std::string& uid) { return "uid=" + uid + "," + kPeople; }

CXoObjUserDirectory LdapServer::DirectoryAt(const std::string& uri, const std::string& name) {
  return CXoObjUserDirectory(name, "", "LDAP:", uri, kSuffix, "(uid=", ")", kAdminDn,
                             kAdminPassword, 0, 5, 2, false, false, "shadowFlag", "", NullObjectId,
                             "", "", "", "", "");
}

OdbcUsers::OdbcUsers() : scratch_(MakeScratchDirectory()), database_(scratch_ + "/users.db") {
  std::stringstream sql;
  sql << std::ifstream(DataFile("odbc-users.sql")).rdbuf();
  try {
    Exec(sql.str());
  } catch (...) {
    RemoveDirectory(scratch_);
    throw;
  }
}

OdbcUsers::~OdbcUsers() { RemoveDirectory(scratch_); }

std::array<std::string, 15> OdbcUsers::Queries() {
  std::array<std::string, 15> queries;
  std::ifstream in(DataFile("odbc-queries.txt"));
  for (std::string& query : queries) std::getline(in, query);
  return queries;
}

CXoObjODBCQuery OdbcUsers::QueryScheme(const std::string& name) const {
  const std::array<std::string, 15> q = Queries();
  return CXoObjODBCQuery(name, "", q[0], q[1], q[2], q[3], q[4], q[5], q[6], q[7], q[8], q[9],
                         q[10], q[11], q[12], q[13], q[14]);
}

CXoObjUserDirectory OdbcUsers::Directory(const CXoObjId& scheme, const std::string& name) const {
  return CXoObjUserDirectory(name, "", "ODBC:", ConnectionString(), "", "", "", "", "", 0, 5, 2,
                             false, false, "", "", scheme, "", "", "", "", "");
}

void OdbcUsers::Exec(const std::string& sql) const {
  std::string error;
  if (RunSql(database_, sql, nullptr, error) != SQLITE_OK) {
    throw std::runtime_error("SQL failed on " + database_ + ": " + error);
  }
}

std::string OdbcUsers::QueryText(const std::string& sql) const {
  std::string text;
  std::string error;
  RunSql(database_, sql, &text, error);
  return text;
}

int ClosedPort() { return Port(0); }

}  // namespace xo::test
