// Random arguments for the catalog's calls, from a seed. Wild, for the
// fuzzer: names mostly the call's own or from small pools of their kind, now
// and then null, empty, long, non-ASCII or of another kind; odd numbers;
// records with fields replaced, a garbage next pointer and an odd tag; null
// outputs; and handles that are live, null or forged. Tame: only
// the call's own values or the first names of the pools. Plausible, for
// random stores: names from the pools, which share names between kinds and
// scopes, and texts that a document has to carry unchanged.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support/ApiCatalog.h"

namespace xo::test {

// Small pools, one per Kind and then directory types, holding the prepared
// store's names (its main object first), so that calls find, collide with
// and re-create what the store and earlier calls made.
inline const std::vector<std::vector<std::string>> kPools = {
    {"own", "other", "old-domain", "new-domain", "web", "a/b"},    // Domain
    {"web", "old-realm", "new-realm", "a", "a/b"},                 // Realm
    {"get", "put", "new-rule", "got", "b/c", "c"},                 // Rule
    {"staff", "old-policy", "new-policy"},                         // Policy
    {"welcome", "old-response", "new-response"},                   // Response
    {"gateway", "old-agent", "new-agent", "edge"},                 // Agent (edge: a group)
    {"HTTP Agent", "RADIUS Agent"},                                // AgentType
    {"tokens", "old-scheme", "new-scheme", "Basic"},               // Scheme
    {"hr", "spare", "old-dir", "new-dir"},                         // UserDir
    {"queries", "old-queries", "new-queries"},                     // OdbcQuery
    {"eve", "old-admin", "new-admin"},                             // Admin
    {"everyday", "old-group", "new-group", "edge", "staff"},       // Group
    {"HTTP-Header-Fixed", "HTTP-Redirect-URL", "Filter-Id"},       // Attribute
    {"users/alice", "users/bob", "groups/staff", "users/nobody"},  // Entry
    {"", "GET", "X-Staff: 1", "all", "a description"},             // Text
    {"LDAP:", "ODBC:", "NT:"},                                     // directory types
};
inline constexpr size_t kText = static_cast<size_t>(Kind::Text);

class RandomArgs : public Args {
 public:
  // The administrator of the stores that the arguments are made for.
  static constexpr const char* kAdmin = "sysadmin";
  static constexpr const char* kPassword = "correct horse";

  RandomArgs(uint32_t seed, PolicyApiSession* main) : rng_(seed), seed_(seed), main_(main) {
    for (unsigned char& byte : forged_) byte = static_cast<unsigned char>(rng_());
    forgedCopy_ = forged_;
  }

  enum class Mode { Wild, Tame, Plausible };
  void SetMode(Mode mode) { mode_ = mode; }

  // Prints the failure with the seed, the call number and the call's name;
  // a plausible call's is a test's failure.
  void Fail(const std::string& what) override {
    if (mode_ == Mode::Plausible) return Args::Fail(what);
    ++failures_;
    std::fprintf(stderr, "FAIL seed %u call %ld (%s): %s\n", seed_, call_, callName_, what.c_str());
  }
  int Failures() const { return failures_; }

  // Starts the next call: clears what the previous call's arguments held.
  void BeginCall(long number, const char* name) {
    call_ = number;
    callName_ = name;
    arena_.clear();
    badHandle_ = nullPointer_ = false;
    // The calls whose numbers are enumerations, which cannot hold values
    // beyond their range.
    const std::string_view call = name;
    enums_ = call.starts_with("AddUsersToPolicy") || call.starts_with("SetDisableUserState");
  }

  uint32_t Below(size_t n) { return n == 0 ? 0 : static_cast<uint32_t>(rng_() % n); }
  bool Chance(uint32_t percent) { return Below(100) < percent; }
  // Object identifiers for renames and record identifiers.
  void Harvest(std::vector<std::string> objectIds) { objectIds_ = std::move(objectIds); }

  const char* Name(Kind kind, const char* value) override {
    const size_t pool = static_cast<size_t>(kind);
    if (mode_ == Mode::Tame) return Chance(75) ? value : kPools[pool][0].c_str();
    if (mode_ == Mode::Plausible) return Chance(50) ? value : Plain(pool);
    const uint32_t roll = Below(100);
    if (roll < 4) return roll < 2 ? nullptr : "";
    if (roll < 9) return Keep(Odd());
    if (roll < 14) return Pool(Below(kPools.size()));
    return roll < 62 ? value : Pool(pool);
  }

  int32_t Number(int32_t value) override {
    if (mode_ != Mode::Wild || Chance(75)) return value;
    return enums_ ? static_cast<int32_t>(Below(8)) : AnyInt();
  }

  // Every record but the command starts with its tag and identifier and
  // ends with its next pointer; the command starts with its number.
  void* Record(void* record, size_t size, const std::vector<size_t>& texts) override {
    if (NullNow()) return nullptr;
    auto* bytes = static_cast<char*>(record);
    if (mode_ == Mode::Plausible) return PlausibleRecord(bytes, texts);
    const bool tame = mode_ == Mode::Tame;
    const bool command = size == sizeof(ManagementCommandRecord);
    const int32_t tag = AnyInt();
    if (!tame && Chance(15)) std::memcpy(bytes, &tag, sizeof tag);
    const uintptr_t next = uintptr_t{0xdead0000} + Below(0x10000) * 16;
    if (!command) std::memcpy(bytes + size - sizeof next, &next, sizeof next);
    for (size_t offset : texts) {
      char* field = bytes + offset;
      if (!command && offset == texts.front()) {
        if (!tame && Chance(20)) Put(field, AnyObjectId());
        continue;
      }
      // A tame record gets the first name of its name's pool.
      const bool name = texts.size() > 1 && offset == texts[1];
      if (tame ? !name || !Chance(60) : !Chance(20)) continue;
      const size_t pool = PoolOf(field);
      const uint32_t roll = Below(100);
      if (tame) {
        if (pool < kText) Put(field, kPools[pool][0]);
      } else if (roll < 15) {
        std::memset(field, 'u', XO_TEXT_FIELD);  // no terminator
      } else {
        const bool own = pool < kPools.size() && roll < 85;
        Put(field, roll < 40 ? Odd() : Pool(own ? pool : Below(kPools.size())));
      }
    }
    return record;
  }

  void* Output(void* out) override { return NullNow() ? nullptr : out; }

  // The handle for a call: mostly the session, sometimes null or a forged
  // pointer.
  PolicyApiSession* Handle() {
    const uint32_t roll = Below(100);
    if (roll < 90) return main_;
    badHandle_ = true;
    return roll < 95 ? nullptr : reinterpret_cast<PolicyApiSession*>(forged_.data());
  }
  PolicyApiSession* Main() const { return main_; }
  // Whether this call was given a handle that is no live session, or a null
  // record or output.
  bool BadHandle() const { return badHandle_; }
  bool NullPointer() const { return nullPointer_; }
  bool ForgedIntact() const { return forged_ == forgedCopy_; }

 private:
  // Half the fields as given, the others from the field's pool or plain
  // texts; the identifier stays.
  void* PlausibleRecord(char* bytes, const std::vector<size_t>& texts) {
    for (size_t offset : texts) {
      if (offset != texts.front() && Chance(50)) Put(bytes + offset, Plain(PoolOf(bytes + offset)));
    }
    return bytes;
  }
  const char* Plain(size_t pool) {
    // Texts a store and a document must carry unchanged.
    static const std::string kPlain[] = {"",
                                         "every page",
                                         "say \"hello\"",
                                         "C:\\policies\\",
                                         "two\nlines",
                                         "tab\there",
                                         "caf\xc3\xa9 \xc3\xbc"
                                         "ber",
                                         "/forms/*",
                                         "{\"json\": [1, 2]}",
                                         "  padded  ",
                                         std::string(300, 'L')};
    if (pool == kText || pool >= kPools.size()) return kPlain[Below(std::size(kPlain))].c_str();
    // A rule or agent named like a group is taken for the group, which a
    // document cannot tell apart: such a name gives way to the pool's first.
    const std::string& name = kPools[pool][Below(kPools[pool].size())];
    const bool shadowing =
        Within(Kind::Group, name) && (Within(Kind::Rule, name) || Within(Kind::Agent, name));
    return shadowing ? kPools[pool][0].c_str() : name.c_str();
  }

  static bool Within(Kind kind, const std::string& name) {
    const std::vector<std::string>& names = kPools[static_cast<size_t>(kind)];
    return std::count(names.begin(), names.end(), name) > 0;
  }

  // The pool holding a record field's text, or none.
  static size_t PoolOf(const char* field) {
    const std::string text(field, strnlen(field, XO_TEXT_FIELD));
    for (size_t pool = 0; pool < kPools.size(); ++pool) {
      if (std::count(kPools[pool].begin(), kPools[pool].end(), text) > 0) return pool;
    }
    return kPools.size();
  }
  // A text of the field's size or more fills it without a terminator.
  static void Put(char* field, const std::string& text) {
    std::strncpy(field, text.c_str(), XO_TEXT_FIELD);
  }

  const char* Pool(size_t pool) {
    if (pool == kText && Chance(50)) return Keep(AnyObjectId());
    return kPools[pool][Below(kPools[pool].size())].c_str();
  }
  const char* Keep(std::string text) { return arena_.emplace_back(std::move(text)).c_str(); }

  // Texts that are valid C strings but odd for a store.
  std::string Odd() {
    static const size_t kLong[] = {XO_TEXT_FIELD - 1, XO_TEXT_FIELD, 2000};
    static const char* const kOdd[] = {"\xc3\xbcml\xc3\xa4ut \xe2\x82\xac", "\xff\xfe\x80 broken",
                                       "%' OR 1=1; --", " own "};
    if (Chance(40)) return std::string(kLong[Below(3)], 'n');
    if (Chance(75)) return kOdd[Below(std::size(kOdd))];
    std::string garbage(1 + Below(40), ' ');
    for (char& c : garbage) c = static_cast<char>(1 + Below(255));
    return garbage;
  }
  int32_t AnyInt() {
    static const int32_t kOdd[] = {0, -1, -7, INT32_MAX, INT32_MIN};
    if (Chance(40)) return static_cast<int32_t>(Below(13));
    return Chance(50) ? kOdd[Below(std::size(kOdd))] : static_cast<int32_t>(rng_());
  }
  std::string AnyObjectId() {
    static const char* const kOdd[] = {"", "zz-0000", "03-00000000000000000000000000000000"};
    if (!objectIds_.empty() && Chance(75)) return objectIds_[Below(objectIds_.size())];
    return Chance(75) ? kOdd[Below(3)] : Odd();
  }
  bool NullNow() {
    if (mode_ != Mode::Wild || !Chance(3)) return false;
    return nullPointer_ = true;
  }

  std::mt19937 rng_;
  uint32_t seed_;
  long call_ = 0;
  const char* callName_ = "setup";
  int failures_ = 0;
  Mode mode_ = Mode::Wild;
  bool enums_ = false;
  bool badHandle_ = false;
  bool nullPointer_ = false;
  std::deque<std::string> arena_;  // the texts of this call's arguments
  std::vector<std::string> objectIds_;
  PolicyApiSession* main_;
  std::array<unsigned char, 512> forged_;
  std::array<unsigned char, 512> forgedCopy_;
};

}  // namespace xo::test
