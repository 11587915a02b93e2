// Agents: the gateways that realms are served by.
#include "cli/policy/Kinds.h"
#include "cli/policy/Reading.h"
#include "cli/policy/Writing.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;
using R = AgentRecord;

Json Read(Reader& reader) {
  return ObjectsByName<R>(
      reader.GlobalNames(XO_GLOBAL_AGENTS, "agents"), "agent", "",
      [&](const std::string& name, R** out) {
        return Xo_PolicyApi_GetAgent(reader.Handle(), name.c_str(), out);
      },
      [](const R& r) -> Json {
        return {{"name", FieldText(r.name)},
                {"description", FieldText(r.description)},
                {"agentType", FieldText(r.agentTypeName)},
                {"strings", {FieldText(r.agentString1), FieldText(r.agentString2)}},
                {"integer", r.agentInt}};
      });
}

void Write(Writer& writer, const Change& change) {
  R r{};
  const Json& a = change.after;
  SetField(r.name, TextOf(a, "name"));
  SetField(r.description, TextOf(a, "description"));
  SetField(r.agentTypeName, TextOf(a, "agentType"));
  SetField(r.agentString1, TextAt(a, "strings", 0));
  SetField(r.agentString2, TextAt(a, "strings", 1));
  r.agentInt = a["integer"].get<int32_t>();
  writer.Must(Xo_PolicyApi_AddAgent(writer.Handle(), &r, writer.Update()));
}

void Remove(Writer& writer, const Change& change) {
  writer.Must(Xo_PolicyApi_DeleteAgent(writer.Handle(), TextOf(change.before, "name").c_str()));
}

}  // namespace

const Kind& AgentKind() {
  static const Kind kind{"agents",
                         "agent",
                         1,
                         {{"name", Text},
                          {"description", Text},
                          {"agentType", Text},
                          {"strings", Texts, 2},
                          {"integer", Integer}},
                         Read,
                         Write,
                         Remove};
  return kind;
}

}  // namespace xo::cli::policy
