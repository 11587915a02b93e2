#include "odbc/ConnectionString.h"

#include <cctype>
#include <string_view>

namespace xo::directory::odbc {
namespace {

std::string Trimmed(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) {
    text.remove_prefix(1);
  }
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) {
    text.remove_suffix(1);
  }
  return std::string(text);
}

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// Reads the next KEY=VALUE pair from `at`: a value in braces runs to the
// closing brace ("}}" stands for one brace), any other value to the next ';'.
bool NextPair(const std::string& text, size_t& at, std::string& key, std::string& value) {
  while (at < text.size() &&
         (text[at] == ';' || std::isspace(static_cast<unsigned char>(text[at])))) {
    ++at;
  }
  if (at >= text.size()) return false;
  const size_t equals = text.find('=', at);
  const size_t end = text.find(';', at);
  if (equals == std::string::npos || (end != std::string::npos && end < equals)) {
    key = Upper(Trimmed(std::string_view(text).substr(at, end - at)));
    value.clear();
    at = end == std::string::npos ? text.size() : end + 1;
    return true;
  }
  key = Upper(Trimmed(std::string_view(text).substr(at, equals - at)));
  at = equals + 1;
  while (at < text.size() && text[at] == ' ') ++at;
  value.clear();
  if (at < text.size() && text[at] == '{') {
    for (++at; at < text.size(); ++at) {
      if (text[at] == '}') {
        if (at + 1 < text.size() && text[at + 1] == '}') {
          value += '}';
          ++at;
          continue;
        }
        ++at;
        break;
      }
      value += text[at];
    }
    const size_t next = text.find(';', at);
    at = next == std::string::npos ? text.size() : next + 1;
    return true;
  }
  const size_t next = text.find(';', at);
  value = Trimmed(
      std::string_view(text).substr(at, next == std::string::npos ? std::string::npos : next - at));
  at = next == std::string::npos ? text.size() : next + 1;
  return true;
}

bool IsPath(const std::string& value) {
  return value.find('/') != std::string::npos || value.find('\\') != std::string::npos ||
         value.find(':') != std::string::npos;
}

}  // namespace

bool UsesRegisteredDriversOnly(const std::string& connectionString, std::string& error) {
  size_t at = 0;
  std::string key;
  std::string value;
  while (NextPair(connectionString, at, key, value)) {
    if (key == "DRIVER" && IsPath(value)) {
      error = "the connection string names its driver by a file (" + value +
              "); name a driver registered with the ODBC driver manager instead";
      return false;
    }
    if (key == "FILEDSN" || key == "SAVEFILE") {
      error = "the connection string names a file data source (" + key +
              "); name a data source registered with the ODBC driver manager instead";
      return false;
    }
  }
  return true;
}

}  // namespace xo::directory::odbc
