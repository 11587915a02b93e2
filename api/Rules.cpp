// Rules: named by domain, realm and rule name, and typed by their realm's
// agent type.
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/FetchedRecords.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Names.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"
#include "frame/Saving.h"

using namespace xo::frame;

namespace {

// The domain with MANAGE on it, then the realm within it.
int32_t OpenRealm(Call& call, const std::string& domainName, const std::string& realmName,
                  CXoObjId& realm) {
  if (int32_t rc = call.AllowDomain(domainName); rc != XO_OK) return rc;
  return ResolveRealm(call.Session(), realmName, call.Domain(), realm);
}

// Every rule of the name in the realm, in store order.
int32_t SearchRules(const Call& call, const std::string& name, const CXoObjId& realm,
                    CXoObjIdArray& hits) {
  const XoObjSearchFilterList filters = {{CXoObjRule::Name, name},
                                         {CXoObjRule::Realm, realm.GetOidString()},
                                         {CXoObjRule::Domain, call.Domain().GetOidString()}};
  return CXoObjStore::SearchMultiple(CXoObjRule(), hits, filters, call.Sid());
}

// A rule is typed by its realm. A failed fetch is -1, not the store's code.
int32_t RealmAgentType(const Call& call, const CXoObjId& realm, CXoObjId& agentType) {
  CXoObjRealm object(realm);
  if (StoreFailed(CXoObjStore::Fetch(object, 0, nullptr, call.Sid()))) return XO_ERR_GENERAL;
  agentType = object.GetAgentTypeOid();
  return XO_OK;
}

CXoObjRule RuleFrom(const RuleRecord& record, const CXoObjId& realm, const CXoObjId& agentType,
                    const CXoObjId& domain) {
  // The record's time text is not read: rules are saved without a time
  // restriction.
  return CXoObjRule(FieldText(record.name), FieldText(record.description), realm, agentType,
                    FieldText(record.ruleText1), FieldText(record.ruleText2), CXoObjTime(),
                    record.ruleFlag1 != 0, record.ruleFlag2 != 0, FieldText(record.ruleText3),
                    record.ruleFlag3 != 0, domain);
}

int32_t FillRecord(const CXoAdmSession& s, RuleRecord& record, const CXoObjRule& rule) {
  CopyToField(record.objectId, rule.GetOid().GetOidString());
  CopyToField(record.name, rule.GetName());
  CopyToField(record.description, rule.GetDescription());
  std::string realmName;
  if (int32_t rc = RealmName(s, rule.GetRealmOid(), realmName); rc != XO_OK) return rc;
  CopyToField(record.realmName, realmName);
  CopyToField(record.ruleText1, rule.GetText1());
  CopyToField(record.ruleText2, rule.GetText2());
  record.ruleFlag1 = rule.GetFlag1();
  record.ruleFlag2 = rule.GetFlag2();
  CopyToField(record.ruleText3, rule.GetText3());
  record.ruleFlag3 = rule.GetFlag3();
  return XO_OK;
}

}  // namespace

XO_API Xo_PolicyApi_AddRule(PolicyApiSession* handle, const char* domainName, RuleRecord* rule,
                            uint8_t update) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {rule}); rc != XO_OK) return rc;
    CXoObjId realm, agentType;
    if (int32_t rc = OpenRealm(call, ArgText(domainName), FieldText(rule->realmName), realm);
        rc != XO_OK) {
      return rc;
    }
    if (int32_t rc = RealmAgentType(call, realm, agentType); rc != XO_OK) return rc;

    CXoObjRule object = RuleFrom(*rule, realm, agentType, call.Domain());
    if (update != 0) {
      // Only a rule found exactly once is rewritten; otherwise a new one is made.
      CXoObjId stored;
      if (ResolveRule(call.Session(), object.GetName(), call.Domain(), realm, stored) == XO_OK) {
        object.SetOid(stored);
      }
    }
    return SaveObject(call.Sid(), object, update != 0, &rule->objectId);
  });
}

XO_API Xo_PolicyApi_DeleteRule(PolicyApiSession* handle, const char* ruleName,
                               const char* realmName, const char* domainName) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle); rc != XO_OK) return rc;
    CXoObjId realm;
    if (int32_t rc = OpenRealm(call, ArgText(domainName), ArgText(realmName), realm); rc != XO_OK) {
      return rc;
    }

    // A failed search counts as finding nothing, and finding nothing is an
    // error here, unlike the other deletions by name.
    CXoObjIdArray hits;
    SearchRules(call, ArgText(ruleName), realm, hits);
    if (hits.empty()) return XO_ERR_RULE_SEARCH;
    for (const CXoObjId& hit : hits) {
      const int32_t deleted = CXoObjStore::Delete(hit, call.Sid());
      if (StoreFailed(deleted)) return MapStoreResult(deleted);
    }
    return XO_OK;
  });
}

XO_API Xo_PolicyApi_GetRule(PolicyApiSession* handle, const char* ruleName, const char* realmName,
                            const char* domainName, RuleRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    const int32_t opened = call.Open(handle);
    // A handle without a session counts as a bad handle here.
    if (opened == XO_ERR_GENERAL) return XO_ERR_BAD_HANDLE;
    if (opened != XO_OK) return opened;
    if (list == nullptr) return XO_ERR_GENERAL;
    CXoObjId realm;
    if (int32_t rc = OpenRealm(call, ArgText(domainName), ArgText(realmName), realm); rc != XO_OK) {
      return rc;
    }

    CXoObjIdArray hits;
    const int32_t found = SearchRules(call, ArgText(ruleName), realm, hits);
    if (StoreFailed(found)) return MapStoreResult(found);
    return FetchedRecords<CXoObjRule>(
        call.Sid(), hits,
        [&](RuleRecord& record, const CXoObjRule& object) {
          return FillRecord(call.Session(), record, object);
        },
        list);
  });
}
