#include "cli/Nouns.h"

#include <cstring>

namespace xo::cli {

NameLister DomainObjectNames(uint32_t objectKind, const std::string& plural) {
  return [objectKind, plural](Connection& c, const Scope& scope) {
    char** names = nullptr;
    CheckCall(
        c, scope,
        Xo_PolicyApi_GetDomainObjectNames(c.Handle(), scope.domain.c_str(), objectKind, &names),
        "cannot list the " + plural + scope.Where());
    return TakeNames(names);
  };
}

NameLister GlobalObjectNames(uint32_t objectKind, const std::string& plural) {
  return [objectKind, plural](Connection& c, const Scope& scope) {
    char** names = nullptr;
    CheckCall(c, scope, Xo_PolicyApi_GetGlobalObjectNames(c.Handle(), objectKind, &names),
              "cannot list the " + plural);
    return TakeNames(names);
  };
}

namespace nouns {

std::string Describe(const std::string& kind, const std::string& name, const Scope& scope) {
  return kind + " " + Quoted(name) + scope.Where();
}

std::string WithArticle(const std::string& kind) {
  // "user" sounds like "you": only the other vowels take "an".
  const bool vowel = !kind.empty() && std::string("aeioAEIO").find(kind[0]) != std::string::npos;
  return (vowel ? "an " : "a ") + kind;
}

void RequireSome(size_t count, const std::string& kind, const std::string& name,
                 const Scope& scope) {
  if (count == 0) NotFound("there is no " + Describe(kind, name, scope));
}

void RequireOne(size_t count, const std::string& kind, const std::string& name,
                const Scope& scope) {
  RequireSome(count, kind, name, scope);
  if (count > 1) {
    throw CommandError(std::to_string(count) + " " + kind + " objects are named " + Quoted(name) +
                       scope.Where() +
                       "; this command needs exactly one (delete removes them all)");
  }
}

void RequireChanges(const FieldInputs& fields) {
  if (!fields.Any()) throw CommandError("nothing to change: give a field option", kExitUsage);
}

Json DoneDetails(const std::string& name, const char* objectId) {
  Json details = {{"name", name}};
  if (objectId[0] != '\0')
    details["objectId"] = std::string(objectId, strnlen(objectId, XO_TEXT_FIELD));
  return details;
}

}  // namespace nouns
}  // namespace xo::cli
