// What `xopolicy apply` changes: the difference between the store's document
// and the file's, as an ordered list of changes.
#pragma once

#include <ostream>
#include <set>
#include <string>
#include <vector>

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

struct Plan {
  // Creations and updates, what is referred to before what refers to it,
  // then deletions, in the reverse order.
  std::vector<Change> changes;
  size_t Count(ChangeKind what) const;
};

// `current` is the store read with password hashes; `desired` is the file.
// Throws CommandError where the file cannot be carried out as it stands (a
// new administrator without a password).
Plan MakePlan(const Json& current, const Json& desired, const PlanOptions& options);

// One line per change ("+ rule Intranet/portal/read-pages", "~ realm
// Intranet/portal (description: "a" -> "b")", "- agent old-gateway"), then a
// summary; "no changes" for an empty plan.
void PrintPlan(std::ostream& out, const Plan& plan);

}  // namespace xo::cli::policy
