#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli/PrivateFile.h"
#include "store/platform/Paths.h"
#include "store/platform/Random.h"

namespace xo::cli {
namespace {

std::string Why(const std::string& what, const std::string& path) {
  return "cannot " + what + " " + path + ": " + std::strerror(errno);
}

std::string Octal(mode_t mode) {
  char text[8];
  std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(mode & 07777));
  return text;
}

bool WriteAll(int fd, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t wrote = write(fd, text.data() + done, text.size() - done);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) return false;
    done += static_cast<size_t>(wrote);
  }
  return fsync(fd) == 0;
}

}  // namespace

bool WritePrivateFile(const std::string& path, const std::string& text, std::string& problem) {
  const std::string dir = platform::ParentDirectory(path);
  if (!platform::FileExists(dir)) {
    if (!platform::MakeDirectories(platform::ParentDirectory(dir)) ||
        mkdir(dir.c_str(), 0700) != 0) {
      if (errno != EEXIST) {
        problem = Why("create the directory", dir);
        return false;
      }
    }
  }
  const std::string temporary = path + ".new-" + platform::RandomHex(8);
  const int fd =
      open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd < 0) {
    problem = Why("create", temporary);
    return false;
  }
  const bool written = WriteAll(fd, text);
  const bool closed = close(fd) == 0;
  if (!written || !closed || rename(temporary.c_str(), path.c_str()) != 0) {
    problem = Why("write", path);
    unlink(temporary.c_str());
    return false;
  }
  return true;
}

std::optional<std::string> ReadPrivateFile(const std::string& path, std::string& problem) {
  const int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) {
    if (errno != ENOENT) problem = Why("read", path);
    return std::nullopt;
  }
  struct stat status {};
  std::string text;
  if (fstat(fd, &status) != 0) {
    problem = Why("read", path);
  } else if (!S_ISREG(status.st_mode)) {
    problem = path + " is not a plain file";
  } else if (status.st_uid != geteuid()) {
    problem = path + " belongs to another user";
  } else if ((status.st_mode & 077) != 0) {
    problem = path + " may be read or changed by other users (mode " + Octal(status.st_mode) +
              "); remove it and log in again";
  } else {
    char buffer[4096];
    for (ssize_t got; (got = read(fd, buffer, sizeof buffer)) != 0;) {
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) {
        problem = Why("read", path);
        break;
      }
      text.append(buffer, static_cast<size_t>(got));
    }
  }
  close(fd);
  if (!problem.empty()) return std::nullopt;
  return text;
}

void RemovePrivateFile(const std::string& path) { unlink(path.c_str()); }

}  // namespace xo::cli
