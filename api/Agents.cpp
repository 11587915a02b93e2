// Agents: system-wide clients of the policy servers, each of one agent type.
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/DeleteByName.h"
#include "frame/FetchedRecords.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Names.h"
#include "frame/Resolve.h"
#include "frame/Saving.h"

using namespace xo::frame;

XO_API Xo_PolicyApi_AddAgent(PolicyApiSession* handle, AgentRecord* agent, uint8_t update) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenSystem(handle, {agent}); rc != XO_OK) return rc;
    CXoObjId agentType;
    if (int32_t rc = ResolveAgentType(call.Session(), FieldText(agent->agentTypeName), agentType);
        rc != XO_OK) {
      return rc;
    }

    CXoObjDevice object(FieldText(agent->name), FieldText(agent->description),
                        FieldText(agent->agentString1), FieldText(agent->agentString2), agentType,
                        agent->agentInt);
    if (update != 0) AdoptStoredOid(call.Session(), ResolveAgent, object);
    return SaveObject(call.Sid(), object, update != 0, &agent->objectId);
  });
}

XO_API Xo_PolicyApi_DeleteAgent(PolicyApiSession* handle, const char* agentName) {
  return Guarded([&] {
    CXoObjDevice templ;
    return DeleteByName(handle, ArgText(agentName), "", CXoObjDevice::Name, templ,
                        RightsScope::System);
  });
}

XO_API Xo_PolicyApi_GetAgent(PolicyApiSession* handle, const char* agentName, AgentRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenSystem(handle, {list}); rc != XO_OK) return rc;
    return RecordsByName(
        call.Sid(), CXoObjDevice(), ArgText(agentName),
        [&](AgentRecord& record, const CXoObjDevice& object) {
          CopyToField(record.objectId, object.GetOid().GetOidString());
          CopyToField(record.name, object.GetName());
          CopyToField(record.description, object.GetDescription());
          CopyToField(record.agentString1, object.GetString1());
          CopyToField(record.agentString2, object.GetString2());
          record.agentInt = object.GetIntValue();
          std::string typeName;
          const int32_t rc = AgentTypeName(call.Session(), object.GetAgentTypeOid(), typeName);
          CopyToField(record.agentTypeName, typeName);
          return rc;
        },
        list);
  });
}
