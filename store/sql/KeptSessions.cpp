#include "sql/KeptSessions.h"

#include <algorithm>
#include <charconv>

#include "StoreBackend.h"
#include "XoStoreCodes.h"
#include "platform/Clock.h"
#include "platform/PasswordHash.h"

namespace xo::store::sql {
namespace {

// A session's last use is written again only when it is older than this, so
// that most commands of a kept session only read the store.
constexpr int64_t kTouchSeconds = 60;

}  // namespace

void CreateKeptSessionTable(Connection& connection) {
  const Dialect& sql = connection.Sql();
  connection.Exec("CREATE TABLE xo_kept_session (token_digest " + sql.text +
                  " PRIMARY KEY, admin " + sql.text + " NOT NULL, fingerprint " + sql.text +
                  " NOT NULL, created " + sql.integer + " NOT NULL, last_used " + sql.integer +
                  " NOT NULL)");
}

int64_t KeptSessions::IdleMinutes() {
  Use select(db_.Prepare("SELECT value FROM xo_meta WHERE key = ?1"));
  select->Bind(1, kSessionIdleSetting);
  if (!select->Step()) return kDefaultSessionIdleMinutes;
  const std::string text = select->Text(0);
  int64_t minutes = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), minutes);
  return error == std::errc() && end == text.data() + text.size() && minutes >= 0
             ? minutes
             : kDefaultSessionIdleMinutes;
}

void KeptSessions::Keep(const std::string& tokenDigest, const CXoObjId& adminOid) {
  const int64_t idle = IdleMinutes();
  if (idle == 0) throw StoreError{kNotSupported};
  CXoObjAdmin admin(adminOid);
  store_.Load(admin);
  const int64_t now = platform::NowSeconds();
  Use forget(db_.Prepare("DELETE FROM xo_kept_session WHERE last_used < ?1"));
  forget->Bind(1, now - idle * 60);
  forget->Step();
  Use insert(db_.Prepare(
      "INSERT INTO xo_kept_session (token_digest, admin, fingerprint, created, last_used) "
      "VALUES (?1, ?2, ?3, ?4, ?4)"));
  insert->Bind(1, tokenDigest).Bind(2, adminOid.GetOidString()).Bind(3, Fingerprint(admin));
  insert->Bind(4, now);
  insert->Step();
}

KeptState KeptSessions::Check(const std::string& tokenDigest, CXoObjAdmin& admin) {
  std::string fingerprint;
  int64_t lastUsed = 0;
  {
    Use select(db_.Prepare(
        "SELECT admin, fingerprint, last_used FROM xo_kept_session WHERE token_digest = ?1"));
    select->Bind(1, tokenDigest);
    if (!select->Step()) return KeptState::Unknown;
    admin.SetOid(CXoObjId(select->Text(0)));
    fingerprint = select->Text(1);
    lastUsed = select->Int(2);
  }
  const int64_t now = platform::NowSeconds();
  if (now - lastUsed >= IdleMinutes() * 60) return KeptState::Idle;
  if (!store_.Exists(admin.GetOid())) return KeptState::Changed;
  store_.Load(admin);
  if (Fingerprint(admin) != fingerprint) return KeptState::Changed;
  return now - lastUsed >= kTouchSeconds ? KeptState::Stale : KeptState::Live;
}

void KeptSessions::Touch(const std::string& tokenDigest) {
  Use update(db_.Prepare("UPDATE xo_kept_session SET last_used = ?2 WHERE token_digest = ?1"));
  update->Bind(1, tokenDigest).Bind(2, platform::NowSeconds());
  update->Step();
}

void KeptSessions::Drop(const std::string& tokenDigest) {
  Use remove(db_.Prepare("DELETE FROM xo_kept_session WHERE token_digest = ?1"));
  remove->Bind(1, tokenDigest);
  remove->Step();
}

// Everything of the administrator that decides who logs in and what they may
// do; a new password always changes it, as every hash has a salt of its own.
std::string KeptSessions::Fingerprint(const CXoObjAdmin& admin) {
  std::vector<std::string> domains;
  for (const CXoObjId& domain : admin.GetDomains()) domains.push_back(domain.GetOidString());
  std::sort(domains.begin(), domains.end());
  std::string text = admin.GetName() + '\n' + admin.GetAdminText() + '\n' +
                     std::to_string(admin.GetFlags()) + '\n' +
                     (admin.GetDirectoryBound() ? "bound " : "own ") +
                     admin.GetUserDirectoryOid().GetOidString() + '\n';
  for (const std::string& domain : domains) text += domain + ' ';
  return platform::DigestHex(text);
}

void WriteSetting(Connection& connection, ObjectStore& store, const std::string& key,
                  const std::string& value) {
  Use upsert(connection.Prepare(
      "INSERT INTO xo_meta (key, value) VALUES (?1, ?2) ON CONFLICT (key) DO UPDATE SET value = "
      "?2"));
  upsert->Bind(1, key).Bind(2, value);
  upsert->Step();
  store.Audit("set " + key, XoObjId_Root, RootObjectId.GetOidString(), value);
}

}  // namespace xo::store::sql
