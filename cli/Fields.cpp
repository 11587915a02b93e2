#include "cli/Fields.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iostream>
#include <limits>

#include "cli/CommandGroups.h"
#include "cli/PasswordInput.h"

namespace xo::cli {
namespace {

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// Decimal, or hexadecimal after 0x (rights flags read better that way).
int32_t ParseInteger(const std::string& option, const std::string& value) {
  std::string digits = value;
  bool negative = !digits.empty() && digits.front() == '-';
  if (negative) digits.erase(0, 1);
  int base = 10;
  if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
    base = 16;
    digits.erase(0, 2);
  }
  int64_t parsed = 0;
  auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), parsed, base);
  if (negative) parsed = -parsed;
  if (digits.empty() || error != std::errc() || end != digits.data() + digits.size() ||
      parsed < std::numeric_limits<int32_t>::min() ||
      parsed > std::numeric_limits<uint32_t>::max()) {
    throw CommandError("--" + option + " takes a whole number, not \"" + value + "\"", kExitUsage);
  }
  // Hexadecimal masks such as 0x80000000 are taken as the 32 bits they spell.
  return static_cast<int32_t>(static_cast<uint32_t>(parsed));
}

uint8_t ParseFlag(const std::string& option, const std::string& value) {
  const std::string word = Lower(value);
  if (word == "true" || word == "yes" || word == "on" || word == "1") return 1;
  if (word == "false" || word == "no" || word == "off" || word == "0") return 0;
  throw CommandError("--" + option + " takes true or false, not \"" + value + "\"", kExitUsage);
}

}  // namespace

void FieldInputs::Declare(CLI::App& command, const std::string& name, const std::string& help,
                          FieldKind kind, bool required, bool secret) {
  const char* typeName = kind == FieldKind::Text      ? "TEXT"
                         : kind == FieldKind::Integer ? "INT"
                                                      : "BOOL";
  CLI::Option* option = command.add_option("--" + name, values_[name], help)->type_name(typeName);
  options_[name] = option;
  if (secret) {
    command
        .add_flag("--" + name + "-stdin", fromStdin_[name],
                  "Read " + name +
                      " from standard input (the line after the login "
                      "password when --password-stdin is given too)")
        ->excludes(option);
    return;  // a secret may come from either option, so neither is required
  }
  if (required) option->required();
}

bool FieldInputs::Any() const {
  for (const auto& [name, option] : options_) {
    if (Given(name)) return true;
  }
  return false;
}

bool FieldInputs::Given(const std::string& name) const {
  auto option = options_.find(name);
  if (option == options_.end()) return false;
  auto fromStdin = fromStdin_.find(name);
  return option->second->count() > 0 || (fromStdin != fromStdin_.end() && fromStdin->second);
}

const std::string& FieldInputs::Value(const std::string& name) const { return values_.at(name); }

void FieldInputs::ReadSecretsFromStdin() {
  for (auto& [name, wanted] : fromStdin_) {
    if (wanted) values_[name] = ReadPasswordLine(std::cin);
  }
}

void CopyText(char (&field)[XO_TEXT_FIELD], const std::string& text, const std::string& what) {
  if (text.size() >= XO_TEXT_FIELD) {
    throw CommandError(what + " is longer than " + std::to_string(XO_TEXT_FIELD - 1) + " bytes",
                       kExitUsage);
  }
  if (text.find('\0') != std::string::npos) {
    throw CommandError(what + " holds a NUL byte", kExitUsage);
  }
  std::memset(field, 0, XO_TEXT_FIELD);
  std::memcpy(field, text.data(), text.size());
}

void StoreFieldValue(FieldKind kind, const std::string& option, const std::string& value,
                     void* at) {
  switch (kind) {
    case FieldKind::Text:
      CopyText(*static_cast<char(*)[XO_TEXT_FIELD]>(at), value, "--" + option);
      return;
    case FieldKind::Integer:
      *static_cast<int32_t*>(at) = ParseInteger(option, value);
      return;
    case FieldKind::Flag:
      *static_cast<uint8_t*>(at) = ParseFlag(option, value);
      return;
  }
}

Json FieldJson(FieldKind kind, const void* at) {
  switch (kind) {
    case FieldKind::Text: {
      const char* text = static_cast<const char*>(at);
      return std::string(text, strnlen(text, XO_TEXT_FIELD));
    }
    case FieldKind::Integer:
      return *static_cast<const int32_t*>(at);
    case FieldKind::Flag:
      return *static_cast<const uint8_t*>(at) != 0;
  }
  return nullptr;
}

}  // namespace xo::cli
