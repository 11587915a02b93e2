#include "cli/Output.h"

#include <algorithm>
#include <iostream>

#include "cli/CommandGroups.h"
#include "cli/GlobalOptions.h"

namespace xo::cli {
namespace {

std::string Cell(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_array()) {
    std::string joined;
    for (const Json& item : value) joined += (joined.empty() ? "" : ", ") + Cell(item);
    return joined;
  }
  return value.dump();
}

void PrintTable(const std::vector<std::string>& titles,
                const std::vector<std::vector<std::string>>& rows) {
  std::vector<size_t> widths;
  for (const std::string& title : titles) widths.push_back(title.size());
  for (const auto& row : rows) {
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  auto printRow = [&](const std::vector<std::string>& cells) {
    std::string line;
    for (size_t i = 0; i < cells.size(); ++i) {
      line += cells[i];
      if (i + 1 < cells.size()) line += std::string(widths[i] - cells[i].size() + 2, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    std::cout << line << '\n';
  };
  std::vector<std::string> header;
  for (const std::string& title : titles) {
    std::string upper = title;
    std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
    header.push_back(upper);
  }
  printRow(header);
  for (const auto& row : rows) printRow(row);
}

// "(set)" for a secret that has a value, "" for one that has none.
Json Masked(const Json& value) {
  return value.is_string() && value.get<std::string>().empty() ? Json("") : Json("(set)");
}

std::string CellOf(const OutputOptions& options, const Json& record, const Column& column) {
  if (!record.contains(column.key)) return "";
  const Json& value = record[column.key];
  if (column.secret && !options.showSecrets) return Masked(value).get<std::string>();
  return Cell(value);
}

// The records as JSON prints them: secrets masked as in a table.
Json Shown(const OutputOptions& options, const std::vector<Json>& records,
           const std::vector<Column>& columns) {
  Json shown = records;
  if (options.showSecrets) return shown;
  for (Json& record : shown) {
    for (const Column& column : columns) {
      if (column.secret && record.contains(column.key)) {
        record[column.key] = Masked(record[column.key]);
      }
    }
  }
  return shown;
}

}  // namespace

void AddOutputOptions(CLI::App& command, OutputOptions& options) {
  command.add_flag("--json", options.json, "Print JSON for scripts instead of a table");
  command.add_flag("--show-secrets", options.showSecrets,
                   "Print secrets (a directory's bind password) instead of \"(set)\"");
  FollowGlobalOptions(options);
}

void PrintRecords(const OutputOptions& options, const std::vector<Json>& records) {
  std::vector<Column> columns;
  if (!records.empty()) {
    for (const auto& item : records.front().items()) columns.push_back({item.key(), item.key()});
  }
  PrintListing(options, records, columns);
}

void PrintListing(const OutputOptions& options, const std::vector<Json>& records,
                  const std::vector<Column>& columns) {
  if (options.json) {
    std::cout << Shown(options, records, columns).dump(2) << '\n';
    return;
  }
  if (records.empty()) {
    std::cout << "(none)\n";
    return;
  }
  std::vector<std::string> titles;
  for (const Column& column : columns) {
    if (column.shown) titles.push_back(column.title);
  }
  std::vector<std::vector<std::string>> rows;
  for (const Json& record : records) {
    std::vector<std::string> row;
    for (const Column& column : columns) {
      if (column.shown) row.push_back(CellOf(options, record, column));
    }
    rows.push_back(std::move(row));
  }
  PrintTable(titles, rows);
}

void PrintDetails(const OutputOptions& options, const std::vector<Json>& records,
                  const std::vector<Column>& columns) {
  if (options.json) {
    std::cout << Shown(options, records, columns).dump(2) << '\n';
    return;
  }
  size_t width = 0;
  for (const Column& column : columns) width = std::max(width, column.title.size());
  bool first = true;
  for (const Json& record : records) {
    if (!first) std::cout << '\n';
    first = false;
    for (const Column& column : columns) {
      std::string value = CellOf(options, record, column);
      std::cout << column.title;
      if (!value.empty()) std::cout << std::string(width - column.title.size() + 2, ' ') << value;
      std::cout << '\n';
    }
  }
}

void PrintNames(const OutputOptions& options, const std::vector<std::string>& names) {
  if (options.json) {
    std::cout << Json(names).dump(2) << '\n';
    return;
  }
  for (const std::string& name : names) std::cout << name << '\n';
}

void PrintDone(const OutputOptions& options, const std::string& message, Json details) {
  if (options.json) {
    Json out = {{"result", "ok"}, {"message", message}};
    for (auto& item : details.items()) out[item.key()] = item.value();
    std::cout << out.dump(2) << '\n';
    return;
  }
  std::cout << message << '\n';
}

std::string DescribeResult(int32_t code) {
  switch (code) {
    case 0:
      return "success";
    case -1:
      return "refused or failed: no right for this, no single object of that name, or the "
             "operation failed";
    case -2:
      return "already a member";
    case -3:
      return "no matching link in the policy";
    case -4:
      return "not a member (or the list is empty)";
    case -5:
      return "no such rule in that realm";
    case -6:
      return "no such response";
    case -7:
      return "the policy could not be looked up";
    case -8:
      return "the realm could not be looked up";
    case -9:
      return "the domain could not be looked up";
    case -10:
      return "the user directory could not be looked up";
    case -11:
      return "the agent could not be looked up";
    case -12:
      return "the agent type could not be looked up";
    case -13:
      return "the authentication scheme could not be looked up";
    case -14:
      return "the response attribute could not be looked up";
    case -16:
      return "a required name is empty";
    case -17:
      return "that kind of object is not listed here";
    case -19:
      return "an object of the wrong kind";
    case -20:
      return "the number of names differs from the domain's list";
    case -21:
      return "the group type must be rule, response or agent";
    case -22:
      return "the group could not be looked up";
    case -23:
      return "the administrator could not be looked up";
    case -24:
      return "a realm needs an authentication scheme";
    case -25:
      return "invalid session";
    case -26:
      return "the ODBC query scheme could not be looked up";
    case -100:
      return "object not found";
    case -101:
      return "the name is already taken";
    case -102:
      return "a text is longer than 1023 bytes";
    case -103:
      return "invalid object identifier";
    case -104:
      return "a referenced object does not exist";
    case -105:
      return "the object is still in use";
    case -106:
      return "the policy store cannot be reached";
    case -107:
      return "the policy store is busy";
    case -108:
      return "a required value is empty";
    case -109:
      return "an identifier names an object of the wrong kind";
    case -110:
      return "unknown property";
    case -111:
      return "a value has the wrong type";
    case -112:
      return "the session has ended";
    case -113:
      return "the policy store is not initialised";
    case -114:
      return "the policy store has another schema version";
    case -115:
      return "out of memory";
    case -116:
      return "the policy store could not be read or written";
    case -117:
      return "the disk is full";
    case -118:
      return "the policy store is damaged";
    case -119:
      return "the policy store is read-only";
    case -120:
      return "the transaction could not complete";
    case -121:
      return "internal store error";
    case -122:
      return "an integrity rule of the store was broken";
    case -123:
      return "invalid argument";
    case -124:
      return "the object already exists";
    case -125:
      return "the change would make a loop";
    case -126:
      return "authentication failed";
    case -127:
      return "the user directory failed";
    case -128:
      return "the operation timed out";
    case -129:
      return "not supported";
    default:
      return "unknown result";
  }
}

void Check(int32_t code, const std::string& what) {
  if (code == 0) return;
  throw CommandError(what + ": " + DescribeResult(code) + " (result " + std::to_string(code) + ")");
}

}  // namespace xo::cli
