// Every exported function that takes a session handle, named once, with a
// call that succeeds for a system administrator on the prepared store below.
// A call asks for each of its arguments through `Args`, giving the value that
// makes it succeed; the sweeps over the whole interface (rights, bad handles,
// store and allocation failures, bad arguments) and the fuzzer hand out other
// values in their place. A new function is covered by adding its row.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "XoPolicyApi.h"
#include "support/DirectStore.h"
#include "support/DirectoryFixtures.h"
#include "support/FaultyBackend.h"
#include "support/Records.h"

namespace xo::test {

// What a name argument names.
enum class Kind {
  Domain,
  Realm,
  Rule,
  Policy,
  Response,
  Agent,
  AgentType,
  Scheme,
  UserDir,
  OdbcQuery,
  Admin,
  Group,
  Attribute,
  Entry,
  Text,
};

// The arguments of one call. The defaults pass every value through.
class Args {
 public:
  virtual ~Args() = default;
  virtual const char* Name(Kind, const char* value) { return value; }
  // Flags, kinds, group types and enumeration values.
  virtual int32_t Number(int32_t value) { return value; }
  // An input record of `size` bytes whose text fields start at `texts`.
  virtual void* Record(void* record, size_t, const std::vector<size_t>&) { return record; }
  virtual void* Output(void* out) { return out; }
  // A promise of the interface broken by what a call did.
  virtual void Fail(const std::string& what) { ADD_FAILURE() << what; }

  template <class T>
  T* Out(T* out) {
    return static_cast<T*>(Output(out));
  }
  template <class T>
  T Number(T value) {
    return static_cast<T>(Number(static_cast<int32_t>(value)));
  }
  // Calls `call` with the record as an input: it must come back as it was
  // given, but for the identifier that a successful save writes back.
  template <class R, class Call>
  int32_t With(R record, Call&& call);
  // Calls `get` with an output for a list: a failed call leaves it as it
  // was; a list handed out ends, is tagged, has terminated identifiers, and
  // is freed.
  template <class R, class Get>
  int32_t List(Get&& get);
  // The same for string arrays. Some listings clear the output when they
  // fail after the handle was accepted; the domain listing hands out the
  // names it read before a failure.
  enum class Clears { Never, OnFailure, HandsOutPart };
  template <class Get>
  int32_t Names(Get&& get, Clears clears = Clears::Never);

 private:
  void WalkAndFree(char** names);
};

// Where a call's rights are asked.
enum class RightsScope {
  System,          // MANAGE on the root
  Domain,          // MANAGE on the domain "own"
  DirectoryUsers,  // the users of "hr", which the domain "own" searches
  Command,         // the right to issue server command 1
};

struct CatalogCall {
  std::string name;  // the function without its prefix, and what sets a second row apart
  RightsScope scope;
  std::function<int32_t(PolicyApiSession*, Args&)> call;
  // The code for a live handle whose session was never made.
  int32_t sessionless = XO_ERR_GENERAL;
  // A store call whose failure is reported after the change was made: the
  // change stays.
  StoreOp failsAfterTheChange = StoreOp::Any;
};
// Cases are named by their row.
inline void PrintTo(const CatalogCall& call, std::ostream* out) { *out << call.name; }

const std::vector<CatalogCall>& CatalogCalls();

// The store the calls expect, made through `admin` (a system administrator)
// and `store`: domains "own" (realms "web" and "old-realm", rules "get" and
// "put" in "web", policies "staff" and "old-policy", responses "welcome" with
// an attribute and "old-response", rule groups "everyday" holding "get" and
// "old-group", a link of "staff" to "get" answered by "welcome", the user
// users/alice of "hr" bound to "staff"), "other" and "old-domain"; agents
// "gateway" and "old-agent", agent group "edge"; schemes "tokens" and
// "old-scheme"; ODBC query schemes "queries" and "old-queries"; user
// directories "hr" (ODBC, on the search order of "own"), "spare" and
// "old-dir"; administrators "eve" (of "other") and "old-admin". Objects named
// "old-..." are what the Delete calls delete.
class CatalogStore {
 public:
  CatalogStore(DirectStore& store, PolicyApiSession* admin);

  // The expected result of a call for an administrator with these flags,
  // listed as an administrator of "own" or not.
  static int32_t Expected(const CatalogCall& call, int32_t flags, bool listedInOwn);

 private:
  OdbcUsers odbc_;
};

template <class R, class Call>
int32_t Args::With(R record, Call&& call) {
  R* const given = static_cast<R*>(Record(&record, sizeof record, TextFields<R>()));
  if (given == nullptr) return call(given);
  R copy;
  std::memcpy(&copy, given, sizeof copy);
  const int32_t rc = call(given);
  if constexpr (requires { record.objectId; }) {
    if (rc == XO_OK) std::memcpy(copy.objectId, given->objectId, sizeof copy.objectId);
  }
  if (std::memcmp(&copy, given, sizeof copy) != 0) Fail("an input record was written");
  return rc;
}

template <class R, class Get>
int32_t Args::List(Get&& get) {
  R* const untouched = reinterpret_cast<R*>(this);  // never read
  R* list = untouched;
  R** const out = Out(&list);
  const int32_t rc = get(out);
  if (out == nullptr) return rc;
  if (rc != XO_OK) {
    if (list != untouched) Fail("a failed call wrote its output");
    return rc;
  }
  long count = 0;
  for (R* record = list; record != nullptr; record = record->next) {
    if (++count > 1000000) return Fail("a returned list does not end"), rc;
    if (record->recordType != RecordTag<R>()) Fail("a returned record has the wrong tag");
    if constexpr (requires { record->objectId; }) {
      if (std::memchr(record->objectId, 0, XO_TEXT_FIELD) == nullptr) {
        Fail("a returned identifier has no terminator");
      }
    }
  }
  if (Xo_PolicyApi_FreeMemory(list) != XO_OK) Fail("FreeMemory refused a list");
  return rc;
}

template <class Get>
int32_t Args::Names(Get&& get, Clears clears) {
  char** const untouched = reinterpret_cast<char**>(this);  // never read
  char** names = untouched;
  char*** const out = Out(&names);
  const int32_t rc = get(out);
  if (out == nullptr) return rc;
  if (rc != XO_OK) {
    const bool cleared = clears == Clears::OnFailure && names == nullptr;
    const bool part = clears == Clears::HandsOutPart && names != nullptr && names != untouched;
    if (names != untouched && !cleared && !part) Fail("a failed call wrote its output");
    if (part) WalkAndFree(names);
    return rc;
  }
  if (names == nullptr) return Fail("no array handed out"), rc;
  WalkAndFree(names);
  return rc;
}

}  // namespace xo::test
