// The loop behind the Get functions: one record per identifier a search
// found, each filled from the object fetched whole.
#pragma once

#include <cstdint>
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/FetchEach.h"
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
  return FilteredRecords<Kind>(
      sessionId, ids, [](const Kind&) { return true; }, fill, out);
}

// The search behind most Get functions: the objects of the template's class
// (within its domain, when the template carries one) whose Name property
// holds `name`, one record each as above; the mapped store code when the
// search fails.
template <class Kind, class Record, class Fill>
int32_t RecordsByName(const std::string& sessionId, const Kind& templ, const std::string& name,
                      Fill&& fill, Record** out) {
  CXoObjIdArray hits;
  if (int32_t rc = SearchIds(sessionId, templ, Kind::Name, name, hits); rc != XO_OK) return rc;
  return FetchedRecords<Kind>(sessionId, hits, fill, out);
}

}  // namespace xo::frame
