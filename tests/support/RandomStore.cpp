#include "support/RandomStore.h"

#include "support/ApiCatalog.h"
#include "support/RandomArgs.h"
#include "support/Records.h"

namespace xo::test {
namespace {

// The first record a Get call hands out, as an input record to make it
// again; an empty record when there is none.
template <class R>
R FirstRecord(int32_t(XO_API_CALL* get)(PolicyApiSession*, const char*, R**), PolicyApiSession* h,
              const char* name) {
  R* list = nullptr;
  get(h, name, &list);
  const std::vector<R> found = Collect(list);
  R record = found.empty() ? R{} : found.front();
  record.objectId[0] = '\0';
  return record;
}

}  // namespace

KeptDirectories::KeptDirectories(PolicyApiSession* handle)
    : queries_(FirstRecord(Xo_PolicyApi_GetODBCQueryScheme, handle, "queries")) {
  for (const char* name : {"hr", "spare", "old-dir"}) {
    directories_.push_back(FirstRecord(Xo_PolicyApi_GetUserDir, handle, name));
  }
}

int32_t KeptDirectories::MakeAgain(PolicyApiSession* handle) const {
  OdbcQuerySchemeRecord queries = queries_;
  int32_t rc = Xo_PolicyApi_CreateODBCQueryScheme(handle, &queries, 1);
  for (UserDirRecord directory : directories_) {
    rc |= Xo_PolicyApi_CreateUserDir(handle, &directory, 1);
  }
  return rc;
}

std::vector<std::string> WalkRandomly(PolicyApiSession* handle, uint32_t seed, long calls) {
  std::vector<const CatalogCall*> rows;
  for (const CatalogCall& row : CatalogCalls()) {
    // Readers change nothing; the store grows through its adds. A deleted
    // query scheme leaves its ODBC directories without one, which no call
    // can make again from a document.
    if (row.name.starts_with("Get") || row.name.starts_with("Is") ||
        row.name == "DeleteODBCQueryScheme") {
      continue;
    }
    const bool adds = row.name.starts_with("Add") || row.name.starts_with("Create");
    rows.insert(rows.end(), adds ? 4 : 1, &row);
  }
  const KeptDirectories kept(handle);
  RandomArgs args(seed, handle);
  args.SetMode(RandomArgs::Mode::Plausible);
  std::vector<std::string> made;
  for (long call = 1; call <= calls; ++call) {
    const CatalogCall& row = *rows[args.Below(rows.size())];
    args.BeginCall(call, row.name.c_str());
    made.push_back(row.name + " " + std::to_string(row.call(handle, args)));
  }
  EXPECT_EQ(kept.MakeAgain(handle), XO_OK) << "the directories of users are not made again";
  return made;
}

}  // namespace xo::test
