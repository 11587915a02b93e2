/*
 * domains_demo: a short tour of policy domains through the flat C interface.
 *
 * It logs in, adds three domains, lists them, renames one, deletes another and
 * logs out, saying what it does at each step.
 *
 *   domains_demo [ADMIN [PASSWORD]]
 *
 * The administrator and password may also come from XO_ADMIN and XO_PASSWORD.
 * The store is the one XO_POLICY_STORE names (or the default store).
 */
#include "demo_common.h"

static const char* const kDomains[][2] = {
    {"Sales", "Customer-facing sales applications"},
    {"Engineering", "Build servers and source control"},
    {"Support", "Help desk and ticketing"},
};
#define DOMAIN_COUNT (sizeof kDomains / sizeof kDomains[0])

/* Prints every domain with its description and identifier. */
static int list_domains(PolicyApiSession* session) {
  char** names = NULL;
  int32_t result = Xo_PolicyApi_GetGlobalObjectNames(session, XO_GLOBAL_DOMAINS, &names);
  if (failed("list", "the domains", result)) return 1;

  size_t count = 0;
  while (names[count] != NULL) count++;
  printf("The store holds %u domain(s):\n", (unsigned)count);
  for (size_t i = 0; i < count && result == XO_OK; i++) {
    DomainRecord* found = NULL;
    result = Xo_PolicyApi_GetDomain(session, names[i], &found);
    if (failed("read domain", names[i], result)) break;
    for (const DomainRecord* d = found; d != NULL; d = d->next) {
      printf("  %-12s %-40s %s\n", d->name, d->description, d->objectId);
    }
    Xo_PolicyApi_FreeMemory(found);
  }
  Xo_PolicyApi_FreeStringArray(names);
  return result == XO_OK ? 0 : 1;
}

static int run_demo(PolicyApiSession* session) {
  DomainRecord added[DOMAIN_COUNT];
  for (size_t i = 0; i < DOMAIN_COUNT; i++) {
    memset(&added[i], 0, sizeof added[i]);
    added[i].recordType = DomainRecordType;
    put(added[i].name, kDomains[i][0]);
    put(added[i].description, kDomains[i][1]);
    if (failed("add domain", added[i].name, Xo_PolicyApi_AddDomain(session, &added[i], 0))) {
      return 1;
    }
    printf("Added domain %s (identifier %s).\n", added[i].name, added[i].objectId);
  }
  if (list_domains(session)) return 1;

  /* A rename goes by identifier: the one AddDomain wrote back into the record. */
  const DomainRecord* renamed = &added[1];
  const char* newName = "Research";
  if (failed("rename domain", renamed->name,
             Xo_PolicyApi_RenameObject(session, renamed->objectId, newName))) {
    return 1;
  }
  printf("Renamed domain %s to %s.\n", renamed->name, newName);
  if (list_domains(session)) return 1;

  const char* deleted = added[2].name;
  if (failed("delete domain", deleted, Xo_PolicyApi_DeleteDomain(session, deleted))) return 1;
  printf("Deleted domain %s.\n", deleted);
  return list_domains(session);
}

int main(int argc, char** argv) { return run_logged_in(argc, argv, run_demo, "Logged out.\n"); }
