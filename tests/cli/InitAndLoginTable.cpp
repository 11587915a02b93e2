// Making a store, logging in, the options every command takes, and command
// lines refused before anything is done.
#include "CommandTable.h"

namespace xo::test {
namespace {

const bool kLong = AddDocument("LONG", std::string(1024, 'x'));

const Case kCases[] = {
    {"InitMakesAStoreWhoseFirstAdministratorHoldsTheSystemRight", R"(
    init --hash-cost minimum --store sqlite:@STORE --admin root --password pw | @STORE | "root"
    domain add first-domain
    admin list --json | #1 | /0/name=root | /0/adminFlags=1)",
     false},
#ifdef _WIN32
    {"InitTakesTheStoreFromTheOptionElseTheEnvironmentElseLocalAppDataElseProfile", R"(
    init --hash-cost minimum --admin root --password pw ; domain list
    XO_POLICY_STORE=@DIR/env.db init --hash-cost minimum --store @OTHER --admin root --password pw
    domain list --store @OTHER
    XO_POLICY_STORE=@DIR/env.db domain list => 4 | env.db | xopolicy init
    ~XO_POLICY_STORE LOCALAPPDATA=@DIR/data init --hash-cost minimum --admin root --password pw
    domain list --store @DIR/data/xo-policy/policy.db
    ~XO_POLICY_STORE LOCALAPPDATA=@DIR/data domain list
    ~XO_POLICY_STORE ~LOCALAPPDATA USERPROFILE=@DIR init --hash-cost minimum --admin root \
      --password pw
    domain list --store @DIR/AppData/Local/xo-policy/policy.db)",
     false},
#else
    {"InitTakesTheStoreFromTheOptionElseTheEnvironmentElseXdgDataHomeElseHome", R"(
    init --hash-cost minimum --admin root --password pw ; domain list
    XO_POLICY_STORE=@DIR/env.db init --hash-cost minimum --store @OTHER --admin root --password pw
    domain list --store @OTHER
    XO_POLICY_STORE=@DIR/env.db domain list => 4 | env.db | xopolicy init
    ~XO_POLICY_STORE XDG_DATA_HOME=@DIR/data init --hash-cost minimum --admin root --password pw
    domain list --store @DIR/data/xo-policy/policy.db
    ~XO_POLICY_STORE XDG_DATA_HOME=@DIR/data domain list
    ~XO_POLICY_STORE ~XDG_DATA_HOME HOME=@DIR init --hash-cost minimum --admin root --password pw
    domain list --store @DIR/.local/share/xo-policy/policy.db)",
     false},
#endif
    {"InitRefusesToOverwriteAStoreOrAnyOtherFile", R"(
    init --store @STORE --admin second --password pw => 1 | already exists | @STORE
    $write @STORE | < notes, not a database\n
    init --store @STORE --admin root --password pw => 1
    $write @DIR/occupied | < a file where a directory would have to be
    init --store @DIR/occupied/policy.db --admin root --password pw => 1 \
      | @DIR/occupied/policy.db)"},
    {"InitReadsThePasswordFromTheFirstLineOfStandardInput", R"(
    init --store @STORE --admin root --password-stdin => 2 | standard input | < \n
    init --hash-cost minimum --admin root --password-stdin | < from-stdin\r\nsecond\n
    XO_PASSWORD=from-stdin domain list ; 'XO_PASSWORD=from-stdin\r' domain list => 4)",
     false},
    {"InitRefusesBadCommandLinesAndMakesNoStore", R"(
    => 2 | command is required ; frobnicate => 2 | frobnicate
    init --password pw => 2 | --admin ; init --admin root => 2 | --password
    init --admin '' --password pw => 2 | administrator name
    init --admin root --password '' => 2 | password must not be empty
    init --admin root --password pw --password-stdin => 2 | --password
    init --store '' --admin root --password pw => 2 | --store
    init --admin root --password pw --hash-cost extreme => 2 | extreme
    init --admin root --password pw --force => 2 | --force)",
     false},
    {"RefusedLoginsSayWhyAndChangeNothing", R"(
    domain add D
    XO_PASSWORD=wrong domain add E => 4 | wrong administrator name or password | "root"
    XO_ADMIN=nobody domain add E => 4 | wrong administrator name or password | "nobody"
    --password-stdin domain add E => 4 | wrong administrator | < not-the-pw\n
    admin add idle --new-password pw --flags 0
    XO_ADMIN=idle domain list => 4 | "idle" holds no rights
    domain list --store @DIR/missing.db => 4 | @DIR/missing.db | xopolicy init
    $write @DIR/junk.db | < not a database\n ; domain list --store @DIR/junk.db => 4 | @DIR/junk.db
    ~XO_PASSWORD domain list => 2 | XO_PASSWORD)"},
    {"PasswordsAreReadFromStandardInputLoginPasswordFirst", R"(
    ~XO_PASSWORD domain add D --password-stdin | < pw\n
    ~XO_PASSWORD admin add eve --flags 1 --password-stdin --new-password-stdin | < pw\neve\n
    XO_ADMIN=eve XO_PASSWORD=eve domain list | D ; XO_ADMIN=eve domain list => 4)"},
    {"TheLastSystemAdministratorWithAPasswordStays", R"(
    admin delete root => 1 | last system administrator who logs in with a password
    admin update root --flags 2 => 1 | last system administrator who logs in with a password
    admin add second --new-password pw --flags 1 ; admin delete root)"},
    // Given before the command or after it; given twice, the one after wins.
    {"GlobalOptionsHoldBeforeOrAfterTheCommand", R"(
    init --hash-cost minimum --store @OTHER --admin root --password pw
    domain add O --store @OTHER ; --store @OTHER domain list | O ; domain list --store @OTHER | O
    --store @DIR/missing.db domain list --store @OTHER | O
    --store @OTHER domain list --store @DIR/missing.db => 4 | missing.db
    --admin nobody domain list --store @OTHER => 4 | "nobody"
    --admin nobody domain get O --store @OTHER --admin root | O
    --json --store @OTHER domain list | /0/name=O ; --store @OTHER export | /domains/0/name=O
    --store @DIR/new.db --admin first init --password pw --hash-cost minimum | "first"
    --store '' domain list => 2 | --store ; --help | the one after the command wins)"},
    {"UsageErrorsAreRefusedBeforeAnythingIsDone", R"(
    domain add D
    frobnicate list => 2 | unknown command "frobnicate"
    domain frobnicate => 2 | unknown verb "frobnicate"
    realm => 2 | a verb for realm is required ; domain add E --colour red => 2 | --colour
    domain get => 2 | name is required ; realm list => 2 | --domain is required
    agent add a => 2 | --agent-type is required
    agent add a --agent-type 'HTTP Agent' --int 7x => 2 | --int takes a whole number, not "7x"
    policy add p --domain D --flag maybe => 2 | --flag takes true or false
    domain update D --description @LONG => 2 | --description is longer than 1023 bytes
    domain update D => 2 | nothing to change ; group list --type user => 2 | --type
    group list --type rule => 2 | give --domain ; audit --since 'last week' => 2 | ISO 8601
    command 6 => 2 | not in range ; rename D E => 2 | not an object identifier
    apply => 2 ; apply @DIR/policy.json --frobnicate => 2 ; export --domain => 2 ; exprot => 2
    apply @DIR/missing.json => 1 | missing.json)"},
};
INSTANTIATE_TEST_SUITE_P(InitAndLogin, Xopolicy, ::testing::ValuesIn(kCases), CaseName);

}  // namespace
}  // namespace xo::test
