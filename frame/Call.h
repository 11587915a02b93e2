// The opening shared by the exported functions: the handle check, the
// caller's pointers, and the rights on the call's scope.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>

#include "XoAdmSession.h"
#include "XoObjId.h"
#include "frame/Handles.h"

namespace xo::frame {

class Call {
 public:
  Call() = default;
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  // Ends the read snapshot that Open began.
  ~Call();

  // The handle check (-25, or -1 without a session), then -1 when a record
  // or output pointer the call needs is null. Nothing is touched on failure.
  // From a good handle on, the call's reads share one view of the store
  // until its first write.
  int32_t Open(const PolicyApiSession* handle, std::initializer_list<const void*> required = {});

  // MANAGE on RootObjectId, for objects that live outside domains.
  int32_t AllowSystem() const;
  // Resolves the domain (its resolver's code on failure) and checks MANAGE on it.
  int32_t AllowDomain(const std::string& domainName);

  // The two openings nearly every call makes: Open, then AllowSystem or
  // AllowDomain, stopping at the first failure.
  int32_t OpenSystem(const PolicyApiSession* handle,
                     std::initializer_list<const void*> required = {});
  int32_t OpenDomain(const PolicyApiSession* handle, std::initializer_list<const void*> required,
                     const std::string& domainName);

  // Runs a change that reads what it replaces (a stored list, an object
  // kept under the update flag) with the store's write lock held from before
  // its first read: two sessions changing the same list queue up, and each
  // decides on the state its write replaces. The change's writes are kept
  // when it returns 0 and given up otherwise; a failure to take the lock or
  // to commit is the change's mapped store code.
  int32_t Serialised(const std::function<int32_t()>& change);

  const CXoAdmSession& Session() const { return *session_; }
  const std::string& Sid() const { return session_->GetSessionID(); }
  // The domain resolved by AllowDomain.
  const CXoObjId& Domain() const { return domain_; }

 private:
  CXoAdmSession* session_ = nullptr;
  CXoObjId domain_;
  bool snapshot_ = false;
  bool changing_ = false;
};

}  // namespace xo::frame
