#include "frame/Listing.h"

namespace xo::frame {

ListingStop AppendNames(const std::string& sessionId, const CXoObjIdArray& ids, NameReader read,
                        StringArray& names, int32_t& readCode) {
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
