// Property values and the property dictionary that describes each class.
// One dictionary drives saving, fetching, searching, validation and the
// database schema.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "XoObjId.h"

class CXoObjBase;

// A time restriction, kept as its text; default-constructed it is empty.
class CXoObjTime {
 public:
  CXoObjTime() = default;
  explicit CXoObjTime(std::string text) : text_(std::move(text)) {}
  const std::string& GetText() const { return text_; }
  bool IsEmpty() const { return text_.empty(); }
  bool operator==(const CXoObjTime& other) const { return text_ == other.text_; }

 private:
  std::string text_;
};

enum class XoPropType : uint8_t { Text, Int, Bool, Id, IdList, Time };

// A value of a property; monostate means "not loaded".
using XoPropValue =
    std::variant<std::monostate, std::string, int32_t, bool, CXoObjId, CXoObjIdArray, CXoObjTime>;

enum XoPropFlag : uint32_t {
  XoProp_Required = 0x01,
  XoProp_Unique = 0x02,
  XoProp_Searchable = 0x04,
  XoProp_Storable = 0x08,
  XoProp_Collection = 0x10,
  XoProp_List = 0x20,
  XoProp_Secret = 0x40,  // kept only as a password hash
};

// Where a property's value lives.
enum class XoPropStorage : uint8_t {
  Key,      // the object's own identifier (property 0)
  Column,   // a column of the class's table
  Stored,   // an ordered identifier list written by the API
  Inverse,  // the other side of another class's stored list
  Derived,  // the objects that point here, in creation order
};

// What deleting the referenced object does to a referencing one.
enum class XoOnDelete : uint8_t {
  Keep,      // nothing (references that cannot dangle in practice)
  Cascade,   // the referencing object is owned and goes too
  Restrict,  // the delete is refused while the reference exists
  Nullify,   // the reference becomes the null identifier
};

struct XoPropDef {
  uint32_t number;
  const char* name;
  XoPropType type;
  uint32_t flags;
  uint32_t maxLength;  // texts: longest accepted length in bytes
  XoPropStorage storage;
  XoOnDelete onDelete;              // identifiers and stored lists
  std::vector<int32_t> refClasses;  // classes an identifier may name (empty: any)
  int32_t listClass;                // Inverse: owner class; Derived: member class
  uint32_t listProp;                // Inverse: owner's list; Derived: member's reference (0: all)

  bool Is(XoPropFlag flag) const { return (flags & flag) != 0; }
};

class CXoObjDictProp {
 public:
  CXoObjDictProp(XoObjId_Class cls, const char* className, const char* table,
                 std::vector<XoPropDef> props, std::vector<uint32_t> nameScope);

  static const CXoObjDictProp* ForClass(int32_t cls);
  // A new store object of the identifier's class carrying that identifier, or
  // null for an identifier of no known class. The caller owns it.
  static CXoObjBase* MakeObject(const CXoObjId& id);
  // Every dictionary, in class order.
  static const std::vector<const CXoObjDictProp*>& All();

  XoObjId_Class Class() const { return class_; }
  const char* ClassName() const { return className_; }
  const char* Table() const { return table_; }
  const std::vector<XoPropDef>& Props() const { return props_; }
  uint32_t NumProps() const { return static_cast<uint32_t>(props_.size()); }
  const XoPropDef* Find(uint32_t number) const;
  // Property number of the named property, or -1.
  int32_t FindByName(const std::string& name) const;
  // Property holding the object's name, or 0 when the class has none.
  uint32_t NameProp() const { return nameProp_; }
  // Property that names an object to people, as in the audit trail: its name,
  // else its first text (an attachment's entry, a command's argument).
  uint32_t LabelProp() const { return labelProp_; }
  // Property holding the owning domain, or 0 for system-level classes.
  uint32_t DomainProp() const { return domainProp_; }
  // Properties that, with the name, must be unique together.
  const std::vector<uint32_t>& NameScope() const { return nameScope_; }

 private:
  XoObjId_Class class_;
  const char* className_;
  const char* table_;
  std::vector<XoPropDef> props_;  // index = property number
  std::vector<uint32_t> nameScope_;
  uint32_t nameProp_ = 0;
  uint32_t labelProp_ = 0;
  uint32_t domainProp_ = 0;
};
