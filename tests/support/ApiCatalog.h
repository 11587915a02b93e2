// Every exported function that takes a session handle, named once, with a
// call that succeeds for a system administrator on the prepared store below,
// and the scope its rights are asked on. The sweeps over the whole interface
// (rights, bad handles, ...) take this table: a new function is covered by
// adding its row. Login, Logout and the two release functions ask no rights
// and are not in it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "XoPolicyApi.h"
#include "support/DirectStore.h"
#include "support/DirectoryFixtures.h"

namespace xo::test {

// Where a call's rights are asked.
enum class RightsScope {
  System,          // MANAGE on the root
  Domain,          // MANAGE on the domain "own"
  DirectoryUsers,  // the users of "hr", which the domain "own" searches
  Command,         // the right to issue server command 1
};

struct CatalogCall {
  std::string function;  // "Xo_PolicyApi_AddRule", and what sets a second row apart
  RightsScope scope;
  std::function<int32_t(PolicyApiSession*)> call;
};

// The store the calls expect, made through `admin` (a system administrator)
// and `store`: domains "own" (realms "web" and "old-realm", rules "get" and
// "put" in "web", policies "staff" and "old-policy", responses "welcome" with
// an attribute and "old-response", rule groups "everyday" holding "get" and
// "old-group", a link of "staff" to "get" answered by "welcome", the user
// users/alice of "hr" bound to "staff"), "other" and "old-domain"; agents
// "gateway" and "old-agent"; schemes "tokens" and "old-scheme"; ODBC query
// schemes "queries" and "old-queries"; user directories "hr" (ODBC, on the
// search order of "own"), "spare" and "old-dir"; administrators "eve" and
// "old-admin". Objects named "old-..." are what the Delete calls delete.
class CatalogStore {
 public:
  CatalogStore(DirectStore& store, PolicyApiSession* admin);

  const std::vector<CatalogCall>& Calls() const { return calls_; }
  // The expected result of a call for an administrator with these flags,
  // listed as an administrator of "own" or not.
  static int32_t Expected(const CatalogCall& call, int32_t flags, bool listedInOwn);

 private:
  OdbcUsers odbc_;
  std::vector<CatalogCall> calls_;
};

}  // namespace xo::test
