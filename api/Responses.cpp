// Responses of a domain: add or rewrite, read, delete.
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/DeleteByName.h"
#include "frame/FetchEach.h"
#include "frame/FetchedRecords.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Names.h"
#include "frame/Properties.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"

using namespace xo::frame;

namespace {

// A rewrite replaces the stored response of the same name and keeps its
// attribute values, which have calls of their own. Unlike other families, a
// name that does not resolve fails the update instead of creating a response.
int32_t TakeOverStoredResponse(const Call& call, CXoObjResponse& response) {
  CXoObjId stored;
  if (ResolveResponse(call.Session(), response.GetName(), call.Domain(), stored) != XO_OK) {
    return XO_ERR_RESPONSE_SEARCH;
  }
  response.SetOid(stored);
  CXoObjIdArray attributes;
  if (int32_t rc = FetchIdList(call.Sid(), response, CXoObjResponse::Attributes, attributes,
                               AbsentList::IsEmpty);
      rc != XO_OK) {
    return rc;
  }
  response.SetAttributes(attributes);
  return XO_OK;
}

}  // namespace

XO_API Xo_PolicyApi_AddResponse(PolicyApiSession* handle, const char* domainName,
                                ResponseRecord* response, uint8_t update) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {response}); rc != XO_OK) return rc;
    if (int32_t rc = call.AllowDomain(ArgText(domainName)); rc != XO_OK) return rc;
    CXoObjId agentType;
    if (int32_t rc =
            ResolveAgentType(call.Session(), FieldText(response->agentTypeName), agentType);
        rc != XO_OK) {
      return rc;
    }

    CXoObjResponse object(FieldText(response->name), FieldText(response->description), agentType,
                          true, true, true, call.Domain());
    if (update != 0) {
      if (int32_t rc = TakeOverStoredResponse(call, object); rc != XO_OK) return rc;
    }
    const int32_t saved = CXoObjStore::Save(object, update != 0, call.Sid());
    return StoreFailed(saved) ? MapStoreResult(saved) : XO_OK;
  });
}

XO_API Xo_PolicyApi_DeleteResponse(PolicyApiSession* handle, const char* responseName,
                                   const char* domainName) {
  return Guarded([&] {
    CXoObjResponse templ;
    return DeleteByName(handle, ArgText(responseName), ArgText(domainName), CXoObjResponse::Name,
                        templ, RightsScope::Domain);
  });
}

XO_API Xo_PolicyApi_GetResponse(PolicyApiSession* handle, const char* responseName,
                                const char* domainName, ResponseRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {list}); rc != XO_OK) return rc;
    if (int32_t rc = call.AllowDomain(ArgText(domainName)); rc != XO_OK) return rc;

    CXoObjResponse templ;
    templ.SetDomainOid(call.Domain());
    CXoObjIdArray hits;
    if (int32_t rc =
            SearchIds(call.Sid(), templ, CXoObjResponse::Name, ArgText(responseName), hits);
        rc != XO_OK) {
      return rc;
    }
    const auto fill = [&](ResponseRecord& record, const CXoObjResponse& object) -> int32_t {
      CopyToField(record.objectId, object.GetOid().GetOidString());
      CopyToField(record.name, object.GetName());
      CopyToField(record.description, object.GetDescription());
      std::string agentType;
      const int32_t rc = AgentTypeName(call.Session(), object.GetAgentTypeOid(), agentType);
      CopyToField(record.agentTypeName, agentType);
      return rc;
    };
    return FetchedRecords<CXoObjResponse>(call.Sid(), hits, fill, list);
  });
}
