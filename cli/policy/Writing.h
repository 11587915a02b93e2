// Carrying out a plan through the library's Add, Delete and membership
// functions. The caller wraps it in one store transaction.
#pragma once

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "XoPolicyApi.h"
#include "cli/Connection.h"
#include "cli/policy/Plan.h"

namespace xo::cli::policy {

// Told after each change: how many are done of how many.
using Progress = std::function<void(size_t done, size_t total)>;

// Throws CommandError naming the change that failed and why.
void ApplyPlan(const Connection& connection, const Plan& plan, const Progress& progress = {});

// What the writers of the kinds share: the session, the change being carried
// out, and the steps that wait until every object exists.
class Writer {
 public:
  explicit Writer(const Connection& connection) : connection_(connection) {}

  PolicyApiSession* Handle() const { return connection_.Handle(); }
  const Connection& Store() const { return connection_; }

  // Carries out one change through its kind.
  void Apply(const Change& change);

  // Stops with "cannot create rule Intranet/portal/x: <why>" unless code is 0.
  void Must(int32_t code) const;
  // The same for one part of the change: "cannot change ... (member ...)".
  void MustFor(int32_t code, const std::string& what) const;
  [[noreturn]] void Refuse(const std::string& part, const std::string& why) const;

  // The library's update flag: 1 when the change updates a stored object.
  uint8_t Update() const;
  // Whether the object's own record changes, not only the lists named.
  bool RecordChanges(std::initializer_list<const char*> lists) const;

  // Group members may be groups made later in the plan: such steps of the
  // current change run once every object exists, before anything is deleted.
  void Later(std::function<void()> step);
  void RunLater();
  // How many steps were ever put off.
  size_t StepsPutOff() const { return stepsPutOff_; }

 private:
  const Connection& connection_;
  const Change* change_ = nullptr;
  std::vector<std::pair<const Change*, std::function<void()>>> later_;
  size_t stepsPutOff_ = 0;
};

}  // namespace xo::cli::policy
