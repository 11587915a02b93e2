// Walking what a store search finds: each hit fetched whole, in the order the
// store returned them.
#pragma once

#include <cstdint>
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/ExpectedFetches.h"
#include "frame/Records.h"
#include "frame/ResultCodes.h"

namespace xo::frame {

// The identifiers of the template's class (within its domain, when the
// template carries one) whose `prop` holds `value`: 0 or the mapped store code.
inline int32_t SearchIds(const std::string& sessionId, const CXoObjBase& templ, uint32_t prop,
                         const XoPropValue& value, CXoObjIdArray& hits) {
  const int32_t found = CXoObjStore::Search(templ, hits, prop, value, sessionId);
  return StoreFailed(found) ? MapStoreResult(found) : XO_OK;
}

// The same for objects matching every filter at once.
inline int32_t SearchIdsWhere(const std::string& sessionId, const CXoObjBase& templ,
                              const XoObjSearchFilterList& filters, CXoObjIdArray& hits) {
  const int32_t found = CXoObjStore::SearchMultiple(templ, hits, filters, sessionId);
  return StoreFailed(found) ? MapStoreResult(found) : XO_OK;
}

// Fetches each identifier whole as a Kind and hands the object to `visit`.
// The first fetch that fails stops the walk with its mapped code, the first
// visit that answers non-zero with that answer.
template <class Kind, class Visit>
int32_t FetchEach(const std::string& sessionId, const CXoObjIdArray& ids, Visit&& visit) {
  const ExpectedFetches walk(sessionId, ids);
  for (const CXoObjId& id : ids) {
    Kind object(id);
    const int32_t fetched = CXoObjStore::Fetch(object, 0, nullptr, sessionId);
    if (StoreFailed(fetched)) return MapStoreResult(fetched);
    if (int32_t rc = visit(object); rc != XO_OK) return rc;
  }
  return XO_OK;
}

// As FetchedRecords, but with records only for the objects that `keep`
// accepts: each is filled by `fill` (0 or a failure code). The caller's
// pointer gets the whole list (null when nothing was kept); on any failure it
// is left alone and the records built so far are freed.
template <class Kind, class Record, class Keep, class Fill>
int32_t FilteredRecords(const std::string& sessionId, const CXoObjIdArray& ids, Keep&& keep,
                        Fill&& fill, Record** out) {
  RecordList<Record> records;
  const int32_t rc = FetchEach<Kind>(sessionId, ids, [&](const Kind& object) -> int32_t {
    if (!keep(object)) return XO_OK;
    Record* record = records.Append();
    if (record == nullptr) return XO_ERR_GENERAL;
    return fill(*record, object);
  });
  if (rc != XO_OK) return rc;
  records.HandOver(out);
  return XO_OK;
}

}  // namespace xo::frame
