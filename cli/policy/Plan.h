// What `xopolicy apply` changes: the difference between the store's document
// and the file's, as an ordered list of changes.
#pragma once

#include <cstdint>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "cli/Connection.h"
#include "cli/policy/Document.h"

namespace xo::cli::policy {

enum class ChangeKind { Create, Update, Delete };

struct FieldChange {
  std::string field;
  Json before;
  Json after;
};

struct Change {
  ChangeKind what;
  const Kind* kind;
  std::string domain;               // the owning domain of domain objects
  Json before;                      // the stored object (updates and deletions)
  Json after;                       // the object as it is to be, every field given
  std::vector<FieldChange> fields;  // what an update changes

  // "portal/read-pages" for a rule, prefixed with its domain: "Intranet/portal".
  std::string Name() const;
  bool Changes(const char* field) const;
};

struct PlanOptions {
  bool prune = false;
  // "collection/name" of objects never deleted: the objects every store is
  // made with.
  std::set<std::string> keep;
  // The administrator applying the file: never deleted, and never left
  // without the system right that the apply itself needs.
  std::string runningAdmin;
};

// A change as a plan keeps it until it is carried out: its objects packed
// (CBOR), so that a plan of many objects costs about what their text does.
struct PlannedChange {
  ChangeKind what;
  const Kind* kind;
  std::string domain;
  std::vector<std::uint8_t> before;
  std::vector<std::uint8_t> after;
  std::vector<FieldChange> fields;

  static PlannedChange Packed(const Change& change);
  Change Unpacked() const;
  std::string Name() const { return Unpacked().Name(); }
};

struct Plan {
  // Creations and updates, what is referred to before what refers to it,
  // then deletions, in the reverse order.
  std::vector<PlannedChange> changes;
  size_t Count(ChangeKind what) const;
};

// Makes a plan a collection at a time, so that only the collections being
// compared need to be held whole.
class Planner {
 public:
  explicit Planner(const PlanOptions& options) : options_(options) {}

  // Adds the creations and updates of one collection, `stored` against
  // `given`; adds its deletions to `deletions`. Throws CommandError where the
  // file cannot be carried out as it stands (a new administrator without a
  // password).
  void Collection(const Kind& kind, const std::string& domain, const Json& stored,
                  const Json& given, std::vector<PlannedChange>& deletions);

  std::vector<PlannedChange>& Changes() { return plan_.changes; }
  Plan Take() { return std::move(plan_); }

 private:
  bool Kept(const Kind& kind, const Json& object) const;
  void KeepRunningAdminsRight(const Change& change) const;

  const PlanOptions& options_;
  Plan plan_;
};

// The store is read a domain at a time.
// The plan that makes the store, as `connection` sees it, match `desired`,
// which it empties as it goes.
Plan MakePlan(const Connection& connection, Document& desired, PlanOptions options);

// One line per change ("+ rule Intranet/portal/read-pages", "~ realm
// Intranet/portal (description: "a" -> "b")", "- agent old-gateway"), then a
// summary; "no changes" for an empty plan.
void PrintPlan(std::ostream& out, const Plan& plan);

}  // namespace xo::cli::policy
