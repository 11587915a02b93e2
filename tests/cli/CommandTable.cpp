// The one runner of the command tables (CommandTable.h).
#include "CommandTable.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <regex>
#include <sstream>

#include "StoreBackend.h"
#include "XoPolicyApi.h"
#include "support/ApiCatalog.h"
#include "support/DirectoryFixtures.h"
#include "support/Environment.h"
#include "support/Process.h"
#include "support/RandomStore.h"
#include "support/StoreFile.h"
#include "support/StoreModel.h"
#include "support/StoreServer.h"

namespace xo::test {
namespace {

using Json = nlohmann::ordered_json;
using Env = EnvChanges;

std::map<std::string, std::string>& Documents() {
  static std::map<std::string, std::string> documents;
  return documents;
}

struct Run {
  int exit = 0;
  std::string out, err;
};

// Runs $XO_CLI with `args` the way a shell would.
Run RunCli(const std::vector<std::string>& args, const Env& env, const std::string& input) {
  const char* binary = std::getenv("XO_CLI");
  if (!binary || !*binary) throw std::runtime_error("XO_CLI does not name the xopolicy binary");
  const ProcessOutcome outcome = ChildProcess(binary, args, env, input).Wait();
  return {outcome.exit, outcome.out, outcome.err};
}

std::string ReadFile(const std::string& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return bytes.str();
}

// The store as the runner compares it: its rows, or the bytes of a file
// that is no SQLite database.
std::string StoreState(const std::string& path) {
  if (!std::filesystem::exists(path)) return "(no file)";
  const std::string bytes = ReadFile(path);
  return bytes.starts_with("SQLite format 3") ? SnapshotStoreFile(path) : bytes;
}

std::vector<std::string> Split(const std::string& text, const char* separator) {
  const std::regex pattern(separator);
  return {std::sregex_token_iterator(text.begin(), text.end(), pattern, -1), {}};
}

class Runner {
 public:
  // With `otherOnServer`, @OTHER is a store on the tests' PostgreSQL server
  // (XO_TEST_POSTGRES), where a round trip carries the store.
  Runner(const std::string& dir, bool otherOnServer) : vars_(Documents()) {
    vars_.insert({{"DIR", dir},
                  {"STORE", dir + "/policy.db"},
                  {"OTHER", otherOnServer ? NewServerStore() : dir + "/other.db"}});
    const auto queries = OdbcUsers::Queries();
    for (size_t i = 0; i < queries.size(); ++i) vars_["Q" + std::to_string(i + 1)] = queries[i];
  }

  // Runs one command of a script with its checks (see CommandTable.h).
  void Step(const std::string& text) {
    std::vector<std::string> parts = Split(text, R"( \| )");
    const size_t arrow = (" " + parts[0]).rfind(" => ");
    const int exit = arrow == std::string::npos ? 0 : std::stoi(parts[0].substr(arrow + 3));
    const std::string line =
        parts[0].substr(0, arrow == std::string::npos ? arrow : std::max<size_t>(arrow, 1) - 1);
    std::string input;
    bool same = exit != 0, outChecked = false, errChecked = false;
    std::vector<std::string> words;
    std::istringstream in(line);
    for (std::string word; in >> std::quoted(word, '\'', '\x01');) words.push_back(Replace(word));
    Env env{{"XO_POLICY_STORE", "sqlite:" + vars_["STORE"]},
            {"XO_ADMIN", "root"},
            {"XO_PASSWORD", "pw"},
            {"XDG_CONFIG_HOME", vars_["DIR"] + "/config"}};
#ifdef _WIN32
    env["LOCALAPPDATA"] = vars_["DIR"] + "/config";  // where kept sessions go
#endif
    for (; !words.empty() && words[0].starts_with("~"); words.erase(words.begin())) {
      env[words[0].substr(1)] = std::nullopt;
    }
    for (size_t equals; !words.empty() && std::isupper(static_cast<unsigned char>(words[0][0])) &&
                        (equals = words[0].find('=')) != std::string::npos;
         words.erase(words.begin())) {
      env[words[0].substr(0, equals)] = words[0].substr(equals + 1);
    }
    const auto redirect = std::find(words.begin(), words.end(), ">");
    const std::vector<std::string> keep(redirect + (redirect != words.end()), words.end());
    words.erase(redirect, words.end());
    for (const std::string& part : parts) {
      if (part.starts_with("< ")) input = Replace(part.substr(2));
      same = same || part == "unchanged";
    }

    const std::string before = StoreState(vars_["STORE"]);
    const Run run = words.empty() || !words[0].starts_with("$") ? RunCli(words, env, input)
                                                                : Builtin(words, line, input);
    EXPECT_EQ(run.exit, exit) << "out: " << run.out << "\nerr: " << run.err;
    for (std::string check : std::vector<std::string>(parts.begin() + 1, parts.end())) {
      if (check.starts_with("< ") || check == "unchanged") continue;
      const bool err = check.starts_with("err:") || (exit != 0 && !check.starts_with("out:"));
      if (check.starts_with("err:") || check.starts_with("out:")) check = check.substr(4);
      (err ? errChecked : outChecked) = true;
      EXPECT_TRUE(Holds(err ? run.err : run.out, check))
          << (err ? "error output" : "output") << " fails " << check << ":\n"
          << (err ? run.err : run.out);
    }
    if (exit != 0) {
      EXPECT_NE(run.err, "") << "a failure without a word why";
      EXPECT_TRUE(run.out.empty() || outChecked) << "output from a failing command";
    } else {
      EXPECT_TRUE(run.err.empty() || errChecked) << "error output from a working command";
    }
    EXPECT_TRUE(!same || StoreState(vars_["STORE"]) == before) << "the store changed";
    if (keep.size() == 1) {
      vars_[keep[0]] = run.out;
      std::ofstream(vars_["DIR"] + "/" + keep[0], std::ios::binary) << run.out;
    } else if (keep.size() == 2) {
      const Json value = Json::parse(run.out).at(Json::json_pointer(keep[1]));
      vars_[keep[0]] = value.is_string() ? value.get<std::string>() : value.dump();
    }
  }

  void Finish() { DropTestStore(vars_["OTHER"]); }

 private:
  Run Builtin(const std::vector<std::string>& words, const std::string& line,
              const std::string& input) {
    Run run;
    if (words[0] == "$write") {
      std::ofstream(words[1], std::ios::binary) << input;
    } else if (words[0] == "$copy") {
      // Removed first: mingw's copy_file does not overwrite under wine.
      std::filesystem::remove(words[2]);
      std::filesystem::copy_file(words[1], words[2]);
    } else if (words[0] == "$chmod") {
      std::filesystem::permissions(words[2],
                                   std::filesystem::perms(std::stoi(words[1], nullptr, 8)));
    } else if (words[0] == "$sql") {
      for (const std::string& row : QueryStoreFile(vars_["STORE"], Replace(line.substr(5)))) {
        run.out += row + "\n";
      }
    } else if (words[0] == "$users") {
      run.out = Users().QueryText(line.substr(words[0].size() + 1));
    } else if (words[0] == "$system") {
      Json document = Json::parse(ReadFile(words[1]));
      document.erase("domains");
      run.out = document.dump(1);
    } else if (words[0] == "$compare") {
      // The model reads files: a store on the server is read from a copy.
      std::string other = vars_["OTHER"];
      if (OnServer(other)) {
        std::string message;
        store::CopyStore(store::ResolveLocation(other), {"sqlite", vars_["DIR"] + "/other-copy.db"},
                         message);
        other = vars_["DIR"] + "/other-copy.db";
      }
      run.out = ModelDifference(ReadStoreModel(vars_["STORE"]), ReadStoreModel(other));
    } else if (words[0] == "$random") {
      SetEnvironment("XO_POLICY_STORE", "sqlite:" + vars_["STORE"]);
      PolicyApiSession* handle = nullptr;
      run.exit = Xo_PolicyApi_Login(&handle, nullptr, "root", "pw", "localhost", "", 0);
      {
        DirectStore store("root", "pw");
        catalog_.emplace(store, handle);  // its directory's users stay for the case
      }
      for (const std::string& call : WalkRandomly(handle, std::stoul(words[1]), 400)) {
        run.out += call + "\n";
      }
      Xo_PolicyApi_Logout(handle);
    }
    return run;
  }

  // Whether the text passes the check, whose kind is read before names are replaced.
  bool Holds(const std::string& text, const std::string& check) {
    if (check.starts_with("!")) return !Holds(text, check.substr(1));
    if (check.starts_with("=")) return text == Replace(check.substr(1));
    if (check.starts_with("re:")) return std::regex_search(text, std::regex(check.substr(3)));
    if (!check.starts_with("/") && !check.starts_with("#")) {
      return text.find(Replace(check)) != std::string::npos;
    }
    const Json json = Json::parse(text, nullptr, false);
    if (check.starts_with("#")) {
      return json.is_array() && json.size() == std::stoul(check.substr(1));
    }
    const size_t equals = check.find('=');
    const Json::json_pointer pointer(check.substr(0, equals));
    if (json.is_discarded() || !json.contains(pointer)) return false;
    if (equals == std::string::npos) return true;
    const std::string wanted = Replace(check.substr(equals + 1));
    const Json value = Json::parse(wanted, nullptr, false);
    return json.at(pointer) == (value.is_discarded() ? Json(wanted) : value);
  }

  OdbcUsers& Users() {
    if (!users_) users_ = std::make_unique<OdbcUsers>();
    return *users_;
  }

  // The text with each @NAME that names something replaced.
  std::string Replace(const std::string& text) {
    if (text.find("@ODBC") != std::string::npos) vars_["ODBC"] = Users().ConnectionString();
    static const std::regex name("@([A-Z][A-Z0-9]*)");
    std::string replaced;
    auto at = text.cbegin();
    for (std::smatch m; std::regex_search(at, text.cend(), m, name); at = m[0].second) {
      replaced += m.prefix().str() + (vars_.count(m[1]) ? vars_[m[1]] : m[0].str());
    }
    return replaced + std::string(at, text.cend());
  }

  std::map<std::string, std::string> vars_;
  std::unique_ptr<OdbcUsers> users_;
  std::optional<CatalogStore> catalog_;
};

}  // namespace

bool AddDocument(const std::string& name, const std::string& text) {
  Documents()[name] = text;
  return true;
}

TEST_P(Xopolicy, CommandLines) {
  const Case& c = GetParam();
  std::string script =
      (c.init ? kInit + "--store @STORE --admin root --password pw\n" : "") + c.script;
  if (!c.roundTrip.empty()) {
    // The system objects go in first: an ODBC directory reads its query
    // scheme from what is committed, on a connection of its own.
    const std::string exported = "\nexport " + c.roundTrip;
    script += exported + " > EXPORTED\n" + kInit + "--store @OTHER --admin root --password pw\n" +
              "$system @DIR/EXPORTED > SYSTEM ; apply @DIR/SYSTEM --store @OTHER\n" +
              "apply @DIR/EXPORTED --store @OTHER" + exported + " --store @OTHER > AGAIN | " +
              "=@EXPORTED\napply @DIR/EXPORTED --store @OTHER | =no changes\\n\n$compare | =";
  }
  // Lines ending in a backslash go on in the next; " ; " separates commands. A
  // newline written \n stays out of the way of the splitting until the end.
  script = std::regex_replace(script, std::regex(R"( *\\\n *)"), " ");
  script = std::regex_replace(script, std::regex(R"(\\r)"), "\r");
  script = std::regex_replace(script, std::regex(R"(\\n)"), "\x02");
  const std::string dir = MakeScratchDirectory();
  Runner runner(dir, !c.roundTrip.empty() && !TestServer().empty());
  std::istringstream lines(script);
  for (std::string line; std::getline(lines, line) && !HasFailure();) {
    line = line.substr(std::min(line.find_first_not_of(' '), line.size()));
    line.erase(line.find_last_not_of(' ') + 1);
    for (std::string command : Split(line, " ; ")) {
      std::replace(command.begin(), command.end(), '\x02', '\n');
      SCOPED_TRACE(command);
      if (!command.empty() && !HasFailure()) runner.Step(command);
    }
  }
  // XO_KEEP=DIR keeps what a case left in its directory, as DIR/<case name>.
  if (const char* keep = std::getenv("XO_KEEP"); keep && *keep) {
    std::filesystem::copy(dir, std::string(keep) + "/" + c.name,
                          std::filesystem::copy_options::recursive);
  }
  runner.Finish();
  RemoveDirectory(dir);
}

}  // namespace xo::test
