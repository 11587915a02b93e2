// The fields of a record as the tool shows and sets them. One table per kind
// of record gives each field its title (the column people see, and the option
// --title that sets it), its JSON key (the record field's own name) and its
// kind; adding, updating and printing all work from that one table.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "XoPolicyApi.h"
#include "cli/Output.h"

namespace xo::cli {

enum class FieldKind { Text, Integer, Flag };

template <class Record>
struct Field {
  std::string title;  // column title; the option is --title unless `option` says otherwise
  std::string key;    // JSON key: the name of the record's field
  FieldKind kind = FieldKind::Text;
  std::function<void*(Record&)> at;  // where the value lives in a record
  std::string help;                  // empty: no option sets the field
  bool requiredOnAdd = false;
  bool secret = false;  // people see only whether it is set; --OPTION-stdin reads it
  std::string option;   // when the option's name differs from the title

  const std::string& OptionName() const { return option.empty() ? title : option; }
  bool Settable() const { return !help.empty(); }
};

template <class Record>
Field<Record> MakeField(std::string title, std::string key, FieldKind kind,
                        std::function<void*(Record&)> at, std::string help) {
  Field<Record> field;
  field.title = std::move(title);
  field.key = std::move(key);
  field.kind = kind;
  field.at = std::move(at);
  field.help = std::move(help);
  return field;
}

template <class Record>
Field<Record> TextField(std::string title, std::string key, char (Record::*member)[XO_TEXT_FIELD],
                        std::string help = "") {
  return MakeField<Record>(
      std::move(title), std::move(key), FieldKind::Text,
      [member](Record& record) -> void* { return record.*member; }, std::move(help));
}

template <class Record>
Field<Record> IntegerField(std::string title, std::string key, int32_t Record::*member,
                           std::string help = "") {
  return MakeField<Record>(
      std::move(title), std::move(key), FieldKind::Integer,
      [member](Record& record) -> void* { return &(record.*member); }, std::move(help));
}

template <class Record>
Field<Record> FlagField(std::string title, std::string key, uint8_t Record::*member,
                        std::string help = "") {
  return MakeField<Record>(
      std::move(title), std::move(key), FieldKind::Flag,
      [member](Record& record) -> void* { return &(record.*member); }, std::move(help));
}

template <class Record>
Field<Record> Required(Field<Record> field) {
  field.requiredOnAdd = true;
  return field;
}

template <class Record>
Field<Record> Secret(Field<Record> field, std::string option) {
  field.secret = true;
  field.option = std::move(option);
  return field;
}

// The values given on the command line for the settable fields of a record,
// kept as text until they are applied, so that `update` changes only what was
// given.
class FieldInputs {
 public:
  // Declares --NAME (and, for a secret, --NAME-stdin).
  void Declare(CLI::App& command, const std::string& name, const std::string& help, FieldKind kind,
               bool required, bool secret);
  bool Any() const;
  bool Given(const std::string& name) const;
  const std::string& Value(const std::string& name) const;
  // Reads the secrets asked for with --NAME-stdin, one line each, after the
  // login password when that comes from standard input too.
  void ReadSecretsFromStdin();

 private:
  std::map<std::string, std::string> values_;
  std::map<std::string, CLI::Option*> options_;
  std::map<std::string, bool> fromStdin_;
};

// Writes one given value into a record field; a value that does not fit its
// kind stops the command with a usage error naming the option.
void StoreFieldValue(FieldKind kind, const std::string& option, const std::string& value, void* at);
Json FieldJson(FieldKind kind, const void* at);

template <class Record>
void DeclareFieldOptions(CLI::App& command, const std::vector<Field<Record>>& fields,
                         FieldInputs& inputs, bool forAdd) {
  for (const Field<Record>& field : fields) {
    if (!field.Settable()) continue;
    inputs.Declare(command, field.OptionName(), field.help, field.kind,
                   forAdd && field.requiredOnAdd, field.secret);
  }
}

template <class Record>
void ApplyFieldOptions(const std::vector<Field<Record>>& fields, const FieldInputs& inputs,
                       Record& record) {
  for (const Field<Record>& field : fields) {
    if (!field.Settable() || !inputs.Given(field.OptionName())) continue;
    StoreFieldValue(field.kind, field.OptionName(), inputs.Value(field.OptionName()),
                    field.at(record));
  }
}

template <class Record>
Json RecordJson(const std::vector<Field<Record>>& fields, const Record& record) {
  Json object = Json::object();
  for (const Field<Record>& field : fields) {
    object[field.key] = FieldJson(field.kind, field.at(const_cast<Record&>(record)));
  }
  return object;
}

template <class Record>
std::vector<Json> RecordsJson(const std::vector<Field<Record>>& fields,
                              const std::vector<Record>& records) {
  std::vector<Json> objects;
  for (const Record& record : records) objects.push_back(RecordJson(fields, record));
  return objects;
}

// The columns of the fields with the given titles, in that order; every field
// when no titles are given.
template <class Record>
std::vector<Column> FieldColumns(const std::vector<Field<Record>>& fields,
                                 const std::vector<std::string>& titles = {}) {
  std::vector<Column> columns;
  auto add = [&](const Field<Record>& field) {
    columns.push_back({field.key, field.title, field.secret});
  };
  if (titles.empty()) {
    for (const Field<Record>& field : fields) add(field);
  }
  for (const std::string& title : titles) {
    for (const Field<Record>& field : fields) {
      if (field.title == title) add(field);
    }
  }
  if (!titles.empty()) {
    for (const Field<Record>& field : fields) {
      if (field.secret) columns.push_back({field.key, field.title, true, false});
    }
  }
  return columns;
}

// Copies a text into a record field; texts that do not fit are refused with a
// usage error rather than cut.
void CopyText(char (&field)[XO_TEXT_FIELD], const std::string& text, const std::string& what);

}  // namespace xo::cli
