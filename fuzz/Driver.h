// The state of one fuzz run and the random inputs it hands to the calls:
// names drawn mostly from small pools, records with odd fields, handles that
// are live, null, logged out or forged, and the checks on returned lists.
#pragma once

#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "XoPolicyApi.h"

namespace xo::fuzz {

// What a name names; each kind has its own small pool.
enum class Kind {
  Domain,
  Realm,
  Rule,
  Policy,
  Response,
  Agent,
  AgentType,
  Scheme,
  UserDir,
  OdbcQuery,
  Admin,
  Group,
  Attribute,
  Entry,
  Text,
};

class Driver {
 public:
  Driver(uint32_t seed, PolicyApiSession* main);
  ~Driver();

  // Prints a failure with the seed, the call number and the call's name.
  void Fail(const std::string& what);
  int Failures() const { return failures_; }

  // Starts the next call: clears what the previous call's inputs held.
  void BeginCall(long number, const char* name);
  long CallNumber() const { return call_; }
  const char* CallName() const { return callName_; }

  uint32_t Below(uint32_t n) { return n == 0 ? 0 : static_cast<uint32_t>(rng_() % n); }
  bool Chance(uint32_t percent) { return Below(100) < percent; }
  int32_t AnyInt();
  uint8_t AnyFlag() { return Chance(80) ? static_cast<uint8_t>(Below(2)) : Below(256); }

  // A name argument: mostly from the pool of its kind, sometimes null, empty,
  // long, non-ASCII or of another kind. Valid until the next call.
  const char* Name(Kind kind);
  // Always from the pool (for building objects on purpose).
  const char* PoolName(Kind kind);
  // A record text field: as Name, or filled to all its bytes without a
  // terminator.
  void Text(char (&field)[XO_TEXT_FIELD], Kind kind);
  void Put(char (&field)[XO_TEXT_FIELD], const std::string& text);
  // The common part of an input record: a random tag, an object identifier
  // that is empty, known or garbage, and garbage in the next pointer.
  template <class Record>
  void Head(Record& record) {
    std::memset(&record, 0, sizeof record);
    record.recordType = Chance(70) ? 0 : AnyInt();
    if (Chance(20)) Put(record.objectId, AnyObjectId());
    record.next = reinterpret_cast<Record*>(uintptr_t{0xdead0000} + Below(0x10000) * 16);
  }
  // An object identifier: one seen in a returned record, or garbage.
  std::string AnyObjectId();

  // The handle for a call: usually the main session, sometimes the second
  // session, null, a logged-out handle or a forged pointer.
  PolicyApiSession* Handle();
  PolicyApiSession* Main() const { return main_; }
  // Whether the handle chosen for this call is no live session.
  bool BadHandle() const { return badHandle_; }
  // Record and output pointers: null now and then.
  template <class T>
  T* Maybe(T* pointer) {
    if (Chance(3)) {
      nullPointer_ = true;
      return nullptr;
    }
    return pointer;
  }
  bool NullPointer() const { return nullPointer_; }

  // The second session: logged out and in again now and then.
  int32_t ToggleSecondSession();
  // A live handle a Login handed out; it becomes the second session when
  // there is none, otherwise it is logged out at once.
  void Adopt(PolicyApiSession* handle);
  // Frees the handle a failed Login left behind, if any.
  void Release(PolicyApiSession* handle);
  // Logs out the second session, if any (at the end of a run).
  void LogoutSecond();
  // A handle that a Logout retired.
  void Retire(PolicyApiSession* handle);
  bool IsSecond(PolicyApiSession* handle) const { return handle != nullptr && handle == second_; }
  // Whether the forged block is as it was made.
  bool ForgedIntact() const;

  // Calls `get` with an output pointer (null now and then). A failed call
  // must leave the output as it was; a list handed out must be walkable,
  // tagged `tag`, and is freed.
  template <class Record, class Get>
  int32_t List(int32_t tag, Get&& get);
  // The same for string arrays. Some listings set the output to null when
  // they fail after the handle was accepted; the domain listing hands out
  // the names it read before a failure, which are freed as well.
  enum class Clears { Never, OnFailure, HandsOutPart };
  template <class Get>
  int32_t Names(Clears clears, Get&& get);

 private:
  // Reads every name of an array handed out, then frees it.
  void WalkAndFree(char** names);
  const char* Keep(std::string text);
  std::string Odd();
  void Harvest(const char* objectId, const char* name);

  std::mt19937 rng_;
  uint32_t seed_;
  long call_ = 0;
  const char* callName_ = "setup";
  int failures_ = 0;
  std::deque<std::string> arena_;
  std::vector<std::string> objectIds_;
  PolicyApiSession* main_;
  PolicyApiSession* second_ = nullptr;
  std::vector<PolicyApiSession*> stale_;
  std::unique_ptr<unsigned char[]> forged_;
  std::vector<unsigned char> forgedCopy_;
  bool badHandle_ = false;
  bool nullPointer_ = false;
};

template <class Record, class Get>
int32_t Driver::List(int32_t tag, Get&& get) {
  Record* const untouched = reinterpret_cast<Record*>(&arena_);  // never read
  Record* list = untouched;
  const int32_t rc = get(Maybe(&list));
  if (nullPointer_) return rc;
  if (rc != XO_OK) {
    if (list != untouched) Fail("a failed call wrote its output");
    return rc;
  }
  long count = 0;
  for (Record* record = list; record != nullptr; record = record->next) {
    if (++count > 1000000) {
      Fail("a returned list does not end");
      return rc;
    }
    if (record->recordType != tag) {
      Fail("a returned record is tagged " + std::to_string(record->recordType) + ", not " +
           std::to_string(tag));
    }
    if constexpr (requires { record->objectId; }) {
      if (std::memchr(record->objectId, 0, XO_TEXT_FIELD) == nullptr) {
        Fail("a returned object identifier has no terminator");
      } else if constexpr (requires { record->name; }) {
        if (std::memchr(record->name, 0, XO_TEXT_FIELD) == nullptr) {
          Fail("a returned name has no terminator");
        } else {
          Harvest(record->objectId, record->name);
        }
      }
    }
  }
  if (list != nullptr && Xo_PolicyApi_FreeMemory(list) != XO_OK) Fail("FreeMemory refused a list");
  return rc;
}

template <class Get>
int32_t Driver::Names(Clears clears, Get&& get) {
  char** const untouched = reinterpret_cast<char**>(&arena_);  // never read
  char** names = untouched;
  const int32_t rc = get(Maybe(&names));
  if (nullPointer_) return rc;
  if (rc != XO_OK) {
    const bool cleared = clears == Clears::OnFailure && names == nullptr;
    const bool part = clears == Clears::HandsOutPart && names != nullptr && names != untouched;
    if (names != untouched && !cleared && !part) Fail("a failed call wrote its output");
    if (part) WalkAndFree(names);
    return rc;
  }
  if (names == nullptr) {
    Fail("no array handed out");
    return rc;
  }
  WalkAndFree(names);
  return rc;
}

inline void Driver::WalkAndFree(char** names) {
  long count = 0;
  for (char** slot = names; *slot != nullptr; ++slot) {
    if (++count > 1000000) {
      Fail("a returned array does not end");
      return;
    }
    volatile size_t length = std::strlen(*slot);  // reads every byte
    (void)length;
  }
  if (Xo_PolicyApi_FreeStringArray(names) != XO_OK) Fail("FreeStringArray refused an array");
}

}  // namespace xo::fuzz
