#include "XoAdmProtocol.h"

#include <algorithm>

#include "XoStoreCodes.h"

CXoAdmObject::CXoAdmObject(int32_t classId) : classId_(classId) {}

CXoAdmObject::CXoAdmObject(std::unique_ptr<CXoObjBase> object)
    : classId_(object ? object->GetClass() : 0), object_(std::move(object)) {}

CXoAdmObject::~CXoAdmObject() = default;

std::string CXoAdmObject::GetID() const { return object_ ? object_->GetOid().GetOidString() : "0"; }

void CXoAdmObject::SetClassID(int32_t classId) {
  classId_ = classId;
  if (object_ && object_->GetClass() != classId) object_.reset();
}

std::string CXoAdmObject::GetName() const { return object_ ? object_->GetName() : ""; }

uint32_t CXoAdmObject::NumProps() const {
  const CXoObjDictProp* dict = CXoObjDictProp::ForClass(classId_);
  return dict ? dict->NumProps() : 0;
}

CXoObjId CXoAdmObject::GetDomain() const {
  return object_ ? object_->GetDomainOid() : NullObjectId;
}

const XoPropDef* CXoAdmObject::Def(uint32_t prop) const {
  const CXoObjDictProp* dict = CXoObjDictProp::ForClass(classId_);
  return dict ? dict->Find(prop) : nullptr;
}

int32_t CXoAdmObject::GetPropID(const std::string& name) const {
  const CXoObjDictProp* dict = CXoObjDictProp::ForClass(classId_);
  return dict ? dict->FindByName(name) : -1;
}

std::string CXoAdmObject::GetPropName(uint32_t prop) const {
  const XoPropDef* def = Def(prop);
  return def ? def->name : "";
}

int32_t CXoAdmObject::GetPropType(uint32_t prop) const {
  const XoPropDef* def = Def(prop);
  return def ? static_cast<int32_t>(def->type) : -1;
}

uint32_t CXoAdmObject::GetMaxStringLength(uint32_t prop) const {
  const XoPropDef* def = Def(prop);
  return def ? def->maxLength : 0;
}

bool CXoAdmObject::Flag(uint32_t prop, XoPropFlag flag) const {
  const XoPropDef* def = Def(prop);
  return def && def->Is(flag);
}

int32_t CXoAdmObject::ValidateProps() const {
  if (!object_) return xo::store::kNotFound;
  for (const XoPropDef& def : object_->Dict().Props()) {
    if (def.storage != XoPropStorage::Column) continue;
    if (def.type == XoPropType::Text) {
      const std::string& text = object_->Text(def.number);
      if (text.size() > def.maxLength) return xo::store::kTextTooLong;
      if (def.Is(XoProp_Required) && text.empty()) return xo::store::kNameRequired;
    } else if (def.type == XoPropType::Id) {
      const CXoObjId& id = object_->Id(def.number);
      if (def.Is(XoProp_Required) && id.IsOidNull()) return xo::store::kNameRequired;
      if (!id.IsOidNull() && !def.refClasses.empty() &&
          std::find(def.refClasses.begin(), def.refClasses.end(), id.GetOidClass()) ==
              def.refClasses.end()) {
        return xo::store::kWrongClass;
      }
    }
  }
  return 0;
}

std::string CXoAdmObject::SearchValue(uint32_t prop) const {
  if (!object_) return CXoAdmProtocol::NullString();
  const XoPropValue& value = object_->Get(prop);
  if (const std::string* text = std::get_if<std::string>(&value)) {
    std::string out;
    CXoAdmProtocol::MakeStringValue(*text, out);
    return out;
  }
  if (const CXoObjId* id = std::get_if<CXoObjId>(&value)) {
    return CXoAdmProtocol::OidPrefix() + id->GetOidString();
  }
  if (const CXoObjIdArray* ids = std::get_if<CXoObjIdArray>(&value)) {
    if (ids->empty()) return CXoAdmProtocol::NullList();
    std::string out = "(";
    for (size_t i = 0; i < ids->size(); ++i) {
      if (i) out += CXoAdmProtocol::ListSeparator();
      out += CXoAdmProtocol::OidPrefix() + (*ids)[i].GetOidString();
    }
    return out + ")";
  }
  if (const int32_t* number = std::get_if<int32_t>(&value)) return std::to_string(*number);
  if (const bool* flag = std::get_if<bool>(&value)) return *flag ? "1" : "0";
  if (const CXoObjTime* time = std::get_if<CXoObjTime>(&value)) {
    std::string out;
    CXoAdmProtocol::MakeStringValue(time->GetText(), out);
    return out;
  }
  return CXoAdmProtocol::NullString();
}

bool CXoAdmDomain::Find(const CXoAdmObject& object) const {
  const CXoObjBase* base = object.GetBaseObject();
  if (!base) return false;
  if (base->GetOid().IsEqual(domain_.GetOid())) return true;
  if (base->GetDomainOid().IsEqual(domain_.GetOid())) return true;
  for (const CXoObjIdArray* list : {&domain_.GetUserDirectories(), &domain_.GetAdmins()}) {
    for (const CXoObjId& id : *list) {
      if (id.IsEqual(base->GetOid())) return true;
    }
  }
  return false;
}

bool CXoAdmDomain::Find(const CXoAdmObject& object, const std::string& name) const {
  return Find(object) && object.GetName() == name;
}
