// Domains: their own record, the user directories they search in order, and
// the administrators who manage them. What a domain holds is read and
// written by the kinds that live in it.
#include "cli/Records.h"
#include "cli/policy/Kinds.h"
#include "cli/policy/Reading.h"
#include "cli/policy/Sync.h"
#include "cli/policy/Writing.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;

Json Read(Reader& reader) {
  return ObjectsByName<DomainRecord>(
      {reader.Domain()}, "domain", "",
      [&](const std::string& name, DomainRecord** out) {
        return Xo_PolicyApi_GetDomain(reader.Handle(), name.c_str(), out);
      },
      [&](const DomainRecord& r) -> Json {
        char** order = nullptr;
        int32_t rc =
            Xo_PolicyApi_GetUserDirSearchOrder(reader.Handle(), reader.Domain().c_str(), &order);
        std::vector<std::string> directories = TakeNames(order);
        Check(rc, "cannot read the user directories" + reader.Where());
        return {{"name", FieldText(r.name)},
                {"description", FieldText(r.description)},
                {"userDirectories", directories},
                {"administrators",
                 reader.DomainObjectNames(XO_DOMAIN_ADMINISTRATORS, "administrators")}};
      });
}

// A domain's list of system-wide objects (user directories or
// administrators), changed by the member's name.
using DomainListCall = int32_t(XO_API_CALL*)(PolicyApiSession*, const char* member,
                                             const char* domain);
void SyncDomainList(Writer& writer, const std::string& domain, const Json& before,
                    const Json& after, DomainListCall remove, DomainListCall add,
                    const std::string& what) {
  const auto change = [&](DomainListCall call, const Json& member) {
    writer.MustFor(call(writer.Handle(), member.get<std::string>().c_str(), domain.c_str()),
                   what + member.dump());
  };
  SyncItems(
      before, after, [&](const Json& gone) { change(remove, gone); },
      [&](const Json& added) { change(add, added); });
}

void Write(Writer& writer, const Change& change) {
  const std::string name = TextOf(change.after, "name");
  if (writer.RecordChanges({"userDirectories", "administrators"})) {
    DomainRecord r{};
    SetField(r.name, name);
    SetField(r.description, TextOf(change.after, "description"));
    writer.Must(Xo_PolicyApi_AddDomain(writer.Handle(), &r, writer.Update()));
  }
  const Json& directories = change.after["userDirectories"];
  SyncDomainList(writer, name, ListOf(change.before, "userDirectories"), directories,
                 Xo_PolicyApi_RemoveUserDirFromDomain, Xo_PolicyApi_AddUserDirToDomain,
                 "user directory ");
  if (change.Changes("userDirectories") && directories.size() > 1) {
    std::vector<std::string> order = directories.get<std::vector<std::string>>();
    std::vector<char*> names;
    for (std::string& directory : order) names.push_back(directory.data());
    names.push_back(nullptr);
    writer.MustFor(Xo_PolicyApi_SetUserDirSearchOrder(writer.Handle(), name.c_str(), names.data()),
                   "user directory search order");
  }
  SyncDomainList(writer, name, ListOf(change.before, "administrators"),
                 change.after["administrators"], Xo_PolicyApi_RemoveAdminFromDomain,
                 Xo_PolicyApi_AddAdminToDomain, "administrator ");
}

void Remove(Writer& writer, const Change& change) {
  writer.Must(Xo_PolicyApi_DeleteDomain(writer.Handle(), TextOf(change.before, "name").c_str()));
}

}  // namespace

const Kind& DomainKind() {
  static const Kind kind{"domains",
                         "domain",
                         1,
                         {{"name", Text},
                          {"description", Text},
                          {"userDirectories", NameList},
                          {"administrators", NameSet}},
                         Read,
                         Write,
                         Remove};
  return kind;
}

}  // namespace xo::cli::policy
