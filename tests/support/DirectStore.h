// The store reached through its own layer, without the API: for putting in
// objects of kinds whose API functions do not exist, and for reading back.
#pragma once

#include <cstdint>
#include <string>

#include "XoAdmSession.h"
#include "XoObjStore.h"

namespace xo::test {

class DirectStore {
 public:
  // Opens the store named by XO_POLICY_STORE and logs in.
  DirectStore(const std::string& admin, const std::string& password);
  ~DirectStore();
  DirectStore(const DirectStore&) = delete;
  DirectStore& operator=(const DirectStore&) = delete;

  const std::string& Sid() const { return session_.GetSessionID(); }
  const CXoAdmSession& Session() const { return session_; }

  // Saves a new object (records a test failure when the store refuses it).
  CXoObjId Save(CXoObjBase& object);

  CXoObjId Domain(const std::string& name, const std::string& description = "");
  CXoObjId Agent(const std::string& name);
  CXoObjId AgentGroup(const std::string& name);
  CXoObjId Scheme(const std::string& name);
  CXoObjId UserDirectory(const std::string& name);
  CXoObjId OdbcQuery(const std::string& name);
  CXoObjId Admin(const std::string& name, const std::string& password, int32_t flags);
  CXoObjId Realm(const CXoObjId& domain, const std::string& name);
  CXoObjId Rule(const CXoObjId& domain, const CXoObjId& realm, const std::string& name);
  CXoObjId Policy(const CXoObjId& domain, const std::string& name);
  CXoObjId Response(const CXoObjId& domain, const std::string& name);
  CXoObjId RuleGroup(const CXoObjId& domain, const std::string& name);
  CXoObjId ResponseGroup(const CXoObjId& domain, const std::string& name);
  CXoObjId DictionaryAttr(const std::string& name);

  // Appends to one of a domain's stored lists (administrators, directories).
  void AppendToDomainList(const CXoObjId& domain, uint32_t prop, const CXoObjId& member);
  CXoObjIdArray DomainList(const CXoObjId& domain, uint32_t prop);

  // A fully fetched copy of a stored object; false when it is not there.
  template <class Kind>
  bool Load(const CXoObjId& id, Kind& object) {
    object = Kind(id);
    return CXoObjStore::Fetch(object, 0, nullptr, Sid()) >= 0;
  }
  bool Exists(const CXoObjId& id);

 private:
  CXoObjId AnyAgent();

  CXoAdmSession session_;
  CXoObjId agent_;
};

}  // namespace xo::test
