// Sessions kept by `xopolicy login` for the commands that follow: what uses
// one, and everything that ends one or refuses it.
#include "CommandTable.h"

namespace xo::test {
namespace {

const Case kCases[] = {
    {"LoginKeepsASessionForCommandsWithoutAPasswordUntilLogout", R"(
    ~XO_PASSWORD ~XO_ADMIN login --admin root --password-stdin --json > KEPT /file \
      | < pw\n | /idleMinutes=480
    ~XO_PASSWORD ~XO_ADMIN domain add D ; ~XO_PASSWORD domain list | D
    ~XO_PASSWORD --json store info | /sessionIdleMinutes=480
    XO_PASSWORD=wrong domain list => 4 | wrong administrator name or password
    admin add eve --new-password pw --flags 1
    ~XO_PASSWORD XO_ADMIN=eve domain list => 2 | XO_PASSWORD
    ~XO_PASSWORD logout | Logged out | "root" ; ~XO_PASSWORD domain list => 2 | XO_PASSWORD
    ~XO_PASSWORD logout | No session was kept)"},
    {"AChangedPasswordOrRightsOrADeletedAdministratorEndsIt", R"(
    admin add eve --new-password pw --flags 1
    ~XO_PASSWORD XO_ADMIN=eve login --password-stdin | < pw\n ; ~XO_PASSWORD XO_ADMIN=eve domain list
    admin update eve --new-password other
    ~XO_PASSWORD XO_ADMIN=eve domain list => 4 | password or rights changed | xopolicy login
    ~XO_PASSWORD XO_ADMIN=eve domain list => 2 | XO_PASSWORD
    ~XO_PASSWORD XO_ADMIN=eve login --password-stdin | < other\n ; admin update eve --flags 3
    ~XO_PASSWORD XO_ADMIN=eve domain list => 4 | password or rights changed
    ~XO_PASSWORD XO_ADMIN=eve login --password-stdin | < other\n ; admin delete eve
    ~XO_PASSWORD XO_ADMIN=eve domain list => 4 | password or rights changed)"},
    {"AnIdleSessionEndsAndAStoreWithoutIdleTimeKeepsNone", R"(
    ~XO_PASSWORD login --password-stdin | < pw\n
    store set-session-idle 30 | 30 minutes ; audit | set session-idle-minutes
    $sql UPDATE xo_kept_session SET last_used = last_used - 1700 ; ~XO_PASSWORD domain list
    $sql UPDATE xo_kept_session SET last_used = last_used - 1801
    ~XO_PASSWORD domain list => 4 | longer than the store's idle time | xopolicy login
    ~XO_PASSWORD login --password-stdin | < pw\n ; store set-session-idle 0 | keeps no sessions
    ~XO_PASSWORD domain list => 4 | idle time
    ~XO_PASSWORD login --password-stdin => 1 | keeps no sessions | < pw\n
    admin add dom --new-password pw --flags 2
    XO_ADMIN=dom store set-session-idle 5 => 1 | system right ; store set-session-idle -1 => 2)"},
#ifndef _WIN32
    {"AFileOthersCanReadOrATokenTheStoreNeverGaveIsRefused", R"(
    ~XO_PASSWORD login --password-stdin --json > KEPT /file | < pw\n
    $chmod 644 @KEPT ; ~XO_PASSWORD domain list => 4 | may be read or changed by other users
    domain list ; $chmod 600 @KEPT ; ~XO_PASSWORD domain list
    $sql UPDATE xo_kept_session SET token_digest = 'forged'
    ~XO_PASSWORD domain list => 4 | knows no such session | xopolicy login)"},
#endif
    {"ASessionKeptForOneStoreIsNotUsedForAnother", R"(
    init --hash-cost minimum --store @OTHER --admin root --password pw
    ~XO_PASSWORD login --password-stdin --json > KEPT /file | < pw\n
    ~XO_PASSWORD login --store @OTHER --password-stdin --json > OTHERKEPT /file | < pw\n
    $copy @KEPT @OTHERKEPT
    ~XO_PASSWORD domain list --store @OTHER => 4 | keeps a session for | policy.db, not for
    ~XO_PASSWORD domain list)"},
    {"AStoreMadeBeforeKeptSessionsIsUpgradedWhenOpened", R"(
    $sql DROP TABLE xo_kept_session
    $sql UPDATE xo_meta SET value = '1' WHERE key = 'schema_version'
    domain list ; $sql SELECT value FROM xo_meta WHERE key = 'schema_version' | =2\n
    ~XO_PASSWORD login --password-stdin | < pw\n ; ~XO_PASSWORD domain list
    $sql UPDATE xo_meta SET value = '3' WHERE key = 'schema_version'
    domain list => 4 | schema version 3)"},
};
INSTANTIATE_TEST_SUITE_P(KeptSession, Xopolicy, ::testing::ValuesIn(kCases), CaseName);

}  // namespace
}  // namespace xo::test
