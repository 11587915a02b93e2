// Reading ahead for a walk over many objects. A listing that is about to fetch
// a long list of objects one by one names them first; the store then reads
// them a chunk at a time, each chunk one query, and hands each row out once.
// Rows are dropped when the session writes or ends the walk, so what a walk
// gets is never older than the chunk's read.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "XoObjClasses.h"

namespace xo::store::sql {

class ObjectStore;

class ReadAhead {
 public:
  // Objects read by one query.
  static constexpr size_t kChunk = 128;

  // The objects about to be fetched, in the order they will be.
  void Expect(const CXoObjIdArray& ids);
  void Clear();
  bool Active() const { return !order_.empty(); }

  // Fills `object` (named by its identifier) from a row read ahead, reading
  // the chunk that starts at it when needed. False when the object was not
  // expected or is no longer in the store: the caller reads it as usual.
  bool Serve(CXoObjBase& object, ObjectStore& store);

 private:
  void LoadChunk(size_t first, int32_t cls, ObjectStore& store);
  // Where the identifier stands in the walk, or order_.size().
  size_t PositionOf(const std::string& oid);

  std::vector<std::string> order_;
  std::vector<int32_t> classes_;
  size_t next_ = 0;                                   // where a walk in order asks next
  std::unordered_map<std::string, size_t> position_;  // built only for a walk out of order
  std::vector<bool> loaded_;
  std::unordered_map<std::string, std::unique_ptr<CXoObjBase>> rows_;
};

}  // namespace xo::store::sql
