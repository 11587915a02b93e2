/* Compiled with -m32 -std=c11: every record must have the exact size and
 * next-pointer offset of the 32-bit binary interface. */
#include <stddef.h>

#include "XoPolicyApi.h"

#define CHECK_RECORD(type, bytes, nextWord)               \
  _Static_assert(sizeof(type) == (bytes), #type " size"); \
  _Static_assert(offsetof(type, next) == 4 * (nextWord), #type " next")

#if defined(__i386__) || (defined(_WIN32) && !defined(_WIN64))
CHECK_RECORD(RuleRecord, 8204, 2050);
CHECK_RECORD(PolicyRecord, 5132, 1282);
CHECK_RECORD(RealmRecord, 7192, 1797);
CHECK_RECORD(ResponseRecord, 4104, 1025);
CHECK_RECORD(UserDirRecord, 18456, 4613);
CHECK_RECORD(AgentRecord, 6156, 1538);
CHECK_RECORD(DomainRecord, 3080, 769);
CHECK_RECORD(PolicyLinkRecord, 4104, 1025);
CHECK_RECORD(ResponseAttrRecord, 3088, 771);
CHECK_RECORD(UserEntryRecord, 2060, 514);
CHECK_RECORD(SchemeRecord, 6168, 1541);
CHECK_RECORD(AdminRecord, 6156, 1538);
CHECK_RECORD(GroupRecord, 4104, 1025);
CHECK_RECORD(OdbcQuerySchemeRecord, 18440, 4609);
_Static_assert(offsetof(PolicyRecord, policyText2) == 4101, "policy text 2 unaligned");
_Static_assert(offsetof(RealmRecord, realmInt1) == 7176, "realm int 1");
_Static_assert(offsetof(UserDirRecord, int1) == 10244, "user dir int 1");
_Static_assert(offsetof(SchemeRecord, schemeInt2) == 6156, "scheme int 2");
_Static_assert(sizeof(Xo_PolicyResolution_t) == 4, "resolution is 32-bit");
_Static_assert(sizeof(Xo_Api_DisabledReason_t) == 4, "reason is 32-bit");
#else
#error "the record layout check is built for a 32-bit target"
#endif

int xo_record_layout_checked = 1;
