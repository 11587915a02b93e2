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
#include "frame/Saving.h"

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
  return KeepStoredIdList(call.Sid(), response, CXoObjResponse::Attributes);
}

}  // namespace

XO_API Xo_PolicyApi_AddResponse(PolicyApiSession* handle, const char* domainName,
                                ResponseRecord* response, uint8_t update) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenDomain(handle, {response}, ArgText(domainName)); rc != XO_OK)
      return rc;
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
    return SaveObject(call.Sid(), object, update != 0);
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
    if (int32_t rc = call.OpenDomain(handle, {list}, ArgText(domainName)); rc != XO_OK) return rc;
    CXoObjResponse templ;
    templ.SetDomainOid(call.Domain());
    const auto fill = [&](ResponseRecord& record, const CXoObjResponse& object) -> int32_t {
      CopyToField(record.objectId, object.GetOid().GetOidString());
      CopyToField(record.name, object.GetName());
      CopyToField(record.description, object.GetDescription());
      std::string agentType;
      const int32_t rc = AgentTypeName(call.Session(), object.GetAgentTypeOid(), agentType);
      CopyToField(record.agentTypeName, agentType);
      return rc;
    };
    return RecordsByName(call.Sid(), templ, ArgText(responseName), fill, list);
  });
}
