// Agent, rule and response groups: the group's own record and its members,
// which may be groups of the same kind. A rule group names a rule member by
// realm and name; which rule the store holds comes from its identifiers.
#include "cli/Records.h"
#include "cli/policy/Kinds.h"
#include "cli/policy/Reading.h"
#include "cli/policy/Sync.h"
#include "cli/policy/Writing.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;

const std::vector<FieldSpec> kRuleGroupMember{{"group", Text, 0, nullptr, true},
                                              {"realm", Text, 0, nullptr, true},
                                              {"rule", Text, 0, nullptr, true}};

std::vector<FieldSpec> GroupFields(FieldSpec members) {
  return {{"name", Text}, {"description", Text}, {"agentType", Text}, members};
}

// The members of an agent or response group, by name.
Json MemberNames(Reader& reader, int32_t type, const std::string& group) {
  char** names = nullptr;
  int32_t rc = Xo_PolicyApi_GetGroupNames(reader.Handle(), type, group.c_str(),
                                          reader.Domain().c_str(), &names);
  std::vector<std::string> members = TakeNames(names);
  Check(rc, "cannot read the members of group " + Quoted(group) + reader.Where());
  return members;
}

template <class MembersOf>
Json ReadGroups(Reader& reader, int32_t type, const std::vector<std::string>& names,
                MembersOf&& membersOf) {
  return ObjectsByName<GroupRecord>(
      names, "group", reader.Where(),
      [&](const std::string& name, GroupRecord** out) {
        return Xo_PolicyApi_GetGroup(reader.Handle(), type, name.c_str(), reader.Domain().c_str(),
                                     out);
      },
      [&](const GroupRecord& r) -> Json {
        return {{"name", FieldText(r.name)},
                {"description", FieldText(r.description)},
                {"agentType", FieldText(r.vendorName)},
                {"members", membersOf(FieldText(r.name))}};
      });
}

Json ReadAgentGroups(Reader& reader) {
  return ReadGroups(
      reader, XO_GROUP_AGENT, reader.GlobalNames(XO_GLOBAL_AGENT_GROUPS, "agent groups"),
      [&](const std::string& group) { return MemberNames(reader, XO_GROUP_AGENT, group); });
}

Json ReadRuleGroups(Reader& reader) {
  return ReadGroups(reader, XO_GROUP_RULE,
                    reader.DomainObjectNames(XO_DOMAIN_RULE_GROUPS, "rule groups"),
                    [&](const std::string& group) { return reader.Ids().RuleGroupMembers(group); });
}

Json ReadResponseGroups(Reader& reader) {
  return ReadGroups(
      reader, XO_GROUP_RESPONSE,
      reader.DomainObjectNames(XO_DOMAIN_RESPONSE_GROUPS, "response groups"),
      [&](const std::string& group) { return MemberNames(reader, XO_GROUP_RESPONSE, group); });
}

// A member as the library's membership calls take it: its name, and the
// realm of a rule.
std::pair<std::string, std::string> Member(const Json& member) {
  if (member.is_string()) return {member.get<std::string>(), ""};
  if (member.contains("group")) return {TextOf(member, "group"), ""};
  return {TextOf(member, "rule"), TextOf(member, "realm")};
}

// The library takes a member's name for a group of that name before a rule:
// a rule named like a rule group of its domain cannot be named as a member.
void RequireRuleNameFree(const Writer& writer, const std::string& domain, const Json& member) {
  auto [name, realm] = Member(member);
  if (realm.empty()) return;
  uint8_t isGroup = 0;
  writer.MustFor(
      Xo_PolicyApi_IsGroup(writer.Handle(), XO_GROUP_RULE, name.c_str(), domain.c_str(), &isGroup),
      "member " + member.dump());
  if (isGroup) {
    writer.Refuse("member " + member.dump(), "the library takes " + Quoted(name) +
                                                 " for the rule group of that name, not the rule");
  }
}

void WriteGroup(Writer& writer, const Change& change, int32_t type) {
  const std::string name = TextOf(change.after, "name");
  if (writer.RecordChanges({"members"})) {
    GroupRecord r{};
    SetField(r.name, name);
    SetField(r.description, TextOf(change.after, "description"));
    SetField(r.vendorName, TextOf(change.after, "agentType"));
    writer.Must(
        Xo_PolicyApi_AddGroup(writer.Handle(), type, change.domain.c_str(), &r, writer.Update()));
  }
  if (!change.Changes("members")) return;
  writer.Later([&writer, &change, type, name] {
    const auto edit = [&](auto call, const Json& member) {
      if (type == XO_GROUP_RULE) RequireRuleNameFree(writer, change.domain, member);
      auto [memberName, realm] = Member(member);
      writer.MustFor(call(writer.Handle(), type, name.c_str(), memberName.c_str(),
                          change.domain.c_str(), realm.c_str()),
                     "member " + member.dump());
    };
    SyncItems(
        ListOf(change.before, "members"), change.after["members"],
        [&](const Json& gone) { edit(Xo_PolicyApi_RemoveFromGroup, gone); },
        [&](const Json& added) { edit(Xo_PolicyApi_AddToGroup, added); });
  });
}

void RemoveGroup(Writer& writer, const Change& change, int32_t type) {
  writer.Must(Xo_PolicyApi_DeleteGroup(writer.Handle(), type, change.domain.c_str(),
                                       TextOf(change.before, "name").c_str()));
}

template <int32_t Type>
void Write(Writer& writer, const Change& change) {
  WriteGroup(writer, change, Type);
}

template <int32_t Type>
void Remove(Writer& writer, const Change& change) {
  RemoveGroup(writer, change, Type);
}

}  // namespace

const Kind& AgentGroupKind() {
  static const Kind kind{"agentGroups",
                         "agent group",
                         1,
                         GroupFields({"members", NameSet}),
                         ReadAgentGroups,
                         Write<XO_GROUP_AGENT>,
                         Remove<XO_GROUP_AGENT>};
  return kind;
}

const Kind& RuleGroupKind() {
  static const Kind kind{"ruleGroups",
                         "rule group",
                         1,
                         GroupFields({"members", ObjectSet, 0, &kRuleGroupMember}),
                         ReadRuleGroups,
                         Write<XO_GROUP_RULE>,
                         Remove<XO_GROUP_RULE>};
  return kind;
}

const Kind& ResponseGroupKind() {
  static const Kind kind{"responseGroups",
                         "response group",
                         1,
                         GroupFields({"members", NameSet}),
                         ReadResponseGroups,
                         Write<XO_GROUP_RESPONSE>,
                         Remove<XO_GROUP_RESPONSE>};
  return kind;
}

}  // namespace xo::cli::policy
