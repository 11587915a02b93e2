// The loop behind the Get functions: one record per identifier a search
// found, each filled from the object fetched whole.
#pragma once

#include <cstdint>
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Records.h"
#include "frame/ResultCodes.h"

namespace xo::frame {

// For each identifier in order: fetches a `Kind` (its mapped code when that
// fails), appends a zeroed, tagged record (-1 when the allocation fails) and
// lets `fill(record, object)` write it (its code, when not 0, ends the walk).
// The caller's `out` is written only when every record is built; otherwise
// the records built so far are freed.
template <class Kind, class Record, class Fill>
int32_t FetchedRecords(const std::string& sessionId, const CXoObjIdArray& ids, Fill&& fill,
                       Record** out) {
  RecordList<Record> records;
  for (const CXoObjId& id : ids) {
    Kind object(id);
    const int32_t fetched = CXoObjStore::Fetch(object, 0, nullptr, sessionId);
    if (StoreFailed(fetched)) return MapStoreResult(fetched);
    Record* record = records.Append();
    if (record == nullptr) return XO_ERR_GENERAL;
    if (int32_t rc = fill(*record, object); rc != XO_OK) return rc;
  }
  records.HandOver(out);
  return XO_OK;
}

}  // namespace xo::frame
