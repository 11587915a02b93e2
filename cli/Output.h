// What commands print: an aligned table for people, or with --json one JSON
// object per record (stable keys) for scripts. Failures go to standard error
// with the result code and its meaning, and a non-zero exit status.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace xo::cli {

using Json = nlohmann::ordered_json;

struct OutputOptions {
  bool json = false;
  // Secrets (a directory's bind password) are shown as "(set)" unless asked
  // for by name with --show-secrets.
  bool showSecrets = false;
};

void AddOutputOptions(CLI::App& command, OutputOptions& options);

// One column of what people see: the record's JSON key and its title.
struct Column {
  std::string key;
  std::string title;
  bool secret = false;  // shown only as set or not set, unless asked for
  // False for a secret a table leaves out, named so that --json masks it.
  bool shown = true;
};

// Prints records: with --json a JSON array of the objects as given; else a
// table with one column per key of the first record, in key order.
void PrintRecords(const OutputOptions& options, const std::vector<Json>& records);
// A listing: with --json the records whole; else a table of the columns given.
void PrintListing(const OutputOptions& options, const std::vector<Json>& records,
                  const std::vector<Column>& columns);
// Records read by name: with --json the records whole; else each record as
// lines of "title  value", records apart by a blank line.
void PrintDetails(const OutputOptions& options, const std::vector<Json>& records,
                  const std::vector<Column>& columns);
// Prints names (of a listing) one per line, or as a JSON array of strings.
void PrintNames(const OutputOptions& options, const std::vector<std::string>& names);
// A line saying what was done, or {"result": "ok", ...} with --json.
void PrintDone(const OutputOptions& options, const std::string& message, Json details = {});

// The meaning of a result code of the library, in words.
std::string DescribeResult(int32_t code);
// Throws CommandError "<what>: <meaning> (result <code>)" unless code is 0.
void Check(int32_t code, const std::string& what);

}  // namespace xo::cli
