// Realms: the protected areas of a domain, each served by an agent (or an
// agent group) and an authentication scheme, under a parent realm or
// directly under the domain.
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/Clock.h"
#include "frame/DeleteByName.h"
#include "frame/FetchedRecords.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Names.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"
#include "frame/Rights.h"
#include "frame/Saving.h"

using namespace xo::frame;

namespace {

// The server command that makes the servers drop what they cache of a realm.
constexpr XoObjServerCommand_t kFlushRealmCommand = 5;

// Where an agent is expected, an agent group serves as well.
int32_t ResolveAgentOrGroup(const CXoAdmSession& s, const std::string& name, CXoObjId& id) {
  if (ResolveAgent(s, name, id) == XO_OK) return XO_OK;
  return ResolveAgentGroup(s, name, id);
}

int32_t AgentOrGroupName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  if (AgentName(s, id, name) == XO_OK) return XO_OK;
  return AgentGroupName(s, id, name);
}

// The realm takes its agent type from its agent. A failed fetch is -1, not
// the store's code.
int32_t AgentTypeOf(const Call& call, const CXoObjId& agent, CXoObjId& agentType) {
  CXoObjDevice device(agent);
  if (StoreFailed(CXoObjStore::Fetch(device, 0, nullptr, call.Sid()))) return XO_ERR_GENERAL;
  agentType = device.GetAgentTypeOid();
  return XO_OK;
}

// A realm without a parent realm hangs under its domain.
int32_t ResolveParent(const Call& call, const std::string& parentName, CXoObjId& parent) {
  if (parentName.empty()) {
    parent = call.Domain();
    return XO_OK;
  }
  return ResolveRealm(call.Session(), parentName, call.Domain(), parent);
}

// A top-level realm reads back its domain's name as its parent.
int32_t ParentName(const CXoAdmSession& s, const CXoObjRealm& realm, std::string& name) {
  const CXoObjId& parent = realm.GetParentOid();
  if (parent.GetOidString() == realm.GetDomainOid().GetOidString()) {
    return DomainName(s, parent, name);
  }
  return RealmName(s, parent, name);
}

// An empty domain name leaves `domain` null, and the rights are asked for
// that null identifier.
int32_t AllowDomainOrNone(const Call& call, const std::string& domainName, CXoObjId& domain) {
  if (!domainName.empty()) {
    if (int32_t rc = ResolveDomain(call.Session(), domainName, domain); rc != XO_OK) return rc;
  }
  return CheckManageRight(call.Session(), domain);
}

int32_t FillRecord(const CXoAdmSession& s, RealmRecord& record, const CXoObjRealm& realm) {
  CopyToField(record.objectId, realm.GetOid().GetOidString());
  CopyToField(record.name, realm.GetName());
  CopyToField(record.description, realm.GetDescription());
  CopyToField(record.realmText, realm.GetRealmText());
  std::string name;
  if (int32_t rc = AgentOrGroupName(s, realm.GetAgentOid(), name); rc != XO_OK) return rc;
  CopyToField(record.agentName, name);
  if (int32_t rc = SchemeName(s, realm.GetSchemeOid(), name); rc != XO_OK) return rc;
  CopyToField(record.schemeName, name);
  if (int32_t rc = ParentName(s, realm, name); rc != XO_OK) return rc;
  CopyToField(record.parentName, name);
  record.realmFlag1 = realm.GetFlag1();
  record.realmFlag2 = realm.GetFlag2();
  record.realmFlag3 = realm.GetFlag3();
  record.realmInt1 = realm.GetInt1();
  record.realmInt2 = realm.GetInt2();
  record.realmFlag4 = realm.GetFlag4();
  return XO_OK;
}

}  // namespace

XO_API Xo_PolicyApi_AddRealm(PolicyApiSession* handle, const char* domainName, RealmRecord* realm,
                             uint8_t update) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {realm}); rc != XO_OK) return rc;
    const std::string schemeName = FieldText(realm->schemeName);
    if (schemeName.empty()) return XO_ERR_EMPTY_SCHEME;
    if (int32_t rc = call.AllowDomain(ArgText(domainName)); rc != XO_OK) return rc;

    CXoObjId agent, scheme, agentType, parent;
    if (int32_t rc = ResolveAgentOrGroup(call.Session(), FieldText(realm->agentName), agent);
        rc != XO_OK) {
      return rc;
    }
    if (int32_t rc = ResolveScheme(call.Session(), schemeName, scheme); rc != XO_OK) return rc;
    if (int32_t rc = AgentTypeOf(call, agent, agentType); rc != XO_OK) return rc;
    if (int32_t rc = ResolveParent(call, FieldText(realm->parentName), parent); rc != XO_OK) {
      return rc;
    }

    CXoObjRealm object(FieldText(realm->name), FieldText(realm->description),
                       FieldText(realm->realmText), agent, agentType, scheme,
                       realm->realmFlag1 != 0, realm->realmFlag2 != 0, realm->realmFlag3 != 0,
                       CXoObjId(), CXoObjId(), realm->realmInt1, realm->realmInt2, parent,
                       realm->realmFlag4 != 0, call.Domain());
    if (update != 0) {
      // Unlike the other kinds, a realm to be rewritten must be found.
      CXoObjId stored;
      if (int32_t rc = ResolveRealm(call.Session(), object.GetName(), call.Domain(), stored);
          rc != XO_OK) {
        return rc;
      }
      object.SetOid(stored);
    }
    return SaveObject(call.Sid(), object, update != 0);
  });
}

XO_API Xo_PolicyApi_DeleteRealm(PolicyApiSession* handle, const char* realmName,
                                const char* domainName) {
  return Guarded([&] {
    CXoObjRealm templ;
    return DeleteByName(handle, ArgText(realmName), ArgText(domainName), CXoObjRealm::Name, templ,
                        RightsScope::Domain);
  });
}

XO_API Xo_PolicyApi_GetRealm(PolicyApiSession* handle, const char* realmName,
                             const char* domainName, RealmRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {list}); rc != XO_OK) return rc;
    // Without a domain, realms of the name are gathered from every domain.
    CXoObjId domain;
    if (int32_t rc = AllowDomainOrNone(call, ArgText(domainName), domain); rc != XO_OK) return rc;

    CXoObjRealm templ;
    if (!domain.IsOidNull()) templ.SetDomainOid(domain);
    return RecordsByName(
        call.Sid(), templ, ArgText(realmName),
        [&](RealmRecord& record, const CXoObjRealm& object) {
          return FillRecord(call.Session(), record, object);
        },
        list);
  });
}

XO_API Xo_PolicyApi_FlushRealm(PolicyApiSession* handle, const char* realmName,
                               const char* domainName) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle); rc != XO_OK) return rc;
    CXoObjId domain;
    if (int32_t rc = AllowDomainOrNone(call, ArgText(domainName), domain); rc != XO_OK) return rc;
    CXoObjId realm;
    if (int32_t rc = ResolveRealm(call.Session(), ArgText(realmName), domain, realm); rc != XO_OK) {
      return rc;
    }

    // The flush is not done here: the servers pick the command up from the store.
    CXoObjServerCommand command(NowSeconds(), kFlushRealmCommand, realm.GetOidString());
    return SaveObject(call.Sid(), command, false);
  });
}
