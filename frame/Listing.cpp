#include "frame/Listing.h"

#include "frame/ExpectedFetches.h"

namespace xo::frame {

ListingStop AppendNames(const std::string& sessionId, const CXoObjIdArray& ids, NameReader read,
                        StringArray& names, int32_t& readCode) {
  const ExpectedFetches walk(sessionId, ids);
  for (const CXoObjId& id : ids) {
    std::string name;
    readCode = read(sessionId, id, name);
    if (readCode != XO_OK) return ListingStop::ReadFailed;
    if (!names.Append(name)) return ListingStop::OutOfMemory;
  }
  readCode = XO_OK;
  return ListingStop::Complete;
}

}  // namespace xo::frame
