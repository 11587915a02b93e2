// The tool's tests as tables. A case is a script of command lines run one
// after another in a scratch directory of its own, against a store made with
// `xopolicy init` (first administrator root, password pw) unless it says
// otherwise; each line comes with the exit status and the output it must give.
//
// A command of a script:  COMMAND [=> EXIT] [| PART]...
//
// Commands are one to a line, or separated by " ; "; a line ending in a
// backslash goes on in the next one. COMMAND is xopolicy's arguments, split
// at spaces ('single quotes' keep a word together). Leading words ~NAME, then
// NAME=value, unset and set environment variables for this run only; by
// default XO_POLICY_STORE names the case's store, XO_ADMIN is root and
// XO_PASSWORD pw, and XDG_CONFIG_HOME (on Windows LOCALAPPDATA) is @DIR/config. It may end in ">
// NAME" (standard output kept as @NAME and in the file @DIR/NAME) or in "> NAME /json/pointer"
// (that value of the JSON output kept as @NAME). Commands starting with $ are the runner's own:
// "$write PATH" writes the input to PATH, "$copy FROM TO" copies a file over another, "$chmod MODE
// PATH" sets a file's mode (octal),
// "$sql SQL" runs SQL on the case's store and prints the rows, "$users SQL" prints the first value
// SQL finds in the users database, "$random SEED" fills the store through the API with the
// catalog's store and the calls SEED chooses (support/RandomStore.h), printing the calls, "$system
// FILE" prints the export FILE without its domains, and "$compare" prints how the objects of @STORE
// and @OTHER differ (support/StoreModel.h).
//
// EXIT is the exit status, 0 when not given. Each PART is "< TEXT" (standard
// input), "unchanged" (the store must stay as it was even though the command
// works), or a check of standard output when the command works, of standard
// error when it fails, or of the one named by "out:" or "err:" before it. A
// check is "part" (contained), "=text" (the whole text), "#N" (a JSON array
// of N elements), "/json/pointer=value" (that value of the JSON text, read as
// JSON or else as a string), "/json/pointer" (there), "re:regex" (matching a
// part), or "!check" (failing the check). Whatever the checks, a failing
// command prints something on standard error, nothing on standard output
// unless it is checked, and leaves the store as it was; a command that works
// prints nothing on standard error unless it is checked.
//
// In every line \n and \r stand for a newline and a carriage return, and
// @NAME (capitals and digits) is replaced: @STORE (the case's store), @OTHER
// (a path for a second store), @DIR, @ODBC (the connection string of a users
// database, see OdbcUsers), @Q1 to @Q11 (its queries), documents given to
// AddDocument, and the names kept before.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <utility>

namespace xo::test {

struct Case {
  Case(std::string name, std::string script, bool init = true, std::string roundTrip = "")
      : name(std::move(name)),
        script(std::move(script)),
        init(init),
        roundTrip(std::move(roundTrip)) {}
  std::string name;
  std::string script;
  bool init;  // false: no store at first
  // Options of `export` for a round trip after the script: the store exported,
  // applied to a new store (@OTHER), exported from that as the same bytes, and
  // applied again with no changes, and both stores hold the same objects.
  // Empty: no round trip.
  std::string roundTrip;
};

inline void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

class Xopolicy : public ::testing::TestWithParam<Case> {};

inline std::string CaseName(const ::testing::TestParamInfo<Case>& info) { return info.param.name; }

// Makes `text` known to every script as @NAME; returns true.
bool AddDocument(const std::string& name, const std::string& text);

// `xopolicy init` with cheap password hashing, so that tests stay fast.
inline const std::string kInit = "init --hash-cost minimum ";

}  // namespace xo::test
