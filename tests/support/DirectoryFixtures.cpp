#include "support/DirectoryFixtures.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/prctl.h>
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

const std::array<DirectoryUser, 3> kDirectoryUsers = {{
    {"alice", "Alice Liddell", "alice-pw"},
    {"bob", "Bob Cratchit", "bob-pw"},
    {"carol", "Carol Danvers", "carol-pw"},
}};

namespace {

using Clock = std::chrono::steady_clock;

// The LDAP test data sit beside this file's directory.
std::string LdapDataDirectory() {
  return (std::filesystem::path(__FILE__).parent_path().parent_path() / "directory" / "ldap")
      .string();
}

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// A socket bound to 127.0.0.1 on a port the system picks.
int BoundSocket(int& port) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) throw std::runtime_error("no socket");
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    close(fd);
    throw std::runtime_error("cannot bind a socket to 127.0.0.1");
  }
  port = ntohs(address.sin_port);
  return fd;
}

bool Accepts(int port) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return false;
  sockaddr_in address = Loopback(port);
  const bool connected = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  close(fd);
  return connected;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

void WriteExtraUsers(const std::string& path, int count) {
  std::ofstream out(path);
  char uid[32];
  for (int i = 0; i < count; ++i) {
    std::snprintf(uid, sizeof uid, "user%06d", i);
    out << "dn: uid=" << uid << "," << LdapServer::kPeople << "\n"
        << "objectClass: inetOrgPerson\nuid: " << uid << "\ncn: User " << i << "\nsn: " << i
        << "\nuserPassword: pw\n\n";
  }
}

// Runs the script with its output in `log`; the child ends with this process.
pid_t Spawn(const std::vector<std::string>& arguments, const std::string& log) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("cannot start slapd: fork failed");
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(1);
    const int in = open("/dev/null", O_RDONLY);
    const int out = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (in < 0 || out < 0) _exit(1);
    dup2(in, 0);
    dup2(out, 1);
    dup2(out, 2);
    execv(argv[0], argv.data());
    _exit(127);
  }
  return pid;
}

}  // namespace

LdapServer::LdapServer(int extraUsers, LdapTls tls) {
  scratch_ = MakeScratchDirectory();
  std::vector<std::string> extra;
  if (extraUsers > 0) {
    extra.push_back(scratch_ + "/extra-users.ldif");
    WriteExtraUsers(extra.back(), extraUsers);
  }
  try {
    Start(extra, tls);
  } catch (...) {
    RemoveDirectory(scratch_);
    throw;
  }
}

LdapServer::~LdapServer() {
  Stop();
  RemoveDirectory(scratch_);
}

void LdapServer::Start(const std::vector<std::string>& extraLdif, LdapTls tls) {
  // The ports are free when picked but may be taken before slapd binds them:
  // then slapd exits and other ports are tried.
  std::string log;
  for (int attempt = 0; attempt < 3; ++attempt) {
    int ldapsPort = 0;
    const int fd = BoundSocket(port_);
    const int tlsFd = tls == LdapTls::On ? BoundSocket(ldapsPort) : -1;
    close(fd);
    if (tlsFd >= 0) close(tlsFd);
    work_ = scratch_ + "/server" + std::to_string(attempt);
    std::vector<std::string> arguments = {"/bin/bash", LdapDataDirectory() + "/run-slapd.sh"};
    if (tls == LdapTls::On) {
      arguments.push_back("--tls");
      arguments.push_back(std::to_string(ldapsPort));
    }
    arguments.push_back(work_);
    arguments.push_back(std::to_string(port_));
    arguments.insert(arguments.end(), extraLdif.begin(), extraLdif.end());
    const std::string logPath = scratch_ + "/slapd" + std::to_string(attempt) + ".log";
    pid_ = Spawn(arguments, logPath);
    const auto deadline = Clock::now() + std::chrono::seconds(60);
    while (Clock::now() < deadline) {
      int status = 0;
      if (waitpid(pid_, &status, WNOHANG) == pid_) {
        pid_ = -1;
        break;
      }
      if (Accepts(port_) && (tls == LdapTls::Off || Accepts(ldapsPort))) {
        uri_ = "ldap://127.0.0.1:" + std::to_string(port_) + "/";
        if (tls == LdapTls::On) ldapsUri_ = "ldaps://127.0.0.1:" + std::to_string(ldapsPort) + "/";
        return;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    log = ReadFile(logPath);
    Stop();
  }
  throw std::runtime_error("slapd did not start: " + log);
}

void LdapServer::Stop() {
  if (pid_ <= 0) return;
  kill(pid_, SIGCONT);
  kill(pid_, SIGTERM);
  const auto deadline = Clock::now() + std::chrono::seconds(10);
  int status = 0;
  while (waitpid(pid_, &status, WNOHANG) == 0) {
    if (Clock::now() > deadline) {
      kill(pid_, SIGKILL);
      waitpid(pid_, &status, 0);
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  pid_ = -1;
}

void LdapServer::Freeze() {
  if (pid_ > 0) kill(pid_, SIGSTOP);
}

void LdapServer::Kill() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
}

std::string LdapServer::CaFile() const { return work_ + "/tls/ca.pem"; }

std::string LdapServer::OtherCaFile() const { return work_ + "/tls/other-ca.pem"; }

std::string LdapServer::UserDn(const std::string& uid) { return "uid=" + uid + "," + kPeople; }

CXoObjUserDirectory LdapServer::Directory(const std::string& name) const {
  return DirectoryAt(uri_, name);
}

CXoObjUserDirectory LdapServer::DirectoryAt(const std::string& uri, const std::string& name) {
  return CXoObjUserDirectory(name, "", "LDAP:", uri, kSuffix, "(uid=", ")", kAdminDn,
                             kAdminPassword, 0, 5, 2, false, false, "shadowFlag", "", NullObjectId,
                             "", "", "", "", "");
}

OdbcUsers::OdbcUsers() {
  scratch_ = MakeScratchDirectory();
  database_ = scratch_ + "/users.db";
  std::string sql =
      "CREATE TABLE users (name TEXT PRIMARY KEY, display TEXT, password TEXT, disabled INTEGER);"
      "CREATE TABLE groups (name TEXT PRIMARY KEY, display TEXT);"
      "CREATE TABLE members (group_name TEXT, user_name TEXT);"
      "CREATE VIEW entries (key, kind, name, display) AS"
      "  SELECT 'users/' || name, 1, name, display FROM users UNION ALL"
      "  SELECT 'groups/' || name, 2, name, display FROM groups;"
      "INSERT INTO groups VALUES ('staff', 'Staff'), ('operators', 'Operators');"
      "INSERT INTO members VALUES ('staff', 'alice'), ('staff', 'bob'), ('operators', 'carol');";
  for (const DirectoryUser& user : kDirectoryUsers) {
    sql += std::string("INSERT INTO users VALUES ('") + user.name + "', '" + user.displayName +
           "', '" + user.password + "', NULL);";
  }
  try {
    Exec(sql);
  } catch (...) {
    RemoveDirectory(scratch_);
    throw;
  }
}

OdbcUsers::~OdbcUsers() { RemoveDirectory(scratch_); }

std::string OdbcUsers::ConnectionString() const {
  return std::string("Driver=") + kDriver + ";Database=" + database_;
}

std::array<std::string, 15> OdbcUsers::Queries() {
  const std::string user = "WHERE 'users/' || name = ?";
  return {
      "SELECT key, kind, display FROM entries ORDER BY kind, key",
      "SELECT key, display FROM entries WHERE key = ?",
      "SELECT kind FROM entries WHERE key = ?",
      "SELECT count(*) FROM users " + user + " AND password = ?",
      "SELECT password FROM users " + user,
      "UPDATE users SET password = ? " + user,
      "SELECT disabled FROM users " + user,
      "UPDATE users SET disabled = ? " + user,
      "SELECT 'groups/' || group_name FROM members WHERE 'users/' || user_name = ? ORDER BY 1",
      "SELECT 'users/' || user_name FROM members WHERE 'groups/' || group_name = ? ORDER BY 1",
      "SELECT key, display FROM entries WHERE kind = 1 AND name = ?",
      "",
      "",
      "",
      "",
  };
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
  sqlite3* db = nullptr;
  if (sqlite3_open(database_.c_str(), &db) != SQLITE_OK) {
    sqlite3_close(db);
    throw std::runtime_error("cannot open " + database_);
  }
  char* message = nullptr;
  const int result = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message);
  const std::string error = message ? message : "";
  sqlite3_free(message);
  sqlite3_close(db);
  if (result != SQLITE_OK) throw std::runtime_error("SQL failed: " + error);
}

std::string OdbcUsers::QueryText(const std::string& sql) const {
  sqlite3* db = nullptr;
  sqlite3_stmt* stmt = nullptr;
  std::string text;
  if (sqlite3_open(database_.c_str(), &db) == SQLITE_OK &&
      sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK &&
      sqlite3_step(stmt) == SQLITE_ROW && sqlite3_column_text(stmt, 0)) {
    text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  return text;
}

SilentServer::SilentServer() {
  socket_ = BoundSocket(port_);
  if (listen(socket_, 16) != 0) {
    close(socket_);
    throw std::runtime_error("cannot listen on 127.0.0.1");
  }
}

SilentServer::~SilentServer() { close(socket_); }

int ClosedPort() {
  int port = 0;
  close(BoundSocket(port));
  return port;
}

}  // namespace xo::test
