#include "frame/Records.h"

#include <cstring>
#include <iterator>

namespace xo::frame {

namespace {

// Where each kind keeps its next pointer, indexed by tag.
constexpr std::size_t kNextOffset[] = {
    0,
    offsetof(RuleRecord, next),
    offsetof(PolicyRecord, next),
    offsetof(RealmRecord, next),
    offsetof(ResponseRecord, next),
    offsetof(UserDirRecord, next),
    offsetof(AgentRecord, next),
    offsetof(DomainRecord, next),
    offsetof(PolicyLinkRecord, next),
    offsetof(ResponseAttrRecord, next),
    offsetof(UserEntryRecord, next),
    offsetof(SchemeRecord, next),
    offsetof(AdminRecord, next),
    offsetof(GroupRecord, next),
    offsetof(OdbcQuerySchemeRecord, next),
};
constexpr int32_t kLastTag = OdbcQuerySchemeRecordType;
static_assert(std::size(kNextOffset) == kLastTag + 1);

}  // namespace

int32_t FreeRecordList(void* head) {
  auto* record = static_cast<unsigned char*>(head);
  while (record != nullptr) {
    int32_t tag;
    std::memcpy(&tag, record, sizeof tag);
    if (tag < RuleRecordType || tag > kLastTag) return XO_ERR_GENERAL;
    unsigned char* next;
    std::memcpy(&next, record + kNextOffset[tag], sizeof next);
    Free(record);
    record = next;
  }
  return XO_OK;
}

}  // namespace xo::frame
