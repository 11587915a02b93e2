// Session handles: the record behind a PolicyApiSession pointer and the set of
// handles that are live. A pointer that no Login returned, or one that Logout
// released, is never read.
#pragma once

#include <cstdint>
#include <string>

#include "XoAdmSession.h"
#include "XoPolicyApi.h"

struct PolicyApiSession {
  int32_t magic;              // kSessionMagic while live, 0 as it is freed
  std::string* storeMessage;  // filled by the store's Init; owned here
  CXoAdmSession* session;     // null when Login could not create it; owned here
};

namespace xo::frame {

constexpr int32_t kSessionMagic = 727;

// Records a handle that Login has handed out.
void RegisterHandle(PolicyApiSession* handle);
// Notes that the handle's Login opened the store, so its Logout releases it.
void MarkStoreOpened(PolicyApiSession* handle);
// Forgets a handle; returns whether its Login had opened the store.
bool UnregisterHandle(PolicyApiSession* handle);
bool IsLiveHandle(const PolicyApiSession* handle);
// Takes back the memory of a handle that Logout has unregistered. Its address
// is not handed out again by the next Logins: a caller's stale copy of a
// logged-out handle stays a bad handle instead of naming someone else's
// session.
void RetireHandle(PolicyApiSession* handle);

// The check that opens every call: -25 for a handle that is not live or not
// marked, -1 for one without a session, else 0 with `session` set.
int32_t CheckHandle(const PolicyApiSession* handle, CXoAdmSession*& session);

}  // namespace xo::frame
