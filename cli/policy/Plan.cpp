#include "cli/policy/Plan.h"

#include <algorithm>
#include <functional>
#include <map>

#include "XoPolicyApi.h"
#include "cli/CommandGroups.h"
#include "store/XoAdmSession.h"

namespace xo::cli::policy {
namespace {

const FieldSpec& FieldOf(const Kind& kind, const std::string& key) {
  for (const FieldSpec& field : kind.fields) {
    if (key == field.key) return field;
  }
  throw std::logic_error("no field " + key);
}

bool IsSet(const FieldSpec& field) {
  return field.type == FieldType::NameSet || field.type == FieldType::ObjectSet;
}

bool IsKind(const Kind& kind, const char* collection) {
  return kind.collection == std::string(collection);
}

// A file may give a password as text or as a stored hash; text is checked
// against the stored hash, so that applying the same file twice changes nothing.
bool SamePassword(const Json& stored, const Json& given) {
  const std::string& hash = stored.get_ref<const std::string&>();
  const std::string& text = given.get_ref<const std::string&>();
  if (store::IsPasswordHash(text) || text.empty()) return hash == text;
  return store::VerifyPassword(hash, text);
}

std::vector<FieldChange> Differences(const Kind& kind, const Json& before, const Json& given) {
  std::vector<FieldChange> changes;
  for (const auto& item : given.items()) {
    const Json& old = before.contains(item.key()) ? before[item.key()] : Json("");
    bool same = item.key() == std::string("password") && IsKind(kind, "administrators")
                    ? SamePassword(old, item.value())
                    : old == item.value();
    if (!same) changes.push_back({item.key(), old, item.value()});
  }
  return changes;
}

Json Overlaid(const Json& before, const Json& given) {
  Json after = before;
  for (const auto& item : given.items()) after[item.key()] = item.value();
  return after;
}

// Realms in an order where each parent comes before its children.
std::vector<Change> ParentsFirst(std::vector<Change> realms) {
  std::map<std::string, size_t> index;
  for (size_t i = 0; i < realms.size(); ++i) index[realms[i].Name()] = i;
  std::vector<Change> ordered;
  std::vector<int> state(realms.size(), 0);  // 0 new, 1 on the path, 2 placed
  std::function<void(size_t)> place = [&](size_t i) {
    if (state[i] != 0) return;  // placed, or a loop that the store refuses
    state[i] = 1;
    const Json& object = realms[i].after.is_null() ? realms[i].before : realms[i].after;
    auto parent = index.find(realms[i].domain + "/" + object["parent"].get<std::string>());
    if (parent != index.end()) place(parent->second);
    state[i] = 2;
    ordered.push_back(realms[i]);
  };
  for (size_t i = 0; i < realms.size(); ++i) place(i);
  return ordered;
}

void RequirePassword(const Kind& kind, const Json& object) {
  if (!IsKind(kind, "administrators")) return;
  bool directoryBound = object.contains("userDirectory") && object["userDirectory"] != "";
  // "password": "" is said on purpose: an administrator who has none.
  if (!directoryBound && !object.contains("password")) {
    throw CommandError("administrator \"" + KeyOf(kind, object) +
                       "\" is not in the store yet: give it a \"password\" (a text, or the hash "
                       "that `export --include-secrets` writes), a \"userDirectory\" "
                       "and \"scheme\" to log in through, or leave it out of the file");
  }
}

std::string Shown(const Json& value) { return value.dump(); }

// How a changed field is told: sets by what joins and leaves them.
std::string FieldText(const PlannedChange& change, const FieldChange& field) {
  if (field.field == "password" || field.field == "bindPassword") {
    return field.field + ": (hidden) -> (hidden)";
  }
  const FieldSpec& shape = FieldOf(*change.kind, field.field);
  if (!IsSet(shape)) return field.field + ": " + Shown(field.before) + " -> " + Shown(field.after);
  std::string text = field.field + ":";
  for (const Json& item : field.after) {
    if (std::find(field.before.begin(), field.before.end(), item) == field.before.end()) {
      text += " +" + Shown(item);
    }
  }
  for (const Json& item : field.before) {
    if (std::find(field.after.begin(), field.after.end(), item) == field.after.end()) {
      text += " -" + Shown(item);
    }
  }
  return text;
}

}  // namespace

void Planner::Collection(const Kind& kind, const std::string& domain, const Json& stored,
                         const Json& given, std::vector<PlannedChange>& deletions) {
  std::map<std::vector<std::string>, const Json*> byKey;
  for (const Json& object : stored) byKey[KeyParts(kind, object)] = &object;
  std::vector<Change> changes;
  const auto add = [&](Change change) {
    if (IsKind(kind, "realms")) {
      changes.push_back(std::move(change));
    } else {
      plan_.changes.push_back(PlannedChange::Packed(change));
    }
  };
  for (const Json& object : given) {
    auto found = byKey.find(KeyParts(kind, object));
    if (found == byKey.end()) {
      RequirePassword(kind, object);
      add({ChangeKind::Create, &kind, domain, nullptr, WithDefaults(kind, object), {}});
      continue;
    }
    const Json& before = *found->second;
    std::vector<FieldChange> fields = Differences(kind, before, object);
    if (!fields.empty()) {
      Change change{ChangeKind::Update, &kind, domain, before, Overlaid(before, object),
                    std::move(fields)};
      KeepRunningAdminsRight(change);
      add(std::move(change));
    }
    byKey.erase(found);
  }
  for (Change& change : ParentsFirst(std::move(changes))) {
    plan_.changes.push_back(PlannedChange::Packed(change));
  }
  if (!options_.prune) return;

  std::vector<Change> removed;
  for (const auto& [key, object] : byKey) {
    if (Kept(kind, *object)) continue;
    removed.push_back({ChangeKind::Delete, &kind, domain, *object, nullptr, {}});
  }
  if (IsKind(kind, "realms")) {
    removed = ParentsFirst(std::move(removed));
    std::reverse(removed.begin(), removed.end());
  }
  for (const Change& change : removed) deletions.push_back(PlannedChange::Packed(change));
}

bool Planner::Kept(const Kind& kind, const Json& object) const {
  if (IsKind(kind, "administrators") && object["name"] == options_.runningAdmin) return true;
  return options_.keep.count(std::string(kind.collection) + "/" + KeyOf(kind, object)) > 0;
}

// Every later change is made with the rights of the administrator applying
// the file, so the file may not take the system right away from them.
void Planner::KeepRunningAdminsRight(const Change& change) const {
  if (!IsKind(*change.kind, "administrators") || change.after["name"] != options_.runningAdmin) {
    return;
  }
  const bool had = (change.before["flags"].get<int32_t>() & XO_ADMIN_SYSTEM) != 0;
  const bool keeps = (change.after["flags"].get<int32_t>() & XO_ADMIN_SYSTEM) != 0;
  if (had && !keeps) {
    throw CommandError("the file takes the system right from administrator \"" +
                       options_.runningAdmin +
                       "\", who is applying it: apply it as another system administrator");
  }
}

PlannedChange PlannedChange::Packed(const Change& change) {
  const auto pack = [](const Json& object) {
    return object.is_null() ? std::vector<std::uint8_t>() : Json::to_cbor(object);
  };
  return {change.what,         change.kind,        change.domain,
          pack(change.before), pack(change.after), change.fields};
}

Change PlannedChange::Unpacked() const {
  const auto unpack = [](const std::vector<std::uint8_t>& packed) {
    return packed.empty() ? Json() : Json::from_cbor(packed);
  };
  return {what, kind, domain, unpack(before), unpack(after), fields};
}

std::string Change::Name() const {
  const Json& object = after.is_null() ? before : after;
  std::string key = KeyOf(*kind, object);
  return domain.empty() ? key : domain + "/" + key;
}

bool Change::Changes(const char* field) const {
  if (what == ChangeKind::Create) return true;
  return std::any_of(fields.begin(), fields.end(),
                     [&](const FieldChange& f) { return f.field == field; });
}

size_t Plan::Count(ChangeKind what) const {
  return std::count_if(changes.begin(), changes.end(),
                       [&](const PlannedChange& change) { return change.what == what; });
}

void PrintPlan(std::ostream& out, const Plan& plan) {
  if (plan.changes.empty()) {
    out << "no changes\n";
    return;
  }
  for (const PlannedChange& change : plan.changes) {
    std::string label = change.kind->label;
    switch (change.what) {
      case ChangeKind::Create:
        out << "+ " << label << ' ' << change.Name() << '\n';
        break;
      case ChangeKind::Delete:
        out << "- " << label << ' ' << change.Name() << '\n';
        break;
      case ChangeKind::Update: {
        out << "~ " << label << ' ' << change.Name() << " (";
        for (size_t i = 0; i < change.fields.size(); ++i) {
          out << (i ? ", " : "") << FieldText(change, change.fields[i]);
        }
        out << ")\n";
        break;
      }
    }
  }
  out << "Plan: " << plan.Count(ChangeKind::Create) << " to create, "
      << plan.Count(ChangeKind::Update) << " to change, " << plan.Count(ChangeKind::Delete)
      << " to delete.\n";
}

}  // namespace xo::cli::policy
