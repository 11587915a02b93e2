#include "Driver.h"

#include <cstdio>

namespace xo::fuzz {

namespace {

constexpr const char* kAdmin = "sysadmin";
constexpr const char* kPassword = "correct horse";

// Small pools, so that calls find what earlier calls made.
const std::vector<std::vector<std::string>> kPools = {
    {"sales", "hr", "ops"},                                   // Domain
    {"web", "api", "admin"},                                  // Realm
    {"get", "post", "all"},                                   // Rule
    {"staff", "guests"},                                      // Policy
    {"hello", "deny"},                                        // Response
    {"gw", "proxy", "edge"},                                  // Agent (edge: a group)
    {"HTTP Agent", "RADIUS Agent"},                           // AgentType
    {"Basic", "forms"},                                       // Scheme
    {"corp", "db"},                                           // UserDir
    {"hr queries", "q2"},                                     // OdbcQuery
    {"ann", "bob"},                                           // Admin
    {"gA", "gB", "edge"},                                     // Group
    {"HTTP-Header-Fixed", "HTTP-Redirect-URL", "Filter-Id"},  // Attribute
    {"uid=ann,ou=people", "ann", "(cn=*)", "ou=people"},      // Entry
    {"", "GET", "GET,POST", "/index.html", "a description"},  // Text
};

}  // namespace

Driver::Driver(uint32_t seed, PolicyApiSession* main)
    : rng_(seed), seed_(seed), main_(main), forged_(new unsigned char[512]) {
  for (int i = 0; i < 512; ++i) forged_[i] = static_cast<unsigned char>(rng_());
  forgedCopy_.assign(forged_.get(), forged_.get() + 512);
}

Driver::~Driver() { LogoutSecond(); }

void Driver::Fail(const std::string& what) {
  ++failures_;
  std::fprintf(stderr, "FAIL seed %u call %ld (%s): %s\n", seed_, call_, callName_, what.c_str());
}

void Driver::BeginCall(long number, const char* name) {
  call_ = number;
  callName_ = name;
  arena_.clear();
  badHandle_ = false;
  nullPointer_ = false;
}

int32_t Driver::AnyInt() {
  switch (Below(5)) {
    case 0:
      return 0;
    case 1:
      return static_cast<int32_t>(Below(10));
    case 2:
      return -static_cast<int32_t>(Below(10));
    case 3:
      return Chance(50) ? INT32_MAX : INT32_MIN;
    default:
      return static_cast<int32_t>(rng_());
  }
}

const char* Driver::Keep(std::string text) {
  arena_.push_back(std::move(text));
  return arena_.back().c_str();
}

// Names that are valid C strings but odd for a store.
std::string Driver::Odd() {
  switch (Below(8)) {
    case 0:
      return std::string(XO_TEXT_FIELD - 1, 'n');
    case 1:
      return std::string(XO_TEXT_FIELD, 'n');
    case 2:
      return std::string(2000, 'n');
    case 3:
      return "\xc3\xbcml\xc3\xa4ut \xe2\x82\xac";
    case 4:
      return "\xff\xfe\x80 broken utf-8";
    case 5:
      return "%' OR 1=1; --";
    case 6:
      return " sales ";
    default: {
      std::string garbage(1 + Below(40), ' ');
      for (char& c : garbage) c = static_cast<char>(1 + Below(255));
      return garbage;
    }
  }
}

const char* Driver::PoolName(Kind kind) {
  const auto& pool = kPools[static_cast<size_t>(kind)];
  return pool[Below(static_cast<uint32_t>(pool.size()))].c_str();
}

const char* Driver::Name(Kind kind) {
  const uint32_t roll = Below(100);
  if (roll < 4) return nullptr;
  if (roll < 8) return "";
  if (roll < 15) return Keep(Odd());
  if (roll < 22) return PoolName(static_cast<Kind>(Below(kPools.size())));
  return PoolName(kind);
}

void Driver::Put(char (&field)[XO_TEXT_FIELD], const std::string& text) {
  std::memset(field, 0, XO_TEXT_FIELD);
  std::memcpy(field, text.data(), std::min<size_t>(text.size(), XO_TEXT_FIELD));
}

void Driver::Text(char (&field)[XO_TEXT_FIELD], Kind kind) {
  if (Chance(3)) {
    std::memset(field, 'u', XO_TEXT_FIELD);  // no terminator
    return;
  }
  const char* name = Name(kind);
  Put(field, name == nullptr ? "" : name);
}

std::string Driver::AnyObjectId() {
  if (!objectIds_.empty() && Chance(75)) return objectIds_[Below(objectIds_.size())];
  switch (Below(4)) {
    case 0:
      return "";
    case 1:
      return "zz-0000";
    case 2:
      return "03-00000000000000000000000000000000";
    default:
      return Odd();
  }
}

void Driver::Harvest(const char* objectId, const char* name) {
  // The session's own administrator is never renamed: the second session
  // logs in by that name.
  if (std::strcmp(name, kAdmin) == 0 || objectId[0] == '\0') return;
  for (const std::string& known : objectIds_) {
    if (known == objectId) return;
  }
  if (objectIds_.size() < 200) objectIds_.emplace_back(objectId);
}

PolicyApiSession* Driver::Handle() {
  const uint32_t roll = Below(100);
  if (roll < 85) return main_;
  if (roll < 91 && second_ != nullptr) return second_;
  badHandle_ = true;
  if (roll < 94) return nullptr;
  if (roll < 97 && !stale_.empty()) return stale_[Below(stale_.size())];
  return reinterpret_cast<PolicyApiSession*>(forged_.get());
}

bool Driver::ForgedIntact() const {
  return std::memcmp(forged_.get(), forgedCopy_.data(), forgedCopy_.size()) == 0;
}

void Driver::Retire(PolicyApiSession* handle) {
  if (handle == second_) second_ = nullptr;
  if (stale_.size() < 16) stale_.push_back(handle);
}

void Driver::Adopt(PolicyApiSession* handle) {
  if (second_ == nullptr) {
    second_ = handle;
    return;
  }
  if (Xo_PolicyApi_Logout(handle) != XO_OK) Fail("a fresh session does not log out");
  Retire(handle);
}

int32_t Driver::ToggleSecondSession() {
  if (second_ != nullptr) {
    PolicyApiSession* handle = second_;
    const int32_t rc = Xo_PolicyApi_Logout(handle);
    if (rc == XO_OK) Retire(handle);
    return rc;
  }
  PolicyApiSession* handle = nullptr;
  const char* name = Chance(80) ? kAdmin : PoolName(Kind::Admin);
  const int32_t rc = Xo_PolicyApi_Login(&handle, nullptr, name, kPassword, "localhost", "", 0);
  if (rc == XO_OK) {
    Adopt(handle);
  } else {
    Release(handle);
  }
  return rc;
}

void Driver::Release(PolicyApiSession* handle) {
  if (handle == nullptr) return;
  // A Login that failed after making its handle: Logout gives -1 for it and
  // frees it.
  for (int attempt = 0; attempt < 2 && Xo_PolicyApi_Logout(handle) == XO_ERR_GENERAL; ++attempt) {
  }
}

void Driver::LogoutSecond() {
  if (second_ == nullptr) return;
  if (Xo_PolicyApi_Logout(second_) != XO_OK) Fail("the second session does not log out");
  second_ = nullptr;
}

}  // namespace xo::fuzz
