// Authentication schemes: system-wide ways of authenticating users, named by
// the realms they protect.
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

CXoObjScheme SchemeFrom(const SchemeRecord& record) {
  return CXoObjScheme(FieldText(record.name), FieldText(record.description), record.schemeInt1,
                      FieldText(record.schemeString1), FieldText(record.schemeString2),
                      FieldText(record.schemeString3), record.schemeFlag1 != 0,
                      record.schemeFlag2 != 0, record.schemeInt2, record.schemeFlag3 != 0,
                      record.schemeFlag4 != 0, record.schemeFlag5 != 0);
}

int32_t FillRecord(SchemeRecord& record, const CXoObjScheme& scheme) {
  CopyToField(record.objectId, scheme.GetOid().GetOidString());
  CopyToField(record.name, scheme.GetName());
  CopyToField(record.description, scheme.GetDescription());
  record.schemeInt1 = scheme.Int(CXoObjScheme::Int1);
  CopyToField(record.schemeString1, scheme.Text(CXoObjScheme::String1));
  CopyToField(record.schemeString2, scheme.Text(CXoObjScheme::String2));
  CopyToField(record.schemeString3, scheme.Text(CXoObjScheme::String3));
  record.schemeFlag1 = scheme.Flag(CXoObjScheme::Flag1);
  record.schemeFlag2 = scheme.Flag(CXoObjScheme::Flag2);
  record.schemeInt2 = scheme.Int(CXoObjScheme::Int2);
  record.schemeFlag3 = scheme.Flag(CXoObjScheme::Flag3);
  record.schemeFlag4 = scheme.Flag(CXoObjScheme::Flag4);
  record.schemeFlag5 = scheme.Flag(CXoObjScheme::Flag5);
  return XO_OK;
}

}  // namespace

XO_API Xo_PolicyApi_AddScheme(PolicyApiSession* handle, SchemeRecord* scheme, uint8_t update) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenSystem(handle, {scheme}); rc != XO_OK) return rc;

    CXoObjScheme object = SchemeFrom(*scheme);
    if (update != 0) AdoptStoredOid(call.Session(), ResolveScheme, object);
    return SaveObject(call.Sid(), object, update != 0, &scheme->objectId);
  });
}

XO_API Xo_PolicyApi_DeleteScheme(PolicyApiSession* handle, const char* schemeName) {
  return Guarded([&] {
    CXoObjScheme templ;
    return DeleteByName(handle, ArgText(schemeName), "", CXoObjScheme::Name, templ,
                        RightsScope::System);
  });
}

XO_API Xo_PolicyApi_GetScheme(PolicyApiSession* handle, const char* schemeName,
                              SchemeRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenSystem(handle, {list}); rc != XO_OK) return rc;
    return RecordsByName(call.Sid(), CXoObjScheme(), ArgText(schemeName), FillRecord, list);
  });
}
