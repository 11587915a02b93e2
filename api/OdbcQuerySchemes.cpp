// ODBC query schemes: the query texts through which a database-backed user
// directory is searched. System-level objects, named uniquely.
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/DeleteByName.h"
#include "frame/FetchedRecords.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Resolve.h"
#include "frame/Saving.h"

using namespace xo::frame;

namespace {

CXoObjODBCQuery FromRecord(const OdbcQuerySchemeRecord& r) {
  return CXoObjODBCQuery(FieldText(r.name), FieldText(r.description), FieldText(r.query[0]),
                         FieldText(r.query[1]), FieldText(r.query[2]), FieldText(r.query[3]),
                         FieldText(r.query[4]), FieldText(r.query[5]), FieldText(r.query[6]),
                         FieldText(r.query[7]), FieldText(r.query[8]), FieldText(r.query[9]),
                         FieldText(r.query[10]), FieldText(r.query[11]), FieldText(r.query[12]),
                         FieldText(r.query[13]), FieldText(r.query[14]));
}

int32_t FillRecord(OdbcQuerySchemeRecord& record, const CXoObjODBCQuery& scheme) {
  CopyToField(record.objectId, scheme.GetOid().GetOidString());
  CopyToField(record.name, scheme.GetName());
  CopyToField(record.description, scheme.GetDescription());
  for (int i = 0; i < CXoObjODBCQuery::kQueries; ++i) {
    CopyToField(record.query[i], scheme.GetQuery(i));
  }
  return XO_OK;
}

}  // namespace

XO_API Xo_PolicyApi_CreateODBCQueryScheme(PolicyApiSession* handle, OdbcQuerySchemeRecord* scheme,
                                          uint8_t update) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenSystem(handle, {scheme}); rc != XO_OK) return rc;

    CXoObjODBCQuery object = FromRecord(*scheme);
    if (update != 0) AdoptStoredOid(call.Session(), ResolveOdbcQuery, object);
    return SaveObject(call.Sid(), object, update != 0);
  });
}

XO_API Xo_PolicyApi_DeleteODBCQueryScheme(PolicyApiSession* handle, const char* schemeName) {
  return Guarded([&] {
    // Directories that name a deleted scheme are left naming none.
    CXoObjODBCQuery templ;
    return DeleteByName(handle, ArgText(schemeName), "", CXoObjODBCQuery::Name, templ,
                        RightsScope::System);
  });
}

XO_API Xo_PolicyApi_GetODBCQueryScheme(PolicyApiSession* handle, const char* schemeName,
                                       OdbcQuerySchemeRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenSystem(handle, {list}); rc != XO_OK) return rc;
    return RecordsByName(call.Sid(), CXoObjODBCQuery(), ArgText(schemeName), FillRecord, list);
  });
}
