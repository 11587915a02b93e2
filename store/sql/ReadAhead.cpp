#include "sql/ReadAhead.h"

#include "sql/ObjectStore.h"

namespace xo::store::sql {

void ReadAhead::Expect(const CXoObjIdArray& ids) {
  Clear();
  order_.reserve(ids.size());
  classes_.reserve(ids.size());
  for (const CXoObjId& id : ids) {
    order_.push_back(id.GetOidString());
    classes_.push_back(id.GetOidClass());
  }
  loaded_.assign(order_.size(), false);
}

void ReadAhead::Clear() {
  order_.clear();
  classes_.clear();
  next_ = 0;
  position_.clear();
  loaded_.clear();
  rows_.clear();
}

bool ReadAhead::Serve(CXoObjBase& object, ObjectStore& store) {
  const CXoObjId& oid = object.GetOid();
  if (oid.GetOidClass() != object.GetClass()) return false;
  const size_t position = PositionOf(oid.GetOidString());
  if (position == order_.size()) return false;
  next_ = position + 1;
  if (!loaded_[position]) LoadChunk(position, object.GetClass(), store);
  auto row = rows_.find(oid.GetOidString());
  if (row == rows_.end()) return false;
  const CXoObjBase& cached = *row->second;
  for (uint32_t prop = 1; prop < cached.Dict().NumProps(); ++prop) {
    if (cached.Has(prop)) object.Set(prop, cached.Get(prop));
  }
  rows_.erase(row);
  return true;
}

size_t ReadAhead::PositionOf(const std::string& oid) {
  if (next_ < order_.size() && order_[next_] == oid) return next_;
  if (position_.empty()) {
    for (size_t i = order_.size(); i-- > 0;) position_[order_[i]] = i;  // the first one wins
  }
  auto found = position_.find(oid);
  return found == position_.end() ? order_.size() : found->second;
}

// Reads the next objects of the class from `first` on that were not read yet.
void ReadAhead::LoadChunk(size_t first, int32_t cls, ObjectStore& store) {
  std::vector<std::string> oids;
  for (size_t i = first; i < order_.size() && oids.size() < kChunk; ++i) {
    if (loaded_[i] || classes_[i] != cls) continue;
    loaded_[i] = true;
    oids.push_back(order_[i]);
  }
  for (std::unique_ptr<CXoObjBase>& row : store.LoadMany(cls, oids)) {
    std::string key = row->GetOid().GetOidString();
    rows_[key] = std::move(row);
  }
}

}  // namespace xo::store::sql
