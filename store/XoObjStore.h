// The store's operations. Each runs as one transaction of the backend unless
// the session has a transaction of its own open (see BeginTransaction).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "XoObjClasses.h"
#include "XoObjDict.h"
#include "XoObjId.h"
#include "XoStoreCodes.h"

struct XoObjSearchFilter_s {
  uint32_t prop;
  std::string value;
};
using XoObjSearchFilterList = std::vector<XoObjSearchFilter_s>;

class CXoObjStore {
 public:
  // Opens the store named by XO_POLICY_STORE (or the default location). The
  // last flag asks for a store ready for use; false with a message in
  // `message` when the store is missing, never initialised or unreadable.
  // Each successful Init is matched by one Release.
  static bool Init(std::string& message, bool readOnly, bool create, bool reserved3, bool reserved4,
                   bool reserved5, bool reserved6, bool ready);
  static void Release();

  // With property 0 and no value: fills the object named by its identifier.
  // With a property and a value: fills the first object whose property holds it.
  static int32_t Fetch(CXoObjBase& object, uint32_t prop, const XoPropValue* value,
                       const std::string& sessionId);
  // Creates the object when its identifier is new, else (with overwrite) replaces it.
  static int32_t Save(CXoObjBase& object, bool overwrite, const std::string& sessionId);
  static int32_t Search(const CXoObjBase& templ, CXoObjIdArray& hits, uint32_t prop,
                        const XoPropValue& value, const std::string& sessionId);
  static int32_t SearchMultiple(const CXoObjBase& templ, CXoObjIdArray& hits,
                                const XoObjSearchFilterList& filters, const std::string& sessionId);
  static int32_t Delete(const CXoObjId& id, const std::string& sessionId);
  static int32_t InvalidateCache(const CXoObjId& id, const CXoObjId& scope, bool flag,
                                 const std::string& sessionId);
  // Reads one property into the object (and into `out` when given).
  static int32_t FetchProperty(CXoObjBase& object, uint32_t prop, XoPropValue* out,
                               const std::string& sessionId);
  static int32_t SaveProperty(const CXoObjId& id, uint32_t prop, const XoPropValue& value,
                              const std::string& sessionId);
  // An identifier-list property of the object, and the name of each object
  // it names, in list order: what a listing of names needs, read in one go.
  // kNotFound when an identifier names no object; one of a class the list
  // does not hold comes with an empty name.
  static int32_t FetchListNames(const CXoObjBase& object, uint32_t prop, CXoObjIdArray& ids,
                                std::vector<std::string>& names, const std::string& sessionId);
  // Adds one member at the end of an object's stored list (kExists when the
  // list names it already), or takes out the first copy of it (kNotFound when
  // the list does not name it), checked as SaveProperty checks a whole list.
  // Either costs what one member costs, however long the list.
  static int32_t AddListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member,
                               const std::string& sessionId);
  static int32_t RemoveListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member,
                                  const std::string& sessionId);

  // A hint before fetching many objects one by one, in this order: the store
  // may read them ahead in larger pieces. An empty list ends the hint; so
  // does any change the session makes.
  static void ExpectFetches(const CXoObjIdArray& ids, const std::string& sessionId);

  // From now until the session writes or ends it, the session's reads see one
  // state of the store, read in one transaction: the reads of one call then
  // take the file's locks once instead of once each. Nothing happens inside
  // a transaction of the session's own.
  static void BeginReadSnapshot(const std::string& sessionId);
  static void EndReadSnapshot(const std::string& sessionId);

  // A change that reads what it is about to replace (a stored list, an
  // object kept under the update flag) begins here: the session takes the
  // store's write lock now, so its reads see the latest state and no other
  // session can change that state before this one's writes. The operations
  // up to EndChange form one transaction, kept or given up as a whole; a
  // refused operation inside it undoes only itself. Other sessions' changes
  // queue behind it; their readers go on reading their own snapshots.
  // Inside a transaction of the session's own both do nothing.
  static int32_t BeginChange(const std::string& sessionId);
  static int32_t EndChange(const std::string& sessionId, bool keep);

  // Groups the following operations of the session into one transaction.
  static int32_t BeginTransaction(const std::string& sessionId);
  static int32_t CommitTransaction(const std::string& sessionId);
  static int32_t RollbackTransaction(const std::string& sessionId);
};
