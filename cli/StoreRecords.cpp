#include "cli/StoreRecords.h"

#include <charconv>
#include <chrono>
#include <cstdio>

#include "XoAdmSession.h"
#include "XoObjId.h"
#include "cli/CommandGroups.h"
#include "cli/Scope.h"

namespace xo::cli {
namespace {

constexpr int kClasses = 28;

constexpr const char* kKinds[kClasses + 1] = {
    "",
    "agent",
    "agent group",
    "domain",
    "policy",
    "policy link",
    "realm",
    "response",
    "response attribute",
    "response group",
    "root",
    "rule",
    "rule group",
    "authentication scheme",
    "user directory",
    "administrator",
    "agent type",
    "dictionary attribute",
    "policy user",
    "ODBC query scheme",
    "server command",
    "reserved 21",
    "reserved 22",
    "reserved 23",
    "reserved 24",
    "reserved 25",
    "store settings",
    "reserved 27",
    "audit trail",
};

// Reads `count` digits at `at` into `value`; false when they are not digits.
bool Digits(const std::string& text, size_t at, size_t count, int& value) {
  if (at + count > text.size()) return false;
  auto [end, error] = std::from_chars(text.data() + at, text.data() + at + count, value);
  return error == std::errc() && end == text.data() + at + count;
}

}  // namespace

std::string IsoTime(int64_t secondsSince1970) {
  using namespace std::chrono;
  const sys_seconds time{seconds{secondsSince1970}};
  const sys_days day = floor<days>(time);
  const year_month_day date{day};
  const hh_mm_ss clock{time - day};
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text;
}

int64_t ParseTime(const std::string& text, const std::string& option) {
  auto refuse = [&]() -> int64_t {
    throw CommandError(option + " takes an ISO 8601 date or time in UTC (2024-05-01, " +
                           "2024-05-01T12:00:00Z) or seconds since 1970, not " + Quoted(text),
                       kExitUsage);
  };
  int64_t seconds = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (!text.empty() && error == std::errc() && end == text.data() + text.size()) return seconds;

  int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
  if (!Digits(text, 0, 4, y) || text.size() < 10 || text[4] != '-' || !Digits(text, 5, 2, mo) ||
      text[7] != '-' || !Digits(text, 8, 2, d)) {
    return refuse();
  }
  std::string rest = text.substr(10);
  if (!rest.empty() && rest.back() == 'Z') rest.pop_back();
  if (!rest.empty()) {
    if ((rest[0] != 'T' && rest[0] != ' ') || rest.size() < 6 || !Digits(rest, 1, 2, h) ||
        rest[3] != ':' || !Digits(rest, 4, 2, mi)) {
      return refuse();
    }
    if (rest.size() != 6 && (rest.size() != 9 || rest[6] != ':' || !Digits(rest, 7, 2, s))) {
      return refuse();
    }
  }
  using namespace std::chrono;
  const year_month_day date{year{y}, month{static_cast<unsigned>(mo)},
                            day{static_cast<unsigned>(d)}};
  if (!date.ok() || h > 23 || mi > 59 || s > 59) return refuse();
  const sys_seconds time = sys_days{date} + hours{h} + minutes{mi} + std::chrono::seconds{s};
  return time.time_since_epoch().count();
}

std::string KindOfClass(int32_t objectClass) {
  if (objectClass < 1 || objectClass > kClasses) return "class " + std::to_string(objectClass);
  return kKinds[objectClass];
}

std::string KindOfClassName(const std::string& className) {
  for (int32_t cls = 1; cls <= kClasses; ++cls) {
    if (className == CXoObjId::GetClassName(cls)) return kKinds[cls];
  }
  return className;
}

void RequireSystemRight(const Connection& connection, const std::string& what) {
  if (connection.Allowed(XO_RIGHT_MANAGE, 0, RootObjectId)) return;
  throw CommandError("administrator " + Quoted(connection.AdminName()) + " may not read " + what +
                     " (that takes the system right)");
}

}  // namespace xo::cli
