#include "frame/Handles.h"

#include <deque>
#include <mutex>
#include <new>
#include <unordered_map>

#include "frame/Memory.h"

namespace xo::frame {

namespace {

// Live handles and whether each one's Login opened the store. Several threads
// may log in and out at once, each with its own handle.
struct Registry {
  std::mutex lock;
  std::unordered_map<const PolicyApiSession*, bool> storeOpened;
  // Logged-out handles, oldest first, kept from the allocator so that their
  // addresses cannot come back as new handles until many Logins later.
  std::deque<PolicyApiSession*> retired;

  ~Registry() {
    for (PolicyApiSession* handle : retired) Free(handle);
  }
};

// A few hundred kilobytes of old handles at the most.
constexpr size_t kRetiredHandles = 16384;

Registry& TheRegistry() {
  static Registry registry;
  return registry;
}

}  // namespace

void RegisterHandle(PolicyApiSession* handle) {
  Registry& registry = TheRegistry();
  std::lock_guard guard(registry.lock);
  registry.storeOpened.emplace(handle, false);
}

void MarkStoreOpened(PolicyApiSession* handle) {
  Registry& registry = TheRegistry();
  std::lock_guard guard(registry.lock);
  auto found = registry.storeOpened.find(handle);
  if (found != registry.storeOpened.end()) found->second = true;
}

bool UnregisterHandle(PolicyApiSession* handle) {
  Registry& registry = TheRegistry();
  std::lock_guard guard(registry.lock);
  auto found = registry.storeOpened.find(handle);
  if (found == registry.storeOpened.end()) return false;
  const bool opened = found->second;
  registry.storeOpened.erase(found);
  return opened;
}

bool IsLiveHandle(const PolicyApiSession* handle) {
  if (handle == nullptr) return false;
  Registry& registry = TheRegistry();
  std::lock_guard guard(registry.lock);
  return registry.storeOpened.count(handle) != 0;
}

void RetireHandle(PolicyApiSession* handle) {
  PolicyApiSession* oldest = nullptr;
  {
    Registry& registry = TheRegistry();
    std::lock_guard guard(registry.lock);
    try {
      registry.retired.push_back(handle);
    } catch (const std::bad_alloc&) {
      oldest = handle;  // no room to keep it: give it back at once
    }
    if (oldest == nullptr && registry.retired.size() > kRetiredHandles) {
      oldest = registry.retired.front();
      registry.retired.pop_front();
    }
  }
  Free(oldest);
}

int32_t CheckHandle(const PolicyApiSession* handle, CXoAdmSession*& session) {
  if (!IsLiveHandle(handle) || handle->magic != kSessionMagic) return XO_ERR_BAD_HANDLE;
  if (handle->session == nullptr) return XO_ERR_GENERAL;
  session = handle->session;
  return XO_OK;
}

}  // namespace xo::frame
