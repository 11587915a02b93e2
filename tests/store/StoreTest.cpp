// The store layer on a fresh SQLite store: creating and opening it, sessions,
// writers in other processes, and the scripts of store-scripts.txt (integrity
// rules and cascades, passwords, the audit trail, transactions, read-ahead
// and read snapshots), each run as one case.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>

#include "StoreBackend.h"
#include "XoAdmSession.h"
#include "XoObjStore.h"
#include "XoStoreCodes.h"
#include "support/DirectStore.h"
#include "support/Environment.h"
#include "support/Process.h"
#include "support/StoreFile.h"
#include "support/StoreServer.h"

namespace xo::test {
namespace {

using namespace xo::store;

// A fresh store with its first administrator, root, logged in.
class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string message;
    ASSERT_GE(CreateStore(ResolveLocation(path_), {"root", "secret", "minimum"}, message), 0)
        << message;
    SetEnvironment("XO_POLICY_STORE", path_);
    store_.emplace("root", "secret");
  }
  void TearDown() override {
    store_.reset();
    DropTestStore(path_);
    RemoveDirectory(directory_);
  }

  const std::string& Sid() { return store_->Sid(); }
  const std::string directory_ = MakeScratchDirectory();
  const std::string path_ = NewTestStore(directory_);
  std::optional<DirectStore> store_;
};

// Each login is a session of its own; a wrong name or password gets the same
// answer, and an ended session is refused. A store is made once and opens
// only from a file it made.
TEST_F(StoreTest, LoginsMakeSessionsAndAStoreOpensOnlyFromItsOwnFile) {
  std::string message;
  CXoAdmSession good("root", "secret", "h", "", "h", true);
  CXoAdmSession other("root", "secret", "h", "", "h", true);
  ASSERT_EQ(good.Login(message, false), 0) << message;
  ASSERT_EQ(other.Login(message, false), 0) << message;
  EXPECT_EQ(good.GetSessionID().size(), 32u);
  EXPECT_NE(other.GetSessionID(), good.GetSessionID());
  EXPECT_EQ(good.GetRemoteAddr(), "h");
  for (const auto& [name, password] : {std::pair{"root", "Secret"}, {"nobody", "secret"}}) {
    CXoAdmSession wrong(name, password, "h", "", "h", true);
    EXPECT_EQ(wrong.Login(message, false), kAuthFailed);
    EXPECT_EQ(message, "wrong administrator name or password");
    EXPECT_EQ(wrong.Logout(), 0) << "never logged in: nothing to end";
  }
  EXPECT_EQ(good.Logout(), 0);
  EXPECT_EQ(other.Logout(), 0);
  CXoObjIdArray hits;
  EXPECT_EQ(CXoObjStore::Search(CXoObjDomain(), hits, 1, std::string("x"), good.GetSessionID()),
            kNoSession);
  EXPECT_EQ(CreateStore(ResolveLocation(path_), {"x", "y", "minimum"}, message), kExists);
  EXPECT_NE(message.find("already exists"), std::string::npos) << message;
  // What a new store cannot be made with is refused before the file is made.
  const std::string fresh = directory_ + "/fresh.db", longest(1023, 'n');
  const std::pair<NewStoreOptions, int32_t> refusals[] = {
      {{"x", "y", "extreme"}, kInvalidArgument},
      {{"x", "", "minimum"}, kNameRequired},
      {{longest + "n", "y", "minimum"}, kTextTooLong},
      {{"x", longest + "n", "minimum"}, kTextTooLong}};
  for (const auto& [options, code] : refusals) {
    EXPECT_EQ(CreateStore({"sqlite", fresh}, options, message), code) << options.hashCost;
    EXPECT_FALSE(std::filesystem::exists(fresh)) << message;
  }
  EXPECT_GE(CreateStore({"sqlite", fresh}, {longest, longest, "minimum"}, message), 0) << message;
  store_.reset();
  std::ofstream(directory_ + "/empty.db").close();
  for (const auto& [store, error] :
       {std::pair{directory_ + "/missing.db", "no policy store"},
        std::pair{"sqlite:" + directory_ + "/empty.db", "not an initialised"}}) {
    SetEnvironment("XO_POLICY_STORE", store);
    EXPECT_FALSE(CXoObjStore::Init(message, false, false, false, false, false, false, true));
    EXPECT_NE(message.find(error), std::string::npos) << message;
  }
}

// The standard encoded form: a hash that libsodium made on Linux and one that
// the Argon2 reference code made on Windows (both of "correct horse", at the
// minimum cost) verify in either build, and so does a new one.
TEST(PasswordHashes, EitherBuildVerifiesTheOthersHashes) {
  const std::string password = "correct horse";
  for (const std::string& hash : {std::string("$argon2id$v=19$m=8,t=1,p=1$tYj1FOFpIb5S3qI1UxmZ/Q$"
                                              "xeKGnKE/fl9TycKb0T7lCY1yZVG+iQkbvi8gd0otH6A"),
                                  std::string("$argon2id$v=19$m=8,t=1,p=1$mLkGVeHixPXgDwp5spoc6A$"
                                              "Ms8yfDAFyyT2ZHPvqQ4fqyQpgGxDUf8mP3zYIVMsDhs"),
                                  store::HashPassword(password, "minimum")}) {
    SCOPED_TRACE(hash);
    EXPECT_TRUE(hash.starts_with("$argon2id$v=19$m=8,t=1,p=1$"));
    EXPECT_TRUE(store::VerifyPassword(hash, password));
    EXPECT_FALSE(store::VerifyPassword(hash, "correct horsE"));
    EXPECT_FALSE(store::VerifyPassword(hash.substr(0, hash.size() - 2), password));
  }
}

// Runs this test program again as a writer of domains (the test below is
// that writer when XO_WRITER is set): 25, or 3 before it is killed.
std::unique_ptr<ChildProcess> StartWriter(const std::string& mode) {
  return std::make_unique<ChildProcess>(
      ThisProgram(), std::vector<std::string>{"--gtest_filter=WriterProcess.Write"},
      EnvChanges{{"XO_WRITER", mode}});
}

TEST(WriterProcess, Write) {
  const char* mode = std::getenv("XO_WRITER");
  if (!mode) GTEST_SKIP() << "runs only as the writer of a multi-process test";
  std::string message;
  ASSERT_TRUE(CXoObjStore::Init(message, false, false, false, false, false, false, true));
  CXoAdmSession session("root", "secret", "", "", "", true);
  ASSERT_EQ(session.Login(message, false), 0);
  for (int i = 0; i < (std::string(mode) == "killed" ? 3 : 25); ++i) {
    CXoObjDomain domain(std::string(mode) + "-" + std::to_string(i), "", {}, {});
    ASSERT_GE(CXoObjStore::Save(domain, false, session.GetSessionID()), 0);
  }
  if (std::string(mode) == "killed") KillThisProcess();  // no logout, no close
  session.Logout();
  CXoObjStore::Release();
}

// Another process writes while this one does, and waits for it; what a
// writer that is killed had saved stays.
TEST_F(StoreTest, ProcessesShareOneStoreFileAndWaitForEachOther) {
  auto writer = StartWriter("child");
  for (int i = 0; i < 25; ++i) store_->Domain("parent-" + std::to_string(i));
  const ProcessOutcome written = writer->Wait();
  EXPECT_EQ(written.exit, 0) << written.out << written.err;
  const ProcessOutcome killed = StartWriter("killed")->Wait();
  EXPECT_TRUE(killed.killed) << killed.exit << killed.out << killed.err;
  EXPECT_EQ(
      QueryStoreFile(path_,
                     "SELECT count(*), count(CASE WHEN name = 'killed-2' THEN 1 END) FROM domain"),
      std::vector<std::string>{"53|1"});
  EXPECT_EQ(store_->Domain("after").GetOidClass(), XoObjId_Domain);
}

struct Script {
  std::string name;
  std::vector<std::string> steps;
};
void PrintTo(const Script& script, std::ostream* out) { *out << script.name; }

// The cases of store-scripts.txt (which says how they are written).
std::vector<Script> Scripts() {
  std::ifstream in(TestDataPath("store/store-scripts.txt"));
  std::vector<Script> cases;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("== ")) cases.push_back({line.substr(3), {}});
    if (!cases.empty() && !line.empty() && !line.starts_with("#") && !line.starts_with("== ")) {
      cases.back().steps.push_back(line);
    }
  }
  if (cases.empty()) cases.push_back({"ScriptsFileIsMissing", {"missing => the scripts"}});
  return cases;
}

class StoreScriptTest : public StoreTest, public ::testing::WithParamInterface<Script> {
 protected:
  static std::string Text(const std::string& value) {  // "x*5" is "xxxxx"
    return value.find('*') == 1 ? std::string(std::stoul(value.substr(2)), value[0]) : value;
  }
  // A new identifier of the named class.
  static CXoObjId NewId(const std::string& className) {
    for (const CXoObjDictProp* dict : CXoObjDictProp::All()) {
      if (className == dict->ClassName()) return CXoObjId::NewOid(dict->Class());
    }
    return NullObjectId;
  }
  CXoObjId Id(const std::string& name) {
    if (name == "@garbage") return CXoObjId(std::string("not an id"));
    return name.starts_with("@missing-") ? NewId(name.substr(9)) : names_.at(Text(name));
  }
  // Sets "Prop=value", read as the property's type wants it.
  void Set(CXoObjBase& object, const std::string& set) {
    const std::string value = set.substr(set.find('=') + 1);
    const uint32_t prop = object.Dict().FindByName(set.substr(0, set.find('=')));
    const XoPropType type = object.Dict().Props()[prop].type;
    CXoObjIdArray ids;
    std::istringstream names(type == XoPropType::IdList ? value : "");
    for (std::string name; std::getline(names, name, ',');) ids.push_back(Id(name));
    if (type == XoPropType::Text) object.Set(prop, Text(value));
    if (type == XoPropType::Int) object.Set(prop, int32_t{std::stoi(value)});
    if (type == XoPropType::Id) object.Set(prop, Id(value));
    if (type == XoPropType::IdList) object.Set(prop, ids);
  }
  // A value as text, its identifiers by name.
  std::string Rendered(const XoPropValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    const auto* id = std::get_if<CXoObjId>(&value);
    std::string rendered;
    for (const CXoObjId& each : id ? CXoObjIdArray{*id} : std::get<CXoObjIdArray>(value)) {
      std::string name = each.GetOidString();
      for (const auto& [known, knownId] : names_) name = knownId == each ? known : name;
      rendered += (rendered.empty() ? "" : ",") + name;
    }
    return rendered;
  }

  // A text with each word "A..B" written out for every number from A to B.
  static std::string Expanded(const std::string& text) {
    std::string expanded;
    std::istringstream split(text);
    for (std::string word; split >> word;) {
      const size_t dots = word.find("..");
      const size_t end = word.find_first_not_of("0123456789", dots + 2);
      const std::string rest =
          dots == std::string::npos || end == std::string::npos ? "" : word.substr(end);
      for (int i = dots == std::string::npos ? 0 : std::stoi(word);
           i <= (dots == std::string::npos ? 0 : std::stoi(word.substr(dots + 2))); ++i) {
        expanded += (expanded.empty() ? "" : " ") +
                    (dots == std::string::npos ? word : std::to_string(i) + rest);
      }
    }
    return expanded;
  }

  // What a step renders: "ok", a value, or "!" and why the store refused.
  std::string Run(std::string call) {
    if (call.starts_with("other ")) {  // a step in another session
      if (!other_) other_.emplace("root", "secret");
      sid_ = other_->Sid();
      call = call.substr(6);
    }
    std::vector<std::string> words;
    std::istringstream split(Expanded(call));
    for (std::string word; split >> word;) words.push_back(word);
    const std::string& op = words[0];
    const std::string name = words.size() > 1 ? words[1] : "";
    const bool saves = op == "new" || op == "replace" || op == "resave" || op == "update";
    std::unique_ptr<CXoObjBase> object;
    const bool listing = op == "add" || op == "drop" || op == "names";
    if (saves || op == "put" || op == "get" || listing) {
      object.reset(
          CXoObjDictProp::MakeObject(op == "new" || op == "replace" ? NewId(name) : Id(name)));
    }
    if (op == "resave" || op == "update") {
      EXPECT_GE(CXoObjStore::Fetch(*object, 0, nullptr, sid_), 0);
    }
    for (size_t i = 2; i < words.size() && (saves || op == "put"); ++i) Set(*object, words[i]);
    int32_t result = kOk;
    std::string rendered;
    if (saves) {
      result = CXoObjStore::Save(*object, op == "replace" || op == "update", sid_);
      const std::string label = object->Dict().NameProp() ? object->GetName() : name;
      if (op == "replace" && !(names_[label] == object->GetOid())) rendered = " as new";
      if (result >= 0) names_[label] = object->GetOid();
    }
    const uint32_t prop =
        object ? object->Dict().FindByName(words.back().substr(0, words.back().find('='))) : 0;
    XoPropValue value;
    if (op == "put") result = CXoObjStore::SaveProperty(Id(name), prop, object->Get(prop), sid_);
    if (op == "get") result = CXoObjStore::FetchProperty(*object, prop, &value, sid_);
    const auto change = op == "add" ? CXoObjStore::AddListMember : CXoObjStore::RemoveListMember;
    const std::string member = words.back().substr(words.back().find('=') + 1);
    if (op == "add" || op == "drop") result = change(Id(name), prop, Id(member), sid_);
    CXoObjIdArray listed;
    std::vector<std::string> listedNames;
    if (op == "names") {
      result = CXoObjStore::FetchListNames(*object, prop, listed, listedNames, sid_);
      for (const std::string& each : listedNames) rendered += (rendered.empty() ? "" : ",") + each;
    }
    CXoObjIdArray hits;
    if (op == "search") result = CXoObjStore::Search(CXoObjDomain(), hits, 1, Text(name), sid_);
    if (op == "delete") result = CXoObjStore::Delete(Id(name), sid_);
    if (op == "begin") result = CXoObjStore::BeginTransaction(sid_);
    if (op == "commit") result = CXoObjStore::CommitTransaction(sid_);
    if (op == "rollback") result = CXoObjStore::RollbackTransaction(sid_);
    CXoObjIdArray ids;
    for (size_t i = 1; i < words.size() && (op == "announce" || op == "fetch"); ++i) {
      ids.push_back(Id(words[i]));
    }
    if (op == "announce") CXoObjStore::ExpectFetches(ids, sid_);
    if (op == "snapshot") CXoObjStore::BeginReadSnapshot(sid_);
    if (op == "endsnapshot") CXoObjStore::EndReadSnapshot(sid_);
    for (const CXoObjId& id : op == "fetch" ? ids : CXoObjIdArray()) {  // name@realm, or gone
      std::unique_ptr<CXoObjBase> fetched(CXoObjDictProp::MakeObject(id));
      const int32_t found = CXoObjStore::Fetch(*fetched, 0, nullptr, sid_);
      const int32_t realm = fetched->Dict().FindByName("Realm");
      rendered += rendered.empty() ? "" : " ";
      rendered += found == kNotFound ? "gone" : fetched->GetName();
      rendered += found >= 0 && realm > 0 ? "@" + Rendered(fetched->Get(realm)) : "";
    }
    std::string message;
    if (op == "login") {
      result = CXoAdmSession(name, words[2], "", "", "", true).Login(message, false);
    }
    if (result < 0) return "!" + std::string(Describe(result));
    if (op == "get") return Rendered(value);
    for (size_t i = 1; op == "exist" && i < words.size(); ++i) {
      rendered += store_->Exists(Id(words[i])) ? "1" : "0";
    }
    for (const std::string& row :
         op == "sql" ? QueryStoreFile(path_, call.substr(4)) : std::vector<std::string>()) {
      rendered += row;
    }
    std::vector<AuditEntry> audit;
    EXPECT_GE(op == "audit" ? CurrentBackend()->ReadAudit(0, audit) : kOk, 0);
    for (size_t i = audited_; i < audit.size(); ++i) {
      rendered += (rendered.empty() ? "" : ", ") + audit[i].admin + " " + audit[i].operation + " " +
                  CXoObjDictProp::ForClass(audit[i].objectClass)->ClassName() + " " + audit[i].name;
    }
    if (op == "audit") audited_ = audit.size();
    return op == "exist" || op == "audit" || op == "sql" || op == "fetch" || op == "names"
               ? rendered
               : "ok" + rendered;
  }

  std::map<std::string, CXoObjId> names_ = {{"@null", NullObjectId},
                                            {"@root", RootObjectId},
                                            {"@basic", WellKnownObjectId13},
                                            {"@http", WellKnownObjectId16A}};
  size_t audited_ = 0;
  std::optional<DirectStore> other_;
  std::string sid_;
};

// Each step, and a failed one leaves the store file as it was.
TEST_P(StoreScriptTest, Script) {
  sid_ = Sid();
  Run("audit");
  for (const std::string& step : GetParam().steps) {
    const size_t arrow = std::min(step.find(" =>"), step.size());
    const std::string expected =
        arrow == step.size() ? "ok" : Text(Expanded(step.substr(std::min(arrow + 4, step.size()))));
    const std::string before = SnapshotStoreFile(path_);
    sid_ = Sid();
    std::string gives = Run(step.substr(0, arrow));
    // "each A..B STEP" runs STEP for each number, written where STEP has "#".
    const bool each = step.starts_with("each ");
    const std::string repeated = step.substr(step.find(' ', 5) + 1);
    const size_t mark = repeated.find('#');
    for (int i = each ? std::stoi(step.substr(5)) : 0;
         each && gives == "ok" && i <= std::stoi(step.substr(step.find("..") + 2)); ++i) {
      gives = Run(repeated.substr(0, mark) + std::to_string(i) + repeated.substr(mark + 1));
    }
    if (expected.starts_with("!")) {
      EXPECT_TRUE(gives.starts_with("!") && gives.find(expected.substr(1)) != std::string::npos)
          << step << " gives " << gives;
    } else {
      EXPECT_EQ(gives, expected) << step;
    }
    EXPECT_TRUE(!gives.starts_with("!") || SnapshotStoreFile(path_) == before) << step;
  }
}

INSTANTIATE_TEST_SUITE_P(Changes, StoreScriptTest, ::testing::ValuesIn(Scripts()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace xo::test
