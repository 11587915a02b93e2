// Stores of a chosen number of domains, made once per process in a scratch
// directory, and logged-in sessions on them.
#pragma once

#include <cstdint>
#include <string>

#include "XoAdmSession.h"
#include "XoPolicyApi.h"

namespace xo::bench {

// The directory holding this run's stores; removed when the process ends.
const std::string& ScratchDirectory();

// "domain-000042": the names the populated stores use.
std::string DomainName(int64_t index);

// The URI of a store holding `domains` domains named DomainName(0..domains-1),
// made on first use.
const std::string& PopulatedStore(int64_t domains);

// Points XO_POLICY_STORE at a store until the end of the scope.
class StoreSelection {
 public:
  explicit StoreSelection(const std::string& uri);
  ~StoreSelection();
  StoreSelection(const StoreSelection&) = delete;
  StoreSelection& operator=(const StoreSelection&) = delete;
};

// The benchmark administrator, logged in on a store for the scope's lifetime.
class ApiSession {
 public:
  explicit ApiSession(const std::string& uri);
  ~ApiSession();
  ApiSession(const ApiSession&) = delete;
  ApiSession& operator=(const ApiSession&) = delete;

  PolicyApiSession* Handle() const { return handle_; }
  // The store session inside the handle, for calls below the flat interface.
  const CXoAdmSession& Session() const;

 private:
  StoreSelection selection_;
  PolicyApiSession* handle_ = nullptr;
};

// Logs in the benchmark administrator; the API's result code.
int32_t Login(PolicyApiSession*& handle);

}  // namespace xo::bench
