// The attribute values of a response. Each value is an object of its own that
// names its domain, its response and its dictionary attribute.
#include <algorithm>
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/FetchEach.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Names.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"
#include "frame/Saving.h"

using namespace xo::frame;

namespace {

// The opening of every call here: the handle, the domain and MANAGE on it,
// then the response within the domain.
int32_t OpenResponse(Call& call, const PolicyApiSession* handle, const void* required,
                     const char* responseName, const char* domainName, CXoObjId& response) {
  if (int32_t rc = call.OpenDomain(handle, {required}, ArgText(domainName)); rc != XO_OK) return rc;
  return ResolveResponse(call.Session(), ArgText(responseName), call.Domain(), response);
}

// The opening of the calls that take a value record: the response, then the
// dictionary attribute the record names.
struct AttrRecordCall : Call {
  CXoObjId response;
  CXoObjId dictAttr;

  int32_t OpenRecord(const PolicyApiSession* handle, const char* responseName,
                     const char* domainName, const ResponseAttrRecord* attr) {
    if (int32_t rc = OpenResponse(*this, handle, attr, responseName, domainName, response);
        rc != XO_OK) {
      return rc;
    }
    return ResolveDictionaryAttr(Session(), FieldText(attr->attrName), dictAttr);
  }
};

// The response's values, in the order of the domain's: found through the
// values' index on their response, so a call costs what the response holds,
// however many values the rest of the domain has. The domain is checked on
// each value fetched (see OfResponse), not in the search, which then has one
// index to take.
int32_t ResponseAttributes(const Call& call, const CXoObjId& response, CXoObjIdArray& ids) {
  return SearchIds(call.Sid(), CXoObjResponseAttr(), CXoObjResponseAttr::Response, response, ids);
}

bool OfResponse(const CXoObjResponseAttr& attr, const Call& call, const CXoObjId& response) {
  return attr.GetResponseOid().IsEqual(response) && attr.GetDomainOid().IsEqual(call.Domain());
}

// Policy servers hold responses in their caches; each change tells them.
int32_t InvalidateResponse(const Call& call, const CXoObjId& response) {
  const int32_t result = CXoObjStore::InvalidateCache(response, call.Domain(), true, call.Sid());
  return StoreFailed(result) ? MapStoreResult(result) : XO_OK;
}

// Values compare without regard to ASCII case, whatever the locale.
bool EqualIgnoringCase(const std::string& a, const std::string& b) {
  const auto fold = [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  };
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                            [&](char x, char y) { return fold(x) == fold(y); });
}

// An empty value stands for every value of the attribute.
bool Matches(const CXoObjResponseAttr& attr, const AttrRecordCall& call, const std::string& value) {
  return OfResponse(attr, call, call.response) && attr.GetVendorAttrOid().IsEqual(call.dictAttr) &&
         (value.empty() || EqualIgnoringCase(value, attr.GetValue()));
}

}  // namespace

XO_API Xo_PolicyApi_AddResponseAttr(PolicyApiSession* handle, const char* responseName,
                                    const char* domainName, ResponseAttrRecord* attr) {
  return Guarded([&]() -> int32_t {
    AttrRecordCall call;
    if (int32_t rc = call.OpenRecord(handle, responseName, domainName, attr); rc != XO_OK) {
      return rc;
    }

    CXoObjResponseAttr object(FieldText(attr->value), call.dictAttr, call.response, attr->attrInt1,
                              attr->attrInt2, call.Domain());
    if (int32_t rc = SaveObject(call.Sid(), object, false); rc != XO_OK) return rc;
    return InvalidateResponse(call, call.response);
  });
}

XO_API Xo_PolicyApi_RemoveResponseAttr(PolicyApiSession* handle, const char* responseName,
                                       const char* domainName, ResponseAttrRecord* attr) {
  return Guarded([&]() -> int32_t {
    AttrRecordCall call;
    if (int32_t rc = call.OpenRecord(handle, responseName, domainName, attr); rc != XO_OK) {
      return rc;
    }
    const std::string value = FieldText(attr->value);

    CXoObjIdArray ids;
    if (int32_t rc = ResponseAttributes(call, call.response, ids); rc != XO_OK) return rc;
    bool removed = false;
    const int32_t rc = FetchEach<CXoObjResponseAttr>(
        call.Sid(), ids, [&](const CXoObjResponseAttr& stored) -> int32_t {
          if (!Matches(stored, call, value)) return XO_OK;
          const int32_t deleted = CXoObjStore::Delete(stored.GetOid(), call.Sid());
          if (StoreFailed(deleted)) return MapStoreResult(deleted);
          removed = true;
          return InvalidateResponse(call, call.response);
        });
    if (rc != XO_OK) return rc;
    return removed ? XO_OK : XO_ERR_NOT_MEMBER;
  });
}

XO_API Xo_PolicyApi_GetResponseAttrs(PolicyApiSession* handle, const char* responseName,
                                     const char* domainName, ResponseAttrRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    CXoObjId response;
    if (int32_t rc = OpenResponse(call, handle, list, responseName, domainName, response);
        rc != XO_OK) {
      return rc;
    }
    CXoObjIdArray ids;
    if (int32_t rc = ResponseAttributes(call, response, ids); rc != XO_OK) return rc;

    const auto ofResponse = [&](const CXoObjResponseAttr& stored) {
      return OfResponse(stored, call, response);
    };
    const auto fill = [&](ResponseAttrRecord& record, const CXoObjResponseAttr& stored) -> int32_t {
      std::string attrName;
      if (int32_t rc = DictionaryAttrName(call.Session(), stored.GetVendorAttrOid(), attrName);
          rc != XO_OK) {
        return rc;
      }
      CopyToField(record.objectId, stored.GetOid().GetOidString());
      CopyToField(record.attrName, attrName);
      CopyToField(record.value, stored.GetValue());
      record.attrInt1 = stored.GetInt1();
      record.attrInt2 = stored.GetInt2();
      return XO_OK;
    };
    return FilteredRecords<CXoObjResponseAttr>(call.Sid(), ids, ofResponse, fill, list);
  });
}
