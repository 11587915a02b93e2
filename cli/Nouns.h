// A noun of the tool whose objects are records read and written by name
// (domains, realms, rules, ...): its table of fields and the library calls
// that read, write and delete it give it the verbs add, get, list, update,
// delete and rename. Each noun file fills in a Noun<Record>; verbs of its
// own are added to the command that RegisterNoun returns.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "XoPolicyApi.h"
#include "cli/CommandGroups.h"
#include "cli/Connection.h"
#include "cli/Fields.h"
#include "cli/Output.h"
#include "cli/Records.h"
#include "cli/Scope.h"

namespace xo::cli {

template <class Record>
struct Noun {
  std::string command;  // "realm"
  std::string kind;     // "realm", "user directory": how messages name one object
  std::string help;
  ScopeKind scope = ScopeKind::System;
  std::vector<Field<Record>> fields;  // every field of the record, in record order
  std::vector<std::string> columns;   // titles of the fields that `list` shows people

  // The library's calls. `get` reads every object of a name.
  std::function<int32_t(PolicyApiSession*, const Scope&, const std::string&, Record**)> get;
  std::function<int32_t(PolicyApiSession*, const Scope&, Record&, uint8_t update)> add;
  std::function<int32_t(PolicyApiSession*, const Scope&, const std::string&)> remove;
  // The names of every object of the kind in the scope, for `list`.
  std::function<std::vector<std::string>(Connection&, const Scope&)> names;
  // Instead of names + get: every record of the scope, for `list`.
  std::function<std::vector<Record>(Connection&, const Scope&)> listAll;
  // Puts what the scope says into a new record (a rule's realm).
  std::function<void(const Scope&, Record&)> place;
  // Turns a record as the library reads it into what `add` would take back.
  std::function<void(Connection&, const Scope&, Record&)> tidy;
};

// Steps shared by the verbs of every noun; none of them depends on the record.
namespace nouns {

struct NamedVerb : VerbOptions {
  std::string name;
  std::string newName;
  FieldInputs fields;
};

std::string Describe(const std::string& kind, const std::string& name, const Scope& scope);
// "a domain", "an agent", "an ODBC query scheme", "a user directory".
std::string WithArticle(const std::string& kind);
// The records read by name must be exactly one, for update and rename.
void RequireOne(size_t count, const std::string& kind, const std::string& name, const Scope& scope);
void RequireSome(size_t count, const std::string& kind, const std::string& name,
                 const Scope& scope);
void RequireChanges(const FieldInputs& fields);
Json DoneDetails(const std::string& name, const char* objectId);

}  // namespace nouns

// `get`, `add` and `remove` of a Noun for a kind outside domains, whose
// library calls take no scope.
template <class Record>
void UseSystemCalls(Noun<Record>& noun,
                    int32_t(XO_API_CALL* get)(PolicyApiSession*, const char* name, Record**),
                    int32_t(XO_API_CALL* add)(PolicyApiSession*, Record*, uint8_t update),
                    int32_t(XO_API_CALL* remove)(PolicyApiSession*, const char* name)) {
  noun.get = [get](PolicyApiSession* h, const Scope&, const std::string& name, Record** list) {
    return get(h, name.c_str(), list);
  };
  noun.add = [add](PolicyApiSession* h, const Scope&, Record& record, uint8_t update) {
    return add(h, &record, update);
  };
  noun.remove = [remove](PolicyApiSession* h, const Scope&, const std::string& name) {
    return remove(h, name.c_str());
  };
}

// The same for a kind that lives in the scope's domain: its calls take the
// object's name, then the domain's, and add into the domain.
template <class Record>
void UseDomainCalls(
    Noun<Record>& noun,
    int32_t(XO_API_CALL* get)(PolicyApiSession*, const char* name, const char* domain, Record**),
    int32_t(XO_API_CALL* add)(PolicyApiSession*, const char* domain, Record*, uint8_t update),
    int32_t(XO_API_CALL* remove)(PolicyApiSession*, const char* name, const char* domain)) {
  noun.get = [get](PolicyApiSession* h, const Scope& s, const std::string& name, Record** list) {
    return get(h, name.c_str(), s.domain.c_str(), list);
  };
  noun.add = [add](PolicyApiSession* h, const Scope& s, Record& record, uint8_t update) {
    return add(h, s.domain.c_str(), &record, update);
  };
  noun.remove = [remove](PolicyApiSession* h, const Scope& s, const std::string& name) {
    return remove(h, name.c_str(), s.domain.c_str());
  };
}

using NameLister = std::function<std::vector<std::string>(Connection&, const Scope&)>;
// `names` of a Noun for the kinds that the library lists per domain
// (Xo_PolicyApi_GetDomainObjectNames) or system-wide (GetGlobalObjectNames).
NameLister DomainObjectNames(uint32_t objectKind, const std::string& plural);
NameLister GlobalObjectNames(uint32_t objectKind, const std::string& plural);

// A library call that hands out a list (`read(&list)`): its records, or the
// command stops with `failure`.
template <class Record, class Read>
std::vector<Record> ReadList(const Connection& connection, const Scope& scope,
                             const std::string& failure, Read&& read) {
  Record* list = nullptr;
  CheckCall(connection, scope, read(&list), failure);
  return TakeRecords(list);
}

// The same for a read that only shows that `what` exists: the command stops
// when the list is empty.
template <class Record, class Read>
void RequireExisting(const Connection& connection, const Scope& scope, const std::string& what,
                     Read&& read) {
  if (ReadList<Record>(connection, scope, "cannot read " + what, read).empty()) {
    NotFound("there is no " + what);
  }
}

template <class Record>
std::vector<Record> ReadByName(Connection& connection, const Noun<Record>& noun, const Scope& scope,
                               const std::string& name) {
  std::vector<Record> records = ReadList<Record>(
      connection, scope, "cannot read " + nouns::Describe(scope.KindOf(noun.kind), name, scope),
      [&](Record** list) { return noun.get(connection.Handle(), scope, name, list); });
  if (noun.tidy) {
    for (Record& record : records) noun.tidy(connection, scope, record);
  }
  return records;
}

template <class Record>
std::vector<Record> ReadAll(Connection& connection, const Noun<Record>& noun, const Scope& scope) {
  if (noun.listAll) return noun.listAll(connection, scope);
  std::vector<Record> all;
  for (const std::string& name : Distinct(noun.names(connection, scope))) {
    for (Record& record : ReadByName(connection, noun, scope, name)) all.push_back(record);
  }
  return all;
}

template <class Record>
void RunAdd(const Noun<Record>& noun, nouns::NamedVerb& verb) {
  const Scope& scope = verb.scope;
  scope.CheckComplete();
  Record record{};
  const std::string kind = scope.KindOf(noun.kind);
  CopyText(record.name, verb.name, "the " + kind + " name");
  if (noun.place) noun.place(scope, record);
  ApplyFieldOptions(noun.fields, verb.fields, record);  // refuses bad values before logging in
  Connection connection(verb.connection);
  verb.fields.ReadSecretsFromStdin();
  ApplyFieldOptions(noun.fields, verb.fields, record);  // with the secrets read meanwhile
  CheckCall(connection, scope, noun.add(connection.Handle(), scope, record, 0),
            "cannot add " + nouns::Describe(kind, verb.name, scope));
  PrintDone(verb.output, "Added " + nouns::Describe(kind, verb.name, scope) + ".",
            nouns::DoneDetails(verb.name, record.objectId));
}

template <class Record>
void RunGet(const Noun<Record>& noun, nouns::NamedVerb& verb) {
  verb.scope.CheckComplete();
  Connection connection(verb.connection);
  std::vector<Record> records = ReadByName(connection, noun, verb.scope, verb.name);
  nouns::RequireSome(records.size(), verb.scope.KindOf(noun.kind), verb.name, verb.scope);
  PrintDetails(verb.output, RecordsJson(noun.fields, records), FieldColumns(noun.fields));
}

template <class Record>
void RunList(const Noun<Record>& noun, VerbOptions& verb) {
  verb.scope.CheckComplete();
  Connection connection(verb.connection);
  std::vector<Record> records = ReadAll(connection, noun, verb.scope);
  PrintListing(verb.output, RecordsJson(noun.fields, records),
               FieldColumns(noun.fields, noun.columns));
}

// Reads the one object of the name, changes the fields given and writes it
// back with the update flag, all in one transaction.
template <class Record>
void RunUpdate(const Noun<Record>& noun, nouns::NamedVerb& verb) {
  const Scope& scope = verb.scope;
  scope.CheckComplete();
  nouns::RequireChanges(verb.fields);
  Record scratch{};
  ApplyFieldOptions(noun.fields, verb.fields, scratch);  // refuses bad values before logging in
  const std::string kind = scope.KindOf(noun.kind);
  Connection connection(verb.connection);
  verb.fields.ReadSecretsFromStdin();
  connection.Begin();
  std::vector<Record> records = ReadByName(connection, noun, scope, verb.name);
  nouns::RequireOne(records.size(), kind, verb.name, scope);
  Record record = records.front();
  ApplyFieldOptions(noun.fields, verb.fields, record);
  CheckCall(connection, scope, noun.add(connection.Handle(), scope, record, 1),
            "cannot update " + nouns::Describe(kind, verb.name, scope));
  connection.Commit();
  PrintDone(verb.output, "Updated " + nouns::Describe(kind, verb.name, scope) + ".",
            nouns::DoneDetails(verb.name, records.front().objectId));
}

template <class Record>
void RunDelete(const Noun<Record>& noun, nouns::NamedVerb& verb) {
  const Scope& scope = verb.scope;
  scope.CheckComplete();
  const std::string kind = scope.KindOf(noun.kind);
  Connection connection(verb.connection);
  connection.Begin();
  std::vector<Record> records = ReadByName(connection, noun, scope, verb.name);
  nouns::RequireSome(records.size(), kind, verb.name, scope);
  CheckCall(connection, scope, noun.remove(connection.Handle(), scope, verb.name),
            "cannot delete " + nouns::Describe(kind, verb.name, scope));
  connection.Commit();
  PrintDone(verb.output, "Deleted " + nouns::Describe(kind, verb.name, scope) + ".",
            {{"name", verb.name}});
}

template <class Record>
void RunRename(const Noun<Record>& noun, nouns::NamedVerb& verb) {
  const Scope& scope = verb.scope;
  scope.CheckComplete();
  const std::string kind = scope.KindOf(noun.kind);
  Record scratch{};
  CopyText(scratch.name, verb.newName, "the new name");
  Connection connection(verb.connection);
  connection.Begin();
  std::vector<Record> records = ReadByName(connection, noun, scope, verb.name);
  nouns::RequireOne(records.size(), kind, verb.name, scope);
  CheckCall(connection, scope,
            Xo_PolicyApi_RenameObject(connection.Handle(), records.front().objectId,
                                      verb.newName.c_str()),
            "cannot rename " + nouns::Describe(kind, verb.name, scope));
  connection.Commit();
  PrintDone(
      verb.output,
      "Renamed " + nouns::Describe(kind, verb.name, scope) + " to " + Quoted(verb.newName) + ".",
      nouns::DoneDetails(verb.newName, records.front().objectId));
}

// A verb of a noun's own, with the connection, output and scope options; the
// caller adds its arguments to the options and sets the callback.
template <class Options = VerbOptions>
std::pair<CLI::App*, std::shared_ptr<Options>> AddVerb(CLI::App& noun, const std::string& name,
                                                       const std::string& help, ScopeKind kind,
                                                       bool listing = false) {
  auto options = std::make_shared<Options>();
  CLI::App* verb = noun.add_subcommand(name, help);
  AddVerbOptions(*verb, *options, kind, listing);
  return {verb, options};
}

// Adds the noun and its six verbs to the application.
template <class Record>
CLI::App* RegisterNoun(CLI::App& app, const Noun<Record>& given) {
  auto noun = std::make_shared<const Noun<Record>>(given);
  CLI::App* nounCommand = app.add_subcommand(noun->command, noun->help);
  const std::string& kind = noun->kind;

  auto named = [&](const std::string& verbName, const std::string& help, bool listing = false) {
    auto verb = std::make_shared<nouns::NamedVerb>();
    CLI::App* command = nounCommand->add_subcommand(verbName, help);
    command->add_option("name", verb->name, "Name of the " + kind)->required();
    AddVerbOptions(*command, *verb, noun->scope, listing);
    return std::make_pair(command, verb);
  };

  {
    auto [command, verb] = named("add", "Add " + nouns::WithArticle(kind));
    DeclareFieldOptions(*command, noun->fields, verb->fields, true);
    command->callback([noun, verb] { RunAdd(*noun, *verb); });
  }
  {
    auto [command, verb] = named("get", "Show the " + kind + " of a name");
    command->callback([noun, verb] { RunGet(*noun, *verb); });
  }
  {
    auto verb = std::make_shared<VerbOptions>();
    CLI::App* command = nounCommand->add_subcommand("list", "List every " + kind);
    AddVerbOptions(*command, *verb, noun->scope, true);
    command->callback([noun, verb] { RunList(*noun, *verb); });
  }
  {
    auto [command, verb] =
        named("update", "Change fields of " + nouns::WithArticle(kind) + ", keeping the rest");
    DeclareFieldOptions(*command, noun->fields, verb->fields, false);
    command->callback([noun, verb] { RunUpdate(*noun, *verb); });
  }
  {
    auto [command, verb] = named("delete", "Delete the " + kind + " of a name");
    command->callback([noun, verb] { RunDelete(*noun, *verb); });
  }
  {
    auto [command, verb] = named("rename", "Give " + nouns::WithArticle(kind) + " a new name");
    command->add_option("new-name", verb->newName, "The new name")->required();
    command->callback([noun, verb] { RunRename(*noun, *verb); });
  }
  return nounCommand;
}

}  // namespace xo::cli
