// The directory entries attached to a policy, each with the resolution it
// was attached with. The library does not report the resolution back, so the
// attachments are read from the store (StoreIds.h).
#include <charconv>

#include "cli/Resolutions.h"
#include "cli/policy/PolicyLists.h"
#include "cli/policy/Sync.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;

// A value that no name stands for is written as its number.
std::string ResolutionText(int32_t value) {
  const std::vector<std::string>& names = ResolutionNames();
  if (value >= 0 && value < static_cast<int32_t>(names.size())) return names[value];
  return std::to_string(value);
}

// A name, or the number of a value that no name stands for.
bool ParseResolution(const std::string& text, int32_t& value) {
  if (ResolutionNamed(text, value)) return true;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() &&
         (value < 0 || value >= static_cast<int32_t>(ResolutionNames().size()));
}

std::string ResolutionProblem(const std::string& text) {
  int32_t value = 0;
  if (ParseResolution(text, value)) return "";
  std::string names;
  for (const std::string& name : ResolutionNames()) names += (names.empty() ? "" : ", ") + name;
  return "must be one of " + names;
}

const std::vector<FieldSpec> kPolicyUser{
    {"directory", Text},
    {"entry", Text},
    {.key = "resolution", .type = Text, .check = ResolutionProblem, .defaultText = "default"}};

}  // namespace

const std::vector<FieldSpec>& PolicyUserFields() { return kPolicyUser; }

Json ReadPolicyUsers(Reader& reader, const std::string& policyOid) {
  Json users = Json::array();
  for (const PolicyUser& user : PolicyUsers(reader.Store(), policyOid)) {
    users.push_back({{"directory", reader.UserDirectoryName(user.directoryOid)},
                     {"entry", user.entry},
                     {"resolution", ResolutionText(user.resolution)}});
  }
  return users;
}

// The library detaches an entry from a policy with every resolution it was
// attached with: an entry whose attachments differ is detached and attached
// again as the file gives it.
void SyncPolicyUsers(Writer& writer, const Change& change, const std::string& policy) {
  using Entry = std::pair<std::string, std::string>;  // directory, entry
  const char* domain = change.domain.c_str();
  const auto remove = [&](const Entry& entry, const Json& users) {
    writer.MustFor(Xo_PolicyApi_RemoveUsersFromPolicy(writer.Handle(), domain, policy.c_str(),
                                                      entry.first.c_str(), entry.second.c_str()),
                   "user " + users.front().dump());
  };
  const auto add = [&](const Entry& entry, const Json& users) {
    for (const Json& user : users) {
      int32_t resolution = 0;
      ParseResolution(TextOf(user, "resolution"), resolution);
      writer.MustFor(Xo_PolicyApi_AddUsersToPolicy(writer.Handle(), domain, policy.c_str(),
                                                   entry.first.c_str(), entry.second.c_str(),
                                                   static_cast<Xo_PolicyResolution_t>(resolution)),
                     "user " + user.dump());
    }
  };
  SyncGroups(
      ListOf(change.before, "users"), change.after["users"],
      [](const Json& user) {
        return Entry{TextOf(user, "directory"), TextOf(user, "entry")};
      },
      remove, add);
}

}  // namespace xo::cli::policy
