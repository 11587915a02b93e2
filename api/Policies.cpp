// Policies of a domain: add or rewrite, read, delete.
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/DeleteByName.h"
#include "frame/FetchEach.h"
#include "frame/FetchedRecords.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"
#include "frame/Saving.h"

using namespace xo::frame;

namespace {

// A policy is always saved enabled and without a time restriction; its domain
// is set on the object, never through the constructor.
CXoObjPolicy PolicyFromRecord(const PolicyRecord& record, const CXoObjId& domain) {
  CXoObjPolicy policy(FieldText(record.name), FieldText(record.description),
                      FieldText(record.policyText1), CXoObjTime(), true, record.policyFlag != 0,
                      FieldText(record.policyText2), NullObjectId);
  policy.SetDomainOid(domain);
  return policy;
}

int32_t FillRecord(PolicyRecord& record, const CXoObjPolicy& policy) {
  CopyToField(record.objectId, policy.GetOid().GetOidString());
  CopyToField(record.name, policy.GetName());
  CopyToField(record.description, policy.GetDescription());
  CopyToField(record.policyText1, policy.GetText1());
  record.policyFlag = policy.GetFlag() ? 1 : 0;
  CopyToField(record.policyText2, policy.GetText2());
  return XO_OK;
}

}  // namespace

XO_API Xo_PolicyApi_AddPolicy(PolicyApiSession* handle, const char* domainName,
                              PolicyRecord* policy, uint8_t update) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenDomain(handle, {policy}, ArgText(domainName)); rc != XO_OK) return rc;

    CXoObjPolicy object = PolicyFromRecord(*policy, call.Domain());
    if (update != 0) AdoptStoredOid(call.Session(), ResolvePolicy, call.Domain(), object);
    return SaveObject(call.Sid(), object, update != 0, &policy->objectId);
  });
}

XO_API Xo_PolicyApi_DeletePolicy(PolicyApiSession* handle, const char* policyName,
                                 const char* domainName) {
  return Guarded([&] {
    CXoObjPolicy templ;
    return DeleteByName(handle, ArgText(policyName), ArgText(domainName), CXoObjPolicy::Name, templ,
                        RightsScope::Domain);
  });
}

XO_API Xo_PolicyApi_GetPolicy(PolicyApiSession* handle, const char* policyName,
                              const char* domainName, PolicyRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenDomain(handle, {list}, ArgText(domainName)); rc != XO_OK) return rc;
    CXoObjPolicy templ;
    templ.SetDomainOid(call.Domain());
    return RecordsByName(call.Sid(), templ, ArgText(policyName), FillRecord, list);
  });
}
