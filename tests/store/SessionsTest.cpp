// Sessions, rights, passwords, the audit trail, transactions and sharing
// one store between threads and processes.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "StoreFixture.h"
#include "XoAdmSession.h"
#include "XoStoreCodes.h"

namespace xo::test {
namespace {

using namespace xo::store;

class SessionsTest : public StoreTest {};

TEST_F(SessionsTest, LoginChecksTheStoredHash) {
  CXoAdmSession good("root", "secret", "h", "", "h", true);
  std::string message;
  ASSERT_EQ(good.Login(message, false), 0) << message;
  EXPECT_EQ(good.GetSessionID().size(), 32u);
  EXPECT_EQ(good.GetRemoteAddr(), "h");
  CXoAdmSession other("root", "secret", "h", "", "h", true);
  ASSERT_EQ(other.Login(message, false), 0);
  EXPECT_NE(other.GetSessionID(), good.GetSessionID());
  CXoAdmSession wrong("root", "Secret", "h", "", "h", true);
  EXPECT_EQ(wrong.Login(message, false), kAuthFailed);
  EXPECT_EQ(message, "wrong administrator name or password");
  CXoAdmSession unknown("nobody", "secret", "h", "", "h", true);
  EXPECT_EQ(unknown.Login(message, false), kAuthFailed);
  EXPECT_EQ(message, "wrong administrator name or password");
  EXPECT_EQ(wrong.Logout(), 0);  // never logged in: nothing to end
  EXPECT_EQ(good.Logout(), 0);
  CXoObjIdArray hits;
  EXPECT_EQ(CXoObjStore::Search(CXoObjDomain(), hits, 1, std::string("x"), good.GetSessionID()),
            kNoSession);
}

TEST_F(SessionsTest, PasswordsAreKeptOnlyAsArgon2idHashes) {
  CXoObjId admin = S().Admin("alice", "pa55", 0);
  auto rows = QueryStoreFile(path_, "SELECT admin_text FROM admin WHERE name = 'alice'");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].rfind("$argon2id$", 0), 0u);
  EXPECT_EQ(rows[0].find("pa55"), std::string::npos);
  // Saving back what was read keeps the password.
  CXoObjAdmin back(admin);
  ASSERT_GE(CXoObjStore::Fetch(back, 0, nullptr, Sid()), 0);
  ASSERT_GE(CXoObjStore::Save(back, true, Sid()), 0);
  EXPECT_EQ(QueryStoreFile(path_, "SELECT admin_text FROM admin WHERE name = 'alice'"), rows);
  CXoAdmSession session("alice", "pa55", "", "", "", true);
  std::string message;
  EXPECT_EQ(session.Login(message, false), 0) << message;
  ASSERT_GE(CXoObjStore::SaveProperty(admin, CXoObjAdmin::AdminText, std::string("n3w"), Sid()), 0);
  CXoAdmSession old("alice", "pa55", "", "", "", true);
  EXPECT_EQ(old.Login(message, false), kAuthFailed);
  CXoAdmSession renewed("alice", "n3w", "", "", "", true);
  EXPECT_EQ(renewed.Login(message, false), 0);
}

TEST_F(SessionsTest, RightsFollowTheFlagsAndTheDomainListsAtEveryCall) {
  CXoObjId d1 = S().Domain("d1");
  CXoObjId d2 = S().Domain("d2");
  CXoObjId domainAdmin = S().Admin("dom", "pw", XO_ADMFLAG_DOMAIN);
  S().Admin("none", "pw", 0);
  S().Admin("ops", "pw", XoAdmCommandFlag(8));
  std::string message;
  CXoAdmSession dom("dom", "pw", "", "", "", true), none("none", "pw", "", "", "", true),
      ops("ops", "pw", "", "", "", true), root("root", "secret", "", "", "", true);
  for (CXoAdmSession* s : {&dom, &none, &ops, &root}) ASSERT_EQ(s->Login(message, false), 0);

  EXPECT_TRUE(root.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, RootObjectId));
  EXPECT_TRUE(root.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, NullObjectId));
  EXPECT_TRUE(root.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, d2));
  EXPECT_TRUE(root.GetAdminUser().IsAllowed(XO_RIGHT_COMMAND, 9, RootObjectId));
  EXPECT_FALSE(dom.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, d1));
  ASSERT_GE(CXoObjStore::SaveProperty(d1, CXoObjDomain::Admins, CXoObjIdArray{domainAdmin}, Sid()),
            0);
  EXPECT_TRUE(dom.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, d1));
  EXPECT_FALSE(dom.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, d2));
  EXPECT_FALSE(dom.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, RootObjectId));
  EXPECT_FALSE(dom.GetAdminUser().IsAllowed(XO_RIGHT_COMMAND, 1, RootObjectId));
  EXPECT_FALSE(none.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, d1));
  EXPECT_TRUE(ops.GetAdminUser().IsAllowed(XO_RIGHT_COMMAND, 8, RootObjectId));
  EXPECT_FALSE(ops.GetAdminUser().IsAllowed(XO_RIGHT_COMMAND, 9, RootObjectId));
  EXPECT_FALSE(ops.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, RootObjectId));
  // Taken away, the right is gone at the next call.
  ASSERT_GE(CXoObjStore::SaveProperty(d1, CXoObjDomain::Admins, CXoObjIdArray{}, Sid()), 0);
  EXPECT_FALSE(dom.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, d1));
  ASSERT_GE(
      CXoObjStore::Delete(
          CXoObjId(QueryStoreFile(path_, "SELECT oid FROM admin WHERE name = 'ops'")[0]), Sid()),
      0);
  EXPECT_FALSE(ops.GetAdminUser().IsAllowed(XO_RIGHT_COMMAND, 8, RootObjectId));
}

TEST_F(SessionsTest, EveryChangeIsAuditedAndFailedChangesAreNot) {
  IStoreBackend* backend = CurrentBackend();
  std::vector<AuditEntry> before;
  ASSERT_GE(backend->ReadAudit(0, before), 0);
  CXoObjId domain = S().Domain("d");
  CXoObjDomain duplicate("d", "", {}, {});
  EXPECT_EQ(CXoObjStore::Save(duplicate, false, Sid()), kNameTaken);
  ASSERT_GE(CXoObjStore::SaveProperty(domain, CXoObjDomain::Name, std::string("e"), Sid()), 0);
  ASSERT_GE(CXoObjStore::Delete(domain, Sid()), 0);
  std::vector<AuditEntry> after;
  ASSERT_GE(backend->ReadAudit(0, after), 0);
  ASSERT_EQ(after.size(), before.size() + 3);
  const std::string operations[] = {"create", "update", "delete"};
  const std::string names[] = {"d", "e", "e"};
  for (int i = 0; i < 3; ++i) {
    const AuditEntry& entry = after[before.size() + i];
    EXPECT_EQ(entry.operation, operations[i]);
    EXPECT_EQ(entry.admin, "root");
    EXPECT_EQ(entry.objectClass, XoObjId_Domain);
    EXPECT_EQ(entry.oid, domain.GetOidString());
    EXPECT_EQ(entry.name, names[i]);
  }
}

TEST_F(SessionsTest, ASessionTransactionCommitsOrRollsBackAsAWhole) {
  ASSERT_GE(CXoObjStore::BeginTransaction(Sid()), 0);
  CXoObjId a = S().Domain("a");
  CXoObjDomain duplicate("a", "", {}, {});
  EXPECT_EQ(CXoObjStore::Save(duplicate, false, Sid()), kNameTaken);  // only this step undone
  CXoObjId b = S().Domain("b");
  EXPECT_TRUE(S().Exists(a));
  ASSERT_GE(CXoObjStore::RollbackTransaction(Sid()), 0);
  EXPECT_FALSE(S().Exists(a));
  EXPECT_FALSE(S().Exists(b));
  ASSERT_GE(CXoObjStore::BeginTransaction(Sid()), 0);
  EXPECT_EQ(CXoObjStore::BeginTransaction(Sid()), kTransaction);
  CXoObjId c = S().Domain("c");
  ASSERT_GE(CXoObjStore::CommitTransaction(Sid()), 0);
  EXPECT_TRUE(S().Exists(c));
  EXPECT_EQ(CXoObjStore::CommitTransaction(Sid()), kTransaction);
}

TEST_F(SessionsTest, ThreadsWithTheirOwnSessionsShareTheStore) {
  constexpr int kPerThread = 40;
  auto work = [](int thread, std::vector<int32_t>* results) {
    CXoAdmSession session("root", "secret", "", "", "", true);
    std::string message;
    results->push_back(session.Login(message, false));
    for (int i = 0; i < kPerThread; ++i) {
      CXoObjDomain domain("t" + std::to_string(thread) + "-" + std::to_string(i), "", {}, {});
      results->push_back(CXoObjStore::Save(domain, false, session.GetSessionID()));
    }
    results->push_back(session.Logout());
  };
  std::vector<int32_t> r1, r2;
  std::thread t1(work, 1, &r1), t2(work, 2, &r2);
  t1.join();
  t2.join();
  for (const auto* results : {&r1, &r2}) {
    for (int32_t result : *results) EXPECT_GE(result, 0) << std::hex << result;
  }
  CXoObjRoot root;
  EXPECT_EQ(List(root, CXoObjRoot::Domains).size(), 2u * kPerThread);
}

// Runs this test program again as a separate writer process (the test
// below acts as that writer when XO_WRITER is set).
pid_t StartWriter(const std::string& mode, int count) {
  pid_t child = fork();
  if (child == 0) {
    SetEnvironment("XO_WRITER", mode);
    SetEnvironment("XO_WRITER_COUNT", std::to_string(count));
    execl("/proc/self/exe", "store_tests", "--gtest_filter=WriterProcess.Write", nullptr);
    _exit(127);
  }
  return child;
}

TEST(WriterProcess, Write) {
  const char* mode = getenv("XO_WRITER");
  if (!mode) GTEST_SKIP() << "runs only as the writer of a multi-process test";
  std::string message;
  ASSERT_TRUE(CXoObjStore::Init(message, false, false, false, false, false, false, true));
  CXoAdmSession session("root", "secret", "", "", "", true);
  ASSERT_EQ(session.Login(message, false), 0);
  int count = atoi(getenv("XO_WRITER_COUNT"));
  for (int i = 0; i < count; ++i) {
    CXoObjDomain domain(std::string(mode) + "-" + std::to_string(i), "", {}, {});
    ASSERT_GE(CXoObjStore::Save(domain, false, session.GetSessionID()), 0);
  }
  if (std::string(mode) == "killed") kill(getpid(), SIGKILL);  // no logout, no close
  session.Logout();
  CXoObjStore::Release();
}

TEST_F(SessionsTest, ProcessesShareOneStoreFileAndWaitForEachOther) {
  constexpr int kEach = 25;
  pid_t child = StartWriter("child", kEach);
  ASSERT_GT(child, 0);
  for (int i = 0; i < kEach; ++i) S().Domain("parent-" + std::to_string(i));
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(QueryStoreFile(path_, "SELECT count(*) FROM domain"),
            std::vector<std::string>{std::to_string(2 * kEach)});
}

TEST_F(SessionsTest, AcknowledgedChangesSurviveAKilledWriter) {
  pid_t child = StartWriter("killed", 3);
  ASSERT_GT(child, 0);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));
  CXoObjIdArray hits;
  ASSERT_GE(CXoObjStore::Search(CXoObjDomain(), hits, 1, std::string("killed-2"), Sid()), 0);
  EXPECT_EQ(hits.size(), 1u);
  EXPECT_EQ(S().Domain("after").GetOidClass(), XoObjId_Domain);
}

}  // namespace
}  // namespace xo::test
