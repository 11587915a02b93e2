// The test's own slapd, run from a shell script as a child process.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "support/DirectoryFixtures.h"
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

// Waits up to a minute for slapd to listen on its ports; `pid` becomes -1
// when it ends (or is killed for taking too long).
void AwaitListening(pid_t& pid, int port, int ldapsPort) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (pid > 0 && !(Port(port, true) && (ldapsPort == 0 || Port(ldapsPort, true)))) {
    if (waitpid(pid, nullptr, WNOHANG) != 0) {
      pid = -1;  // slapd ended
    } else if (std::chrono::steady_clock::now() > deadline) {
      kill(pid, SIGKILL);
      waitpid(pid, nullptr, 0);
      pid = -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

}  // namespace

bool LdapFixtureAvailable() { return true; }

std::string DriverPath(const std::string& path) { return path; }

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
    AwaitListening(pid_, port, ldapsPort);
  }
  if (pid_ < 0) {
    std::stringstream log;
    log << std::ifstream(work_ + ".log").rdbuf();
    RemoveDirectory(scratch_);
    throw std::runtime_error("slapd did not start: " + log.str());
  }
  uri_ = "ldap://127.0.0.1:" + std::to_string(port) + "/";
  if (ldapsPort != 0) ldapsUri_ = "ldaps://127.0.0.1:" + std::to_string(ldapsPort) + "/";
  ports_ = {port, ldapsPort};
}

// slapd again, on the configuration and database that the script made.
void LdapServer::Restart() {
  Kill();
  const std::string config = work_ + "/slapd.conf";
  const std::string listeners = ldapsUri_.empty() ? uri_ : uri_ + " " + ldapsUri_;
  const std::string log = work_ + ".log";
  const char* argv[] = {"/usr/bin/setpriv",
                        "--pdeathsig",
                        "KILL",
                        "/usr/sbin/slapd",
                        "-f",
                        config.c_str(),
                        "-h",
                        listeners.c_str(),
                        "-d",
                        "0",
                        nullptr};
  posix_spawn_file_actions_t output;
  posix_spawn_file_actions_init(&output);
  posix_spawn_file_actions_addopen(&output, 1, log.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0644);
  posix_spawn_file_actions_adddup2(&output, 1, 2);
  posix_spawn(&pid_, argv[0], &output, nullptr, const_cast<char**>(argv), environ);
  posix_spawn_file_actions_destroy(&output);
  AwaitListening(pid_, ports_[0], ports_[1]);
  if (pid_ < 0) throw std::runtime_error("slapd did not start again; see " + log);
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

int ClosedPort() { return Port(0); }

}  // namespace xo::test
