// Lists of records handed to the caller. Every record is zero-filled (so
// padding and the unused bytes of its texts are zero), carries its kind's
// tag, and is linked at the tail. The caller's pointer is written only when
// the whole list is built; a list given up on is freed with its builder.
#pragma once

#include <cstddef>
#include <cstdint>

#include "XoPolicyApi.h"
#include "frame/Memory.h"

namespace xo::frame {

template <class Record>
struct RecordTag;

#define XO_RECORD_TAG(Record, Tag)        \
  template <>                             \
  struct RecordTag<Record> {              \
    static constexpr int32_t value = Tag; \
  };
XO_RECORD_TAG(RuleRecord, RuleRecordType)
XO_RECORD_TAG(PolicyRecord, PolicyRecordType)
XO_RECORD_TAG(RealmRecord, RealmRecordType)
XO_RECORD_TAG(ResponseRecord, ResponseRecordType)
XO_RECORD_TAG(UserDirRecord, UserDirRecordType)
XO_RECORD_TAG(AgentRecord, AgentRecordType)
XO_RECORD_TAG(DomainRecord, DomainRecordType)
XO_RECORD_TAG(PolicyLinkRecord, PolicyLinkRecordType)
XO_RECORD_TAG(ResponseAttrRecord, ResponseAttrRecordType)
XO_RECORD_TAG(UserEntryRecord, UserEntryRecordType)
XO_RECORD_TAG(SchemeRecord, SchemeRecordType)
XO_RECORD_TAG(AdminRecord, AdminRecordType)
XO_RECORD_TAG(GroupRecord, GroupRecordType)
XO_RECORD_TAG(OdbcQuerySchemeRecord, OdbcQuerySchemeRecordType)
#undef XO_RECORD_TAG

// Frees a list record by record, following each record's tag to its next
// pointer. An unknown tag stops the walk with -1, leaving that record and the
// rest as they are; a null list is 0.
int32_t FreeRecordList(void* head);

template <class Record>
class RecordList {
 public:
  RecordList() = default;
  RecordList(const RecordList&) = delete;
  RecordList& operator=(const RecordList&) = delete;
  ~RecordList() { FreeRecordList(head_); }

  // A new zeroed record with its tag, linked at the tail; null when the
  // allocation fails (the list built so far stays with the builder).
  Record* Append() {
    auto* record = static_cast<Record*>(Allocate(sizeof(Record)));
    if (record == nullptr) return nullptr;
    record->recordType = RecordTag<Record>::value;
    if (tail_ == nullptr) {
      head_ = record;
    } else {
      tail_->next = record;
    }
    tail_ = record;
    return record;
  }

  // Gives the list to the caller (null when empty).
  void HandOver(Record** out) {
    *out = head_;
    head_ = tail_ = nullptr;
  }

 private:
  Record* head_ = nullptr;
  Record* tail_ = nullptr;
};

}  // namespace xo::frame
