// Tells the store, for the length of a walk, which objects the walk is about
// to fetch one by one, so that it can read them in larger pieces.
#pragma once

#include <string>

#include "XoObjStore.h"

namespace xo::frame {

class ExpectedFetches {
 public:
  ExpectedFetches(const std::string& sessionId, const CXoObjIdArray& ids)
      : sessionId_(sessionId), active_(ids.size() > 1) {
    if (active_) CXoObjStore::ExpectFetches(ids, sessionId_);
  }
  ~ExpectedFetches() {
    if (active_) CXoObjStore::ExpectFetches({}, sessionId_);
  }
  ExpectedFetches(const ExpectedFetches&) = delete;
  ExpectedFetches& operator=(const ExpectedFetches&) = delete;

 private:
  const std::string& sessionId_;
  bool active_;
};

}  // namespace xo::frame
