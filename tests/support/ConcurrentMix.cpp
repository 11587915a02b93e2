#include "support/ConcurrentMix.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "StoreBackend.h"
#include "XoPolicyApi.h"
#include "support/Environment.h"
#include "support/Process.h"

namespace xo::test {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(MixOutcome, calls, acknowledged, busy, unexpected, lists,
                                   seconds)

namespace {

constexpr const char* kAdmin = "root";
constexpr const char* kPassword = "root-pw";
constexpr int32_t kBusy = -107;

template <size_t N>
void Put(char (&field)[N], const std::string& text) {
  std::strncpy(field, text.c_str(), N - 1);
  field[N - 1] = '\0';
}

std::string Worker(int process, int thread, int i) {
  return std::to_string(process) + "-" + std::to_string(thread) + "-" + std::to_string(i);
}

void Require(int32_t rc, const std::string& what) {
  if (rc != XO_OK) throw std::runtime_error(what + " failed with " + std::to_string(rc));
}

PolicyApiSession* LogIn() {
  PolicyApiSession* handle = nullptr;
  Require(Xo_PolicyApi_Login(&handle, nullptr, kAdmin, kPassword, "mix", "", 0), "login");
  return handle;
}

std::vector<std::string> TakeNames(char** names) {
  std::vector<std::string> list;
  for (char** name = names; name && *name; ++name) list.emplace_back(*name);
  if (names) Xo_PolicyApi_FreeStringArray(names);
  return list;
}

// One thread's calls. Each worker adds members of its own to every list,
// then takes every third one out again, so the lists end as a known set
// whatever the interleaving.
class MixWorker {
 public:
  MixWorker(int process, int thread, const MixPlan& plan)
      : process_(process), thread_(thread), plan_(plan) {}

  MixOutcome Run() {
    PolicyApiSession* h = LogIn();
    const auto started = std::chrono::steady_clock::now();
    for (int i = 0; i < plan_.membersPerWorker; ++i) {
      const std::string agent = "agent-" + Worker(process_, thread_, i);
      const std::string admin = "admin-" + Worker(process_, thread_, i);
      const std::string directory = "dir-" + Worker(process_, thread_, i);
      const std::string rule = "rule-" + Worker(process_, thread_, i);
      const bool dropLater = i % 3 == 1;
      Change("AddToGroup " + agent, out_.lists["group"], agent, true,
             Xo_PolicyApi_AddToGroup(h, XO_GROUP_AGENT, MixNames::kGroup, agent.c_str(), "", ""));
      Change("AddAdminToDomain " + admin, out_.lists["admin"], admin, true,
             Xo_PolicyApi_AddAdminToDomain(h, admin.c_str(), MixNames::kDomain));
      Change("AddUserDirToDomain " + directory, out_.lists["directory"], directory, true,
             Xo_PolicyApi_AddUserDirToDomain(h, directory.c_str(), MixNames::kDomain));
      RuleRecord record{};
      Put(record.name, rule);
      Put(record.realmName, MixNames::kRealm);
      Change("AddRule " + rule, out_.lists["rule"], rule, true,
             Xo_PolicyApi_AddRule(h, MixNames::kDomain, &record, 0));
      if (!dropLater) continue;
      if (out_.lists["group"].count(agent)) {
        Change("RemoveFromGroup " + agent, out_.lists["group"], agent, false,
               Xo_PolicyApi_RemoveFromGroup(h, XO_GROUP_AGENT, MixNames::kGroup, agent.c_str(), "",
                                            ""));
      }
      if (out_.lists["admin"].count(admin)) {
        Change("RemoveAdminFromDomain " + admin, out_.lists["admin"], admin, false,
               Xo_PolicyApi_RemoveAdminFromDomain(h, admin.c_str(), MixNames::kDomain));
      }
      if (out_.lists["directory"].count(directory)) {
        Change("RemoveUserDirFromDomain " + directory, out_.lists["directory"], directory, false,
               Xo_PolicyApi_RemoveUserDirFromDomain(h, directory.c_str(), MixNames::kDomain));
      }
    }
    out_.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    Xo_PolicyApi_Logout(h);
    return out_;
  }

 private:
  void Change(const std::string& call, std::set<std::string>& list, const std::string& member,
              bool adds, int32_t rc) {
    ++out_.calls;
    if (rc == XO_OK) {
      ++out_.acknowledged;
      if (adds) {
        list.insert(member);
      } else {
        list.erase(member);
      }
    } else if (rc == kBusy) {
      ++out_.busy;
    } else {
      out_.unexpected.push_back(call + " -> " + std::to_string(rc));
    }
  }

  int process_;
  int thread_;
  const MixPlan& plan_;
  MixOutcome out_;
};

MixOutcome RunThreads(int process, const MixPlan& plan) {
  std::vector<MixOutcome> outcomes(static_cast<size_t>(plan.threads));
  std::vector<std::thread> threads;
  for (int t = 0; t < plan.threads; ++t) {
    threads.emplace_back([&, t] {
      MixOutcome& outcome = outcomes[static_cast<size_t>(t)];
      try {
        outcome = MixWorker(process, t, plan).Run();
      } catch (const std::exception& e) {
        outcome.unexpected.push_back(e.what());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  MixOutcome all;
  for (const MixOutcome& outcome : outcomes) all.Add(outcome);
  return all;
}

// A child's outcome crosses to the parent as a JSON file.
void WriteOutcome(const std::string& file, const MixOutcome& outcome) {
  std::ofstream(file) << nlohmann::json(outcome);
}

MixOutcome ReadOutcome(const std::string& file) {
  std::ifstream in(file);
  if (!in) throw std::runtime_error("no outcome in " + file);
  return nlohmann::json::parse(in).get<MixOutcome>();
}

// Names listed once each; a name listed twice is reported as unexpected.
std::set<std::string> Distinct(const std::vector<std::string>& names, const char* list,
                               MixOutcome& out) {
  std::set<std::string> distinct;
  for (const std::string& name : names) {
    if (!distinct.insert(name).second)
      out.unexpected.push_back(std::string(list) + " lists " + name + " twice");
  }
  return distinct;
}

}  // namespace

void MixOutcome::Add(const MixOutcome& other) {
  calls += other.calls;
  acknowledged += other.acknowledged;
  busy += other.busy;
  seconds = std::max(seconds, other.seconds);
  unexpected.insert(unexpected.end(), other.unexpected.begin(), other.unexpected.end());
  for (const auto& [list, names] : other.lists) lists[list].insert(names.begin(), names.end());
}

void PrepareMixStore(const std::string& path, const MixPlan& plan) {
  std::string message;
  if (store::Failed(store::CreateStore(store::ResolveLocation(path), {kAdmin, kPassword, "minimum"},
                                       message))) {
    throw std::runtime_error(message);
  }
  SetEnvironment("XO_POLICY_STORE", path);
  PolicyApiSession* h = LogIn();
  DomainRecord domain{};
  Put(domain.name, MixNames::kDomain);
  Require(Xo_PolicyApi_AddDomain(h, &domain, 0), "AddDomain");
  AgentRecord gateway{};
  Put(gateway.name, "gateway");
  Put(gateway.agentTypeName, "HTTP Agent");
  Require(Xo_PolicyApi_AddAgent(h, &gateway, 0), "AddAgent");
  RealmRecord realm{};
  Put(realm.name, MixNames::kRealm);
  Put(realm.agentName, "gateway");
  Put(realm.schemeName, "Basic");
  Require(Xo_PolicyApi_AddRealm(h, MixNames::kDomain, &realm, 0), "AddRealm");
  GroupRecord group{};
  Put(group.name, MixNames::kGroup);
  Put(group.vendorName, "HTTP Agent");
  Require(Xo_PolicyApi_AddGroup(h, XO_GROUP_AGENT, "", &group, 0), "AddGroup");
  for (int p = 0; p < plan.processes; ++p) {
    for (int t = 0; t < plan.threads; ++t) {
      for (int i = 0; i < plan.membersPerWorker; ++i) {
        AgentRecord agent{};
        Put(agent.name, "agent-" + Worker(p, t, i));
        Put(agent.agentTypeName, "HTTP Agent");
        Require(Xo_PolicyApi_AddAgent(h, &agent, 0), "AddAgent");
        AdminRecord admin{};
        Put(admin.name, "admin-" + Worker(p, t, i));
        Put(admin.adminText, "pw");
        admin.adminFlags = XO_ADMIN_DOMAIN;
        Require(Xo_PolicyApi_AddAdmin(h, &admin, 0), "AddAdmin");
        UserDirRecord directory{};
        Put(directory.name, "dir-" + Worker(p, t, i));
        Put(directory.directoryType, "LDAP:");
        Require(Xo_PolicyApi_CreateUserDir(h, &directory, 0), "CreateUserDir");
      }
    }
  }
  Xo_PolicyApi_Logout(h);
}

// A worker process of RunMix: this test program run again, with
// XO_MIX_WORKER giving "process processes threads members outcome-file".
TEST(MixWorker, Run) {
  const char* job = std::getenv("XO_MIX_WORKER");
  if (!job) GTEST_SKIP() << "runs only as a worker process of a concurrent mix";
  std::istringstream in(job);
  int process = 0;
  MixPlan plan;
  std::string file;
  in >> process >> plan.processes >> plan.threads >> plan.membersPerWorker;
  std::getline(in >> std::ws, file);
  WriteOutcome(file, RunThreads(process, plan));
}

MixOutcome RunMix(const std::string& path, const MixPlan& plan) {
  const std::string scratch = MakeScratchDirectory();
  SetEnvironment("XO_POLICY_STORE", path);
  std::vector<std::unique_ptr<ChildProcess>> children;
  for (int p = 0; p < plan.processes; ++p) {
    const std::string job = std::to_string(p) + " " + std::to_string(plan.processes) + " " +
                            std::to_string(plan.threads) + " " +
                            std::to_string(plan.membersPerWorker) + " " + scratch + "/" +
                            std::to_string(p);
    children.push_back(std::make_unique<ChildProcess>(
        ThisProgram(), std::vector<std::string>{"--gtest_filter=MixWorker.Run"},
        EnvChanges{{"XO_MIX_WORKER", job}}));
  }
  MixOutcome all;
  bool failed = false;
  for (size_t p = 0; p < children.size(); ++p) {
    if (children[p]->Wait().exit != 0) {
      failed = true;
      continue;
    }
    all.Add(ReadOutcome(scratch + "/" + std::to_string(p)));
  }
  RemoveDirectory(scratch);
  if (failed) throw std::runtime_error("a worker process failed");
  return all;
}

MixOutcome ReadMixStore(const std::string& path) {
  SetEnvironment("XO_POLICY_STORE", path);
  PolicyApiSession* h = LogIn();
  MixOutcome out;
  char** names = nullptr;
  const auto read = [&](const char* what, int32_t rc) {
    std::vector<std::string> list = TakeNames(names);
    names = nullptr;
    Require(rc, what);
    return Distinct(list, what, out);
  };
  out.lists["group"] = read(
      "the group", Xo_PolicyApi_GetGroupNames(h, XO_GROUP_AGENT, MixNames::kGroup, "", &names));
  out.lists["admin"] = read(
      "the administrators",
      Xo_PolicyApi_GetDomainObjectNames(h, MixNames::kDomain, XO_DOMAIN_ADMINISTRATORS, &names));
  out.lists["directory"] =
      read("the search order", Xo_PolicyApi_GetUserDirSearchOrder(h, MixNames::kDomain, &names));
  out.lists["rule"] = read("the rules", Xo_PolicyApi_GetDomainObjectNames(h, MixNames::kDomain,
                                                                          XO_DOMAIN_RULES, &names));
  Xo_PolicyApi_Logout(h);
  return out;
}

}  // namespace xo::test
