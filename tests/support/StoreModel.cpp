#include "support/StoreModel.h"

#include <sqlite3.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>
#include <tuple>

#include "XoObjClasses.h"

namespace xo::test {
namespace {

using Lines = std::vector<std::string>;
using Row = std::map<std::string, std::string>;  // values by column, the table as "(kind)"

class Model {
 public:
  explicit Model(const std::string& path) {
    sqlite3* db = nullptr;
    const int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    db_.reset(db);
    if (rc != SQLITE_OK)
      throw std::runtime_error("cannot open " + path + ": " + sqlite3_errmsg(db));
    for (const Row& table : Query("SELECT name FROM sqlite_master WHERE type = 'table' AND name "
                                  "NOT LIKE 'xo!_%' ESCAPE '!' AND name <> 'server_command'")) {
      for (Row& row : Query("SELECT * FROM \"" + table.at("name") + "\"")) {
        row["(kind)"] = table.at("name");
        objects_[row.at("oid")] = row;
      }
    }
    // A deletion may leave gaps in a list's positions; its order is what counts.
    lists_ = Query(
        "SELECT owner, prop, member, ROW_NUMBER() OVER (PARTITION BY owner, prop ORDER BY pos) "
        "AS pos FROM xo_list");
  }

  Lines Read() {
    Lines lines;
    for (const auto& [oid, row] : objects_) lines.push_back(Render(row));
    // A line for each member of a list; only a domain's directories keep an order.
    for (const Row& item : lists_) {
      const bool ordered = objects_[item.at("owner")]["(kind)"] == "domain" &&
                           item.at("prop") == std::to_string(CXoObjDomain::UserDirectories);
      lines.push_back("list " + item.at("prop") + (ordered ? " at " + item.at("pos") : "") +
                      " of " + Label(item.at("owner")) + ": " + Label(item.at("member")));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
  }

 private:
  std::vector<Row> Query(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db_.get(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
      throw std::runtime_error(sql + ": " + sqlite3_errmsg(db_.get()));
    }
    std::vector<Row> rows;
    while (sqlite3_step(statement) == SQLITE_ROW) {
      Row& row = rows.emplace_back();
      for (int i = 0; i < sqlite3_column_count(statement); ++i) {
        const unsigned char* text = sqlite3_column_text(statement, i);
        row[sqlite3_column_name(statement, i)] = text ? reinterpret_cast<const char*>(text) : "";
      }
    }
    sqlite3_finalize(statement);
    return rows;
  }

  // What a value names: an object by its kind, name and owners, an object
  // without a name by its whole line; any other value is itself.
  std::string Label(const std::string& value) {
    const auto found = objects_.find(value);
    if (found == objects_.end()) return value;
    const Row& row = found->second;
    if (row.count("name") == 0) return Render(row);
    std::string label = row.at("(kind)") + " \"" + row.at("name") + "\"";
    for (const char* owner : {"realm", "domain", "vendor"}) {
      if (row.count(owner)) label += " in " + Label(row.at(owner));
    }
    return label;
  }

  std::string Render(const Row& row) {
    const std::string& kind = row.at("(kind)");
    std::string line = kind;
    // A realm's and a rule's agent type are copied from the agent when they
    // are saved, and stay when the agent's type changes later; an export
    // carries the agent, not the copy.
    const bool copiedType = kind == "realm" || kind == "rule";
    for (const auto& [column, value] : row) {
      if (copiedType && column == "agent_type") continue;
      if (column != "seq" && column != "oid" && column != "(kind)") {
        line += " " + column + "=[" + Label(value) + "]";
      }
    }
    return line;
  }

  std::unique_ptr<sqlite3, int (*)(sqlite3*)> db_{nullptr, sqlite3_close};
  std::map<std::string, Row> objects_;  // by identifier
  std::vector<Row> lists_;
};

}  // namespace

std::vector<std::string> ReadStoreModel(const std::string& path) { return Model(path).Read(); }

std::string ModelDifference(const std::vector<std::string>& before,
                            const std::vector<std::string>& after) {
  std::string difference;
  for (const auto& [from, to, sign] :
       {std::tuple{&before, &after, "- "}, std::tuple{&after, &before, "+ "}}) {
    Lines only;
    std::set_difference(from->begin(), from->end(), to->begin(), to->end(),
                        std::back_inserter(only));
    for (const std::string& line : only) difference += sign + line + "\n";
  }
  return difference;
}

}  // namespace xo::test
