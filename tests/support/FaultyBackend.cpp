#include "support/FaultyBackend.h"

#include <utility>

namespace xo::test {

using xo::store::IStoreBackend;

const char* OpName(StoreOp op) {
#define XO_STORE_OP_NAME(name) #name,
  static const char* const kNames[] = {XO_STORE_OPS(XO_STORE_OP_NAME)};
#undef XO_STORE_OP_NAME
  return kNames[static_cast<int>(op)];
}

void FaultPlan::FailAt(StoreOp op, int k, int32_t code) {
  std::lock_guard guard(lock_);
  target_ = op;
  remaining_ = k;
  code_ = code;
  fired_ = false;
  callsOfOp_.assign(static_cast<size_t>(StoreOp::kCount), 0);
}

void FaultPlan::Disarm() {
  std::lock_guard guard(lock_);
  remaining_ = 0;
  fired_ = false;
  recording_ = false;
}

bool FaultPlan::Fired() const {
  std::lock_guard guard(lock_);
  return fired_;
}

StoreOp FaultPlan::FiredOp() const {
  std::lock_guard guard(lock_);
  return firedOp_;
}

int FaultPlan::FiredOrdinal() const {
  std::lock_guard guard(lock_);
  return firedOrdinal_;
}

void FaultPlan::StartRecording() {
  std::lock_guard guard(lock_);
  recording_ = true;
  recorded_.clear();
}

std::vector<StoreOp> FaultPlan::Recorded() const {
  std::lock_guard guard(lock_);
  return recorded_;
}

bool FaultPlan::Intercept(StoreOp op, int32_t& code) {
  std::lock_guard guard(lock_);
  if (recording_) recorded_.push_back(op);
  if (remaining_ == 0) return false;
  const int ordinal = ++callsOfOp_[static_cast<size_t>(op)];
  if (target_ != StoreOp::Any && target_ != op) return false;
  if (--remaining_ != 0) return false;
  fired_ = true;
  firedOp_ = op;
  firedOrdinal_ = ordinal;
  code = code_;
  return true;
}

namespace {

class FaultyBackend : public IStoreBackend {
 public:
  FaultyBackend(std::unique_ptr<IStoreBackend> inner, std::shared_ptr<FaultPlan> plan)
      : inner_(std::move(inner)), plan_(std::move(plan)) {}

#define XO_FORWARD(Op, call)                            \
  int32_t code = 0;                                     \
  if (plan_->Intercept(StoreOp::Op, code)) return code; \
  return inner_->call

  int32_t LookupAdmin(const std::string& name, xo::store::AdminCredentials& out) override {
    XO_FORWARD(LookupAdmin, LookupAdmin(name, out));
  }
  int32_t BeginSession(const xo::store::AdminCredentials& admin,
                       const std::string& sessionId) override {
    XO_FORWARD(BeginSession, BeginSession(admin, sessionId));
  }
  int32_t EndSession(const std::string& sessionId) override {
    XO_FORWARD(EndSession, EndSession(sessionId));
  }
  int32_t ReadRights(const std::string& sessionId, const CXoObjId& scope,
                     xo::store::AdminRights& out) override {
    XO_FORWARD(ReadRights, ReadRights(sessionId, scope, out));
  }
  int32_t KeepSession(const std::string& sessionId, const std::string& tokenDigest) override {
    XO_FORWARD(KeepSession, KeepSession(sessionId, tokenDigest));
  }
  int32_t ResumeSession(const std::string& tokenDigest, xo::store::AdminCredentials& out) override {
    XO_FORWARD(ResumeSession, ResumeSession(tokenDigest, out));
  }
  int32_t DropKeptSession(const std::string& tokenDigest) override {
    XO_FORWARD(DropKeptSession, DropKeptSession(tokenDigest));
  }
  int32_t FetchWithoutSession(CXoObjBase& object) override {
    XO_FORWARD(FetchWithoutSession, FetchWithoutSession(object));
  }
  int32_t Fetch(CXoObjBase& object, uint32_t prop, const XoPropValue* value,
                const std::string& sessionId) override {
    XO_FORWARD(Fetch, Fetch(object, prop, value, sessionId));
  }
  int32_t Save(CXoObjBase& object, bool overwrite, const std::string& sessionId) override {
    XO_FORWARD(Save, Save(object, overwrite, sessionId));
  }
  int32_t Search(const CXoObjBase& templ, CXoObjIdArray& hits, uint32_t prop,
                 const XoPropValue& value, const std::string& sessionId) override {
    XO_FORWARD(Search, Search(templ, hits, prop, value, sessionId));
  }
  int32_t SearchMultiple(const CXoObjBase& templ, CXoObjIdArray& hits,
                         const XoObjSearchFilterList& filters,
                         const std::string& sessionId) override {
    XO_FORWARD(SearchMultiple, SearchMultiple(templ, hits, filters, sessionId));
  }
  int32_t Delete(const CXoObjId& id, const std::string& sessionId) override {
    XO_FORWARD(Delete, Delete(id, sessionId));
  }
  int32_t InvalidateCache(const CXoObjId& id, const CXoObjId& scope, bool flag,
                          const std::string& sessionId) override {
    XO_FORWARD(InvalidateCache, InvalidateCache(id, scope, flag, sessionId));
  }
  int32_t FetchProperty(CXoObjBase& object, uint32_t prop, XoPropValue& out,
                        const std::string& sessionId) override {
    XO_FORWARD(FetchProperty, FetchProperty(object, prop, out, sessionId));
  }
  int32_t SaveProperty(const CXoObjId& id, uint32_t prop, const XoPropValue& value,
                       const std::string& sessionId) override {
    XO_FORWARD(SaveProperty, SaveProperty(id, prop, value, sessionId));
  }
  int32_t FetchListNames(const CXoObjBase& object, uint32_t prop, CXoObjIdArray& ids,
                         std::vector<std::string>& names, const std::string& sessionId) override {
    XO_FORWARD(FetchListNames, FetchListNames(object, prop, ids, names, sessionId));
  }
  int32_t AddListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member,
                        const std::string& sessionId) override {
    XO_FORWARD(AddListMember, AddListMember(owner, prop, member, sessionId));
  }
  int32_t RemoveListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member,
                           const std::string& sessionId) override {
    XO_FORWARD(RemoveListMember, RemoveListMember(owner, prop, member, sessionId));
  }
  int32_t BeginChange(const std::string& sessionId) override {
    XO_FORWARD(BeginChange, BeginChange(sessionId));
  }
  // A failed end of a change is a commit that did not happen: the real
  // store gives the change up, so that nothing of it stays.
  int32_t EndChange(const std::string& sessionId, bool keep) override {
    int32_t code = 0;
    if (plan_->Intercept(StoreOp::EndChange, code)) {
      inner_->EndChange(sessionId, false);
      return code;
    }
    return inner_->EndChange(sessionId, keep);
  }
  int32_t BeginTransaction(const std::string& sessionId) override {
    XO_FORWARD(BeginTransaction, BeginTransaction(sessionId));
  }
  int32_t CommitTransaction(const std::string& sessionId) override {
    XO_FORWARD(CommitTransaction, CommitTransaction(sessionId));
  }
  int32_t RollbackTransaction(const std::string& sessionId) override {
    XO_FORWARD(RollbackTransaction, RollbackTransaction(sessionId));
  }
  int32_t ReadSetting(const std::string& key, std::string& value) override {
    XO_FORWARD(ReadSetting, ReadSetting(key, value));
  }
  int32_t WriteSetting(const std::string& sessionId, const std::string& key,
                       const std::string& value) override {
    XO_FORWARD(WriteSetting, WriteSetting(sessionId, key, value));
  }
  int32_t ReadAudit(int64_t sinceTime, std::vector<xo::store::AuditEntry>& out) override {
    XO_FORWARD(ReadAudit, ReadAudit(sinceTime, out));
  }
  int32_t ReadInfo(xo::store::StoreInfo& out) override { XO_FORWARD(ReadInfo, ReadInfo(out)); }
#undef XO_FORWARD

 private:
  std::unique_ptr<IStoreBackend> inner_;
  std::shared_ptr<FaultPlan> plan_;
};

}  // namespace

void InstallFaultyBackend(std::shared_ptr<FaultPlan> plan) {
  xo::store::SetBackendWrapper(
      [plan](std::unique_ptr<IStoreBackend> inner) -> std::unique_ptr<IStoreBackend> {
        return std::make_unique<FaultyBackend>(std::move(inner), plan);
      });
}

void RemoveFaultyBackend() { xo::store::SetBackendWrapper({}); }

}  // namespace xo::test
