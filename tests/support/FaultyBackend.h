// A store backend that forwards to the real one and makes one chosen call
// fail, so that tests can reach every store-failure path of the API.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "StoreBackend.h"

namespace xo::test {

// clang-format off
#define XO_STORE_OPS(X)                                                                 \
  X(Any)                                                                                \
  X(LookupAdmin) X(BeginSession) X(EndSession) X(ReadRights) X(Fetch) X(Save) X(Search) \
  X(SearchMultiple) X(Delete) X(InvalidateCache) X(FetchProperty) X(SaveProperty)       \
  X(BeginTransaction) X(CommitTransaction) X(RollbackTransaction) X(ReadSetting)        \
  X(ReadAudit) X(ReadInfo) X(FetchWithoutSession) X(BeginChange) X(EndChange)          \
  X(KeepSession) X(ResumeSession) X(DropKeptSession) X(WriteSetting)                 \
  X(FetchListNames) X(AddListMember) X(RemoveListMember)
// clang-format on

#define XO_STORE_OP_ENUM(name) name,
enum class StoreOp {
  XO_STORE_OPS(XO_STORE_OP_ENUM)  // Any: every operation
  kCount                          // not an operation: the number of them
};
#undef XO_STORE_OP_ENUM

const char* OpName(StoreOp op);

// Which call fails, shared by every backend the wrapper creates.
class FaultPlan {
 public:
  // The k-th call (k >= 1) of `op` from now on, or of any operation for
  // StoreOp::Any, returns `code` without reaching the store.
  void FailAt(StoreOp op, int k, int32_t code);
  void Disarm();
  bool Fired() const;
  StoreOp FiredOp() const;
  // Which call of its operation the failed one was (1 for the first).
  int FiredOrdinal() const;

  // Records the calls made from now on, for tests that check which store
  // operations a function uses.
  void StartRecording();
  std::vector<StoreOp> Recorded() const;

  // Called by the backend before forwarding: true when this call must fail.
  bool Intercept(StoreOp op, int32_t& code);

 private:
  mutable std::mutex lock_;
  StoreOp target_ = StoreOp::Any;
  int remaining_ = 0;
  int32_t code_ = 0;
  bool fired_ = false;
  StoreOp firedOp_ = StoreOp::Any;
  int firedOrdinal_ = 0;
  std::vector<int> callsOfOp_;  // since FailAt, indexed by StoreOp
  bool recording_ = false;
  std::vector<StoreOp> recorded_;
};

// Wraps every backend the store opens from now on (and the open one).
void InstallFaultyBackend(std::shared_ptr<FaultPlan> plan);
void RemoveFaultyBackend();

}  // namespace xo::test
