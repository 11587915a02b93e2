// LDAP and ODBC user directories read through CXoDsDir: the scripts of
// directory-scripts.txt (which says how they are written), each run as one
// case.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "XoDsDir.h"
#include "support/DirectoryFixtures.h"
#include "support/Environment.h"

namespace xo::test {
namespace {

using namespace std::string_literals;
using D = CXoObjUserDirectory;

struct Case {
  std::string name;
  std::string kind;  // ldap, tls (a server with TLS and one without) or odbc
  std::vector<std::string> steps;
};
void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

// The cases of the scripts file, parts taken in; a case that fails when the
// file cannot be read.
std::vector<Case> Cases() {
  std::ifstream in(TestDataPath("directory/directory-scripts.txt"));
  std::map<std::string, std::vector<std::string>> parts;
  std::vector<Case> cases;
  std::vector<std::string>* steps = nullptr;
  for (std::string line; std::getline(in, line);) {
    for (size_t at; (at = line.find("<NUL>")) != std::string::npos;) line.replace(at, 5, 1, '\0');
    if (line.starts_with("== ")) {
      const size_t kind = line.rfind(' ');
      const bool isCase =
          line.ends_with(" ldap") || line.ends_with(" tls") || line.ends_with(" odbc");
      if (isCase) cases.push_back({line.substr(3, kind - 3), line.substr(kind + 1), {}});
      steps = isCase ? &cases.back().steps : &parts[line.substr(3)];
    } else if (line.starts_with("include ")) {
      steps->insert(steps->end(), parts[line.substr(8)].begin(), parts[line.substr(8)].end());
    } else if (!line.empty() && !line.starts_with("#") && steps != nullptr) {
      steps->push_back(line);
    }
  }
  if (cases.empty()) cases.push_back({"ScriptsFileIsMissing", "odbc", {"missing => the scripts"}});
  return cases;
}

class DirectoryTest : public ::testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    if (GetParam().kind == "odbc") {
      odbc_.emplace();
    } else {
      ldap_.emplace(0, GetParam().kind == "tls" ? LdapTls::On : LdapTls::Off);
    }
    if (GetParam().kind == "tls") plain_.emplace();
    Defaults();
  }
  void Defaults() {
    queries_ = odbc_ ? odbc_->QueryScheme() : CXoObjODBCQuery();
    directory_ = odbc_ ? odbc_->Directory(queries_.GetOid()) : ldap_->Directory();
  }

  // What a call renders, "!" and the message when it fails.
  std::string Call(CXoDsDir& dir, std::string op, const std::string& a, const std::string& b) {
    const bool counted = op.ends_with("#");  // the number of entries given
    if (counted) op.pop_back();
    int32_t kind = -1;
    int32_t reason = -1;
    std::string path;
    std::string name;
    std::vector<std::string> list;
    std::vector<std::string> details;
    bool cut = true;
    bool ok = op == "described" || op == "sql";
    if (op == "find" || op == "path") ok = dir.GetDirObjInfo(a, kind, path, name);
    if (op == "auth") ok = dir.Authenticate(a, b);
    if (op == "setPassword") ok = dir.SetPassword(a, b);
    if (op == "setDisabled") ok = dir.SetDisabled(a, std::stoi(b));
    if (op == "disabled") ok = dir.GetDisabled(a, reason);
    if (op == "groups") ok = dir.GetGroups(a, list);
    if (op == "members") ok = dir.GetMembers(a, list);
    if (op == "count") ok = dir.Enumerate(list, details, cut);
    if (op == "entries" || op == "details") ok = dir.Enumerate(list, details);
    if (op == "countWithStoredScheme") ok = CXoDsDir(directory_).Enumerate(list, details);
    if (!ok) {
      EXPECT_TRUE(kind == -1 && reason == -1 && path.empty() && name.empty() && list.empty() &&
                  details.empty() && cut);
      return "!" + dir.LastError();
    }
    EXPECT_EQ(details.size(), op == "groups" || op == "members" ? 0 : list.size());
    if (counted) return std::to_string(list.size());
    std::string joined;
    for (const std::string& item : op == "details" ? details : list) {
      joined += (joined.empty() ? "" : op == "details" ? "; " : " ") + item;
    }
    if (op == "find") return XoDsObjectClassNames[std::clamp(kind, 0, 7)] + ": "s + name;
    if (op == "path") return path;
    if (op == "disabled") return std::to_string(reason);
    if (op == "count") return std::to_string(list.size()) + (cut ? " cut" : "");
    if (op == "described") return dir.GetDirSpec();
    if (op == "sql") return odbc_->QueryText(a);
    return op == "groups" || op == "members" || op == "entries" || op == "details" ? joined : "ok";
  }

  std::optional<LdapServer> ldap_;
  std::optional<LdapServer> plain_;
  std::optional<OdbcUsers> odbc_;
  CXoObjUserDirectory directory_;
  CXoObjODBCQuery queries_;
};

// Runs the steps: OP A [| B] [=> GIVES], where a setting's A is "NAME VALUE".
TEST_P(DirectoryTest, Script) {
  const auto hostOf = [](const std::string& uri) { return uri.substr(uri.find("//") + 2); };
  std::map<std::string, std::string> words = {
      {"@DB", odbc_ ? odbc_->DatabasePath() : ""},
      {"@CLOSED", "127.0.0.1:" + std::to_string(ClosedPort()) + "/"}};
  if (plain_) {
    words.insert({{"@TLS", hostOf(ldap_->Uri())},
                  {"@LDAPS", hostOf(ldap_->LdapsUri())},
                  {"@PLAIN", hostOf(plain_->Uri())},
                  {"@CA", ldap_->CaFile()},
                  {"@OTHERCA", ldap_->OtherCaFile()}});
  }
  std::unique_ptr<CXoDsDir> dir;
  for (std::string step : GetParam().steps) {
    for (const auto& [word, text] : words) {
      for (size_t at; (at = step.find(word)) != std::string::npos;)
        step.replace(at, word.size(), text);
    }
    const size_t arrow = std::min(step.find(" =>"), step.size());
    const std::string expected = step.substr(std::min(arrow + 4, step.size()));
    const size_t space = std::min(step.find(' '), arrow);
    const std::string op = step.substr(0, space);
    const std::string args = space < arrow ? step.substr(space + 1, arrow - space - 1) : "";
    const size_t bar = std::min(args.find(" | "), args.size());
    const std::string a = args.substr(0, bar);
    const std::string b = args.substr(std::min(bar + 3, args.size()));
    const std::string setting = a.substr(0, a.find(' '));
    const std::string value = a.substr(std::min(setting.size() + 1, a.size()));
    if (op == "defaults") Defaults();
    if (op == "query") queries_.Set(CXoObjODBCQuery::Query1 + std::stoi(setting) - 1, value);
    if (op == "set") {
      const std::map<std::string, uint32_t> props = {
          {"server", D::String1},     {"root", D::String2},         {"bindDn", D::String5},
          {"max", D::Int1},           {"bindPassword", D::String6}, {"scope", D::Int3},
          {"secure", D::Flag2},       {"disabledAttr", D::String7}, {"needsBind", D::Flag1},
          {"type", D::DirectoryType}, {"passwordAttr", D::String8}, {"caFile", D::String9}};
      const uint32_t prop = props.at(setting);
      if (prop >= D::Int1 && prop <= D::Int3) directory_.Set(prop, int32_t{std::stoi(value)});
      if (prop == D::Flag1 || prop == D::Flag2) directory_.Set(prop, value == "true");
      if (prop < D::Int1 || prop > D::Flag2) directory_.Set(prop, value);
    }
    if (op == "defaults" || op == "query" || op == "set") {
      dir.reset();
      continue;
    }
    if (!dir) {
      dir = odbc_ ? std::make_unique<CXoDsDir>(directory_, queries_)
                  : std::make_unique<CXoDsDir>(directory_);
    }
    std::string gives = Call(*dir, op, a, b);
    gives.erase(gives.find_last_not_of(' ') + 1);
    if (expected.starts_with("!")) {
      EXPECT_TRUE(gives.starts_with("!") && gives.find(expected.substr(1)) != std::string::npos)
          << ::testing::PrintToString(step) << " gives " << gives;
    } else {
      EXPECT_EQ(gives, expected) << ::testing::PrintToString(step);
    }
    EXPECT_EQ(dir->LastError().find("hunter2"), std::string::npos) << dir->LastError();
  }
}

INSTANTIATE_TEST_SUITE_P(Calls, DirectoryTest, ::testing::ValuesIn(Cases()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace xo::test
